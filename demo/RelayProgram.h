#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "demo/Service.h"

namespace quillard::demo {

// Our own relay on this machine, for this machine alone.
class RelayProgram {
 public:
  struct Places {
    std::string program;
    std::string page;    // The folder of the phone's page.
    std::string folder;  // For its database and its log; made if need be, for its user alone.
  };
  // Waits until it listens: on its usual port, or on another one when that is taken. Throws when it does not, with what
  // it wrote; immediately when `isCancelled` becomes true.
  RelayProgram(const Places& places, const std::function<bool()>& isCancelled);

  // "http://127.0.0.1:8080": of the page, and what phones call the relay.
  [[nodiscard]] const std::string& address() const { return base; }
  // What the agent calls it.
  [[nodiscard]] std::string socketAddress() const;
  [[nodiscard]] bool isOnUsualPort() const;
  [[nodiscard]] const std::string& logFile() const { return log; }
  [[nodiscard]] Service& service() { return *program; }

 private:
  // False when it does not listen there.
  bool start(const Places& places, std::uint16_t port, const std::function<bool()>& isCancelled);

  const std::string log;
  std::unique_ptr<Service> program;
  std::string base;
};

// The end of a log, for people: a few lines, in which no control character is left.
[[nodiscard]] std::string lastLines(const std::string& logFile);

}  // namespace quillard::demo
