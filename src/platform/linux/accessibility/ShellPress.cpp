#include "platform/linux/accessibility/ShellPress.h"

#include <thread>
#include <utility>

#include "platform/linux/accessibility/Interfaces.h"
#include "platform/linux/accessibility/SessionLock.h"
#include "platform/linux/accessibility/ShellWindows.h"

namespace quillard::atspi {

using platform::AXError;

namespace {

constexpr auto kNotSent = AXError::notImplemented;
constexpr std::chrono::seconds kTimeout{2};
// The shell answers that it has moved the focus a moment before its objects say so.
constexpr std::chrono::milliseconds kFocusTimeout{500};
constexpr std::chrono::milliseconds kFocusInterval{10};
constexpr int kAttempts = 3;
// A shell that takes longer to answer may keep a key for later, when something else has the focus.
constexpr std::chrono::milliseconds kLongestDelay{100};
constexpr int kMostInDialog = 80;
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

  // Whether the shell and the compositor that makes keyboards are one client of the bus, and that one is the process.
  // From then on it is addressed by its own name, which no other can take.
  [[nodiscard]] bool isShellOfProcess(std::int32_t process) {
    const auto owner = ownerOf(kShell);
    if (!owner || ownerOf(kRemoteDesktop) != owner) return false;
    shell = *owner;
    std::optional<std::uint32_t> ofOwner;
    ask(questionToBus("GetConnectionUnixProcessID", shell),
        [&](const BusReply& reply) { ofOwner = reply.readUnsigned(); });
    return ofOwner && static_cast<std::int32_t>(*ofOwner) == process;
  }

  // A shell that cannot lock the screen has no such object, and says so.
  [[nodiscard]] bool isUnlocked() {
    bool isUnlocked = false;
    ask({.target = {shell, kScreenSaverPath}, .interface = kScreenSaver, .member = "GetActive"},
        [&](const BusReply& reply) {
          if (reply.outcome() == CallOutcome::answered) isUnlocked = !reply.readBoolean().value_or(true);
          if (reply.outcome() == CallOutcome::refused) isUnlocked = reply.isUnknownToProgram();
        });
    return isUnlocked;
  }

  [[nodiscard]] bool openKeyboard() {
    std::optional<std::string> path;
    ask({.target = {shell, kRemoteDesktopPath}, .interface = kRemoteDesktop, .member = "CreateSession"},
        [&](const BusReply& reply) { path = reply.readPath(); });
    if (!path) return false;
    if (!call(*path, "Start")) return false;
    keyboard = *path;
    return true;
  }

  // Asks what the shell's own thread answers, which takes its keys, too: that of the bus would answer while it hangs.
  [[nodiscard]] bool answersSoon() {
    const auto start = std::chrono::steady_clock::now();
    bool isAnswered = false;
    ask(propertyCall({shell, keyboard}, kRemoteDesktopSession, "SessionId"),
        [&](const BusReply& reply) { isAnswered = reply.outcome() == CallOutcome::answered; });
    return isAnswered && std::chrono::steady_clock::now() - start <= kLongestDelay;
  }

  // False when it cannot be known that nothing was pressed, or that nothing is held down any more. What goes down comes
  // up: the second call is on its way before the first is answered.
  [[nodiscard]] bool pressReturn() {
    bool isDown = false;
    bool isUp = false;
    send(keyboard, "NotifyKeyboardKeycode", {kReturnKey, true}, isDown);
    send(keyboard, "NotifyKeyboardKeycode", {kReturnKey, false}, isUp);
    requests.settle();
    return isDown && isUp;
  }

 private:
  static BusCall questionToBus(const char* member, const std::string& name) {
    return {.target = {names::kBus, names::kBusPath}, .interface = names::kBus, .member = member, .arguments = {name}};
  }

  std::optional<std::string> ownerOf(const char* name) {
    std::optional<std::string> owner;
    ask(questionToBus("GetNameOwner", name), [&](const BusReply& reply) { owner = reply.readText(); });
    return owner;
  }

  bool call(const std::string& path, const char* member, decltype(BusCall::arguments) arguments = {}) {
    bool isDone = false;
    send(path, member, std::move(arguments), isDone);
    requests.settle();
    return isDone;
  }

  // `isDone` is told when the requests settle.
  void send(const std::string& path, const char* member, decltype(BusCall::arguments) arguments, bool& isDone) {
    requests.send({.target = {shell, path},
                   .interface = kRemoteDesktopSession,
                   .member = member,
                   .arguments = std::move(arguments),
                   .startsService = false},
                  kTimeout, [&isDone](const BusReply& reply) { isDone = reply.outcome() == CallOutcome::answered; });
  }

  void ask(BusCall call, const BusRequests::OnReply& onReply) {
    call.startsService = false;
    requests.send(std::move(call), kTimeout, onReply);
    requests.settle();
  }

  const std::unique_ptr<BusConnection> connection;
  BusRequests requests;
  std::string shell;     // Its unique name on the bus.
  std::string keyboard;  // Of the session that was started. Empty: none.
};

AXError ShellPress::press(Node& button) {
  const bool isInWindow = button.window && reading.windows(button.program->processIdentifier).contains(*button.window);
  if (!sessionBusAddress || !isInWindow || !shell::isPressableButton(button)) return kNotSent;
  auto connection = BusConnection::open(*sessionBusAddress, kTimeout);
  if (!connection) return kNotSent;
  Session session{std::move(connection), reading.counters()};
  if (!session.isShellOfProcess(button.program->processIdentifier) || !isUnlocked(session)) return kNotSent;
  // Before the focus is touched: what fails by now leaves it where it was.
  if (!session.openKeyboard()) return kNotSent;
  const Node* const before = otherButtonWithFocus(button);
  const AXError outcome = press(button, session);
  // The user's next Return must not do what was refused here.
  if (outcome == kNotSent && before && isFocused(button)) static_cast<void>(grabFocus(*before));
  return outcome;
}

// Meanwhile the user may turn to something else, or lock the screen; and a dialog that has just come gives the focus to
// a button of its own choice. Only from that one it is taken once more.
AXError ShellPress::press(const Node& button, Session& session) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!isFocused(button)) {
      const bool mayTake = attempt == 0 || otherButtonWithFocus(button);
      if (!mayTake || !takesFocus(button)) return kNotSent;
    }
    if (!isUnlocked(session)) return kNotSent;
    if (!session.answersSoon() || !isFocused(button)) continue;
    return session.pressReturn() ? AXError::success : AXError::cannotComplete;
  }
  return kNotSent;
}

bool ShellPress::isUnlocked(Session& session) {
  return !isSessionLocked(systemBusAddress, reading.counters()) && session.isUnlocked();
}

const Node* ShellPress::otherButtonWithFocus(const Node& button) {
  reading.fetch({{.node = button.window, .descendants = kMostInDialog}});
  for (const Node* node : walkOffered(*button.window, kMostInDialog)) {
    if (node != &button && node->record.role == Role::pushButton && isFocused(*node)) return node;
  }
  return nullptr;
}

bool ShellPress::grabFocus(const Node& button) {
  bool isTaken = false;
  reading.direct().send({.target = button.name, .interface = names::kComponent, .member = "GrabFocus"},
                        reading.messagingTimeout(),
                        [&](const BusReply& reply) { isTaken = reply.readBoolean().value_or(false); });
  reading.direct().settle();
  return isTaken;
}

bool ShellPress::takesFocus(const Node& button) {
  if (!grabFocus(button)) return false;
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
