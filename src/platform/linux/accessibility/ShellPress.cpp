#include "platform/linux/accessibility/ShellPress.h"

#include <algorithm>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

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
constexpr std::chrono::milliseconds kSlowInterval{50};
constexpr std::size_t kMostInDialog = 80;
constexpr std::uint32_t kReturnKey = 28;  // As the kernel numbers keys.

constexpr const char* kShell = "org.gnome.Shell";
constexpr const char* kScreenSaver = "org.gnome.ScreenSaver";
constexpr const char* kScreenSaverPath = "/org/gnome/ScreenSaver";
constexpr const char* kRemoteDesktop = "org.gnome.Mutter.RemoteDesktop";
constexpr const char* kRemoteDesktopPath = "/org/gnome/Mutter/RemoteDesktop";
constexpr const char* kRemoteDesktopSession = "org.gnome.Mutter.RemoteDesktop.Session";

void sendQuestion(BusRequests& requests, const Node& node, const char* member, std::chrono::microseconds timeout,
                  BusRequests::OnReply onReply) {
  requests.send({.target = node.name, .interface = names::kAccessible, .member = member}, timeout, std::move(onReply));
}

void sendGrab(BusRequests& requests, const Node& node, std::chrono::microseconds timeout,
              BusRequests::OnReply onReply) {
  requests.send({.target = node.name, .interface = names::kComponent, .member = "GrabFocus"}, timeout,
                std::move(onReply));
}

enum class Answer { soon, late, no };

// Whether it is so, and was said soon.
Answer timed(const std::function<bool()>& isSo) {
  const auto start = std::chrono::steady_clock::now();
  if (!isSo()) return Answer::no;
  return std::chrono::steady_clock::now() - start <= kLongestDelay ? Answer::soon : Answer::late;
}

// What lies in the window, as far as it was read: also what is no element, such as the text within an entry, which has
// the focus in its place.
std::vector<const Node*> partsOf(const Node& window) {
  std::vector<const Node*> parts{window.list.begin(), window.list.end()};
  for (std::size_t i = 0; i < parts.size() && parts.size() < kMostInDialog; ++i) {
    const auto& list = parts[i]->list;
    for (const Node* child : list) {
      if (child->parent == parts[i]) parts.push_back(child);
    }
  }
  parts.resize(std::min(parts.size(), kMostInDialog));
  return parts;
}

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
  [[nodiscard]] bool answers() {
    bool isAnswered = false;
    ask(propertyCall({shell, keyboard}, kRemoteDesktopSession, "SessionId"),
        [&](const BusReply& reply) { isAnswered = reply.outcome() == CallOutcome::answered; });
    return isAnswered;
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
  const auto before = ask(button);
  if (!before.label) return kNotSent;
  label = *before.label;
  const auto end = Clock::now() + saturatingDuration<std::chrono::milliseconds>(slowShellTimeout);
  if (!session.openKeyboard()) return kNotSent;
  AXError outcome = kNotSent;
  do {
    // Before the focus is touched: what fails by now leaves it where it was.
    if (!becomesQuick(session, end)) return kNotSent;
    outcome = tryToPress(button, session);
  } while (outcome == kNotSent && wasTooSlow && Clock::now() < end);
  return outcome;
}

bool ShellPress::becomesQuick(Session& session, Clock::time_point end) {
  for (;;) {
    const auto answer = timed([&] { return session.answers(); });
    if (answer != Answer::late) return answer == Answer::soon;
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(kSlowInterval);
  }
}

AXError ShellPress::tryToPress(const Node& button, Session& session) {
  wasTooSlow = false;
  hasTakenFocus = false;
  const Node* const focused = focusedBeside(button);
  const AXError outcome = press(button, session);
  // The user's next Return must not do what was refused here.
  if (outcome == kNotSent && hasTakenFocus && focused != &button) giveFocusBack(button, focused);
  return outcome;
}

// Meanwhile the user may turn to something else, or lock the screen; and a dialog that has just come gives the focus to
// a button of its own choice. Only from that one it is taken once more.
AXError ShellPress::press(const Node& button, Session& session) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!isFocused(button)) {
      const Node* const other = attempt == 0 ? nullptr : focusedBeside(button);
      const bool mayTake = attempt == 0 || (other && other->record.role == Role::pushButton);
      if (!mayTake || !takesFocus(button)) return kNotSent;
    }
    if (!isUnlocked(session)) return kNotSent;
    const auto holds = [&] {
      if (!session.answers()) return false;
      const auto now = ask(button);
      return now.isFocused && now.label == label;
    };
    const auto answer = timed(holds);
    if (answer == Answer::soon) return session.pressReturn() ? AXError::success : AXError::cannotComplete;
    wasTooSlow = answer == Answer::late;
    if (wasTooSlow) break;
  }
  return kNotSent;
}

bool ShellPress::isUnlocked(Session& session) {
  return !isSessionLocked(systemBusAddress, reading.counters()) && session.isUnlocked();
}

const Node* ShellPress::focusedBeside(const Node& button) {
  reading.fetch({{.node = button.window, .descendants = static_cast<int>(kMostInDialog)}});
  const Node* focused = nullptr;
  auto requests = reading.freshRequests();
  for (const Node* node : partsOf(*button.window)) {
    sendQuestion(requests, *node, "GetState", reading.messagingTimeout(), [&focused, node](const auto& reply) {
      const auto states = reply.readStates();
      if (states && has(*states, State::focused) && has(*states, State::showing)) focused = node;
    });
  }
  requests.settle();
  return focused;
}

bool ShellPress::takesFocus(const Node& button) {
  hasTakenFocus = true;
  bool isTaken = false;
  isFocusAnswered = false;
  auto requests = reading.freshRequests();
  sendGrab(requests, button, reading.messagingTimeout(), [&](const BusReply& reply) {
    isFocusAnswered = reply.outcome() == CallOutcome::answered;
    isTaken = reply.readBoolean().value_or(false);
    wasTooSlow = reply.outcome() == CallOutcome::timedOut;
  });
  requests.settle();
  if (!isTaken) return false;
  const auto end = Clock::now() + kFocusTimeout;
  while (!isFocused(button)) {
    wasTooSlow = Clock::now() >= end;
    if (wasTooSlow) return false;
    std::this_thread::sleep_for(kFocusInterval);
  }
  return true;
}

// A shell that did not answer in time may move the focus only now, so that it is given back unless the shell has
// answered both that it took it and that the button has it no longer.
void ShellPress::giveFocusBack(const Node& button, const Node* before) {
  const auto& stages = button.program->root->list;
  const Node* const target = before ? before : (stages.empty() ? nullptr : stages.front());
  if (!target) return;
  auto requests = reading.freshRequests();
  std::optional<std::uint64_t> states;
  sendQuestion(requests, button, "GetState", kTimeout, [&](const BusReply& reply) { states = reply.readStates(); });
  requests.settle();
  if (isFocusAnswered && states && !has(*states, State::focused)) return;
  // Not lost to a time-out just now.
  auto last = reading.freshRequests();
  sendGrab(last, *target, kTimeout, [](const BusReply&) {});
  last.settle();
}

ShellPress::Answers ShellPress::ask(const Node& button) {
  Answers answers;
  const auto& stages = button.program->root->list;
  if (stages.size() != 1) return answers;
  std::optional<std::uint64_t> ofButton;
  std::optional<std::uint64_t> ofStage;
  const auto timeout = reading.messagingTimeout();
  // One that misses an answer is asked again: the reading would give the shell up.
  auto requests = reading.freshRequests();
  requests.send(propertyCall(button.name, names::kAccessible, "Name"), timeout,
                [&](const BusReply& reply) { answers.label = reply.readTextProperty(); });
  sendQuestion(requests, *stages.front(), "GetState", timeout,
               [&](const BusReply& reply) { ofStage = reply.readStates(); });
  sendQuestion(requests, button, "GetState", timeout, [&](const BusReply& reply) { ofButton = reply.readStates(); });
  requests.settle();
  answers.isFocused = ofButton && has(*ofButton, State::focused) && has(*ofButton, State::showing) &&
                      has(*ofButton, State::sensitive) && ofStage && has(*ofStage, State::active);
  return answers;
}

}  // namespace quillard::atspi
