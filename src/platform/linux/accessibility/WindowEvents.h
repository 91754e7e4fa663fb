#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/accessibility/BusWatch.h"
#include "platform/process/Executors.h"
#include "values/Time.h"

namespace quillard::atspi {

// What programs are asked to announce on the accessibility bus. Each costs every program on it a little, whenever it
// happens there.
struct WindowEventKinds {
  bool created = false;    // Windows of toolkits that say so.
  bool activated = false;  // Windows that get the keyboard.
  bool shown = false;      // Objects that appear: windows without the keyboard, and notifications.
  [[nodiscard]] bool any() const { return created || activated || shown; }
};

// How things that a shell shows at once are told from those that it shows one after another.
struct WindowEventPace {
  std::chrono::milliseconds longestGap{50};  // Within a burst.
  Seconds shellDelay{0.06};                  // Of a hint, so that what makes it part of a burst comes first.
};

// Whether the process is a compositor that shows panel, menus and dialogs of its own, as GNOME Shell does.
[[nodiscard]] bool drawsDesktop(std::int32_t process);

// Calls back when a program announces that a window of its own came or got the keyboard, or that it shows a dialog or a
// notification. For desktops that do not tell of these: hints, which may be too many.
//
// GNOME Shell shows some 180 objects when its calendar opens, and gives itself the keyboard. So many at once are no
// dialog: a burst of more than 32 objects, less than 50 ms apart, is none of its hints. Of fewer, and of the objects of
// other programs, the role is asked, 64 times in ten seconds of each program at most.
class WindowEvents {
 public:
  // `mainThread` outlives this; `onHint` is called there. `findBus`: where the accessibility bus listens.
  // `ownProcessIdentifier`: whose events count for nothing.
  WindowEvents(BusWatch::FindAddress findBus, WindowEventKinds kinds, std::int32_t ownProcessIdentifier,
               platform::SerialExecutor& mainThread, std::function<void()> onHint,
               std::function<bool(std::int32_t)> isShell = drawsDesktop, WindowEventPace pace = {});
  WindowEvents(const WindowEvents&) = delete;
  WindowEvents& operator=(const WindowEvents&) = delete;
  ~WindowEvents();

 private:
  using Clock = std::chrono::steady_clock;
  struct Hints;
  // Who announces.
  struct Program {
    bool isOwn = false;
    bool isShell = false;  // Draws the desktop itself, panel and all.
    Clock::time_point lastShown{};
    int burst = 0;
    Clock::time_point budgetBegin{};
    int asked = 0;
  };
  struct Question;

  // All on the watch's thread.
  void connected(BusConnection& connection);
  void registerEvents();
  bool take(sd_bus_message* signal);
  void shown(const std::string& bus, Program& program, const char* path);
  void hint(const std::string& bus, const Program& program);
  [[nodiscard]] Program& program(const std::string& bus);
  [[nodiscard]] std::int32_t processOf(const std::string& bus) const;
  static int onRole(sd_bus_message* reply, void* question, sd_bus_error*);

  const WindowEventKinds kinds;
  const std::int32_t ownProcessIdentifier;
  const std::function<bool(std::int32_t)> isShell;
  const WindowEventPace pace;
  const std::shared_ptr<Hints> hints;
  BusConnection* link = nullptr;
  std::unordered_map<std::string, Program> programs;  // By their names on the bus.
  std::unique_ptr<BusWatch> watch;                    // Last: its thread uses all of the above.
};

}  // namespace quillard::atspi
