#include "platform/linux/accessibility/ShellPress.h"

#include <thread>
#include <utility>

#include "platform/linux/accessibility/Interfaces.h"
#include "platform/linux/accessibility/ShellWindows.h"

namespace quillard::atspi {

using platform::AXError;

namespace {

constexpr std::chrono::seconds kTimeout{2};
// The shell answers that it has moved the focus a moment before its objects say so.
constexpr std::chrono::milliseconds kFocusTimeout{500};
constexpr std::chrono::milliseconds kFocusInterval{10};
constexpr int kAttempts = 3;
constexpr std::uint32_t kReturnKey = 28;  // As the kernel numbers keys.

constexpr const char* kShell = "org.gnome.Shell";
constexpr const char* kScreenSaver = "org.gnome.ScreenSaver";
constexpr const char* kScreenSaverPath = "/org/gnome/ScreenSaver";
constexpr const char* kRemoteDesktop = "org.gnome.Mutter.RemoteDesktop";
constexpr const char* kRemoteDesktopPath = "/org/gnome/Mutter/RemoteDesktop";
constexpr const char* kRemoteDesktopSession = "org.gnome.Mutter.RemoteDesktop.Session";

}  // namespace

// A connection to the session bus of one press, and the keyboard that lives as long as it at most.
class ShellPress::Session {
 public:
  Session(std::unique_ptr<BusConnection> connection, AccessibilityCounters& counters)
      : connection(std::move(connection)), requests(*this->connection, counters) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    if (!keyboard.empty()) static_cast<void>(call(keyboard, "Stop"));
  }

  [[nodiscard]] bool isProcessOfShell(std::int32_t process) {
    std::optional<std::uint32_t> owner;
    ask({.target = {names::kBus, names::kBusPath},
         .interface = names::kBus,
         .member = "GetConnectionUnixProcessID",
         .arguments = {std::string(kShell)}},
        [&](const BusReply& reply) { owner = reply.readUnsigned(); });
    return owner && static_cast<std::int32_t>(*owner) == process;
  }

  // A shell that cannot lock the screen has no such object, and says so.
  [[nodiscard]] bool isUnlocked() {
    bool isUnlocked = false;
    ask({.target = {kShell, kScreenSaverPath}, .interface = kScreenSaver, .member = "GetActive"},
        [&](const BusReply& reply) {
          if (reply.outcome() == CallOutcome::answered) isUnlocked = !reply.readBoolean().value_or(true);
          if (reply.outcome() == CallOutcome::refused) isUnlocked = reply.isUnknownToProgram();
        });
    return isUnlocked;
  }

  [[nodiscard]] bool openKeyboard() {
    std::optional<std::string> path;
    ask({.target = {kRemoteDesktop, kRemoteDesktopPath}, .interface = kRemoteDesktop, .member = "CreateSession"},
        [&](const BusReply& reply) { path = reply.readPath(); });
    if (!path) return false;
    if (!call(*path, "Start")) return false;
    keyboard = *path;
    return true;
  }

  // False when it cannot be known that nothing was pressed, or that nothing is held down any more.
  [[nodiscard]] bool pressReturn() {
    const bool isDown = call(keyboard, "NotifyKeyboardKeycode", {kReturnKey, true});
    const bool isUp = call(keyboard, "NotifyKeyboardKeycode", {kReturnKey, false});
    return isDown && isUp;
  }

 private:
  bool call(const std::string& path, const char* member, decltype(BusCall::arguments) arguments = {}) {
    bool isDone = false;
    ask({.target = {kRemoteDesktop, path},
         .interface = kRemoteDesktopSession,
         .member = member,
         .arguments = std::move(arguments)},
        [&](const BusReply& reply) { isDone = reply.outcome() == CallOutcome::answered; });
    return isDone;
  }

  void ask(BusCall call, const BusRequests::OnReply& onReply) {
    call.startsService = false;
    requests.send(std::move(call), kTimeout, onReply);
    requests.settle();
  }

  const std::unique_ptr<BusConnection> connection;
  BusRequests requests;
  std::string keyboard;  // Of the session that was started. Empty: none.
};

AXError ShellPress::press(Node& button) {
  constexpr auto kNotSent = AXError::notImplemented;
  const bool isInWindow = button.window && reading.windows(button.program->processIdentifier).contains(*button.window);
  if (!sessionBusAddress || !isInWindow || !shell::isPressableButton(button)) return kNotSent;
  auto connection = BusConnection::open(*sessionBusAddress, kTimeout);
  if (!connection) return kNotSent;
  Session session{std::move(connection), reading.counters()};
  if (!session.isProcessOfShell(button.program->processIdentifier) || !session.isUnlocked()) return kNotSent;
  if (!takesFocus(button) || !session.openKeyboard()) return kNotSent;
  // Opening it took a moment, in which the user may have turned to something else, or locked the screen; and a dialog
  // that has just come gives the focus to a button of its own choice.
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!session.isUnlocked()) return kNotSent;
    if (isFocused(button)) return session.pressReturn() ? AXError::success : AXError::cannotComplete;
    if (!takesFocus(button)) return kNotSent;
  }
  return kNotSent;
}

bool ShellPress::takesFocus(const Node& button) {
  bool isTaken = false;
  reading.direct().send({.target = button.name, .interface = names::kComponent, .member = "GrabFocus"},
                        reading.messagingTimeout(),
                        [&](const BusReply& reply) { isTaken = reply.readBoolean().value_or(false); });
  reading.direct().settle();
  if (!isTaken) return false;
  const auto end = std::chrono::steady_clock::now() + kFocusTimeout;
  while (!isFocused(button)) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(kFocusInterval);
  }
  return true;
}

bool ShellPress::isFocused(const Node& button) {
  const auto states = statesOf(button);
  const bool isReady = states && has(*states, State::focused) && has(*states, State::showing);
  if (!isReady || !has(*states, State::sensitive)) return false;
  const auto& stages = button.program->root->list;
  if (stages.size() != 1) return false;
  const auto ofStage = statesOf(*stages.front());
  return ofStage && has(*ofStage, State::active);
}

std::optional<std::uint64_t> ShellPress::statesOf(const Node& node) {
  std::optional<std::uint64_t> states;
  reading.direct().send({.target = node.name, .interface = names::kAccessible, .member = "GetState"},
                        reading.messagingTimeout(), [&](const BusReply& reply) { states = reply.readStates(); });
  reading.direct().settle();
  return states;
}

}  // namespace quillard::atspi
