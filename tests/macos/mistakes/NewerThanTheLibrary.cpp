// Rejected: 'to_chars' is unavailable: introduced in macOS 13.4
#include <array>
#include <charconv>
#include <string>

std::string textOf(double number) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
  return {text.data(), end.ptr};
}
