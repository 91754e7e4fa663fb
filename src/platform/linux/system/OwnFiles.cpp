#include "platform/linux/system/OwnFiles.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/processes/AgentProcesses.h"
#include "platform/linux/storage/XdgFolders.h"
#include "platform/linux/system/DesktopEntry.h"
#include "platform/linux/system/RuntimeFolder.h"
#include "platform/linux/system/SmallFile.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

constexpr const char* kAutostart = "/autostart";
constexpr std::string_view kAutostartEntry = "com.quillard.agent.desktop";
constexpr const char* kEnabledUnit = "/systemd/user/graphical-session.target.wants/quillard.service";
constexpr std::string_view kNew = ".new";
constexpr std::string_view kAside = ".damaged-";
constexpr std::string_view kCopyDraft = ".desktop.quillard-new";
constexpr std::size_t kDraftLetters = 6;  // After a dot, at the end of what SmallFile did not finish.
constexpr const char* kProgram = "lib/Quillard.app/quillard";
constexpr const char* kLink = "bin/quillard";
constexpr const char* kMenuEntry = "share/applications/com.quillard.agent.desktop";
constexpr int kDeepestMenu = 4;
constexpr std::size_t kMostMenuFiles = 10'000;

// A link that leads nowhere is there, too.
bool isThere(const std::string& path) {
  std::error_code error;
  return fs::exists(fs::symlink_status(path, error));
}

// `name` itself, what a write that was cut off leaves, and what was put aside because it could not be read.
bool isFormOf(std::string_view file, std::string_view name) {
  if (!file.starts_with(name)) return false;
  file.remove_prefix(name.size());
  if (file.empty() || file == kNew) return true;
  if (!file.starts_with(kAside)) return false;
  file.remove_prefix(kAside.size());
  return !file.empty() && std::all_of(file.begin(), file.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

// `name`, or what a write of it that was cut off leaves. An ending of small letters alone may be a word (".backup")
// that the user chose; of the random ones one in two hundred is of that kind, and stays.
bool isNameOrDraft(std::string_view file, std::string_view name) {
  if (!file.starts_with(name)) return false;
  file.remove_prefix(name.size());
  if (file.empty()) return true;
  const auto isIn = [&](auto isKind) { return std::all_of(file.begin() + 1, file.end(), isKind); };
  return file.size() == kDraftLetters + 1 && file.front() == '.' &&
         isIn([](unsigned char c) { return std::isalnum(c) != 0; }) &&
         !isIn([](unsigned char c) { return std::islower(c) != 0; });
}

// Each once, in the order in which they come.
void add(Paths& paths, std::string path) {
  if (std::find(paths.begin(), paths.end(), path) == paths.end()) paths.push_back(std::move(path));
}

// The names of files in `folder` that `isWanted`, sorted. A link in the place of the folder is not followed.
template <class IsWanted>
Paths filesIn(const std::string& folder, IsWanted isWanted) {
  Paths found;
  std::error_code error;
  if (!fs::is_directory(fs::symlink_status(folder, error))) return found;
  for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error)) {
    if (isWanted(file->path().filename().string())) found.push_back(file->path().string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

// Those of `folder` that are a form of one of `names`, and then the folder.
void addPrivateFiles(Paths& paths, const std::string& folder, std::initializer_list<std::string_view> names) {
  if (!isThere(folder)) return;
  const auto isOurs = [&](const std::string& name) {
    return std::any_of(names.begin(), names.end(), [&](auto known) { return isFormOf(name, known); });
  };
  for (auto& path : filesIn(folder, isOurs)) add(paths, std::move(path));
  add(paths, folder);
}

Paths configurationHomes(const platform::Environment& environment) {
  Paths folders;
  if (auto set = xdg::configurationHome(environment)) add(folders, *std::move(set));
  if (const auto home = xdg::homeFolder(environment)) add(folders, *home + "/.config");
  return folders;
}

Paths dataHomes(const platform::Environment& environment) {
  Paths folders;
  if (const auto own = xdg::dataFolder(environment)) add(folders, fs::path(*own).parent_path());
  if (const auto home = xdg::homeFolder(environment)) add(folders, *home + "/.local/share");
  return folders;
}

// What copies of menu entries that were cut off left.
void addCopyDrafts(Paths& paths, const std::string& folder) {
  std::error_code error;
  std::size_t seen = 0;
  const auto options = fs::directory_options::skip_permission_denied;
  for (fs::recursive_directory_iterator file(folder, options, error), end; !error && file != end;
       file.increment(error)) {
    if (++seen > kMostMenuFiles) break;
    if (file.depth() >= kDeepestMenu) file.disable_recursion_pending();
    const auto name = file->path().filename().string();
    const auto at = name.find(kCopyDraft);
    if (at != std::string::npos && at > 0 && isNameOrDraft(std::string_view(name).substr(at), kCopyDraft)) {
      add(paths, file->path().string());
    }
  }
}

// Whether a desktop entry starts an installation's program; it may have been moved as a whole since.
bool startsTheProgram(const std::string& entry) {
  constexpr std::size_t kLargestEntry = 64 * 1024;
  const auto contents = readSmallFile(entry, kLargestEntry);
  const auto* const text = std::get_if<std::string>(&contents);
  if (!text) return false;
  const auto values = DesktopEntry::mainGroup(*text);
  const auto found = values.find("Exec");
  return found != values.end() &&
         DesktopEntry::programOf(found->second).value_or("").ends_with("/" + std::string(kProgram));
}

bool isLinkTo(const std::string& path, const std::string& target) {
  std::error_code error;
  return fs::is_symlink(fs::symlink_status(path, error)) && fs::equivalent(path, target, error);
}

// Folders that only this program or its installation has a use for.
bool isOwnFolder(const fs::path& folder) {
  const auto path = folder.string();
  const auto name = folder.filename();
  return name == "quillard" || name == "quillard-relay" || name == "Quillard.app" ||
         path.ends_with("/Quillard.app/Resources") || path.find("/icons/hicolor/") != std::string::npos;
}

// Those above `path` that are empty.
void removeOwnFoldersAbove(const std::string& path) {
  std::error_code error;
  for (fs::path folder = fs::path(path).parent_path(); isOwnFolder(folder); folder = folder.parent_path()) {
    if (!fs::is_directory(fs::symlink_status(folder, error)) || !fs::is_empty(folder, error) || error) return;
    if (!fs::remove(folder, error)) return;
  }
}

Paths remove(const Paths& paths) {
  Paths problems;
  for (const auto& path : paths) {
    std::error_code error;
    fs::remove(path, error);
    if (error == std::errc::directory_not_empty) {
      problems.push_back("The folder " + path + " holds files of other names, and stays.");
    } else if (error) {
      problems.push_back(path + " cannot be deleted: " + error.message() + ".");
    } else {
      removeOwnFoldersAbove(path);
    }
  }
  return problems;
}

void append(Paths& paths, const Paths& more) { paths.insert(paths.end(), more.begin(), more.end()); }

}  // namespace

const Paths& OwnFiles::installed() {
  static const Paths paths = [] {
    Paths all{"bin/quillard",
              "lib/Quillard.app/quillard",
              "lib/Quillard.app/Info.plist",
              "lib/Quillard.app/Resources/RelayConfig.plist",
              "share/applications/com.quillard.agent.desktop",
              "share/bash-completion/completions/quillard",
              "share/fish/vendor_completions.d/quillard.fish",
              "share/zsh/site-functions/_quillard",
              "share/man/man1/quillard.1",
              "share/metainfo/com.quillard.agent.metainfo.xml",
              "share/icons/hicolor/scalable/apps/com.quillard.agent.svg"};
    for (const char* const size : {"16", "22", "24", "32", "48", "64", "96", "128", "256", "512"}) {
      all.push_back("share/icons/hicolor/" + std::string(size) + "x" + size + "/apps/com.quillard.agent.png");
    }
    return all;
  }();
  return paths;
}

Paths OwnFiles::loginStarts() const {
  Paths paths;
  for (const auto& home : configurationHomes(environment)) {
    const auto isEntry = [](const std::string& name) { return isNameOrDraft(name, kAutostartEntry); };
    for (auto& path : filesIn(home + kAutostart, isEntry)) add(paths, std::move(path));
    if (isThere(home + kEnabledUnit)) add(paths, home + kEnabledUnit);
  }
  return paths;
}

Paths OwnFiles::kept() const {
  Paths paths;
  for (const auto& home : dataHomes(environment)) addCopyDrafts(paths, home + "/applications");
  for (const auto& home : configurationHomes(environment))
    addPrivateFiles(paths, home + "/quillard", {"settings.json"});
  for (const auto& home : dataHomes(environment)) {
    addPrivateFiles(paths, home + "/quillard", {"decisions.log", "secrets"});
    addPrivateFiles(paths, home + "/quillard-relay",
                    {"relay.db", "relay.db-wal", "relay.db-shm", "relay.db-journal", "relay.log", "agent.log"});
  }
  return paths;
}

Paths OwnFiles::installedHere() const {
  Paths paths;
  const auto home = xdg::homeFolder(environment);
  if (!home) return paths;
  const auto prefix = *home + "/.local/";
  const auto program = prefix + kProgram;
  if (!isThere(program)) return paths;
  for (const auto& name : installed()) {
    const auto path = prefix + name;
    if (name == kProgram || !isThere(path)) continue;
    if (name == kLink && !isLinkTo(path, program)) continue;
    if (name == kMenuEntry && !startsTheProgram(path)) continue;
    paths.push_back(path);
  }
  paths.push_back(program);
  return paths;
}

Paths OwnFiles::ofTheSession() const {
  Paths paths;
  const auto temporary = environment.value("TMPDIR").value_or("");
  const auto ours = (temporary.starts_with('/') ? temporary : "/tmp") + "/quillard-" + std::to_string(::geteuid());
  const auto addFiles = [&](const std::string& folder) {
    for (const char* const name : {"/com.quillard.agent.socket", "/com.quillard.agent.lock"}) {
      if (isThere(folder + name)) add(paths, folder + name);
    }
  };
  if (const auto folder = sessionFolder(environment)) addFiles(*folder);
  std::error_code error;
  if (fs::is_directory(fs::symlink_status(ours, error))) addFiles(ours);
  if (isThere(ours)) add(paths, ours);
  return paths;
}

Paths OwnFiles::found() {
  auto paths = loginStarts();
  for (const auto& start : copies.changed()) paths.push_back("the menu's entry of " + start.name);
  append(paths, kept());
  append(paths, installedHere());
  append(paths, ofTheSession());
  return paths;
}

Paths OwnFiles::folders() {
  auto paths = configurationHomes(environment);
  for (auto& folder : dataHomes(environment)) add(paths, std::move(folder));
  if (const auto home = xdg::homeFolder(environment)) add(paths, *home + "/.local");
  return paths;
}

Paths OwnFiles::eraseLoginStarts() { return remove(loginStarts()); }

// Lock and socket go last: until then no agent starts beneath what is deleted.
Paths OwnFiles::erase(bool keepsProgram) {
  Paths problems;
  for (const auto& start : copies.changed()) {
    if (auto problem = copies.undo(start.entry)) problems.push_back(*std::move(problem));
  }
  append(problems, remove(kept()));
  if (problems.empty() && !keepsProgram) append(problems, remove(installedHere()));
  append(problems, remove(ofTheSession()));
  return problems;
}

// It listens at a name in the kernel, which goes with it.
bool OwnFiles::areInUse() {
  const auto requested = environment.value("QUILLARD_RUN_NAME");
  const auto name = "quillard-run-" + std::to_string(::geteuid()) + (requested ? "-" + *requested : "");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const auto length = std::min(name.size(), sizeof(address.sun_path) - 1);
  std::memcpy(&address.sun_path[1], name.data(), length);
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
  const int trial = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (trial < 0) return false;
  ucred peer{};
  socklen_t peerSize = sizeof(peer);
  const bool isUp = ::connect(trial, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                    ::getsockopt(trial, SOL_SOCKET, SO_PEERCRED, &peer, &peerSize) == 0 && peer.uid == ::geteuid();
  ::close(trial);
  return isUp;
}

std::optional<std::string> OwnFiles::agentsOtherFolders() {
  const auto home = xdg::homeFolder(environment).value_or("");
  const auto data = xdg::dataFolder(environment);
  struct Place {
    const char* variable;
    std::string here;
    std::string usual;
  };
  const Place places[] = {
      {"XDG_CONFIG_HOME", xdg::configurationHome(environment).value_or(""), home + "/.config"},
      {"XDG_DATA_HOME", data ? fs::path(*data).parent_path().string() : "", home + "/.local/share"}};
  std::string text;
  for (const auto agent : proc::AgentProcesses(processes, sessionFolder(environment)).find()) {
    for (const auto& [variable, here, usual] : places) {
      const auto set = processes.variable(agent, variable).value_or("");
      const auto& there = set.starts_with('/') ? set : usual;
      if (there != here) text += (text.empty() ? "" : " ") + std::string(variable) + "=" + there;
    }
    if (!text.empty()) return text;
  }
  return std::nullopt;
}

}  // namespace quillard::desktop
