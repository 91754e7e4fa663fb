#pragma once

#include <optional>
#include <string>
#include <string_view>

// Copies of entries for programs that are built on Chromium, whose windows can be read only when the program is started
// with a switch. Pure functions of files' texts; any thread.
namespace quillard::desktop::ReadableEntry {

inline constexpr std::string_view kSwitch = "--force-renderer-accessibility";

// The text with the switch behind the program of every command line that starts the entry's own one, and a mark with
// the sum of all the rest. Absent: there is no such command line, or each has the switch already; the program is an
// interpreter of scripts, or is started over the bus, where no command line counts; or it is such a copy itself.
[[nodiscard]] std::optional<std::string> copyOf(std::string_view text);

// Whether `copyOf` has made it, whatever was changed since.
[[nodiscard]] bool isCopy(std::string_view text);
// Whether nothing was changed since.
[[nodiscard]] bool isUnchangedCopy(std::string_view text);

}  // namespace quillard::desktop::ReadableEntry
