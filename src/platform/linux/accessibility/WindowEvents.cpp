#include "platform/linux/accessibility/WindowEvents.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include <systemd/sd-bus.h>
#include <unistd.h>

#include "foundation/Mutex.h"
#include "platform/linux/accessibility/Interfaces.h"
#include "platform/linux/accessibility/Roles.h"

namespace quillard::atspi {
namespace {

constexpr int kMostOfADialog = 32;
constexpr int kMostQuestions = 64;
constexpr int kMostQuestionsOfShell = 512;
constexpr std::size_t kMostObjectsKept = 8192;
constexpr std::uint64_t kTimeoutMicroseconds = 200'000;
// One that shows very much at once is busy with it.
constexpr std::uint64_t kTimeoutOfShellMicroseconds = 2'000'000;
constexpr std::size_t kMostProgramsKept = 512;

constexpr const char* kRegistryPath = "/org/a11y/atspi/registry";
constexpr const char* kRegistryInterface = "org.a11y.atspi.Registry";
constexpr std::string_view kWindowInterface = "org.a11y.atspi.Event.Window";

std::vector<std::string> rulesFor(const WindowEventKinds& kinds) {
  if (!kinds.any()) return {};
  const std::string window = "type='signal',interface='org.a11y.atspi.Event.Window',member=";
  const std::string object = "type='signal',interface='org.a11y.atspi.Event.Object',member=";
  // A registry that was started anew knows nothing of what was registered.
  std::vector<std::string> rules{
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',"
      "arg0='org.a11y.atspi.Registry'"};
  if (kinds.created) rules.push_back(window + "'Create'");
  if (kinds.activated) {
    rules.push_back(window + "'Activate'");
    rules.push_back(object + "'StateChanged',arg0='active'");
  }
  if (kinds.shown) {
    rules.push_back(object + "'StateChanged',arg0='showing'");
    // GTK 4 says no more of a dialog than that its program has one more child.
    rules.push_back(object + "'ChildrenChanged',arg0='add',path='/org/a11y/atspi/accessible/root'");
  }
  return rules;
}

std::vector<const char*> registrationsFor(const WindowEventKinds& kinds) {
  std::vector<const char*> events;
  if (kinds.created) events.push_back("window:create");
  if (kinds.activated) events.insert(events.end(), {"window:activate", "object:state-changed:active"});
  if (kinds.shown) events.push_back("object:state-changed:showing");
  return events;
}

bool isWindowLike(std::uint32_t role) {
  constexpr std::array kRoles{Role::alert, Role::dialog, Role::frame, Role::window, Role::notification};
  return std::find(kRoles.begin(), kRoles.end(), Role{role}) != kRoles.end();
}

}  // namespace

bool drawsDesktop(std::int32_t process) {
  std::array<char, 4096> path{};
  const auto link = "/proc/" + std::to_string(process) + "/exe";
  const auto length = ::readlink(link.c_str(), path.data(), path.size());
  if (length <= 0) return false;
  const std::string_view executable{path.data(), static_cast<std::size_t>(length)};
  const auto name = executable.substr(executable.rfind('/') + 1);
  return name == "gnome-shell" || name == "cinnamon";
}

// Hints on their way to the main thread.
struct WindowEvents::Hints {
  Hints(platform::SerialExecutor& mainThread, std::function<void()> onHint)
      : mainThread(mainThread), onHint(std::move(onHint)) {}

  platform::SerialExecutor& mainThread;
  const std::function<void()> onHint;
  Mutex mutex;
  bool isOver QUILLARD_GUARDED_BY(mutex) = false;
  bool isTurnAhead QUILLARD_GUARDED_BY(mutex) = false;
  std::set<std::string> waiting QUILLARD_GUARDED_BY(mutex);  // Of shells, by their names on the bus.
  std::map<std::string, platform::TaskHandle> shellTasks;    // By the same names. Main thread.

  // Of a shell, unless what it announced turned out to be part of a burst.
  void reportOf(const std::string& bus) {
    const auto task = shellTasks.extract(bus);  // Which runs.
    {
      const MutexLock lock(mutex);
      if (isOver || waiting.erase(bus) == 0) return;
    }
    onHint();
  }
};

struct WindowEvents::Question {
  WindowEvents& events;
  std::string bus;
  std::string path;
};

WindowEvents::WindowEvents(BusWatch::FindAddress findBus, WindowEventKinds kinds, std::int32_t ownProcessIdentifier,
                           platform::SerialExecutor& mainThread, std::function<void()> onHint,
                           std::function<bool(std::int32_t)> isShell, WindowEventPace pace)
    : kinds(kinds),
      ownProcessIdentifier(ownProcessIdentifier),
      isShell(std::move(isShell)),
      pace(pace),
      hints(std::make_shared<Hints>(mainThread, std::move(onHint))) {
  if (!kinds.any()) return;
  watch = std::make_unique<BusWatch>(
      std::move(findBus), rulesFor(kinds), [] {},
      BusWatchHooks{.isNews = [this](sd_bus_message* signal) { return take(signal); },
                    .onConnect = [this](BusConnection& connection) { connected(connection); },
                    .wakeAfter = [this] { return timeToCheck(); },
                    .onWake = [this] { check(); },
                    .onEnd =
                        [this](BusConnection&) {
                          link = nullptr;
                          active = kNothingSaid;
                          programs.clear();
                        }});
}

WindowEvents::~WindowEvents() {
  const MutexLock lock(hints->mutex);
  hints->isOver = true;
}

void WindowEvents::connected(BusConnection& connection) {
  link = &connection;
  active = kNothingSaid;  // Who said it was a program of another bus.
  activeWindow.clear();
  registerEvents();
}

void WindowEvents::registerEvents() {
  for (const char* event : registrationsFor(kinds)) {
    sd_bus_message* call = nullptr;
    if (sd_bus_message_new_method_call(link->handle(), &call, names::kRegistry, kRegistryPath, kRegistryInterface,
                                       "RegisterEvent") < 0) {
      return;
    }
    const BusMessage owned{call};
    if (sd_bus_message_append(call, "sass", event, 0, "") < 0) return;
    sd_bus_message_set_expect_reply(call, 0);
    sd_bus_send(link->handle(), call, nullptr);
  }
}

bool WindowEvents::take(sd_bus_message* signal) {
  const char* const sender = sd_bus_message_get_sender(signal);
  const char* const interface = sd_bus_message_get_interface(signal);
  const char* const path = sd_bus_message_get_path(signal);
  const char* detail = nullptr;
  if (!link || !sender || !interface || !path) return false;
  if (std::string_view{interface} == "org.freedesktop.DBus") {
    registerEvents();
    return false;
  }
  std::int32_t value = 0;
  if (sd_bus_message_read(signal, "si", &detail, &value) <= 0) return false;
  const std::string bus{sender};
  Program& program = this->program(bus);
  const bool isState = sd_bus_message_is_signal(signal, nullptr, "StateChanged") > 0;
  const bool isActivity = isState && std::string_view{detail} == "active";
  const bool isActivated = sd_bus_message_is_signal(signal, nullptr, "Activate") > 0 || (isActivity && value != 0);
  if (isActivated || isActivity) noteActive(program, path, isActivated);
  if (program.isOwn) return false;
  if (interface == kWindowInterface || sd_bus_message_is_signal(signal, nullptr, "ChildrenChanged") > 0 ||
      isActivated) {
    hint(bus, program);
  } else if (value != 0 && std::string_view{detail} == "showing") {
    shown(bus, program, path);
  }
  return false;
}

void WindowEvents::shown(const std::string& bus, Program& program, const char* path) {
  const auto now = Clock::now();
  if (takeBurst(program, now)) hintNow();
  if (now - program.lastShown > pace.longestGap) program.burst = 0;
  program.lastShown = now;
  if (++program.burst > kMostOfADialog) {
    if (program.burstBegin && !program.isShell) return;
    if (!std::exchange(program.burstBegin, program.burstBegin.value_or(now))) {
      if (!program.isShell) return hint(bus, program);  // A window with that much in it.
      const MutexLock lock(hints->mutex);
      hints->waiting.erase(bus);
    }
  }
  if (takeBudget(program, now)) hintNow();
  if (program.plain.contains(path)) return;
  if (program.asked == 0) program.budgetBegin = now;
  if (++program.asked > (program.isShell ? kMostQuestionsOfShell : kMostQuestions)) {
    program.hasMissed = true;
    return;
  }
  askForRole(bus, path, program.isShell ? kTimeoutOfShellMicroseconds : kTimeoutMicroseconds);
}

void WindowEvents::askForRole(const std::string& bus, const char* path, std::uint64_t timeoutMicroseconds) {
  auto question = std::make_unique<Question>(Question{*this, bus, path});
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(link->handle(), &call, bus.c_str(), path, names::kAccessible, "GetRole") < 0)
    return;
  const BusMessage owned{call};
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(link->handle(), &slot, call, onRole, question.get(), timeoutMicroseconds) < 0) return;
  sd_bus_slot_set_destroy_callback(slot, [](void* asked) { delete static_cast<Question*>(asked); });
  sd_bus_slot_set_floating(slot, 1);
  sd_bus_slot_unref(slot);
  (void)question.release();
}

int WindowEvents::onRole(sd_bus_message* reply, void* question, sd_bus_error*) {
  auto& asked = *static_cast<Question*>(question);
  std::uint32_t role = 0;
  const bool isGone = sd_bus_message_is_method_error(reply, SD_BUS_ERROR_UNKNOWN_OBJECT) > 0 ||
                      sd_bus_message_is_method_error(reply, SD_BUS_ERROR_UNKNOWN_METHOD) > 0;
  if (isGone) return 1;
  asked.events.roleKnown(asked, sd_bus_message_read(reply, "u", &role) > 0 ? std::optional(role) : std::nullopt);
  return 1;
}

// Absent: it was not told.
void WindowEvents::roleKnown(const Question& question, std::optional<std::uint32_t> role) {
  const auto found = programs.find(question.bus);
  if (found == programs.end()) return;
  auto& program = found->second;
  if (!program.isShell) {
    if (role && isWindowLike(*role)) hint(question.bus, program);
    return;
  }
  if (role && !isWindowLike(*role)) {
    if (program.plain.size() >= kMostObjectsKept) program.plain.clear();
    program.plain.insert(question.path);
    return;
  }
  const bool isPartOfMuch = program.burst > kMostOfADialog;
  if (role == static_cast<std::uint32_t>(Role::notification) && isPartOfMuch) {
    if (program.listed.size() >= kMostObjectsKept) program.listed.clear();
    if (!program.listed.insert(question.path).second) return;
  }
  if (program.burstBegin) {
    program.burstHolds = true;
  } else {
    hint(question.bus, program);
  }
}

void WindowEvents::noteActive(const Program& program, const char* window, bool isActive) {
  if (isActive) {
    active = program.process;
    activeWindow = window;
  } else if (active == program.process && (activeWindow == window || activeWindow.empty())) {
    active = 0;  // Of one that was assumed, the window is not known.
  }
}

void WindowEvents::assumeActiveProcess(std::int32_t process) {
  auto expected = kNothingSaid;
  active.compare_exchange_strong(expected, process);
}

std::optional<std::int32_t> WindowEvents::activeProcess() const {
  const auto process = active.load();
  return process > 0 ? std::optional(process) : std::nullopt;
}

void WindowEvents::hint(const std::string& bus, const Program& program) {
  const auto kept = hints;
  if (program.isShell) {
    // It is one hint when it has ended.
    const bool isPartOfBurst = program.burstBegin && Clock::now() - program.lastShown <= pace.longestGap;
    const MutexLock lock(kept->mutex);
    if (isPartOfBurst || !kept->waiting.insert(bus).second) return;
    kept->mainThread.post([kept, bus, delay = pace.shellDelay] {
      kept->shellTasks[bus] = kept->mainThread.postAfter(delay, [weak = std::weak_ptr(kept), bus] {
        const auto alive = weak.lock();
        if (alive) alive->reportOf(bus);
      });
    });
    return;
  }
  hintNow();
}

void WindowEvents::hintNow() {
  const auto kept = hints;
  {
    const MutexLock lock(kept->mutex);
    if (kept->isOver || std::exchange(kept->isTurnAhead, true)) return;
  }
  kept->mainThread.post([kept] {
    {
      const MutexLock lock(kept->mutex);
      kept->isTurnAhead = false;
      if (kept->isOver) return;
    }
    kept->onHint();
  });
}

std::optional<WindowEvents::Clock::time_point> WindowEvents::nextCheck(const Program& program) const {
  std::optional<Clock::time_point> next;
  if (program.burstBegin) next = std::min(program.lastShown + pace.longestGap, *program.burstBegin + pace.longestBurst);
  if (!program.hasMissed) return next;
  const auto renewal = program.budgetBegin + pace.budgetTime;
  return next ? std::min(*next, renewal) : renewal;
}

std::optional<WindowEvents::Clock::time_point> WindowEvents::nextCheck() const {
  std::optional<Clock::time_point> next;
  for (const auto& [bus, program] : programs) {
    const auto check = nextCheck(program);
    if (check && (!next || *check < *next)) next = check;
  }
  return next;
}

std::optional<std::chrono::milliseconds> WindowEvents::timeToCheck() const {
  const auto next = nextCheck();
  if (!next) return std::nullopt;
  const auto left = std::max(*next - Clock::now(), Clock::duration::zero());
  return std::chrono::floor<std::chrono::milliseconds>(left) + std::chrono::milliseconds{1};
}

void WindowEvents::check() {
  const auto now = Clock::now();
  bool isHint = false;
  for (auto& [bus, program] : programs) {
    const bool hadBurst = takeBurst(program, now);
    const bool hadMissed = takeBudget(program, now);
    isHint = isHint || hadBurst || hadMissed;
  }
  if (isHint) hintNow();
}

// True when a burst that may hold a window has ended, or has lasted so long that it counts as a new one.
bool WindowEvents::takeBurst(Program& program, Clock::time_point now) const {
  if (!program.burstBegin) return false;
  const bool isQuiet = now - program.lastShown > pace.longestGap;
  if (!isQuiet && now - *program.burstBegin <= pace.longestBurst) return false;
  program.burstBegin = isQuiet ? std::nullopt : std::optional(now);
  const bool holds = std::exchange(program.burstHolds, false);
  return holds || !program.isShell;
}

// Renews the budget. True when something was missed for want of it.
bool WindowEvents::takeBudget(Program& program, Clock::time_point now) const {
  if (now - program.budgetBegin <= pace.budgetTime) return false;
  program.asked = 0;
  return std::exchange(program.hasMissed, false);
}

WindowEvents::Program& WindowEvents::program(const std::string& bus) {
  const auto found = programs.find(bus);
  if (found != programs.end()) return found->second;
  if (programs.size() >= kMostProgramsKept) programs.clear();
  const auto process = processOf(bus);
  return programs
      .emplace(bus, Program{.process = process, .isOwn = process == ownProcessIdentifier, .isShell = isShell(process)})
      .first->second;
}

std::int32_t WindowEvents::processOf(const std::string& bus) const {
  sd_bus_message* reply = nullptr;
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(link->handle(), &call, names::kBus, names::kBusPath, names::kBus,
                                     "GetConnectionUnixProcessID") < 0) {
    return 0;
  }
  const BusMessage ownedCall{call};
  std::uint32_t process = 0;
  if (sd_bus_message_append(call, "s", bus.c_str()) < 0 ||
      sd_bus_call(link->handle(), call, kTimeoutMicroseconds, nullptr, &reply) < 0) {
    return 0;
  }
  const BusMessage owned{reply};
  return sd_bus_message_read(reply, "u", &process) > 0 ? static_cast<std::int32_t>(process) : 0;
}

}  // namespace quillard::atspi
