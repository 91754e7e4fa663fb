#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/accessibility/BusConnection.h"

namespace quillard::kwin {

inline constexpr const char* kService = "org.kde.KWin";

// KWin's interface for scripts, over one connection to the session bus, whose thread waits for KWin. Nothing starts it.
class KWinScripting {
 public:
  // `connection` outlives this. `timeout`: of each question.
  KWinScripting(atspi::BusConnection& connection, std::chrono::milliseconds timeout)
      : connection(connection), timeout(timeout) {}

  // Who KWin is on the bus. Empty: it is not there.
  [[nodiscard]] std::string owner();
  // Loads and runs the script of a file under a name of our own. False: it does not run.
  bool run(const std::string& file, const std::string& name);
  void unload(const std::string& name);

 private:
  [[nodiscard]] bool start(const std::string& path);

  atspi::BusConnection& connection;
  const std::chrono::milliseconds timeout;
};

// A script as a file that no other user can read or write, and that goes with this object.
class ScriptFile {
 public:
  // `name`: of the file, in `folder`. One that is there already is replaced.
  ScriptFile(const std::string& folder, const std::string& name, std::string_view script);
  ScriptFile(const ScriptFile&) = delete;
  ScriptFile& operator=(const ScriptFile&) = delete;
  ~ScriptFile();

  [[nodiscard]] bool isWritten() const { return written; }
  [[nodiscard]] const std::string& path() const { return file; }

 private:
  const std::string file;
  bool written = false;
};

// Under which name the process's script is loaded, and how its file is called.
[[nodiscard]] std::string scriptNameOf(std::int32_t process);
// The same of a script that only carries out one request.
[[nodiscard]] std::string requestScriptNameOf(std::int32_t process, int number);
// Whose script of either kind a file is. Absent: it is none.
[[nodiscard]] std::optional<std::int32_t> ownerOfScript(std::string_view fileName);

}  // namespace quillard::kwin
