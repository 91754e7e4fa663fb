#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillard::privatedesktop {

// What the owner of a desktop asks of its keeper: one program. It travels with descriptors for the report (a process
// id, then its wait status, each as a 32-bit number), standard input, output and error.
struct ProgramRequest {
  static constexpr std::size_t kDescriptors = 4;
  static constexpr std::size_t kMaximumSize = std::size_t{128} * 1024;

  bool isServer = false;  // Ended by SIGTERM, with time to tidy up; others are killed.
  std::string folder;     // The working folder.
  std::vector<std::string> command;
  std::vector<std::string> environment;  // "NAME=value".

  [[nodiscard]] std::string bytes() const {
    std::string result = (isServer ? "s" : "p") + folder;
    result += '\0';
    result += std::to_string(command.size());
    result += '\0';
    for (const auto* list : {&command, &environment}) {
      for (const auto& text : *list) (result += text) += '\0';
    }
    return result;
  }

  [[nodiscard]] static std::optional<ProgramRequest> parse(std::string_view bytes) {
    std::vector<std::string> fields;
    while (!bytes.empty()) {
      const auto end = bytes.find('\0');
      if (end == std::string_view::npos) return std::nullopt;
      fields.emplace_back(bytes.substr(0, end));
      bytes.remove_prefix(end + 1);
    }
    if (fields.size() < 3 || fields[0].empty()) return std::nullopt;
    const auto count = static_cast<std::ptrdiff_t>(std::stoul(fields[1]));
    if (count == 0 || count > static_cast<std::ptrdiff_t>(fields.size()) - 2) return std::nullopt;
    const auto afterCommand = fields.begin() + 2 + count;
    return ProgramRequest{.isServer = fields[0].front() == 's',
                          .folder = fields[0].substr(1),
                          .command = {fields.begin() + 2, afterCommand},
                          .environment = {afterCommand, fields.end()}};
  }
};

}  // namespace quillard::privatedesktop
