#pragma once

#include <string>
#include <string_view>

namespace quillard::relayserver {

// One line an event. What is handed in holds no token, query, body or name of a device; pairings are shortened.
class EventLog {
 public:
  EventLog() = default;
  EventLog(const EventLog&) = delete;
  EventLog& operator=(const EventLog&) = delete;
  virtual ~EventLog() = default;

  // What happens in the course of things. Unauthenticated clients can cause such lines, so that too many of them are left out.
  virtual void note(std::string_view line) = 0;
  // What whoever runs the relay should look at.
  virtual void warn(std::string_view line) = 0;
};

}  // namespace quillard::relayserver
