#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

// The files by which desktops know programs, in the format of freedesktop.org: as much of it as an entry for the start
// of a session needs. Pure functions; any thread.
namespace quillard::desktop::DesktopEntry {

// Keys of the main group and their values as they stand in the file, escapes included. Lines that are no entries are
// passed over. Empty when the file has no main group.
using Values = std::map<std::string, std::string, std::less<>>;
[[nodiscard]] Values mainGroup(std::string_view text);

// "\s", "\n", "\t", "\r" and "\\" undone. A backslash before anything else stays.
[[nodiscard]] std::string unescaped(std::string_view value);
// The other way round.
[[nodiscard]] std::string escaped(std::string_view text);

// The value of "Exec" that starts `program`, an absolute path, without arguments: quoted for the command line, then
// escaped for the file.
[[nodiscard]] std::string execValue(std::string_view program);

// The program that an "Exec" value, as it stands in the file, starts. Absent when it starts none.
[[nodiscard]] std::optional<std::string> programOf(std::string_view execValue);

}  // namespace quillard::desktop::DesktopEntry
