#pragma once

#include <string>
#include <string_view>

namespace quillard::relayserver {

// The relay's log: one line for each event. Callers pass no token, query, body or name of a device; pairings are
// shortened.
class EventLog {
 public:
  EventLog() = default;
  EventLog(const EventLog&) = delete;
  EventLog& operator=(const EventLog&) = delete;
  virtual ~EventLog() = default;

  // Ordinary events. Unauthenticated clients can cause such lines, so too many of them are left out.
  virtual void note(std::string_view line) = 0;
  // What the operator of the relay should know. Never left out.
  virtual void warn(std::string_view line) = 0;
};

}  // namespace quillard::relayserver
