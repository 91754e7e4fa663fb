#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/TemporaryFolder.h"

namespace quillard::test {

// Sway's socket as far as an agent uses it, answering on a thread of its own, over the real wire. Any thread.
class FakeSway {
 public:
  FakeSway();
  ~FakeSway();
  FakeSway(const FakeSway&) = delete;
  FakeSway& operator=(const FakeSway&) = delete;

  [[nodiscard]] std::string path() const { return folder.path() + "/sway-ipc.sock"; }
  // What it answers to a question for its tree. At first an empty one.
  void setTree(const std::string& json);
  // Sends an event to those who subscribed.
  void announce(std::uint32_t type, const std::string& json);
  // The commands that it was given, the oldest first; it carries none out, and says that it has.
  [[nodiscard]] std::vector<std::string> commands();
  // Until told otherwise, questions stay unanswered.
  std::atomic<bool> isSilent{false};
  // What it sends in place of an answer, raw. Empty: answers.
  void lieWith(const std::string& bytes);
  // Ends every connection and listens no more, or listens again.
  void stop();
  void start();
  [[nodiscard]] std::size_t subscribers();

 private:
  struct Client;
  void run();
  void answer(Client& client, std::uint32_t type, const std::string& payload);

  const TemporaryFolder folder;
  std::mutex mutex;
  std::string tree;
  std::string lie;
  std::vector<std::string> given;
  std::vector<std::unique_ptr<Client>> clients;
  int listener = -1;
  int wakeFile = -1;
  std::atomic<bool> isEnding{false};
  std::thread thread;
};

}  // namespace quillard::test
