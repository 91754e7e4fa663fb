#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/Roles.h"
#include "support/ShellWorld.h"

// When a key is sent to a button of the shell.
namespace quillard::atspi {
namespace {

using platform::AXError;
using test::Compositor;
using test::FakeProgram;
using test::kNamesOfShell;
using test::kShellFocused;
using test::kShellShown;
using test::kShellStage;
using test::shellObject;
using test::ShellWorld;
namespace ax = platform::ax;

using Lock = Compositor::Lock;
constexpr Seconds kShort{0.3};
const std::vector<std::string> kOneReturn{"Start", "28 down", "28 up", "Stop"};

TEST(ShellPress, IsOneReturnOnTheButtonThatHasTheFocus) {
  ShellWorld world;
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_EQ(world.compositor.calls(), kOneReturn) << "And no action, which the shell would only pretend to do.";
}

TEST(ShellPress, IsOfferedByButtonsThatTakeIt) {
  ShellWorld world;
  world.shell.set("/allow", shellObject(Role::pushButton, "Allow", {}, bit(State::showing)));
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
  ShellWorld world;
  world.manager.emplace(world.bus.address(), "org.freedesktop.login1", hint(0));
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
}

TEST(ShellPress, SendsNothingWithoutItsProof) {
  struct Case {
    const char* name;
    std::function<void(ShellWorld&)> change;
  };
  const std::vector<Case> cases{
      {"the screen is locked", [](ShellWorld& world) { world.compositor.lock = Lock::isLocked; }},
      {"the lock cannot be told", [](ShellWorld& world) { world.compositor.lock = Lock::isSilent; }},
      {"the login manager says that the screen is locked",
       [](ShellWorld& world) { world.manager.emplace(world.bus.address(), "org.freedesktop.login1", hint(1)); }},
      {"the login manager says so only when the keyboard is there",
       [](ShellWorld& world) {
         world.manager.emplace(world.bus.address(), "org.freedesktop.login1", hint(0));
         world.compositor.onOpen = [&world] {
           world.manager.emplace(world.bus.address(), "org.freedesktop.login1", hint(1));
         };
       }},
      {"the focus is refused",
       [](ShellWorld& world) {
         world.moveFocus("/allow");
         world.compositor.takesFocus = false;
       }},
      {"the focus did not move",
       [](ShellWorld& world) {
         world.moveFocus("");
         world.compositor.onFocus = [](const std::string&) {};
       }},
      {"a program has the keyboard",
       [](ShellWorld& world) { world.shell.set("/stage", shellObject(kShellStage, "", {"/group"}, kShellShown)); }},
      {"there is no keyboard", [](ShellWorld& world) { world.compositor.givesKeyboard = false; }},
      {"the keyboard does not start", [](ShellWorld& world) { world.compositor.starts = false; }},
      {"a program takes the keyboard meanwhile",
       [](ShellWorld& world) {
         world.compositor.onOpen = [&world] {
           world.shell.set("/stage", shellObject(kShellStage, "", {"/group"}, kShellShown));
         };
       }},
      {"the shell hangs", [](ShellWorld& world) { world.compositor.hangsOnceItIsOpen = true; }},
      {"the shell is slow", [](ShellWorld& world) { world.compositor.isSlowOnceItIsOpen = true; }},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    ShellWorld world{kNamesOfShell, {}, Seconds{20}, kShort};
    each.change(world);
    EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
    EXPECT_EQ(world.pressedOn(), std::vector<std::string>());
  }
}

TEST(ShellPress, ChecksAgainWhenTheKeyboardIsThere) {
  ShellWorld world;
  world.compositor.locksWhileItOpens = true;
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.compositor.calls(), (std::vector<std::string>{"Start", "Stop"}));
}

TEST(ShellPress, IsOnlyForTheShellOfThisSession) {
  ShellWorld world{{"org.example.Another"}};
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.compositor.calls(), std::vector<std::string>());
}

TEST(ShellPress, IsOnlyByTheKeyboardOfTheShellItself) {
  ShellWorld world{{"org.gnome.Shell"}, {"org.gnome.Mutter.RemoteDesktop"}};
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
  ShellWorld world{{}};
  const ShellOfAnotherProcess other(world.bus.address());
  ASSERT_TRUE(other.waitUntilUp());
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
}

TEST(ShellPress, TakesTheFocusBackFromAnotherButtonOfTheDialog) {
  ShellWorld world;
  world.compositor.onOpen = [&] { world.moveFocus("/allow"); };
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>{"/deny"});
}

// It went to something that the user turned to.
TEST(ShellPress, DoesNotTakeTheFocusBackFromAnythingElse) {
  ShellWorld world;
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
  ShellWorld world;
  world.moveFocus("/allow");
  world.lockOnceItIsFocused("/deny");
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.focused(), "/allow");
}

TEST(ShellPress, ThatIsRefusedGivesTheFocusBackToAnEntry) {
  ShellWorld world;
  world.addEntryToDialog();
  world.moveFocus("/inner");
  world.lockOnceItIsFocused("/allow");
  EXPECT_EQ(world.press("Allow"), AXError::notImplemented);
  EXPECT_EQ(world.focused(), "/inner");
}

// A program had the keys, as it has while a notification shows: the stage itself having the focus means that none of
// its objects has it.
TEST(ShellPress, ThatIsRefusedLeavesNoButtonOfANotificationFocused) {
  ShellWorld world;
  world.moveFocus("");
  world.lockOnceItIsFocused("/open");
  EXPECT_EQ(world.press("Open"), AXError::notImplemented);
  EXPECT_EQ(world.focused(), "/stage");
}

// Who misses the time-out once is not asked again by the reading.
TEST(ShellPress, ThatIsRefusedGivesTheFocusBackThoughAnAnswerDidNotComeInTime) {
  for (const std::string focused : {"/allow", ""}) {
    SCOPED_TRACE(focused);
    ShellWorld world{kNamesOfShell, {}, Seconds{1}, kShort};
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

// As on a busy machine, where the shell draws its own movements for tenths of a second.
TEST(ShellPress, WaitsForAShellThatIsSlowForAMoment) {
  ShellWorld world;
  world.moveFocus("/allow");
  std::atomic<int> checks{0};
  world.compositor.onCheck = [&] { world.compositor.isSlowOnceItIsOpen = ++checks == 1; };
  std::atomic<int> checksAtFocus{0};
  world.compositor.onFocus = [&](const std::string& path) {
    int none = 0;
    checksAtFocus.compare_exchange_strong(none, checks);
    world.moveFocus(path);
  };
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>{"/deny"});
  EXPECT_GE(checksAtFocus, 2) << "Not before the shell answered soon.";
  EXPECT_EQ(world.compositor.calls(), kOneReturn);
}

TEST(ShellPress, StartsAnewWhereTheShellBecameSlowOnceTheButtonHadTheFocus) {
  ShellWorld world;
  world.moveFocus("/allow");
  std::atomic<int> checks{0};
  world.compositor.onCheck = [&] {
    const int check = ++checks;
    world.compositor.isSlowOnceItIsOpen = check == 2 || check == 3;
    if (check == 3) {
      EXPECT_EQ(world.focused(), "/allow") << "While nothing can be pressed, the button is not focused.";
    }
  };
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_GE(checks, 5);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>{"/deny"});
  EXPECT_EQ(world.compositor.calls(), kOneReturn);
}

// An answer that is missed once must not make the reading give the shell up.
TEST(ShellPress, OutlivesOneAnswerThatDoesNotComeInTheTimeOfAReading) {
  ShellWorld world{kNamesOfShell, {}, Seconds{1}};
  std::atomic<bool> isSilent{false};
  std::atomic<bool> hasMissed{false};
  world.compositor.onCheck = [&] { isSilent = !hasMissed; };
  world.compositor.onStates = [&](const std::string& path) {
    const bool misses = path == "/deny" && isSilent.exchange(false);
    if (misses) hasMissed = true;
    return misses;
  };
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_TRUE(hasMissed);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>{"/deny"});
}

TEST(ShellPress, DoesNotTouchTheFocusOfAShellThatStaysSlow) {
  ShellWorld world{kNamesOfShell, {}, Seconds{20}, kShort};
  world.moveFocus("/allow");
  world.compositor.isSlowOnceItIsOpen = true;
  std::atomic<int> timesTaken{0};
  world.compositor.onFocus = [&](const std::string&) { ++timesTaken; };
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(timesTaken, 0);
}

TEST(ShellPress, IsNotOfAButtonThatSaysTooSlowlyThatItIsFocused) {
  ShellWorld world{kNamesOfShell, {}, Seconds{20}, kShort};
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
  ShellWorld world;
  world.compositor.onCheck = [&] {
    world.shell.set("/deny", shellObject(Role::pushButton, "Erase", {}, kShellFocused));
  };
  EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
  EXPECT_EQ(world.pressedOn(), std::vector<std::string>());
}

TEST(ShellPress, ThatIsRefusedLeavesTheFocusWhereItWas) {
  for (const bool isBefore : {true, false}) {
    SCOPED_TRACE(isBefore ? "no keyboard" : "slow");
    ShellWorld world{kNamesOfShell, {}, Seconds{20}, kShort};
    world.moveFocus("/allow");
    world.compositor.givesKeyboard = !isBefore;
    world.compositor.isSlowOnceItIsOpen = !isBefore;
    EXPECT_EQ(world.press("Don't Allow"), AXError::notImplemented);
    EXPECT_EQ(world.focused(), "/allow");
  }
}

TEST(ShellPress, IsTheOnlyWayToMoveTheFocusOfTheShell) {
  ShellWorld world;
  const auto allow = world.button("Allow");
  ASSERT_TRUE(allow);
  EXPECT_EQ(world.accessibility.setAttributeValue(*allow, ax::kFocused, true), AXError::actionUnsupported);
  EXPECT_EQ(world.focused(), "/deny");
}

TEST(ShellPress, OfWhichAKeyIsRefusedLetsItGoAndIsNotTriedAgain) {
  ShellWorld world;
  world.compositor.takesKeyDown = false;
  EXPECT_EQ(world.press("Don't Allow"), AXError::cannotComplete) << "It may have been pressed.";
  EXPECT_EQ(world.compositor.calls(), kOneReturn);
}

TEST(ShellPress, GoesOnWhereTheScreenCouldBeLockedAndIsNot) {
  ShellWorld world;
  world.compositor.lock = Lock::isOpen;
  EXPECT_EQ(world.press("Don't Allow"), AXError::success);
  EXPECT_EQ(world.compositor.calls(), kOneReturn);
}

}  // namespace
}  // namespace quillard::atspi
