#include "platform/linux/kwin/KWinWindows.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include <systemd/sd-bus.h>
#include <unistd.h>

#include "platform/linux/kwin/KWinScripting.h"

namespace quillard::kwin {
namespace {

using desktop::WindowCoverage;
using desktop::WindowsSnapshot;

const std::vector<std::string>& ownerRules() {
  static const std::vector<std::string> rules{
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',"
      "arg0='org.kde.KWin'"};
  return rules;
}

constexpr std::chrono::milliseconds kFirstRetry{250};
constexpr std::chrono::milliseconds kLongestRetry{60'000};
constexpr int kLongestAnswer = 8;  // Times the time-out, for a KWin that was too slow before.

bool isRunning(std::int32_t process) { return ::kill(process, 0) == 0 || errno == EPERM; }

}  // namespace

struct KWinWindows::State {
  Mutex mutex;
  std::condition_variable_any changed;
  // Until when the first answer may be on its way.
  std::chrono::steady_clock::time_point askingUntil QUILLARD_GUARDED_BY(mutex){};
  std::optional<WindowsSnapshot> present QUILLARD_GUARDED_BY(mutex);
  WindowNumbers numbers QUILLARD_GUARDED_BY(mutex);
  bool isTurnAhead QUILLARD_GUARDED_BY(mutex) = false;  // In which the main thread hears of changes.

  // Absent: nothing is known.
  std::optional<WindowsSnapshot> read() {
    const MutexLock lock(mutex);
    while (std::chrono::steady_clock::now() < askingUntil) {
      const auto until = askingUntil;  // What is waited for is read without the lock, too.
      changed.wait_until(mutex, until);
    }
    return present;
  }
};

KWinWindows::KWinWindows(KWinOptions givenOptions, platform::SerialExecutor& mainThread)
    : options(std::move(givenOptions)),
      mainThread(mainThread),
      state(std::make_shared<State>()),
      requests([this] { return options.sessionBusAddress; }) {
  if (!options.sessionBusAddress) return;
  {
    const MutexLock lock(state->mutex);
    state->askingUntil = std::chrono::steady_clock::now() + options.timeout;
  }
  watch = std::make_unique<atspi::BusWatch>(
      [this] { return options.sessionBusAddress; }, ownerRules(), [] {},
      atspi::BusWatchHooks{.isNews = [this](sd_bus_message* signal) { return ownerChanged(signal); },
                           .onConnect = [this](atspi::BusConnection& connection) { connected(connection); },
                           .wakeAfter = [this] { return timeToRetry(); },
                           .onWake = [this] { retryLoading(); },
                           .onEnd = [this](atspi::BusConnection& connection) { ended(connection); }});
}

KWinWindows::~KWinWindows() = default;

WindowCoverage KWinWindows::coverage() const { return state->read() ? WindowCoverage::all : WindowCoverage::none; }

WindowsSnapshot KWinWindows::snapshot() { return state->read().value_or(WindowsSnapshot{}); }

// ---- The watch's thread

void KWinWindows::connected(atspi::BusConnection& connection) {
  link = &connection;
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_object(connection.handle(), &slot, kObjectPath, onTell, this) >= 0) object.reset(slot);
  owner = KWinScripting(connection, options.timeout).owner();
  retryDelay = kFirstRetry;
  load();
}

void KWinWindows::ended(atspi::BusConnection& connection) {
  if (connection.isOpen()) unload();
  object.reset();
  link = nullptr;
  hasReported = false;
  retryAt.reset();
  owner.clear();
  script.reset();
  take(std::nullopt);
}

bool KWinWindows::ownerChanged(sd_bus_message* signal) {
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (!link || sd_bus_message_read(signal, "sss", &name, &before, &after) <= 0 || owner == after) return false;
  owner = after;
  hasReported = false;
  script.reset();
  take(std::nullopt);
  retryDelay = kFirstRetry;
  load();
  return true;
}

void KWinWindows::load() {
  const char* ownName = nullptr;
  const bool canAsk = !owner.empty() && object && sd_bus_get_unique_name(link->handle(), &ownName) >= 0;
  const bool isLoaded = canAsk && loadScript(ownName);
  retryAt.reset();
  if (!isLoaded && !hasReported) take(std::nullopt);
  if (!canAsk) return;
  // One that has just been started takes scripts a little later; a script that runs reports immediately.
  const auto delay = isLoaded ? std::max(2 * options.timeout, retryDelay) : retryDelay;
  retryAt = std::chrono::steady_clock::now() + delay;
  retryDelay = std::min(retryDelay * 2, kLongestRetry);
}

bool KWinWindows::loadScript(const char* ownName) {
  KWinScripting scripting(*link, std::clamp(retryDelay, options.timeout, kLongestAnswer * options.timeout));
  unloadLeftovers(scripting);
  const auto name = scriptNameOf(::getpid());
  // An answer that came too late may have left it loaded, and no name is loaded twice.
  scripting.unload(name);
  script.reset();  // Its file would go after the new one has come.
  script = std::make_unique<ScriptFile>(options.scriptFolder, name, watchingScript(ownName));
  return script->isWritten() && scripting.run(script->path(), name);
}

void KWinWindows::unloadLeftovers(KWinScripting& scripting) const {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(options.scriptFolder, error)) {
    const auto name = entry.path().filename().string();
    const auto process = ownerOfScript(name);
    if (!process || *process == ::getpid() || isRunning(*process)) continue;
    scripting.unload(name);
    ::unlink(entry.path().c_str());
  }
}

void KWinWindows::retryLoading() {
  if (link && retryAt && std::chrono::steady_clock::now() >= *retryAt) load();
}

std::optional<std::chrono::milliseconds> KWinWindows::timeToRetry() const {
  if (!retryAt) return std::nullopt;
  const auto left = *retryAt - std::chrono::steady_clock::now();
  return std::chrono::ceil<std::chrono::milliseconds>(std::max(left, decltype(left)::zero()));
}

void KWinWindows::unload() {
  if (!script) return;
  KWinScripting(*link, options.timeout).unload(scriptNameOf(::getpid()));
  script.reset();
}

int KWinWindows::onTell(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& windows = *static_cast<KWinWindows*>(self);
  const char* sender = sd_bus_message_get_sender(message);
  const char* text = nullptr;
  if (sd_bus_message_is_method_call(message, kInterface, kTellMember) <= 0 || !sender || windows.owner != sender ||
      sd_bus_message_read(message, "s", &text) <= 0) {
    return 0;
  }
  windows.hasReported = true;
  windows.retryAt.reset();
  windows.retryDelay = kFirstRetry;
  std::optional<WindowsSnapshot> now;
  {
    const MutexLock lock(windows.state->mutex);
    now = parseState(text, windows.state->numbers);
  }
  windows.take(std::move(now));
  return sd_bus_reply_method_return(message, "");
}

void KWinWindows::take(std::optional<WindowsSnapshot> now) {
  {
    const MutexLock lock(state->mutex);
    state->askingUntil = {};
    const bool isSame = state->present == now;
    state->present = std::move(now);
    state->changed.notify_all();
    if (isSame || std::exchange(state->isTurnAhead, true)) return;
  }
  reportSoon();
}

void KWinWindows::reportSoon() {
  mainThread.post([this, alive = std::weak_ptr<char>(life), state = state] {
    if (alive.expired()) return;
    {
      const MutexLock lock(state->mutex);
      state->isTurnAhead = false;
      reported = state->present.value_or(WindowsSnapshot{});
    }
    listeners.tell(reported);
  });
}

// ---- Any thread

bool KWinWindows::request(WindowRequest request, desktop::WindowID window) {
  static std::atomic<int> count{0};
  std::optional<std::string> identifier;
  {
    const MutexLock lock(state->mutex);
    identifier = state->numbers.identifierOf(window);
  }
  const auto connection = identifier ? requests.borrow() : std::nullopt;
  if (!connection) return false;
  const auto name = requestScriptNameOf(::getpid(), count.fetch_add(1));
  const ScriptFile file(options.scriptFolder, name, requestScript(request, *identifier));
  KWinScripting scripting(**connection, options.timeout);
  const bool isDone = file.isWritten() && scripting.run(file.path(), name);
  scripting.unload(name);
  return isDone;
}

}  // namespace quillard::kwin
