#include "companion/relay/app/SetupFiles.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillard::relayserver {
namespace {

namespace fs = std::filesystem;

fs::path withEnding(fs::path path, const char* ending) { return path += ending; }

// Empty, or why it cannot be written. A link in its place is not followed.
std::string write(const fs::path& path, const SetupFile& file) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return std::strerror(errno);
  std::string why;
  for (std::string_view rest = file.text; !rest.empty() && why.empty();) {
    const auto written = ::write(descriptor, rest.data(), rest.size());
    if (written <= 0) why = written < 0 ? std::strerror(errno) : "nothing more can be written";
    if (written > 0) rest.remove_prefix(static_cast<std::size_t>(written));
  }
  if (why.empty() && (::fchmod(descriptor, file.mode) != 0 || ::fsync(descriptor) != 0)) why = std::strerror(errno);
  ::close(descriptor);
  return why;
}

}  // namespace

SetupFiles::~SetupFiles() {
  if (isCommitted) return;
  std::error_code ignored;
  for (const auto& file : files) fs::remove(preparedName(file.path), ignored);
  // Of those that others have used since, none is empty.
  for (auto folder = madeFolders.rbegin(); folder != madeFolders.rend(); ++folder) fs::remove(*folder, ignored);
}

fs::path SetupFiles::preparedName(const fs::path& path) { return withEnding(path, ".new"); }

std::string SetupFiles::prepare() {
  for (const auto& file : files) {
    std::vector<fs::path> missing;
    std::error_code error;
    for (auto folder = file.path.parent_path(); !folder.empty() && !fs::exists(folder, error);
         folder = folder.parent_path()) {
      missing.insert(missing.begin(), folder);
    }
    for (const auto& folder : missing) {
      // The umask of the relay leaves nothing for others, who have to find what is in it.
      if (!fs::create_directory(folder, error)) return folder.string() + ": " + error.message();
      madeFolders.push_back(folder);
      fs::permissions(folder, fs::perms(0755), error);
    }
    const auto prepared = preparedName(file.path);
    fs::remove(prepared, error);
    if (const auto why = write(prepared, file); !why.empty()) return prepared.string() + ": " + why;
  }
  return "";
}

std::string SetupFiles::commit(const std::vector<fs::path>& obsolete) {
  std::vector<std::function<void(std::error_code&)>> undo;
  std::string problem;
  const auto rename = [&](const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::rename(from, to, error);
    if (error) problem = to.string() + ": " + error.message();
    if (!error) undo.emplace_back([from, to](std::error_code& ignored) { fs::rename(to, from, ignored); });
    return !error;
  };
  const auto putAside = [&](const fs::path& path) {
    std::error_code error;
    return !fs::exists(fs::symlink_status(path, error)) || rename(path, withEnding(path, ".old"));
  };
  bool isFine = true;
  for (const auto& file : files) {
    isFine = isFine && putAside(file.path) && rename(preparedName(file.path), file.path);
  }
  for (const auto& path : obsolete) isFine = isFine && putAside(path);
  std::error_code ignored;
  for (auto step = undo.rbegin(); !isFine && step != undo.rend(); ++step) (*step)(ignored);
  isCommitted = isFine;
  return problem;
}

std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace quillard::relayserver
