#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/process/Environment.h"

namespace quillard::proc {

// What a .desktop file says of an application.
struct DesktopEntry {
  std::string id;                    // Its path below the folder of entries, "/" read as "-", without ".desktop".
  std::string name;                  // In the user's language, if it has one.
  std::string windowClass;           // StartupWMClass; empty when not set.
  std::string command;               // The program that Exec starts, as written there; empty when there is none.
  std::vector<std::string> words{};  // What follows it there, without switches and what stands for files.
  bool operator==(const DesktopEntry&) const = default;
};

// The names of keys such as Name[de_AT@euro], the most trimmed first, for a locale as environment variables give it.
[[nodiscard]] std::vector<std::string> localeVariants(std::string_view locale);

// The program that a command line of an Exec key starts: behind `env` and its settings, and behind an interpreter of
// scripts. Empty when nothing there is a program of its own.
[[nodiscard]] std::string programOfCommand(std::string_view commandLine);

// Whether the text of a script beside, or called as, the program of this absolute path starts it: it holds the path, or
// the folder, unless that holds programs of many kinds; one in the same folder may find that by itself ("$HERE/chat").
[[nodiscard]] bool startsProgram(std::string_view script, const std::string& scriptPath, const std::string& program);

// Absent when the text describes no application, or one that is not there (Hidden). `locales`: see `localeVariants`.
[[nodiscard]] std::optional<DesktopEntry> parseDesktopEntry(std::string id, std::string_view text,
                                                            const std::vector<std::string>& locales);

// Where an entry stands.
struct EntryFile {
  DesktopEntry entry;
  std::string folder;  // Of entries, absolute.
  std::string path;    // Below it.
  bool operator==(const EntryFile&) const = default;
};

// The applications that are installed for this user: the entries of the XDG data folders, of which the user's own come
// first. Read when first needed, and again when one of the folders has changed. Any thread.
class DesktopEntries {
 public:
  static constexpr std::size_t kMostEntries = 10'000;
  static constexpr int kDeepestFolder = 4;  // Below a folder of entries.
  static constexpr std::string_view kSuffix = ".desktop";
  // The id of the entry at this path below a folder of entries, which ends in `kSuffix`.
  [[nodiscard]] static std::string idOf(std::string path);

  // Looks at no file yet. `environment` outlives this.
  explicit DesktopEntries(const platform::Environment& environment) : environment(environment) {}

  // By the absolute path of the program that runs; of several that start it, the one of that window class. Otherwise by
  // the window class alone: its StartupWMClass, or its id. Case does not count in classes. Absent when none fits.
  [[nodiscard]] std::optional<DesktopEntry> find(const std::string& program, const std::string& windowClass);

  // The entry that starts the program of this absolute path, with what the entry gives it among its arguments: itself,
  // or by a script that bears its name or lies beside it, and names it or its folder. Of several, the one that is
  // called as the program or the script. Absent: none, or it cannot be told which, as of a runtime that runs what
  // another program gave it. `arguments`: of the process, as the kernel has them.
  [[nodiscard]] std::optional<EntryFile> starterOf(const std::string& program,
                                                   const std::vector<std::string>& arguments);
  [[nodiscard]] std::optional<EntryFile> file(const std::string& id);
  // A file was changed: all is read again when it is needed next.
  void forget();

 private:
  using Clock = std::chrono::steady_clock;

  void refresh() QUILLARD_REQUIRES(mutex);
  void readFolder(const std::filesystem::path& folder, const std::vector<std::string>& locales)
      QUILLARD_REQUIRES(mutex);
  void noteFolder(const std::filesystem::path& folder) QUILLARD_REQUIRES(mutex);
  void add(const std::filesystem::path& folder, const std::filesystem::path& file,
           const std::vector<std::string>& locales) QUILLARD_REQUIRES(mutex);
  [[nodiscard]] bool haveFoldersChanged() const QUILLARD_REQUIRES(mutex);
  [[nodiscard]] static bool isStartOf(const DesktopEntry& entry, const std::vector<std::string>& arguments);
  [[nodiscard]] std::optional<EntryFile> fileOf(const std::string& id) const QUILLARD_REQUIRES(mutex);
  [[nodiscard]] std::vector<std::filesystem::path> dataFolders() const;
  [[nodiscard]] std::vector<std::string> locales() const;
  [[nodiscard]] std::string resolved(const std::string& command) const;

  const platform::Environment& environment;
  Mutex mutex;
  std::optional<Clock::time_point> lastReading QUILLARD_GUARDED_BY(mutex);
  std::vector<std::pair<std::filesystem::path, std::filesystem::file_time_type>> folders QUILLARD_GUARDED_BY(mutex);
  std::map<std::string, std::optional<DesktopEntry>> byID QUILLARD_GUARDED_BY(mutex);  // Absent: hides others.
  std::map<std::string, std::pair<std::string, std::string>> placeByID QUILLARD_GUARDED_BY(mutex);  // Folder and path.
  std::unordered_map<std::string, std::vector<std::string>> idsByProgram QUILLARD_GUARDED_BY(mutex);
  std::unordered_map<std::string, std::string> idByClass QUILLARD_GUARDED_BY(mutex);  // In lower case.
};

}  // namespace quillard::proc
