#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
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
// The role of each object that appears is asked, 64 times in ten seconds of each program at most. More than 32 objects
// less than 50 ms apart are a burst, of which no more is asked: it is one hint when it is recognised, one when it has
// ended, and one each two seconds until then. Objects that were beyond the 64 are one hint when the ten seconds are
// over.
//
// GNOME Shell shows some 180 objects when its calendar opens, and gives itself the keyboard: that is not to cost a
// scan. So of a shell all objects of a burst are asked, up to 512 in the ten seconds, and each only once for as long as
// the shell lives, since an object keeps its role. A burst of a shell, and that it gives itself the keyboard right
// before or within one, is a hint only when it holds a window, a dialog or a notification, or an object that did not
// tell its role, or was not asked. The calendar holds an object of the role of a notification even when there is none;
// so one that comes in a burst is a hint the first time only, and the first opening costs a scan. New notifications are
// new objects. What this leaves out: the question about a program that does not answer, which has no such role, when it
// comes within the same 50 ms chain; the next hint or sweep finds it.
class WindowEvents {
 public:
  // `mainThread` outlives this; `onHint` is called there. `findBus`: where the accessibility bus listens.
  // `ownProcessIdentifier`: whose events count for nothing.
  WindowEvents(BusWatch::FindAddress findBus, WindowEventKinds kinds, std::int32_t ownProcessIdentifier,
               platform::SerialExecutor& mainThread, std::function<void()> onHint,
               std::function<bool(std::int32_t)> isShell = drawsDesktop, WindowEventPace pace = {});
  // Which process has said last that a window of its own has the keyboard, and not that it has lost it. Absent: none
  // has, or nothing was said yet. Any thread.
  [[nodiscard]] std::optional<std::int32_t> activeProcess() const;
  // False: nothing was said yet, or assumed, since the bus was reached, so that it is worth to ask otherwise. Any
  // thread.
  [[nodiscard]] bool isActivityKnown() const { return active != kNothingSaid; }
  // What was found out otherwise: counts until a program says something. Any thread.
  void assumeActiveProcess(std::int32_t process);

  WindowEvents(const WindowEvents&) = delete;
  WindowEvents& operator=(const WindowEvents&) = delete;
  ~WindowEvents();

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::int32_t kNothingSaid = -1;
  struct Hints;
  // Who announces.
  struct Program {
    std::int32_t process = 0;  // 0: not known.
    bool isOwn = false;
    bool isShell = false;                      // Draws the desktop itself, panel and all.
    std::unordered_set<std::string> plain{};   // Objects of a shell that are none of its windows.
    std::unordered_set<std::string> listed{};  // Notifications of a shell that came in a burst.
    bool burstHolds = false;                   // Something that may be a window, in the present burst of a shell.
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
  void askForRole(const std::string& bus, const char* path, std::uint64_t timeoutMicroseconds);
  void roleKnown(const Question& question, std::optional<std::uint32_t> role);
  void noteActive(const Program& program, const char* window, bool isActive);
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
  std::atomic<std::int32_t> active{kNothingSaid};  // The process. 0: none.
  std::string activeWindow;                        // The object that said so.
  BusConnection* link = nullptr;
  std::unordered_map<std::string, Program> programs;  // By their names on the bus.
  std::unique_ptr<BusWatch> watch;                    // Last: its thread uses all of the above.
};

}  // namespace quillard::atspi
