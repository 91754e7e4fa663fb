#pragma once

#include <string>
#include <string_view>

// The scripts that KWin runs for us: its way to tell other programs about windows. One text for Plasma 5 and 6, which
// asks for what is there and not for versions.
namespace quillard::kwin {

inline constexpr const char* kObjectPath = "/windows";
inline constexpr const char* kInterface = "com.quillard.Windows";
inline constexpr const char* kTellMember = "tell";

// Tells all windows to the object of the connection `busName`, once now and then 20 ms after each change: what came,
// went, has the keyboard, was minimised or moved to another desktop. Titles and places are told four times a second at
// most. `busName` is a unique name of a bus.
[[nodiscard]] std::string watchingScript(std::string_view busName);

enum class WindowRequest { activate, close };
// Asks it of the window that KWin calls `identifier`, which `isWindowIdentifier` has accepted.
[[nodiscard]] std::string requestScript(WindowRequest request, std::string_view identifier);

// Whether it has the form of KWin's identifiers, "{…}" with a UUID, so that it can stand in a script.
[[nodiscard]] bool isWindowIdentifier(std::string_view text);

}  // namespace quillard::kwin
