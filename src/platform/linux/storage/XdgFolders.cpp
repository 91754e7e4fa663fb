#include "platform/linux/storage/XdgFolders.h"

#include <array>
#include <string_view>

#include <pwd.h>
#include <unistd.h>

namespace quillard::xdg {
namespace {

constexpr std::string_view kOwnFolder = "/quillard";

std::optional<std::string> absolute(std::optional<std::string> path) {
  return path && path->starts_with('/') ? path : std::nullopt;
}

std::optional<std::string> homeOfAccount() {
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 4096> texts{};
  if (getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found) != 0 || !found) return std::nullopt;
  return absolute(std::string(found->pw_dir));
}

std::optional<std::string> folder(const platform::Environment& environment, std::string_view variable,
                                  std::string_view belowHome) {
  if (const auto set = absolute(environment.value(variable))) return *set + std::string(kOwnFolder);
  auto home = absolute(environment.value("HOME"));
  if (!home) home = homeOfAccount();
  if (!home) return std::nullopt;
  return *home + std::string(belowHome) + std::string(kOwnFolder);
}

}  // namespace

std::optional<std::string> dataFolder(const platform::Environment& environment) {
  return folder(environment, "XDG_DATA_HOME", "/.local/share");
}

std::optional<std::string> configurationFolder(const platform::Environment& environment) {
  return folder(environment, "XDG_CONFIG_HOME", "/.config");
}

}  // namespace quillard::xdg
