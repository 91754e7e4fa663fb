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

std::optional<std::string> baseFolder(const platform::Environment& environment, std::string_view variable,
                                      std::string_view belowHome) {
  if (auto set = absolute(environment.value(variable))) return set;
  const auto home = homeFolder(environment);
  return home ? std::optional(*home + std::string(belowHome)) : std::nullopt;
}

std::optional<std::string> ownFolder(std::optional<std::string> base) {
  return base ? std::optional(*base + std::string(kOwnFolder)) : std::nullopt;
}

}  // namespace

std::optional<std::string> dataFolder(const platform::Environment& environment) {
  return ownFolder(baseFolder(environment, "XDG_DATA_HOME", "/.local/share"));
}

std::optional<std::string> configurationFolder(const platform::Environment& environment) {
  return ownFolder(configurationHome(environment));
}

std::optional<std::string> homeFolder(const platform::Environment& environment) {
  auto home = absolute(environment.value("HOME"));
  return home ? home : homeOfAccount();
}

std::optional<std::string> configurationHome(const platform::Environment& environment) {
  return baseFolder(environment, "XDG_CONFIG_HOME", "/.config");
}

}  // namespace quillard::xdg
