#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillard::atspi {

// A process that takes part in the accessibility bus.
struct AccessibleApplication {
  std::int32_t processIdentifier = 0;
  std::string name;  // As it calls itself; empty when it does not say, and of this process.
  bool operator==(const AccessibleApplication&) const = default;
};

// Who is on the accessibility bus: where there is no X server, these are the running applications. Any thread.
class AccessibleApplications {
 public:
  virtual ~AccessibleApplications() = default;

  // Asks the bus alone, one or two round trips: waits for no application. In the order in which they joined, each once.
  // Absent: it cannot be told, since the bus or its registry cannot be reached or does not answer.
  [[nodiscard]] virtual std::optional<std::vector<std::int32_t>> processIdentifiers() = 0;
  // Asks the applications for their names as well, all at once.
  [[nodiscard]] virtual std::vector<AccessibleApplication> accessibleApplications() = 0;
};

}  // namespace quillard::atspi
