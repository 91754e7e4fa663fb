#include "platform/linux/system/AutostartEntry.h"

#include <filesystem>
#include <system_error>
#include <utility>
#include <variant>

#include "platform/linux/storage/XdgFolders.h"
#include "platform/linux/system/DesktopEntry.h"
#include "platform/linux/system/SmallFile.h"

namespace quillard::desktop {
namespace {

using platform::LoginServiceStatus;

constexpr const char* kFileName = "/com.quillard.agent.desktop";
// Where systemd notes that the user has switched on the unit that the package brings.
constexpr const char* kEnabledUnit = "/systemd/user/graphical-session.target.wants/quillard.service";
constexpr std::size_t kLargestEntry = 64 * 1024;

std::optional<std::string> inConfiguration(const platform::Environment& environment, const char* path) {
  const auto home = xdg::configurationHome(environment);
  return home ? std::optional(*home + path) : std::nullopt;
}

bool holds(const DesktopEntry::Values& entry, std::string_view key, std::string_view value) {
  const auto found = entry.find(key);
  return found != entry.end() && found->second == value;
}

// Desktops differ in how they note that the user wants no start.
bool isSwitchedOff(const DesktopEntry::Values& entry) {
  return holds(entry, "Hidden", "true") || holds(entry, "X-GNOME-Autostart-enabled", "false") ||
         holds(entry, "X-MATE-Autostart-enabled", "false");
}

bool starts(const DesktopEntry::Values& entry, const std::string& program) {
  const auto found = entry.find("Exec");
  return found != entry.end() && DesktopEntry::programOf(found->second) == program;
}

// "TryExec" keeps desktops from starting what has been removed since.
std::string entryText(const std::string& program) {
  return "[Desktop Entry]\n"
         "Type=Application\n"
         "Version=1.0\n"
         "Name=Quillard\n"
         "Comment=Sends approval prompts of this computer to your phone\n"
         "Exec=" +
         DesktopEntry::execValue(program) + "\nTryExec=" + DesktopEntry::escaped(program) +
         "\n"
         "Terminal=false\n"
         "StartupNotify=false\n";
}

}  // namespace

AutostartEntry::AutostartEntry(const platform::Environment& environment, std::string program)
    : folder(inConfiguration(environment, "/autostart")),
      enabledUnit(inConfiguration(environment, kEnabledUnit)),
      program(std::move(program)) {}

std::string AutostartEntry::entryPath() const { return *folder + kFileName; }

LoginServiceStatus AutostartEntry::status() {
  if (!folder) return LoginServiceStatus::notRegistered;
  std::error_code error;
  if (std::filesystem::is_symlink(*enabledUnit, error)) return LoginServiceStatus::enabled;
  const auto content = readSmallFile(entryPath(), kLargestEntry);
  const auto* const text = std::get_if<std::string>(&content);
  if (!text) return LoginServiceStatus::notRegistered;
  const auto entry = DesktopEntry::mainGroup(*text);
  if (isSwitchedOff(entry)) return LoginServiceStatus::requiresApproval;
  return starts(entry, program) ? LoginServiceStatus::enabled : LoginServiceStatus::notRegistered;
}

std::optional<std::string> AutostartEntry::registerMainApplication() {
  if (!folder) return "This user has no home folder.";
  if (status() != LoginServiceStatus::notRegistered) return std::nullopt;
  std::error_code error;
  std::filesystem::create_directories(*folder, error);
  if (error) return "The folder " + *folder + " cannot be made: " + error.message() + ".";
  const auto problem = replaceSmallFile(entryPath(), entryText(program));
  if (problem) return "The file " + entryPath() + " cannot be written: " + *problem + ".";
  return std::nullopt;
}

}  // namespace quillard::desktop
