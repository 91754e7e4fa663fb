#pragma once

#include <string>
#include <vector>

#include "app/ExitCode.h"

namespace quillard::app {

// One thing that was looked at.
struct DoctorCheck {
  enum class State {
    fine,
    note,     // Works, but not as well as it could, or not yet.
    problem,  // The agent cannot do its work like this.
  };
  std::string id;  // For programs that read the report: stays the same.
  std::string title;
  State state = State::fine;
  std::string detail;
  std::string remedy;  // What to do. Empty when there is nothing to do.
  bool operator==(const DoctorCheck&) const = default;
};

// Texts of other programs in it are made harmless.
[[nodiscard]] std::string doctorText(const std::vector<DoctorCheck>& checks);
// One JSON object: "version", "state" (the worst of all), "checks".
[[nodiscard]] std::string doctorJson(const std::vector<DoctorCheck>& checks, const std::string& version);
[[nodiscard]] ExitCode exitCode(const std::vector<DoctorCheck>& checks);

}  // namespace quillard::app
