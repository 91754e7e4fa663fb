#include "app/PairingCodeText.h"

#include <string>

#include "values/Secret.h"

namespace quillard::app {
namespace {

constexpr std::string_view kBlackOnWhite = "\x1B[30;47m";
constexpr std::string_view kUsualColours = "\x1B[0m\n";

bool isDark(const Bitmap& code, int x, int y) {
  if (y >= code.height) return false;
  return code.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(code.width) + static_cast<std::size_t>(x)] <
         128;
}

std::string_view character(bool isUpperDark, bool isLowerDark) {
  if (isUpperDark) return isLowerDark ? "\u2588" : "\u2580";
  return isLowerDark ? "\u2584" : " ";
}

}  // namespace

Secret terminalText(const Bitmap& code) {
  constexpr std::size_t kLongestCharacter = 3;
  const auto lines = static_cast<std::size_t>(code.height + 1) / 2;
  const auto longestLine =
      kBlackOnWhite.size() + kLongestCharacter * static_cast<std::size_t>(code.width) + kUsualColours.size();
  std::string text;
  text.reserve(lines * longestLine);  // Enough for all of it, so that no copy is left behind.
  for (int y = 0; y < code.height; y += 2) {
    text += kBlackOnWhite;
    for (int x = 0; x < code.width; ++x) text += character(isDark(code, x, y), isDark(code, x, y + 1));
    text += kUsualColours;
  }
  return takenSecret(text);
}

}  // namespace quillard::app
