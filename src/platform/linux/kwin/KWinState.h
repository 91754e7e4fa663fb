#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::kwin {

// More windows than these are none that a person looks at.
inline constexpr std::size_t kMostWindows = 4096;

// The numbers that stand for KWin's own identifiers. None is given twice, and no other source has it. One thread at a
// time.
class WindowNumbers {
 public:
  // A new one for an identifier that is not known.
  [[nodiscard]] desktop::WindowID numberOf(const std::string& identifier);
  // Absent: no window that is still there.
  [[nodiscard]] std::optional<std::string> identifierOf(desktop::WindowID number) const;
  // Forgets all but those of `snapshot`.
  void retain(const desktop::WindowsSnapshot& snapshot);

 private:
  std::unordered_map<std::string, desktop::WindowID> numbers;
  desktop::WindowID next = (desktop::WindowID{1} << 41U) + 1;
};

// What the script told: see `watchingScript`. Absent when it is no such text; what is odd in a single window reads as
// not said, and a window without an identifier of KWin's form is left out.
[[nodiscard]] std::optional<desktop::WindowsSnapshot> parseState(std::string_view json, WindowNumbers& numbers);

}  // namespace quillard::kwin
