#include "platform/linux/windows/WindowTitles.h"

#include <algorithm>

namespace quillard::desktop {

bool isNumbered(const Window& window, std::string_view title) {
  constexpr std::string_view kMark = "\u200E";  // KWin may write it behind the number.
  std::string_view rest = window.name;
  if (!window.mayBeNumbered || title.empty() || !rest.starts_with(title)) return false;
  rest.remove_prefix(title.size());
  if (rest.ends_with(kMark)) rest.remove_suffix(kMark.size());
  if (rest.size() < 4 || !rest.starts_with(" <") || !rest.ends_with(">")) return false;
  const auto number = rest.substr(2, rest.size() - 3);
  return std::all_of(number.begin(), number.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

std::string titleWithoutNumber(const Window& window, const WindowsSnapshot& snapshot) {
  if (!window.mayBeNumbered) return window.name;
  const auto base = std::find_if(snapshot.windows.begin(), snapshot.windows.end(),
                                 [&](const Window& other) { return isNumbered(window, other.name); });
  return base == snapshot.windows.end() ? window.name : base->name;
}

}  // namespace quillard::desktop
