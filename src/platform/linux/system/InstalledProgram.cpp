#include "platform/linux/system/InstalledProgram.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <span>
#include <system_error>
#include <utility>

#include "platform/linux/storage/PropertyList.h"
#include "platform/linux/storage/XdgFolders.h"
#include "platform/linux/system/SmallFile.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargestFile = 256 * 1024;

std::span<const std::uint8_t> bytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

bool isInstalled(const std::string& folder) { return fs::path(folder).extension() == ".app"; }

// Absent when there is no such file.
std::optional<std::variant<platform::PropertyListTexts, platform::ResourceError>> readFile(const std::string& path) {
  const auto content = readSmallFile(path, kLargestFile);
  if (const auto* const problem = std::get_if<SmallFileProblem>(&content)) {
    if (problem->isAbsent) return std::nullopt;
    return platform::ResourceError{problem->description};
  }
  return xdg::readPropertyList(bytesOf(std::get<std::string>(content)));
}

platform::PropertyListTexts readInformation(const std::string& folder) {
  auto content = readFile(folder + "/Info.plist");
  auto* const texts = content ? std::get_if<platform::PropertyListTexts>(&*content) : nullptr;
  return texts ? std::move(*texts) : platform::PropertyListTexts{};
}

std::string standardized(const std::string& path) {
  auto text = fs::path(path).lexically_normal().string();
  while (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text;
}

std::vector<std::string> findApplicationDirectories(const platform::Environment& environment) {
  std::vector<std::string> found;
  if (const auto home = xdg::homeFolder(environment)) found.push_back(standardized(*home + "/.local/lib"));
  for (const char* const shared : {"/opt", "/usr/local/lib", "/usr/lib"}) found.emplace_back(shared);
  const auto asNamed = found;
  for (const auto& directory : asNamed) {
    std::error_code error;
    const auto real = fs::weakly_canonical(directory, error).string();
    if (!error && std::find(found.begin(), found.end(), real) == found.end()) found.push_back(real);
  }
  return found;
}

bool isPartOfName(std::string_view text) {
  constexpr std::string_view kNeverInNames{"/\0", 2};
  return !text.empty() && text.find_first_of(kNeverInNames) == std::string_view::npos;
}

}  // namespace

InstalledProgram::InstalledProgram(const std::string& executable, const platform::Environment& environment)
    : folder(standardized(fs::path(executable).parent_path().string())),
      directories(findApplicationDirectories(environment)) {
  if (isInstalled(folder)) information = readInformation(folder);
}

std::string InstalledProgram::ownExecutable() {
  std::error_code error;
  auto path = fs::read_symlink("/proc/self/exe", error).string();
  // The kernel adds this to the name of a program that was replaced meanwhile.
  constexpr std::string_view kReplaced = " (deleted)";
  if (path.ends_with(kReplaced) && !fs::exists(path, error)) path.resize(path.size() - kReplaced.size());
  return path;
}

std::string InstalledProgram::resolvedPath() const {
  std::error_code error;
  const auto resolved = fs::canonical(folder, error).string();
  return error ? folder : resolved;
}

std::optional<std::string> InstalledProgram::identifier() const { return informationText("CFBundleIdentifier"); }

std::optional<std::string> InstalledProgram::informationText(std::string_view key) const {
  const auto found = information.find(key);
  return found == information.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::variant<platform::PropertyListTexts, platform::ResourceError>> InstalledProgram::propertyList(
    std::string_view name) const {
  if (!isPartOfName(name)) return std::nullopt;
  return readFile(folder + "/Resources/" + std::string(name) + ".plist");
}

}  // namespace quillard::desktop
