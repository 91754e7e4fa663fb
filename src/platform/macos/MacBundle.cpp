#include "platform/macos/MacBundle.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <pwd.h>
#include <unistd.h>

#include "platform/macos/CFValues.h"
#include "platform/macos/PropertyList.h"

namespace quillard::macos {
namespace {

using platform::ResourceError;
using Bytes = std::vector<std::uint8_t>;

std::optional<std::string> pathOf(const CFHandle<CFURLRef>& url) {
  constexpr std::size_t kLongestPath = 4096;
  std::array<UInt8, kLongestPath> path{};
  if (!url || !CFURLGetFileSystemRepresentation(url.get(), true, path.data(), static_cast<CFIndex>(path.size()))) {
    return std::nullopt;
  }
  return std::string(reinterpret_cast<const char*>(path.data()));
}

std::optional<std::string> homeOfAccount() {
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 4096> texts{};
  if (getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found) != 0 || !found) return std::nullopt;
  const std::string home(found->pw_dir);
  if (!home.starts_with('/')) return std::nullopt;
  return home;
}

std::string standardized(const std::filesystem::path& path) {
  std::string text = path.lexically_normal().string();
  if (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text;
}

std::variant<Bytes, ResourceError> contentOf(const std::string& path) {
  std::error_code problem;
  const auto size = std::filesystem::file_size(path, problem);
  if (problem) return ResourceError{problem.message()};
  if (size > MacBundle::kLargestResource) return ResourceError{"The file is too large."};
  std::ifstream file(path, std::ios::binary);
  Bytes bytes(size);
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  if (!file) return ResourceError{"The file could not be read."};
  return bytes;
}

}  // namespace

std::string MacBundle::path() const {
  const CFBundleRef bundle = CFBundleGetMainBundle();
  if (!bundle) return "";
  return pathOf(CFHandle<CFURLRef>::adopt(CFBundleCopyBundleURL(bundle))).value_or("");
}

std::string MacBundle::resolvedPath() const {
  const std::string given = path();
  std::error_code problem;
  const auto resolved = std::filesystem::canonical(given, problem);
  return problem ? given : resolved.string();
}

std::optional<std::string> MacBundle::identifier() const {
  const CFBundleRef bundle = CFBundleGetMainBundle();
  return bundle ? textOf(CFBundleGetIdentifier(bundle)) : std::nullopt;
}

std::optional<std::string> MacBundle::informationText(std::string_view key) const {
  const CFBundleRef bundle = CFBundleGetMainBundle();
  const auto name = makeString(key);
  if (!bundle || !name) return std::nullopt;
  return textOf(CFBundleGetValueForInfoDictionaryKey(bundle, name.get()));
}

std::optional<std::variant<platform::PropertyListTexts, ResourceError>> MacBundle::propertyList(
    std::string_view name) const {
  const CFBundleRef bundle = CFBundleGetMainBundle();
  const auto stem = makeString(name);
  const auto type = makeString("plist");
  if (!bundle || !stem || !type) return std::nullopt;
  const auto url = CFHandle<CFURLRef>::adopt(CFBundleCopyResourceURL(bundle, stem.get(), type.get(), nullptr));
  const auto path = pathOf(url);
  if (!path) return std::nullopt;
  auto content = contentOf(*path);
  if (auto* const error = std::get_if<ResourceError>(&content)) return std::move(*error);
  return readPropertyList(std::get<Bytes>(content));
}

std::vector<std::string> MacBundle::applicationDirectories() const {
  std::vector<std::string> folders{"/Applications"};
  if (const auto home = homeOfAccount()) folders.push_back(standardized(*home + "/Applications"));
  return folders;
}

}  // namespace quillard::macos
