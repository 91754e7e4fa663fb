#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeAccessibilityBus.h"

// A shell that shows a dialog and a notification, and a compositor's keyboard, on a bus of their own: what is a window
// there, and when a key is sent.
namespace quillard::atspi {
namespace {

using platform::AXError;
using platform::AXUIElement;
using test::FakeAccessibilityBus;
using test::FakeObject;
using test::FakeProgram;
namespace ax = platform::ax;

constexpr auto kShown = bit(State::showing) | bit(State::sensitive);
constexpr auto kFocused = kShown | bit(State::focused);

FakeObject object(Role role, const std::string& name, std::vector<std::string> children = {},
                  std::uint64_t states = kShown) {
  FakeObject object{.role = static_cast<std::uint32_t>(role), .states = states, .name = name};
  object.extents = Rect{10, 10, 100, 20};
  object.children = std::move(children);
  return object;
}

constexpr Role kPanel{39};
constexpr Role kWindow{69};
constexpr Role kApplication{75};

// What the session bus has of the shell. Any thread.
struct Compositor {
  enum class Lock { cannotBeLocked, isOpen, isLocked, isSilent };

  std::atomic<Lock> lock{Lock::cannotBeLocked};
  std::atomic<bool> givesKeyboard{true};
  std::atomic<bool> takesFocus{true};
  std::atomic<bool> locksWhileItOpens{false};
  std::string refusedQuestion;  // "member path". Set before anything is asked.
  std::atomic<bool> starts{true};
  std::atomic<bool> takesKeyDown{true};
  std::atomic<bool> hangsOnceItIsOpen{false};
  std::atomic<bool> isSlowOnceItIsOpen{false};
  // Set before anything is asked: the keyboard opens, an object is given the focus, a key goes down.
  std::function<void()> onOpen = [] {};
  std::function<void(const std::string& path)> onFocus = [](const std::string&) {};
  std::function<void()> onKeyDown = [] {};
  std::function<void()> onCheck = [] {};  // The first question of the last proof before it.
  // An object is asked for its states. True: it does not answer.
  std::function<bool(const std::string& path)> onStates = [](const std::string&) { return false; };

  // Of the keyboard, in order: "Start", "28 down".
  std::vector<std::string> calls() {
    const std::lock_guard guard(mutex);
    return all;
  }

  bool answer(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    const std::string interface = sd_bus_message_get_interface(message);
    if (member + " " + sd_bus_message_get_path(message) == refusedQuestion) {
      return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no") >= 0;
    }
    if (member == "GrabFocus") {
      if (takesFocus) onFocus(sd_bus_message_get_path(message));
      return sd_bus_reply_method_return(message, "b", takesFocus ? 1 : 0) >= 0;
    }
    if (member == "GetState" && onStates(sd_bus_message_get_path(message))) return true;
    if (sd_bus_message_get_path(message) == kKeyboard && member == "Get") return answerSoon(message);
    if (member == "DoAction") {  // As the shell does.
      note("DoAction");
      return sd_bus_reply_method_return(message, "b", 1) >= 0;
    }
    if (interface == "org.gnome.ScreenSaver") return answerLock(message);
    if (!interface.starts_with("org.gnome.Mutter.RemoteDesktop")) return false;
    if (member == "CreateSession") {
      onOpen();
      if (locksWhileItOpens) lock = Lock::isLocked;
      if (!givesKeyboard) return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_ACCESS_DENIED, "no") >= 0;
      return sd_bus_reply_method_return(message, "o", kKeyboard.c_str()) >= 0;
    }
    const auto refuse = [&] { return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no") >= 0; };
    if (member == "Start" && !starts) return refuse();
    if (noteKey(message, member) && !takesKeyDown) return refuse();
    return sd_bus_reply_method_return(message, "") >= 0;
  }

 private:
  inline static const std::string kKeyboard = "/keyboard";

  bool answerSoon(sd_bus_message* message) {
    onCheck();
    if (hangsOnceItIsOpen) return true;
    if (isSlowOnceItIsOpen) std::this_thread::sleep_for(std::chrono::milliseconds{150});  // Longer than is waited for.
    return sd_bus_reply_method_return(message, "v", "s", "keyboard") >= 0;
  }

  bool answerLock(sd_bus_message* message) {
    switch (lock) {
      case Lock::cannotBeLocked:
        return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_METHOD, "no such object") >= 0;
      case Lock::isSilent:
        return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "it cannot be told") >= 0;
      case Lock::isOpen:
      case Lock::isLocked:
        break;
    }
    return sd_bus_reply_method_return(message, "b", lock == Lock::isLocked ? 1 : 0) >= 0;
  }

  // Whether it is a key that goes down.
  bool noteKey(sd_bus_message* message, const std::string& member) {
    unsigned key = 0;
    int isDown = 0;
    const bool isKey = member == "NotifyKeyboardKeycode" && sd_bus_message_read(message, "ub", &key, &isDown) >= 0;
    note(isKey ? std::to_string(key) + (isDown != 0 ? " down" : " up") : member);
    if (isKey && isDown != 0) onKeyDown();
    return isKey && isDown != 0;
  }

  void note(const std::string& call) {
    const std::lock_guard guard(mutex);
    all.push_back(call);
  }

  std::mutex mutex;
  std::vector<std::string> all;
};

const std::vector<std::string> kNamesOfShell{"org.gnome.Shell", "org.gnome.Mutter.RemoteDesktop"};

struct World {
  // `names`: what the shell owns on the session bus; `ofAnother`: what another client of the same process does.
  explicit World(const std::vector<std::string>& names = kNamesOfShell, const std::vector<std::string>& ofAnother = {},
                 Seconds messagingTimeout = Seconds{20})
      : shell(bus.address(), "", [this](sd_bus_message* message) { return compositor.answer(message); }),
        ofShell(bus.address(), names, [this](sd_bus_message* message) { return compositor.answer(message); }),
        another(bus.address(), ofAnother, [this](sd_bus_message* message) { return compositor.answer(message); }),
        accessibility({.sessionBusAddress = bus.address(),
                       .messagingTimeout = messagingTimeout,
                       .systemBusAddress = bus.address()},
                      windows, executors) {
    compositor.onFocus = [this](const std::string& path) { moveFocus(path); };
    compositor.onKeyDown = [this] {
      const std::lock_guard guard(mutex);
      pressed.push_back(focus);
    };
    bus.registerPrograms({shell.name()});
    shell.speakAs("clutter", "43.8");
    shell.set(FakeProgram::kRoot, object(kApplication, "gnome-shell", {"/stage"}));
    shell.set("/stage", object(kWindow, "", {"/group"}, kShown | bit(State::active)));
    shell.set("/group", object(kPanel, "", {"/windows", "/bar", "/tray", "/modal"}));
    shell.set("/windows", object(kPanel, ""));
    shell.set("/bar", object(kPanel, "", {"/activities"}));
    shell.set("/activities", object(Role::pushButton, "Activities"));
    shell.set("/tray", object(kPanel, "", {"/notification"}));
    shell.set("/notification", object(Role::notification, "", {"/news", "/open"}));
    shell.set("/news", object(Role::label, "News", {"/newsText"}));
    FakeObject repeated = object(Role::text, "");
    repeated.text = "News";
    shell.set("/newsText", repeated);
    shell.set("/open", object(Role::pushButton, "Open"));
    shell.set("/modal", object(kPanel, "", {"/dialog"}));
    shell.set("/dialog", object(Role::dialog, "", {"/title", "/body", "/deny", "/allow"}));
    shell.set("/title", object(Role::label, "Allow camera use?"));
    FakeObject body = object(Role::label, "A program wants it.");
    body.extents = Rect{10, 40, 100, 20};
    shell.set("/body", body);
    moveFocus("/deny");
  }

  // Among the buttons and the entry; from any thread.
  void moveFocus(const std::string& path) {
    const std::lock_guard guard(mutex);
    focus = path;
    shell.set("/deny", object(Role::pushButton, "Don't Allow", {}, path == "/deny" ? kFocused : kShown));
    shell.set("/allow", object(Role::pushButton, "Allow", {}, path == "/allow" ? kFocused : kShown));
    shell.set("/open", object(Role::pushButton, "Open", {}, path == "/open" ? kFocused : kShown));
    shell.set("/inner", object(Role::text, "", {}, (path == "/inner" ? kFocused : kShown) | bit(State::editable)));
  }
  void addEntryToDialog() {
    shell.set("/dialog", object(Role::dialog, "", {"/title", "/entry", "/deny", "/allow"}));
    shell.set("/entry", object(Role::entry, "", {"/inner"}));
  }
  // From when a button of this path has got the focus.
  void lockOnceItIsFocused(const std::string& button) {
    compositor.lock = Compositor::Lock::isOpen;
    compositor.onFocus = [this, button](const std::string& path) {
      moveFocus(path);
      if (path == button) compositor.lock = Compositor::Lock::isLocked;
    };
  }
  std::string focused() {
    const std::lock_guard guard(mutex);
    return focus;
  }
  // What had the focus as each key went down.
  std::vector<std::string> pressedOn() {
    const std::lock_guard guard(mutex);
    return pressed;
  }

  std::vector<AXUIElement> allWindows() {
    return AXHelpers::windows(accessibility, accessibility.createApplication(::getpid()));
  }
  std::optional<AXUIElement> button(const std::string& label) {
    for (const auto& window : allWindows()) {
      for (const auto& element : AXHelpers::deeplyNestedChildren(accessibility, window, 80)) {
        if (AXHelpers::stringAttribute(accessibility, element, ax::kTitle) == label) return element;
      }
    }
    return std::nullopt;
  }
  AXError press(const std::string& label) {
    const auto found = button(label);
    EXPECT_TRUE(found) << label;
    return found ? accessibility.performAction(*found, ax::kPressAction) : AXError::failure;
  }

  FakeAccessibilityBus bus;
  Compositor compositor;
  std::mutex mutex;
  std::string focus;
  std::vector<std::string> pressed;
  FakeProgram shell;  // On the accessibility bus.
  FakeProgram ofShell;
  FakeProgram another;
  std::optional<FakeProgram> manager;  // Of logins, on the same bus. Absent: there is none.
  desktop::NoDesktopWindows windows;
  qt::QtExecutors executors;
  LinuxAccessibility accessibility;
};

using Lock = Compositor::Lock;
const std::vector<std::string> kOneReturn{"Start", "28 down", "28 up", "Stop"};

TEST(ShellWindows, AreItsDialogsAndNotificationsAndNeverItsStage) {
  World world;
  std::vector<std::string> titles;
  for (const auto& window : world.allWindows())
    titles.push_back(AXHelpers::stringAttribute(world.accessibility, window, ax::kTitle).value());
  std::sort(titles.begin(), titles.end());
  EXPECT_EQ(titles, (std::vector<std::string>{"Allow camera use?", "News"}));
}

TEST(ShellWindows, AreReadLikeAnyOther) {
  World world;
  const auto scope = world.accessibility.beginReadScope();
  for (const auto& window : AXHelpers::windows(*scope, world.accessibility.createApplication(::getpid()))) {
    const auto reading = PromptReader::readPrompt(*scope, {.window = window, .appName = "GNOME Shell"}, 80);
    const bool isDialog = AXHelpers::subrole(*scope, window) == ax::kDialogSubrole;
    if (!isDialog) {
      EXPECT_EQ(reading.evidence.messageLines, std::vector<std::string>{"News"})
          << "Once, though it stands there twice.";
      continue;
    }
    EXPECT_EQ(reading.evidence.buttonLabels, (std::vector<std::string>{"Allow", "Don't Allow"}));
    EXPECT_EQ(reading.evidence.messageLines, (std::vector<std::string>{"Allow camera use?", "A program wants it."}));
    EXPECT_TRUE(reading.evidence.structure.isAlert);
  }
}

// The eye in the shell's password field makes an ordinary entry of it while the password is shown.
TEST(ShellWindows, KeepAPasswordThatIsShownToThemselves) {
  World world;
  world.shell.set("/dialog", object(Role::dialog, "", {"/title", "/entry", "/deny", "/allow"}));
  world.shell.set("/entry", object(Role::entry, "", {"/inner"}));
  FakeObject typed = object(Role::text, "", {}, kShown | bit(State::editable));
  typed.text = "hunter2";
  world.shell.set("/inner", typed);
  const auto scope = world.accessibility.beginReadScope();
  for (const auto& window : AXHelpers::windows(*scope, world.accessibility.createApplication(::getpid()))) {
    if (AXHelpers::subrole(*scope, window) != ax::kDialogSubrole) continue;
    const auto reading = PromptReader::readPrompt(*scope, {.window = window, .appName = "GNOME Shell"}, 80);
    EXPECT_GE(reading.evidence.structure.secureFields, 1);
    for (const auto& line : reading.evidence.messageLines) EXPECT_EQ(line.find("hunter2"), std::string::npos);
  }
  for (const auto& question : world.shell.asked()) {
    EXPECT_NE(question, "GetText /inner");
    EXPECT_NE(question, "GetText /entry");
  }
}

TEST(ShellWindows, AreTheSameElementsInALaterReading) {
  World world;
  const auto before = world.allWindows();
  const auto deny = world.button("Don't Allow");
  ASSERT_EQ(before.size(), 2U);
  ASSERT_TRUE(deny);
  const auto scope = world.accessibility.beginReadScope();
  // From the element, before the stage has been read.
  EXPECT_EQ(AXHelpers::stringAttribute(*scope, *deny, ax::kTitle), "Don't Allow");
  for (const auto& window : before) EXPECT_EQ(AXHelpers::role(*scope, window), ax::kWindowRole);
  EXPECT_EQ(AXHelpers::windows(*scope, world.accessibility.createApplication(::getpid())), before);
}

TEST(ShellWindows, GoWhenTheyNoLongerShow) {
  World world;
  const auto dialog = world.button("Allow");
  ASSERT_TRUE(dialog);
  world.shell.set("/dialog", object(Role::dialog, "", {"/title"}, 0));
  EXPECT_EQ(world.allWindows().size(), 1U);
  EXPECT_EQ(world.compositor.calls(), std::vector<std::string>());
  EXPECT_EQ(world.accessibility.performAction(*dialog, ax::kPressAction), AXError::notImplemented);
  EXPECT_EQ(world.compositor.calls(), std::vector<std::string>());
}

// So many objects that the walk ends before it has met the dialog, which lies below them.
void showManyObjects(World& world, int rows) {
  constexpr int kInRow = 80;
  std::vector<std::string> paths;
  for (int row = 0; row < rows; ++row) {
    std::vector<std::string> inRow;
    for (int i = 0; i < kInRow; ++i) {
      inRow.push_back("/object" + std::to_string(row) + "_" + std::to_string(i));
      world.shell.set(inRow.back(), object(kPanel, ""));
    }
    paths.push_back("/row" + std::to_string(row));
    world.shell.set(paths.back(), object(kPanel, "", inRow));
  }
  world.shell.set("/many", object(kPanel, "", paths));
  world.shell.set("/group", object(kPanel, "", {"/windows", "/bar", "/tray", "/modal", "/many"}));
}

TEST(ShellWindows, AreNotGoneWhereTheStageHoldsMoreThanIsRead) {
  World world;
  const auto windows = world.allWindows();
  const auto application = world.accessibility.createApplication(::getpid());
  showManyObjects(world, 4);
  EXPECT_EQ(world.allWindows().size(), 2U);
  showManyObjects(world, 24);  // As an overview with many programs.
  EXPECT_EQ(world.allWindows().size(), 2U);
  showManyObjects(world, 26);
  EXPECT_EQ(world.accessibility.copyAttributeValue(application, ax::kWindows).error(), AXError::cannotComplete);
  for (const auto& window : windows) {
    EXPECT_NE(world.accessibility.copyAttributeValue(window, ax::kRole).error(), AXError::invalidUIElement);
  }
}

TEST(ShellWindows, AreNotGoneWhereAPartOfTheStageRefusesToAnswer) {
  for (const std::string question : {"GetChildren", "GetState", "GetRole"}) {
    SCOPED_TRACE(question);
    World world;
    world.compositor.refusedQuestion = question + " /modal";
    const auto application = world.accessibility.createApplication(::getpid());
    EXPECT_EQ(world.accessibility.copyAttributeValue(application, ax::kWindows).error(), AXError::cannotComplete);
  }
}

TEST(ShellWindows, AreToldWhileSomethingElseGoes) {
  World world;
  world.shell.set("/tray", object(kPanel, "", {"/gone", "/notification"}));
  EXPECT_EQ(world.allWindows().size(), 2U);
}

TEST(ShellWindows, ThatAreListedInACircleEnd) {
  World world;
  world.shell.set("/allow", object(Role::pushButton, "Allow", {"/dialog", "/stage"}));
  world.shell.set("/modal", object(kPanel, "", {"/dialog", "/stage", "/group"}));
  EXPECT_EQ(world.allWindows().size(), 2U);
  EXPECT_EQ(world.allWindows().size(), 2U);
}

TEST(ShellPress, IsOneReturnOnTheButtonThatHasTheFocus) {
  World world;
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_EQ(world.compositor.calls(), kOneReturn) << "And no action, which the shell would only pretend to do.";
}

TEST(ShellPress, IsOfferedByButtonsThatTakeIt) {
  World world;
  world.shell.set("/allow", object(Role::pushButton, "Allow", {}, bit(State::showing)));
  const auto has = [&](const std::string& label) {
    const auto actions = AXHelpers::actionNames(world.accessibility, *world.button(label));
    return std::find(actions.begin(), actions.end(), ax::kPressAction) != actions.end();
  };
  EXPECT_TRUE(has("Don't Allow"));
  EXPECT_FALSE(has("Allow"));
  EXPECT_EQ(world.press("Allow"), AXError::notImplemented);
  EXPECT_EQ(world.compositor.calls(), std::vector<std::string>());
}

FakeProgram::Override hint(int isLocked) {
  return [isLocked](sd_bus_message* message) {
    const bool isOfUser = std::string(sd_bus_message_get_path(message)) == "/org/freedesktop/login1/user/self";
    if (isOfUser) return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_OBJECT, "none") >= 0;
    return sd_bus_reply_method_return(message, "v", "b", isLocked) >= 0;
  };
}

TEST(ShellPress, GoesOnWhereTheLoginManagerSaysThatTheScreenIsNotLocked) {
  World world;
  world.manager.emplace(world.bus.address(), "org.freedesktop.login1", hint(0));
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
}

TEST(ShellPress, SendsNothingWithoutItsProof) {
  struct Case {
    const char* name;
    std::function<void(World&)> change;
  };
  const std::vector<Case> cases{
      {"the screen is locked", [](World& world) { world.compositor.lock = Lock::isLocked; }},
      {"the lock cannot be told", [](World& world) { world.compositor.lock = Lock::isSilent; }},
      {"the login manager says that the screen is locked",
       [](World& world) { world.manager.emplace(world.bus.address(), "org.freedesktop.login1", hint(1)); }},
      {"the login manager says so only when the keyboard is there",
       [](World& world) {
         world.manager.emplace(world.bus.address(), "org.freedesktop.login1", hint(0));
         world.compositor.onOpen = [&world] {
           world.manager.emplace(world.bus.address(), "org.freedesktop.login1", hint(1));
         };
       }},
      {"the focus is refused",
       [](World& world) {
         world.moveFocus("/allow");
         world.compositor.takesFocus = false;
       }},
      {"the focus did not move",
       [](World& world) {
         world.moveFocus("");
         world.compositor.onFocus = [](const std::string&) {};
       }},
      {"a program has the keyboard",
       [](World& world) { world.shell.set("/stage", object(kWindow, "", {"/group"}, kShown)); }},
      {"there is no keyboard", [](World& world) { world.compositor.givesKeyboard = false; }},
      {"the keyboard does not start", [](World& world) { world.compositor.starts = false; }},
      {"a program takes the keyboard meanwhile",
       [](World& world) {
         world.compositor.onOpen = [&world] { world.shell.set("/stage", object(kWindow, "", {"/group"}, kShown)); };
       }},
      {"the shell hangs", [](World& world) { world.compositor.hangsOnceItIsOpen = true; }},
      {"the shell is slow", [](World& world) { world.compositor.isSlowOnceItIsOpen = true; }},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    World world;
    each.change(world);
    EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
    EXPECT_EQ(world.pressedOn(), std::vector<std::string>());
  }
}

TEST(ShellPress, ChecksAgainWhenTheKeyboardIsThere) {
  World world;
  world.compositor.locksWhileItOpens = true;
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.compositor.calls(), (std::vector<std::string>{"Start", "Stop"}));
}

TEST(ShellPress, IsOnlyForTheShellOfThisSession) {
  World world{{"org.example.Another"}};
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.compositor.calls(), std::vector<std::string>());
}

TEST(ShellPress, IsOnlyByTheKeyboardOfTheShellItself) {
  World world{{"org.gnome.Shell"}, {"org.gnome.Mutter.RemoteDesktop"}};
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.compositor.calls(), std::vector<std::string>());
}

// A process that owns the names of the shell, and answers all that it is asked. It has no other thread.
class ShellOfAnotherProcess {
 public:
  explicit ShellOfAnotherProcess(const std::string& address) {
    if (::pipe(pipe.data()) != 0) return;
    process = ::fork();
    if (process == 0) serve(address, pipe[1]);
    ::close(pipe[1]);
  }
  ~ShellOfAnotherProcess() {
    ::close(pipe[0]);
    if (process <= 0) return;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
  }
  ShellOfAnotherProcess(const ShellOfAnotherProcess&) = delete;
  ShellOfAnotherProcess& operator=(const ShellOfAnotherProcess&) = delete;

  // False: it could not take the names.
  [[nodiscard]] bool waitUntilUp() const {
    char byte = 0;
    return process > 0 && ::read(pipe[0], &byte, 1) == 1;
  }

 private:
  [[noreturn]] static void serve(const std::string& address, int isUpFile) {
    sd_bus* bus = nullptr;
    Compositor compositor;
    const auto onMessage = [](sd_bus_message* message, void* answering, sd_bus_error*) {
      const bool isCall = sd_bus_message_is_method_call(message, nullptr, nullptr) > 0;
      return isCall && static_cast<Compositor*>(answering)->answer(message) ? 1 : 0;
    };
    const bool isUp = sd_bus_new(&bus) >= 0 && sd_bus_set_address(bus, address.c_str()) >= 0 &&
                      sd_bus_set_bus_client(bus, 1) >= 0 && sd_bus_start(bus) >= 0 &&
                      sd_bus_add_filter(bus, nullptr, onMessage, &compositor) >= 0;
    for (const auto& name : kNamesOfShell) {
      if (!isUp || sd_bus_request_name(bus, name.c_str(), 0) < 0) ::_exit(1);
    }
    if (::write(isUpFile, "u", 1) != 1) ::_exit(1);
    for (;;) {
      const int done = sd_bus_process(bus, nullptr);
      if (done < 0) ::_exit(1);
      if (done == 0) sd_bus_wait(bus, UINT64_MAX);
    }
  }

  std::array<int, 2> pipe{-1, -1};
  pid_t process = -1;
};

TEST(ShellPress, IsNotByTheShellOfAnotherProcess) {
  World world{{}};
  const ShellOfAnotherProcess other(world.bus.address());
  ASSERT_TRUE(other.waitUntilUp());
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
}

TEST(ShellPress, TakesTheFocusBackFromAnotherButtonOfTheDialog) {
  World world;
  world.compositor.onOpen = [&] { world.moveFocus("/allow"); };
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>{"/deny"});
}

// It went to something that the user turned to.
TEST(ShellPress, DoesNotTakeTheFocusBackFromAnythingElse) {
  World world;
  world.moveFocus("/allow");
  int timesTaken = 0;
  world.compositor.onFocus = [&](const std::string& path) {
    ++timesTaken;
    world.moveFocus(path);
  };
  world.compositor.onCheck = [&] { world.moveFocus("/entry"); };
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(timesTaken, 1);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>());
}

TEST(ShellPress, ThatIsRefusedGivesTheFocusBackToTheButtonThatHadIt) {
  World world;
  world.moveFocus("/allow");
  world.lockOnceItIsFocused("/deny");
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.focused(), "/allow");
}

TEST(ShellPress, ThatIsRefusedGivesTheFocusBackToAnEntry) {
  World world;
  world.addEntryToDialog();
  world.moveFocus("/inner");
  world.lockOnceItIsFocused("/allow");
  EXPECT_EQ(world.press("Allow"), AXError::notImplemented);
  EXPECT_EQ(world.focused(), "/inner");
}

// A program had the keys, as it has while a notification shows: the stage itself having the focus means that none of
// its objects has it.
TEST(ShellPress, ThatIsRefusedLeavesNoButtonOfANotificationFocused) {
  World world;
  world.moveFocus("");
  world.lockOnceItIsFocused("/open");
  EXPECT_EQ(world.press("Open"), AXError::notImplemented);
  EXPECT_EQ(world.focused(), "/stage");
}

// Who misses the time-out once is not asked again by the reading.
TEST(ShellPress, ThatIsRefusedGivesTheFocusBackThoughAnAnswerDidNotComeInTime) {
  for (const std::string focused : {"/allow", ""}) {
    SCOPED_TRACE(focused);
    World world{kNamesOfShell, {}, Seconds{1}};
    world.moveFocus(focused);
    std::atomic<bool> isSilent{false};
    world.compositor.onFocus = [&](const std::string& path) {
      world.moveFocus(path);
      isSilent = path == "/deny";
    };
    world.compositor.onStates = [&](const std::string&) { return isSilent.exchange(false); };
    EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
    EXPECT_EQ(world.focused(), focused.empty() ? "/stage" : focused);
    EXPECT_EQ(world.pressedOn(), std::vector<std::string>());
  }
}

TEST(ShellPress, DoesNotTouchTheFocusOfAShellThatIsSlow) {
  World world;
  world.moveFocus("/allow");
  world.compositor.isSlowOnceItIsOpen = true;
  std::atomic<int> timesTaken{0};
  world.compositor.onFocus = [&](const std::string&) { ++timesTaken; };
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(timesTaken, 0);
}

TEST(ShellPress, IsNotOfAButtonThatSaysTooSlowlyThatItIsFocused) {
  World world;
  std::atomic<bool> isSlow{false};
  world.compositor.onCheck = [&] { isSlow = true; };
  world.compositor.onStates = [&](const std::string&) {
    if (isSlow) std::this_thread::sleep_for(std::chrono::milliseconds{150});  // Longer than is waited for.
    return false;
  };
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>());
}

TEST(ShellPress, IsNotOfAButtonThatBearsAnotherLabelMeanwhile) {
  World world;
  world.compositor.onCheck = [&] { world.shell.set("/deny", object(Role::pushButton, "Erase", {}, kFocused)); };
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>());
}

TEST(ShellPress, ThatIsRefusedLeavesTheFocusWhereItWas) {
  for (const bool isBefore : {true, false}) {
    SCOPED_TRACE(isBefore ? "no keyboard" : "slow");
    World world;
    world.moveFocus("/allow");
    world.compositor.givesKeyboard = !isBefore;
    world.compositor.isSlowOnceItIsOpen = !isBefore;
    EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
    EXPECT_EQ(world.focused(), "/allow");
  }
}

TEST(ShellPress, IsTheOnlyWayToMoveTheFocusOfTheShell) {
  World world;
  const auto allow = world.button("Allow");
  ASSERT_TRUE(allow);
  EXPECT_EQ(world.accessibility.setAttributeValue(*allow, ax::kFocused, true), AXError::actionUnsupported);
  EXPECT_EQ(world.focused(), "/deny");
}

TEST(ShellPress, OfWhichAKeyIsRefusedLetsItGoAndIsNotTriedAgain) {
  World world;
  world.compositor.takesKeyDown = false;
  EXPECT_EQ(world.press("Don't Allow"), AXError::cannotComplete) << "It may have been pressed.";
  EXPECT_EQ(world.compositor.calls(), kOneReturn);
}

TEST(ShellPress, GoesOnWhereTheScreenCouldBeLockedAndIsNot) {
  World world;
  world.compositor.lock = Lock::isOpen;
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_EQ(world.compositor.calls(), kOneReturn);
}

}  // namespace
}  // namespace quillard::atspi
