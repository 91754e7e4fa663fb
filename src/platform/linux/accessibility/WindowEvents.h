#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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

// How things that a program shows at once are distinguished from those that it shows one after another.
struct WindowEventPace {
  std::chrono::milliseconds longestGap{50};       // Within a burst.
  std::chrono::milliseconds longestBurst{2'000};  // After which one that has not ended is a hint, too.
  std::chrono::milliseconds budgetTime{10'000};   // For which the questions of one program are counted.
  Seconds shellDelay{0.06};                       // Of a hint, so that what makes it part of a burst comes first.
};

// Whether the process is a compositor that shows panel, menus and dialogs of its own, as GNOME Shell does.
[[nodiscard]] bool drawsDesktop(std::int32_t process);

// Calls back when a program announces that a window of its own came or got the keyboard, or that it shows a dialog or a
// notification. For desktops that do not tell of these: hints, which may be too many.
//
// GNOME Shell shows some 180 objects when its calendar opens, and gives itself the keyboard. The role of each object is
// asked, 64 times in ten seconds of each program at most. More than 32 objects less than 50 ms apart are a burst, of
// which no more is asked: it is one hint when it has ended, and each two seconds until then; of a program that is no
// shell, also when it is recognised as one. Objects that were beyond the 64 are one hint when the ten seconds are over.
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
    int burst = 0;  // Objects of the present burst.
    // Of a burst that is none of the shell's hints. Absent: there is none.
    std::optional<Clock::time_point> burstBegin{};
    Clock::time_point budgetBegin{};
    int asked = 0;
    bool hasMissed = false;  // An object whose role was not asked, for want of budget.
  };
  struct Question;

  // All on the watch's thread.
  void connected(BusConnection& connection);
  void registerEvents();
  bool take(sd_bus_message* signal);
  void shown(const std::string& bus, Program& program, const char* path);
  void hint(const std::string& bus, const Program& program);
  void hintNow();
  // When the next burst or budget is to be looked at again. Absent: there is none.
  [[nodiscard]] std::optional<Clock::time_point> nextCheck() const;
  [[nodiscard]] std::optional<Clock::time_point> nextCheck(const Program& program) const;
  [[nodiscard]] std::optional<std::chrono::milliseconds> timeToCheck() const;
  void check();
  [[nodiscard]] bool takeBurst(Program& program, Clock::time_point now) const;
  [[nodiscard]] bool takeBudget(Program& program, Clock::time_point now) const;
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
