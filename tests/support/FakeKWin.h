#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/FakeAccessibilityBus.h"

namespace quillard::test {

// KWin's interface for scripts, on a real bus. It runs no script, but does what ours does: it tells the state that the
// test says to the connection and object that the script names. Any thread.
class FakeKWin {
 public:
  // `scriptPath`: where the object of script 7 lies, "/7" or "/Scripting/Script7".
  FakeKWin(std::string address, std::string scriptPath, std::string firstState);
  ~FakeKWin() { release(); }

  // While not, it takes no scripts, as one that has just been started.
  std::atomic<bool> isReady{true};
  // While not, it answers that scripts run, but runs none.
  std::atomic<bool> runsScripts{true};
  // While not, scripts run, but report nothing.
  std::atomic<bool> reports{true};
  // Leaves all that it is asked until the release, and does it then, as one that is busy.
  void hold();
  void release();
  // Tells a state, now and to each script that is run.
  void tell(const std::string& state);
  // The names of the scripts that are loaded.
  [[nodiscard]] std::vector<std::string> loaded();
  // The texts of those that were run, the oldest first.
  [[nodiscard]] std::vector<std::string> run();

 private:
  bool answer(sd_bus_message* message);
  void send(sd_bus* bus);

  std::atomic<bool> isHeld{false};
  const std::string address;
  const std::string scriptPath;
  std::mutex mutex;
  std::string state;
  std::map<std::string, std::string> scripts;  // Texts by name.
  std::string lastLoaded;
  std::string listener;
  std::vector<std::string> texts;
  std::unique_ptr<FakeProgram> program;
};

}  // namespace quillard::test
