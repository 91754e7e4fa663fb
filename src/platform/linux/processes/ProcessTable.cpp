#include "platform/linux/processes/ProcessTable.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace quillard::proc {
namespace {

// Enough for the arguments that tell programs apart.
constexpr std::size_t kLongestFile = 16 * 1024;
constexpr std::string_view kDeleted = " (deleted)";

// The kernel's files come whole in few reads; this is asked for every process at every scan.
std::string contentsOf(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return "";
  std::string contents;
  std::array<char, 4096> piece{};
  while (contents.size() < kLongestFile) {
    const auto length = ::read(file, piece.data(), piece.size());
    if (length <= 0) break;
    contents.append(piece.data(), static_cast<std::size_t>(length));
  }
  ::close(file);
  return contents;
}

// The line of /proc/PID/status that begins with `name`, without it and the white space behind it.
std::string_view statusLine(std::string_view status, std::string_view name) {
  while (!status.empty()) {
    const auto line = status.substr(0, status.find('\n'));
    if (line.starts_with(name)) {
      const auto value = line.substr(name.size());
      return value.substr(std::min(value.find_first_not_of(" \t"), value.size()));
    }
    status.remove_prefix(std::min(line.size() + 1, status.size()));
  }
  return {};
}

std::optional<std::uint32_t> leadingNumber(std::string_view text) {
  std::uint64_t value = 0;
  std::size_t digits = 0;
  for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9' && digits < 10; ++digits) {
    value = value * 10 + static_cast<std::uint64_t>(text[digits] - '0');
  }
  if (digits == 0 || value > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

std::vector<std::string> splitAtZeroes(std::string_view bytes) {
  std::vector<std::string> parts;
  while (!bytes.empty()) {
    const auto part = bytes.substr(0, bytes.find('\0'));
    parts.emplace_back(part);
    bytes.remove_prefix(std::min(part.size() + 1, bytes.size()));
  }
  return parts;
}

}  // namespace

ProcessTable::ProcessTable() : ProcessTable("/proc", ::getuid()) {}

std::string ProcessTable::pathOf(std::int32_t processIdentifier, const char* name) const {
  return folder + "/" + std::to_string(processIdentifier) + "/" + name;
}

std::optional<ProcessFacts> ProcessTable::process(std::int32_t processIdentifier) const {
  if (processIdentifier < 1) return std::nullopt;
  const std::string status = contentsOf(pathOf(processIdentifier, "status"));
  const auto state = statusLine(status, "State:");
  if (leadingNumber(statusLine(status, "Uid:")) != user || state.starts_with('Z') || state.starts_with('X')) {
    return std::nullopt;
  }
  return ProcessFacts{.processIdentifier = processIdentifier,
                      .executable = executable(processIdentifier),
                      .arguments = splitAtZeroes(contentsOf(pathOf(processIdentifier, "cmdline"))),
                      .shortName = std::string{statusLine(status, "Name:")}};
}

std::optional<std::string> ProcessTable::variable(std::int32_t processIdentifier, std::string_view name) const {
  const auto start = std::string(name) + "=";
  for (const auto& entry : splitAtZeroes(contentsOf(pathOf(processIdentifier, "environ")))) {
    if (entry.starts_with(start)) return entry.substr(start.size());
  }
  return std::nullopt;
}

std::optional<std::string> ProcessTable::sessionFolder(std::int32_t processIdentifier) const {
  return variable(processIdentifier, "XDG_RUNTIME_DIR");
}

std::vector<std::int32_t> ProcessTable::all() const {
  std::vector<std::int32_t> processes;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    const auto number = leadingNumber(name);
    if (number && *number >= 1 && *number <= std::uint32_t{std::numeric_limits<std::int32_t>::max()} &&
        std::to_string(*number) == name) {
      processes.push_back(static_cast<std::int32_t>(*number));
    }
  }
  std::sort(processes.begin(), processes.end());
  return processes;
}

std::string ProcessTable::executable(std::int32_t processIdentifier) const {
  std::array<char, 4096> target{};
  const auto length = ::readlink(pathOf(processIdentifier, "exe").c_str(), target.data(), target.size());
  if (length <= 0) return "";
  std::string_view path{target.data(), static_cast<std::size_t>(length)};
  if (path.ends_with(kDeleted)) path.remove_suffix(kDeleted.size());
  return std::string{path};
}

}  // namespace quillard::proc
