#include "platform/linux/processes/DesktopEntries.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "foundation/Text.h"
#include "platform/linux/processes/Interpreters.h"
#include "platform/linux/processes/ScriptVariables.h"

namespace quillard::proc {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestFile = 256 * 1024;
constexpr auto kReadInterval = std::chrono::seconds{5};

// The beginning of the file, at most so many bytes. Absent: no file, or none that can be read.
std::optional<std::string> beginningOf(const fs::path& path, std::size_t most) {
  std::error_code error;
  const auto size = fs::is_regular_file(path, error) ? fs::file_size(path, error) : 0;
  if (error || size == 0) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  std::string contents(static_cast<std::size_t>(std::min<std::uintmax_t>(size, most)), '\0');
  file.read(contents.data(), static_cast<std::streamsize>(contents.size()));
  contents.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return contents;
}

std::optional<std::string> contentsOf(const fs::path& path) {
  auto contents = beginningOf(path, kLongestFile + 1);
  if (!contents || contents->size() > kLongestFile || !text::isValidUtf8(*contents)) return std::nullopt;
  return contents;
}

constexpr std::size_t kLongestScript = 64 * 1024;

// Its beginning, if it is one.
std::optional<std::string> scriptAt(const std::string& path) {
  auto text = beginningOf(path, kLongestScript);
  return text && text->starts_with("#!") ? std::move(text) : std::nullopt;
}

std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

// Of which a name in a script says nothing.
bool isSharedFolder(const std::string& folder) {
  static constexpr std::array<std::string_view, 9> kNames{"bin",   "sbin",    "games", "lib",  "lib32",
                                                          "lib64", "libexec", "opt",   "share"};
  const auto name = baseName(folder);
  const bool isArchitecture = name.ends_with("-linux-gnu") || name.ends_with("-linux-gnueabihf");
  return name.empty() || isArchitecture || std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

bool isPartOfName(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || std::string_view("_-.+").find(c) != std::string_view::npos;
}

// Whether the text holds the path, and not only as a part of a longer name, for which `isEnough` sees what is around
// it.
template <class IsEnough>
bool holds(std::string_view text, std::string_view path, IsEnough isEnough) {
  for (auto at = text.find(path); at != std::string_view::npos; at = text.find(path, at + 1)) {
    const auto rest = text.substr(at + path.size());
    if ((rest.empty() || !isPartOfName(rest.front())) && isEnough(text.substr(0, at), rest)) return true;
  }
  return false;
}

// The part of a word that stands right before.
std::string_view wordBefore(std::string_view text) {
  const auto end = text.find_last_of(" \t\r\n\"'`()=;&|<>");
  return end == std::string_view::npos ? text : text.substr(end + 1);
}

// What a program is given in a command line: "%U" stands for files, and a switch may be taken by the program's starter.
bool isMeantForProgram(const std::string& word) {
  return !word.starts_with('-') && !(word.size() == 2 && word.starts_with('%'));
}

// What the process was given by whoever started it: an application for the runtime that it is.
bool isApplication(const std::string& argument) { return argument.ends_with(".asar"); }

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const auto part = text.substr(0, text.find(separator));
    if (!part.empty()) parts.emplace_back(part);
    text.remove_prefix(std::min(part.size() + 1, text.size()));
  }
  return parts;
}

// The words of a command line, double quotes taken away.
std::vector<std::string> wordsOf(std::string_view commandLine) {
  std::vector<std::string> words;
  std::string word;
  bool isQuoted = false;
  bool hasWord = false;
  for (std::size_t i = 0; i < commandLine.size(); ++i) {
    const char c = commandLine[i];
    if (c == '"') {
      isQuoted = !isQuoted;
      hasWord = true;
    } else if (c == '\\' && isQuoted && i + 1 < commandLine.size()) {
      word += commandLine[++i];
    } else if ((c == ' ' || c == '\t') && !isQuoted) {
      if (hasWord) words.push_back(std::exchange(word, {}));
      hasWord = false;
    } else {
      word += c;
      hasWord = true;
    }
  }
  if (hasWord) words.push_back(word);
  return words;
}

// The keys of the group "Desktop Entry".
std::map<std::string, std::string, std::less<>> keysOf(std::string_view text) {
  std::map<std::string, std::string, std::less<>> keys;
  bool isInGroup = false;
  while (!text.empty()) {
    const auto whole = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(whole.size() + 1, text.size()));
    const auto line = text::trimmed(whole);
    if (line.starts_with('[')) {
      isInGroup = line == "[Desktop Entry]";
      continue;
    }
    const auto equals = line.find('=');
    if (!isInGroup || line.starts_with('#') || equals == std::string_view::npos) continue;
    keys.emplace(text::trimmed(line.substr(0, equals)), text::trimmed(line.substr(equals + 1)));
  }
  return keys;
}

}  // namespace

std::vector<std::string> localeVariants(std::string_view locale) {
  // language_COUNTRY.ENCODING@MODIFIER
  const auto at = locale.find('@');
  const std::string modifier{at == std::string_view::npos ? "" : locale.substr(at)};
  const auto plain = locale.substr(0, std::min(locale.find('.'), at));
  const std::string full{plain};
  const std::string language{plain.substr(0, plain.find('_'))};
  if (language.empty() || language == "C" || language == "POSIX") return {};
  std::vector<std::string> variants;
  for (const auto& variant : {full + modifier, full, language + modifier, language}) {
    if (std::find(variants.begin(), variants.end(), variant) == variants.end()) variants.push_back(variant);
  }
  return variants;
}

std::string programOfCommand(std::string_view commandLine) {
  auto words = wordsOf(commandLine);
  auto word = words.begin();
  if (word != words.end() && baseName(*word) == "env") {
    ++word;
    while (word != words.end() && (word->find('=') != std::string::npos || word->starts_with('-'))) ++word;
  }
  if (word == words.end()) return "";
  if (!isInterpreter(baseName(*word))) return *word;
  return scriptOf({word, words.end()}).value_or("");
}

bool startsProgram(std::string_view script, const std::string& scriptPath, const std::string& program) {
  const auto folder = folderOf(program);
  const auto isWhole = [](std::string_view before, std::string_view) { return wordBefore(before).empty(); };
  if (holds(script, program, isWhole)) return true;
  const auto isWholeFolder = [&](std::string_view before, std::string_view rest) {
    return isWhole(before, rest) && (!rest.starts_with('/') || rest.starts_with("/$") || rest.starts_with("/\""));
  };
  if (!isSharedFolder(folder) && holds(script, folder, isWholeFolder)) return true;
  const auto isBeside = [](std::string_view before, std::string_view rest) {
    return !wordBefore(before).starts_with('/') && !rest.starts_with('/');
  };
  return folderOf(scriptPath) == folder && holds(script, "/" + baseName(program), isBeside);
}

std::optional<DesktopEntry> parseDesktopEntry(std::string id, std::string_view text,
                                              const std::vector<std::string>& locales) {
  const auto keys = keysOf(text);
  const auto value = [&](std::string_view key) {
    const auto found = keys.find(key);
    return found == keys.end() ? std::string{} : found->second;
  };
  if (value("Type") != "Application" || value("Hidden") == "true") return std::nullopt;
  DesktopEntry entry{.id = std::move(id),
                     .name = value("Name"),
                     .windowClass = value("StartupWMClass"),
                     .command = programOfCommand(value("Exec"))};
  const auto words = wordsOf(value("Exec"));
  const auto program = std::find(words.begin(), words.end(), entry.command);
  if (program != words.end())
    std::copy_if(program + 1, words.end(), std::back_inserter(entry.words), isMeantForProgram);
  for (const auto& locale : locales) {
    const auto localized = value("Name[" + locale + "]");
    if (localized.empty()) continue;
    entry.name = localized;
    break;
  }
  return entry.name.empty() ? std::nullopt : std::optional{std::move(entry)};
}

std::optional<DesktopEntry> DesktopEntries::find(const std::string& program, const std::string& windowClass) {
  const MutexLock lock(mutex);
  refresh();
  const std::string lowerClass = text::lowercased(windowClass);
  const auto byProgram = idsByProgram.find(program);
  if (byProgram != idsByProgram.end()) {
    const auto& ids = byProgram->second;
    for (const auto& id : ids) {
      const bool fits = text::lowercased(byID.at(id)->windowClass) == lowerClass || text::lowercased(id) == lowerClass;
      if (fits && !lowerClass.empty()) return byID.at(id);
    }
    return byID.at(ids.front());
  }
  const auto byClass = lowerClass.empty() ? idByClass.end() : idByClass.find(lowerClass);
  return byClass == idByClass.end() ? std::nullopt : byID.at(byClass->second);
}

std::optional<EntryFile> DesktopEntries::starterOf(const std::string& program,
                                                   const std::vector<std::string>& arguments) {
  const MutexLock lock(mutex);
  refresh();
  const std::string name = baseName(program);
  std::vector<std::string> ids;
  std::set<std::string> names{name};
  for (const auto& [path, those] : idsByProgram) {
    const bool isNear = baseName(path) == name || folderOf(path) == folderOf(program);
    if (path != program && !isNear) continue;
    if (path != program) {
      const auto script = scriptAt(path);
      const bool isStarter = script && (startsProgram(*script, path, program) ||
                                        startsProgram(withKnownVariables(*script), path, program));
      if (!isStarter) continue;
    }
    names.insert(baseName(path));
    for (const auto& id : those) {
      if (path != program || isStartOf(*byID.at(id), arguments)) ids.push_back(id);
    }
  }
  if (ids.size() > 1) std::erase_if(ids, [&](const std::string& id) { return !names.contains(id); });
  return ids.size() == 1 ? fileOf(ids.front()) : std::nullopt;
}

// Whether the process may have been started by the entry: it was given all that the entry gives, and no application of
// another start.
bool DesktopEntries::isStartOf(const DesktopEntry& entry, const std::vector<std::string>& arguments) {
  const auto isGiven = [&](const std::string& word) {
    return std::find(arguments.begin(), arguments.end(), word) != arguments.end();
  };
  const auto isForeign = [&](const std::string& argument) {
    return isApplication(argument) && std::find(entry.words.begin(), entry.words.end(), argument) == entry.words.end();
  };
  return std::all_of(entry.words.begin(), entry.words.end(), isGiven) &&
         std::none_of(arguments.begin(), arguments.end(), isForeign);
}

std::optional<EntryFile> DesktopEntries::file(const std::string& id) {
  const MutexLock lock(mutex);
  refresh();
  return fileOf(id);
}

void DesktopEntries::forget() {
  const MutexLock lock(mutex);
  lastReading.reset();
}

std::optional<EntryFile> DesktopEntries::fileOf(const std::string& id) const {
  const auto entry = byID.find(id);
  if (entry == byID.end() || !entry->second) return std::nullopt;
  const auto& [folder, path] = placeByID.at(id);
  return EntryFile{.entry = *entry->second, .folder = folder, .path = path};
}

void DesktopEntries::refresh() {
  const auto now = Clock::now();
  if (lastReading && (now - *lastReading < kReadInterval)) return;
  const bool isFirst = !lastReading;
  lastReading = now;
  if (!isFirst && !haveFoldersChanged()) return;
  folders.clear();
  byID.clear();
  placeByID.clear();
  idsByProgram.clear();
  idByClass.clear();
  const auto wanted = locales();
  for (const auto& folder : dataFolders()) readFolder(folder / "applications", wanted);
  for (const auto& [id, entry] : byID) {
    if (!entry) continue;
    const std::string program = resolved(entry->command);
    if (!program.empty()) idsByProgram[program].push_back(id);
    idByClass.emplace(text::lowercased(id), id);
  }
  // What an entry says of its windows outweighs what another one is called.
  for (const auto& [id, entry] : byID) {
    if (entry && !entry->windowClass.empty()) idByClass.insert_or_assign(text::lowercased(entry->windowClass), id);
  }
}

void DesktopEntries::readFolder(const fs::path& folder, const std::vector<std::string>& wanted) {
  std::error_code error;
  noteFolder(folder);
  const auto options = fs::directory_options::skip_permission_denied;
  std::vector<fs::path> files;
  for (fs::recursive_directory_iterator entry(folder, options, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_directory(ignored)) {
      noteFolder(entry->path());
      if (entry.depth() >= kDeepestFolder) entry.disable_recursion_pending();
    } else if (entry->path().extension() == kSuffix && files.size() < kMostEntries) {
      files.push_back(entry->path());
    }
  }
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    add(folder, file, wanted);
  }
}

void DesktopEntries::noteFolder(const fs::path& folder) {
  std::error_code ignored;
  folders.emplace_back(folder, fs::last_write_time(folder, ignored));
}

std::string DesktopEntries::idOf(std::string path) {
  path.resize(path.size() - std::min(path.size(), kSuffix.size()));
  std::replace(path.begin(), path.end(), '/', '-');
  return path;
}

void DesktopEntries::add(const fs::path& folder, const fs::path& file, const std::vector<std::string>& wanted) {
  const std::string path = file.lexically_relative(folder).generic_string();
  const std::string id = idOf(path);
  if (id.empty() || byID.size() >= kMostEntries || byID.contains(id)) return;
  const auto contents = contentsOf(file);
  placeByID.emplace(id, std::pair(folder.string(), path));
  byID.emplace(id, contents ? parseDesktopEntry(id, *contents, wanted) : std::nullopt);
}

bool DesktopEntries::haveFoldersChanged() const {
  return std::any_of(folders.begin(), folders.end(), [](const auto& folder) {
    std::error_code ignored;
    return fs::last_write_time(folder.first, ignored) != folder.second;
  });
}

std::vector<fs::path> DesktopEntries::dataFolders() const {
  std::vector<fs::path> found;
  const auto addAll = [&](const std::string& list) {
    for (const auto& folder : split(list, ':')) {
      if (folder.starts_with('/')) found.emplace_back(folder);
    }
  };
  const auto setting = [&](std::string_view name) { return environment.value(name).value_or(""); };
  const std::string own = setting("XDG_DATA_HOME");
  const std::string home = setting("HOME");
  addAll(!own.empty() || home.empty() ? own : home + "/.local/share");
  const std::string shared = setting("XDG_DATA_DIRS");
  addAll(shared.empty() ? "/usr/local/share:/usr/share" : shared);
  return found;
}

std::vector<std::string> DesktopEntries::locales() const {
  for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const auto locale = environment.value(name);
    if (locale && !locale->empty()) return localeVariants(*locale);
  }
  return {};
}

std::string DesktopEntries::resolved(const std::string& command) const {
  const auto canonical = [](const std::string& path) -> std::string {
    if (::access(path.c_str(), X_OK) != 0) return {};  // Most folders do not hold it, and that costs one look.
    std::error_code error;
    const auto target = fs::canonical(path, error);
    return error ? std::string{} : target.string();
  };
  if (command.find('/') != std::string::npos) return command.starts_with('/') ? canonical(command) : "";
  if (command.empty()) return "";
  for (const auto& folder : split(environment.value("PATH").value_or("/usr/local/bin:/usr/bin:/bin"), ':')) {
    const std::string program = folder.starts_with('/') ? canonical(folder + "/" + command) : "";
    if (!program.empty()) return program;
  }
  return "";
}

}  // namespace quillard::proc
