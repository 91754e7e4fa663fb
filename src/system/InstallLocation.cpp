#include "system/InstallLocation.h"

#include <algorithm>
#include <string_view>

namespace quillard {

namespace {

// An absolute path without ".", "..", empty components and a "/" at its end. Links are not looked at.
std::string standardized(std::string_view path) {
  std::vector<std::string_view> kept;
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string_view component = path.substr(begin, end - begin);
    begin = end + 1;
    if (component.empty() || component == ".") continue;
    if (component != "..") {
      kept.push_back(component);
    } else if (!kept.empty()) {
      kept.pop_back();
    }
  }
  std::string result;
  for (const auto component : kept) result.append("/").append(component);
  return result.empty() ? "/" : result;
}

bool isInside(std::string_view path, std::string_view folder) {
  return path == folder || (path.starts_with(folder) && path.substr(folder.size()).starts_with('/'));
}

}  // namespace

std::vector<std::string> InstallLocation::applicationDirectories() const {
  auto directories = bundle.applicationDirectories();
  for (auto& directory : directories) directory = standardized(directory);
  return directories;
}

bool InstallLocation::isRunningFromApplications() const {
  const std::string path = standardized(bundle.resolvedPath());
  const auto directories = applicationDirectories();
  return std::any_of(directories.begin(), directories.end(),
                     [&](const std::string& folder) { return isInside(path, folder); });
}

}  // namespace quillard
