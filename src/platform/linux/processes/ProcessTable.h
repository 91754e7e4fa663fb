#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillard::proc {

// What the kernel knows of a process. The arguments are what the process wants seen.
struct ProcessFacts {
  std::int32_t processIdentifier = 0;
  std::string executable;  // Absolute path, even after the file was replaced. Empty when it may not be read.
  std::vector<std::string> arguments;  // The first is the name that the program was called by. Empty: not known.
  std::string shortName;               // Cut at 15 bytes by the kernel.
  bool operator==(const ProcessFacts&) const = default;
};

// The processes of one user, from the kernel's folder of processes. Any thread.
class ProcessTable {
 public:
  // This program's own user.
  ProcessTable();
  ProcessTable(std::string folder, std::uint32_t user) : folder(std::move(folder)), user(user) {}

  // Absent when there is no such process, it is another user's, or it has ended and only waits to be taken note of.
  [[nodiscard]] std::optional<ProcessFacts> process(std::int32_t processIdentifier) const;
  // Every user's, by number.
  [[nodiscard]] std::vector<std::int32_t> all() const;
  // Empty when it may not be read, as with most processes of others.
  [[nodiscard]] std::string executable(std::int32_t processIdentifier) const;
  // A variable of the environment that the process was started in. Absent: not set, or not to be read.
  [[nodiscard]] std::optional<std::string> variable(std::int32_t processIdentifier, std::string_view name) const;
  // The folder of the session that the process was started in (XDG_RUNTIME_DIR). Absent in the same cases.
  [[nodiscard]] std::optional<std::string> sessionFolder(std::int32_t processIdentifier) const;

 private:
  [[nodiscard]] std::string pathOf(std::int32_t processIdentifier, const char* name) const;

  std::string folder;
  std::uint32_t user;
};

}  // namespace quillard::proc
