#pragma once

#include <optional>
#include <string>
#include <string_view>

// Copies of entries for programs that are built on Chromium, whose windows can be read only when the program is started
// with a switch. Pure functions of files' texts; any thread.
namespace quillard::desktop::ReadableEntry {

inline constexpr std::string_view kSwitch = "--force-renderer-accessibility";
// The key of the line by which a copy is known.
inline constexpr std::string_view kMark = "X-Quillard-Readable";

// The text with the switch behind the program of every command line that starts the entry's own one, and a mark with
// the sum of all the rest and the entry's id. Absent: there is no such command line, or each has the switch already;
// the program is an interpreter of scripts, or starts another one (flatpak, nice), which would not get the switch, or
// is started over the bus, where no command line counts; it bears a mark already; or the id does not fit in a line.
[[nodiscard]] std::optional<std::string> copyOf(std::string_view text, std::string_view id);

// Whether `copyOf` has made it, and a command line still has the switch, whatever else was changed since.
[[nodiscard]] bool isCopy(std::string_view text);
// Whether it was made for the entry of this id, and nothing was changed since.
[[nodiscard]] bool isUnchangedCopy(std::string_view text, std::string_view id);

}  // namespace quillard::desktop::ReadableEntry
