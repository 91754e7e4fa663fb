#pragma once

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace quillard::test {

// A port of this machine whose connections go on to another one, until they are cut: then nothing goes through any
// more, and nobody is told, as with a network that fails.
class CuttableLink {
 public:
  explicit CuttableLink(std::uint16_t target);
  ~CuttableLink();
  CuttableLink(const CuttableLink&) = delete;
  CuttableLink& operator=(const CuttableLink&) = delete;

  [[nodiscard]] std::uint16_t port() const { return own; }
  void cut() { isCut = true; }
  void mend() { isCut = false; }

 private:
  void run();

  const std::uint16_t target;
  int listener = -1;
  std::uint16_t own = 0;
  std::atomic<bool> isCut = false;
  std::atomic<bool> isOver = false;
  std::thread thread;
};

}  // namespace quillard::test
