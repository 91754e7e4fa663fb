#include "platform/linux/shell/DesktopTheme.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "foundation/Text.h"
#include "foundation/WholeNumber.h"

namespace quillard::desktop {
namespace {

using qt::ColorScheme;

constexpr std::uint64_t kLargestComponent = 255;

// The value of `key` in `group` of a settings file. Absent: none.
std::optional<std::string> valueIn(std::string_view file, std::string_view group, std::string_view key) {
  bool isInGroup = false;
  while (!file.empty()) {
    const auto end = std::min(file.find('\n'), file.size());
    const auto line = text::trimmed(file.substr(0, end));
    file.remove_prefix(std::min(end + 1, file.size()));
    if (line.starts_with('[')) {
      isInGroup = line == group;
      continue;
    }
    const auto sign = line.find('=');
    if (isInGroup && sign != std::string_view::npos && text::trimmed(line.substr(0, sign)) == key) {
      return std::string(text::trimmed(line.substr(sign + 1)));
    }
  }
  return std::nullopt;
}

// "Adwaita:dark", 'Yaru-dark', "Breeze-Dark": nothing else is said of a theme.
ColorScheme schemeOfTheme(std::string_view name) {
  const auto words = text::lowercased(name);
  return words.find("dark") != std::string::npos ? ColorScheme::dark : ColorScheme::noPreference;
}

// "42,46,50": how bright windows are, as eyes see it.
ColorScheme schemeOfGround(std::string_view color) {
  constexpr std::array<double, 3> kWeights{0.299, 0.587, 0.114};
  double brightness = 0;
  for (const double weight : kWeights) {
    const auto end = std::min(color.find(','), color.size());
    const auto component = wholeNumber(text::trimmed(color.substr(0, end)));
    if (!component || *component > kLargestComponent) return ColorScheme::noPreference;
    brightness += weight * static_cast<double>(*component);
    color.remove_prefix(std::min(end + 1, color.size()));
  }
  return brightness < kLargestComponent / 2.0 ? ColorScheme::dark : ColorScheme::light;
}

ColorScheme schemeOfSetting(std::string_view setting) {
  if (setting.find("prefer-dark") != std::string_view::npos) return ColorScheme::dark;
  return setting.find("prefer-light") != std::string_view::npos ? ColorScheme::light : ColorScheme::noPreference;
}

ColorScheme schemeOfToolkit(std::string_view file) {
  const auto prefersDark = valueIn(file, "[Settings]", "gtk-application-prefer-dark-theme").value_or("");
  if (prefersDark == "1" || prefersDark == "true") return ColorScheme::dark;
  return schemeOfTheme(valueIn(file, "[Settings]", "gtk-theme-name").value_or(""));
}

}  // namespace

ColorScheme colorSchemeOf(const ThemeFacts& facts) {
  const auto ground = valueIn(facts.desktopColors, "[Colors:Window]", "BackgroundNormal").value_or("");
  for (const auto scheme :
       {schemeOfTheme(facts.toolkitTheme), schemeOfGround(ground), schemeOfSetting(facts.colorScheme),
        schemeOfTheme(facts.gtkTheme), schemeOfToolkit(facts.toolkitSettings)}) {
    if (scheme != ColorScheme::noPreference) return scheme;
  }
  return ColorScheme::noPreference;
}

}  // namespace quillard::desktop
