#include "platform/linux/system/XdgOpener.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

namespace quillard::desktop {
namespace {

constexpr std::string_view kAccessibilitySettings =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
constexpr std::string_view kLoginItems = "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";
constexpr std::size_t kLongestAddress = 8 * 1024;

char lowerCase(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }

bool beginsWith(std::string_view text, std::string_view lowerCasePrefix) {
  return text.size() >= lowerCasePrefix.size() &&
         std::equal(lowerCasePrefix.begin(), lowerCasePrefix.end(), text.begin(),
                    [](char wanted, char found) { return wanted == lowerCase(found); });
}

bool isForTheDesktop(std::string_view url) {
  constexpr std::array<std::string_view, 3> kSchemes{"http://", "https://", "file:///"};
  const bool isPlain = std::all_of(url.begin(), url.end(), [](char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value > 0x20 && value != 0x7F;
  });
  return isPlain && url.size() <= kLongestAddress &&
         std::any_of(kSchemes.begin(), kSchemes.end(),
                     [&](std::string_view scheme) { return url.size() > scheme.size() && beginsWith(url, scheme); });
}

}  // namespace

bool XdgOpener::openURL(std::string_view url) {
  if (url == kAccessibilitySettings) return actions.openAccessibilitySettings();
  if (url == kLoginItems) return actions.openLoginItems();
  return isForTheDesktop(url) && actions.start({"xdg-open", std::string(url)});
}

bool XdgOpener::openFolder(std::string_view path) {
  std::error_code error;
  const std::filesystem::path folder{path};
  if (!folder.is_absolute() || !std::filesystem::is_directory(folder, error)) return false;
  return actions.start({"xdg-open", std::string(path)});
}

std::vector<std::vector<std::string>> loginItemPrograms(std::string_view currentDesktop) {
  struct Desktop {
    std::string_view name;
    std::vector<std::vector<std::string>> programs;
  };
  static const std::vector<Desktop> desktops{
      {"KDE", {{"systemsettings", "kcm_autostart"}, {"systemsettings5", "kcm_autostart"}}},
      {"XFCE", {{"xfce4-session-settings"}}},
      {"MATE", {{"mate-session-properties"}}},
      {"X-Cinnamon", {{"cinnamon-settings", "startup"}}},
      {"LXQt", {{"lxqt-config-session"}}},
      {"GNOME", {{"gnome-tweaks"}}},
  };
  for (std::size_t start = 0; start <= currentDesktop.size();) {
    const auto end = std::min(currentDesktop.find(':', start), currentDesktop.size());
    const auto name = currentDesktop.substr(start, end - start);
    for (const auto& desktop : desktops) {
      if (desktop.name == name) return desktop.programs;
    }
    start = end + 1;
  }
  return {};
}

}  // namespace quillard::desktop
