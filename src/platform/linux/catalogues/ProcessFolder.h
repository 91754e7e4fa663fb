#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quillard::catalogues {

// The locale for messages that a program with these variables has, as gettext decides: the first language of LANGUAGE,
// unless LC_ALL, LC_MESSAGES or LANG (the first that is set) names no language. Empty: none.
[[nodiscard]] std::string messageLocale(const std::function<std::optional<std::string>(std::string_view)>& variable);

// What the kernel tells of one process of this user (/proc/PID). Any thread.
class ProcessFolder {
 public:
  struct Text {
    std::optional<std::string> text;  // Absent: it could not be read.
    bool isForbidden = false;         // It never can: the process may not be read.
    bool isCutOff = false;            // There may be more of it.
  };

  // `processes`: "/proc".
  ProcessFolder(const std::string& processes, std::int32_t processIdentifier)
      : path(processes + "/" + std::to_string(processIdentifier)) {}
  // This process's own.
  [[nodiscard]] static ProcessFolder ofThisProcess(const std::string& processes) {
    return ProcessFolder(processes + "/self");
  }

  [[nodiscard]] const std::string& folder() const { return path; }
  // What it has mapped; cut off after some megabytes.
  [[nodiscard]] Text maps() const;
  // Empty where it is too long to be read whole: a part of it tells nothing.
  [[nodiscard]] Text mounts() const;
  // When it was started, in the kernel's ticks: two processes of one number differ in it. Absent: there is none.
  [[nodiscard]] std::optional<std::uint64_t> startTime() const;
  // Cut at 15 bytes by the kernel; what the process likes. Empty: not known.
  [[nodiscard]] std::string shortName() const;
  // As it was started with. Empty: not known, or no language.
  [[nodiscard]] std::string locale() const;

 private:
  explicit ProcessFolder(std::string path) : path(std::move(path)) {}
  [[nodiscard]] Text read(const char* name, std::size_t largest) const;

  const std::string path;
};

}  // namespace quillard::catalogues
