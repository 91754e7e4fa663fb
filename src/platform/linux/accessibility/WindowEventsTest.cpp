#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include "platform/linux/accessibility/Roles.h"
#include "platform/linux/accessibility/WindowEvents.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeAccessibilityBus.h"
#include "support/QtWait.h"

namespace quillard::atspi {
namespace {

using test::FakeAccessibilityBus;
using test::FakeProgram;
using test::waitUntil;

constexpr const char* kWindow = "org.a11y.atspi.Event.Window";
constexpr const char* kObject = "org.a11y.atspi.Event.Object";

// A program that announces what the test says, from its own connection.
class AnnouncingProgram {
 public:
  explicit AnnouncingProgram(const std::string& address)
      : program(address, "", [this](sd_bus_message* message) {
          if (refuses && sd_bus_message_is_method_call(message, "org.a11y.atspi.Accessible", "GetRole") > 0) {
            return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no") >= 0;
          }
          return announce(message);
        }) {
    sd_bus_new(&control);
    sd_bus_set_address(control, address.c_str());
    sd_bus_set_bus_client(control, 1);
    sd_bus_start(control);
  }
  AnnouncingProgram(const AnnouncingProgram&) = delete;
  AnnouncingProgram& operator=(const AnnouncingProgram&) = delete;
  ~AnnouncingProgram() { sd_bus_flush_close_unref(control); }

  void set(const std::string& path, Role role) { program.set(path, {.role = static_cast<std::uint32_t>(role)}); }
  void refuseRoles() { refuses = true; }
  [[nodiscard]] int timesAskedForRole() { return program.timesAsked("GetRole"); }

  // Returns when the signals have been sent.
  void say(const char* path, const char* interface, const char* member, const char* detail, int value, int times = 1) {
    EXPECT_GE(sd_bus_call_method(control, program.name().c_str(), "/", "test.Fake", "Announce", nullptr, nullptr,
                                 "ssssii", path, interface, member, detail, value, times),
              0);
  }
  void show(const char* path, int value = 1, int times = 1) {
    say(path, kObject, "StateChanged", "showing", value, times);
  }

 private:
  static bool announce(sd_bus_message* message) {
    if (sd_bus_message_is_method_call(message, "test.Fake", "Announce") <= 0) return false;
    const char* path = nullptr;
    const char* interface = nullptr;
    const char* member = nullptr;
    const char* detail = nullptr;
    int value = 0;
    int times = 0;
    sd_bus_message_read(message, "ssssii", &path, &interface, &member, &detail, &value, &times);
    for (int i = 0; i < times; ++i) {
      sd_bus_emit_signal(sd_bus_message_get_bus(message), path, interface, member, "siiva{sv}", detail, value, 0, "i",
                         0, 0);
    }
    sd_bus_reply_method_return(message, "");
    return true;
  }

  std::atomic<bool> refuses{false};
  FakeProgram program;
  sd_bus* control = nullptr;
};

class WindowEventsTest : public testing::Test {
 protected:
  void listen(bool isShell = false, WindowEventKinds kinds = {.created = true, .activated = true, .shown = true},
              std::int32_t ownProcess = 0) {
    events = std::make_unique<WindowEvents>([this] { return std::optional(bus.address()); }, kinds, ownProcess,
                                            executors.mainThread(), [this] { ++hints; },
                                            [isShell](std::int32_t) { return isShell; }, pace);
    ASSERT_TRUE(waitUntil([this] { return bus.registry().timesAsked("RegisterEvent") > 0; }));
  }
  // Whatever was announced before has been received when this is.
  [[nodiscard]] int hintsUntilNow() {
    const int before = hints;
    AnnouncingProgram other(bus.address());
    other.say("/window", kWindow, "Create", "", 0);
    return waitUntil([&] { return hints > before; }) ? hints - 1 : -1;
  }

  static constexpr int kCalendar = 180;
  // So many objects at once, and the keyboard for the stage.
  void showOfShell(int count, std::optional<int> window = std::nullopt, Role ofWindow = Role::dialog) {
    const auto path = [](int i) { return "/object" + std::to_string(i); };
    for (int i = 0; i < count; ++i) program.set(path(i), i == window ? ofWindow : Role::label);
    program.say("/stage", kWindow, "Activate", "", 0);
    for (int i = 0; i < count; ++i) program.show(path(i).c_str());
  }
  void pass(Seconds time) {
    bool isOver = false;
    const auto task = executors.mainThread().postAfter(time, [&] { isOver = true; });
    EXPECT_TRUE(waitUntil([&] { return isOver; }));
  }

  WindowEventPace pace{.longestGap = std::chrono::milliseconds{500}, .shellDelay = Seconds{0.6}};
  FakeAccessibilityBus bus;
  AnnouncingProgram program{bus.address()};
  qt::QtExecutors executors;
  int hints = 0;
  std::unique_ptr<WindowEvents> events;
};

TEST_F(WindowEventsTest, AWindowThatIsMadeOrGetsTheKeyboardIsAHint) {
  listen();
  program.say("/window", kWindow, "Create", "", 0);
  EXPECT_TRUE(waitUntil([&] { return hints == 1; }));
  program.say("/window", kWindow, "Activate", "", 0);
  EXPECT_TRUE(waitUntil([&] { return hints == 2; }));
  program.say("/window", kObject, "StateChanged", "active", 1);
  EXPECT_TRUE(waitUntil([&] { return hints == 3; }));
  program.say("/org/a11y/atspi/accessible/root", kObject, "ChildrenChanged", "add", 1);
  EXPECT_TRUE(waitUntil([&] { return hints == 4; }));
}

TEST_F(WindowEventsTest, WhatAppearsIsAHintWhenItIsAWindowADialogOrANotification) {
  listen();
  int expected = 0;
  for (const auto role : {Role::alert, Role::dialog, Role::frame, Role::window, Role::notification}) {
    program.set("/shown", role);
    program.show("/shown");
    ++expected;
    EXPECT_TRUE(waitUntil([&] { return hints == expected; })) << static_cast<int>(role);
  }
  for (const auto role : {Role::label, Role::pushButton, Role::menu, Role::toolTip}) {
    program.set("/shown", role);
    program.show("/shown");
    ++expected;
    EXPECT_TRUE(waitUntil([&] { return program.timesAskedForRole() == expected; }));
  }
  EXPECT_EQ(hintsUntilNow(), 5);
}

TEST_F(WindowEventsTest, WhatGoesOrIsAboutSomethingElseIsNone) {
  listen();
  program.set("/shown", Role::dialog);
  program.show("/shown", 0);
  program.say("/shown", kObject, "StateChanged", "active", 0);
  program.say("/shown", kObject, "StateChanged", "focused", 1);
  program.say("/shown", kObject, "ChildrenChanged", "add", 1);
  program.say("/org/a11y/atspi/accessible/root", kObject, "ChildrenChanged", "remove", 1);
  program.say("/shown", kWindow, "Deactivate", "", 0);
  EXPECT_EQ(hintsUntilNow(), 0);
  EXPECT_EQ(program.timesAskedForRole(), 0);
}

// As GNOME Shell does when its calendar opens.
TEST_F(WindowEventsTest, AShellThatShowsVeryMuchAtOnceIsNoHintWhereNothingOfItIsAWindow) {
  listen(/*isShell=*/true);
  showOfShell(kCalendar);
  EXPECT_TRUE(waitUntil([&] { return program.timesAskedForRole() == kCalendar; }));
  pass(Seconds{1.5});
  EXPECT_EQ(hints, 0);
  showOfShell(kCalendar);
  pass(Seconds{1.5});
  EXPECT_EQ(hints, 0);
  EXPECT_EQ(program.timesAskedForRole(), kCalendar) << "An object keeps its role.";
}

TEST_F(WindowEventsTest, ADialogAmongVeryMuchOfAShellIsOneHintWhenThatHasEnded) {
  listen(/*isShell=*/true);
  showOfShell(kCalendar, /*window=*/40);
  EXPECT_TRUE(waitUntil([&] { return program.timesAskedForRole() > 0; }));
  EXPECT_EQ(hints, 0);
  EXPECT_TRUE(waitUntil([&] { return hints == 1; }));
  pass(Seconds{1.5});
  EXPECT_EQ(hints, 1);
}

TEST_F(WindowEventsTest, ANotificationThatCameInABurstBeforeIsNoHintAgainUnlessItComesAlone) {
  listen(/*isShell=*/true);
  for (int opening = 0; opening < 2; ++opening) {
    showOfShell(kCalendar, /*window=*/40, Role::notification);
    EXPECT_TRUE(waitUntil([&] { return hints == 1; }));
    pass(Seconds{1.5});
    EXPECT_EQ(hints, 1);
  }
  program.show("/object40");
  EXPECT_TRUE(waitUntil([&] { return hints == 2; }));
}

TEST_F(WindowEventsTest, AnObjectOfAShellThatDoesNotTellItsRoleIsAHint) {
  listen(/*isShell=*/true);
  program.refuseRoles();
  program.show("/object0");
  EXPECT_TRUE(waitUntil([&] { return hints == 1; }));
}

TEST_F(WindowEventsTest, WhatAShellShowsBeyondItsBudgetIsAHintWhenThatRenews) {
  pace.budgetTime = std::chrono::milliseconds{2000};
  listen(/*isShell=*/true);
  showOfShell(520);
  EXPECT_TRUE(waitUntil([&] { return hints == 1; }));
  EXPECT_LE(program.timesAskedForRole(), 512);
}

TEST_F(WindowEventsTest, ABurstThatDoesNotEndIsAHintAllTheSame) {
  pace.longestGap = std::chrono::seconds{100};
  pace.longestBurst = std::chrono::milliseconds{100};
  listen(/*isShell=*/true);
  program.set("/shown", Role::dialog);
  program.show("/shown", 1, 40);
  EXPECT_TRUE(waitUntil([&] { return hints >= 1; }));
}

TEST_F(WindowEventsTest, TellWhichProcessHasTheKeyboardAsProgramsSay) {
  listen();
  EXPECT_EQ(events->activeProcess(), std::nullopt) << "Nothing was said yet.";
  const auto self = std::optional<std::int32_t>(::getpid());  // All programs of this test are this process.
  program.say("/one", kWindow, "Activate", "", 0);
  EXPECT_TRUE(waitUntil([&] { return events->activeProcess() == self; }));
  program.say("/other", kObject, "StateChanged", "active", 0);
  program.say("/two", kObject, "StateChanged", "active", 1);
  program.say("/one", kObject, "StateChanged", "active", 0);
  pass(Seconds{0.3});
  EXPECT_EQ(events->activeProcess(), self) << "Another window of it has the keyboard by then.";
  program.say("/two", kObject, "StateChanged", "active", 0);
  EXPECT_TRUE(waitUntil([&] { return events->activeProcess() == std::nullopt; }));
}

TEST_F(WindowEventsTest, WhatWasBeyondTheBudgetIsOneHintWhenItRenews) {
  pace.longestGap = std::chrono::milliseconds{-1};  // Nothing is a burst.
  pace.budgetTime = std::chrono::milliseconds{400};
  listen();
  program.set("/shown", Role::label);
  program.show("/shown", 1, 70);
  EXPECT_TRUE(waitUntil([&] { return hints == 1; }));
  EXPECT_LE(program.timesAskedForRole(), 64);
}

TEST_F(WindowEventsTest, ShellsDoNotReplaceOneAnother) {
  listen(/*isShell=*/true);
  AnnouncingProgram second(bus.address());
  program.say("/stage", kWindow, "Activate", "", 0);
  second.say("/stage", kWindow, "Activate", "", 0);
  EXPECT_TRUE(waitUntil([&] { return hints == 2; }));
}

TEST_F(WindowEventsTest, ADialogOfAShellIsOneHint) {
  listen(/*isShell=*/true);
  program.set("/dialog", Role::dialog);
  program.set("/button", Role::pushButton);
  program.say("/stage", kWindow, "Activate", "", 0);
  program.say("/stage", kObject, "StateChanged", "active", 1);
  program.show("/button", 1, 3);
  program.show("/dialog");
  EXPECT_TRUE(waitUntil([&] { return hints == 1; }));
}

TEST_F(WindowEventsTest, AProgramThatShowsVeryMuchAtOnceIsAHintAtOnceAndAtTheEnd) {
  listen();
  program.set("/shown", Role::label);
  program.show("/shown", 1, 100);
  EXPECT_TRUE(waitUntil([&] { return hints == 2; }));
  EXPECT_LE(program.timesAskedForRole(), 32);
}

TEST_F(WindowEventsTest, ItsOwnWindowsAreNone) {
  listen(false, {.created = true}, ::getpid());
  program.say("/window", kWindow, "Create", "", 0);
  bool isOver = false;
  const auto task = executors.mainThread().postAfter(Seconds{0.2}, [&] { isOver = true; });
  EXPECT_TRUE(waitUntil([&] { return isOver; }));
  EXPECT_EQ(hints, 0);
}

TEST_F(WindowEventsTest, ARegistryThatWasStartedAnewIsAskedAgain) {
  listen(false, {.created = true});
  bus.startRegistryAnew();
  EXPECT_TRUE(waitUntil([&] { return bus.registry().timesAsked("RegisterEvent") > 0; }));
}

TEST_F(WindowEventsTest, NothingIsRegisteredWhereNothingIsWanted) {
  events = std::make_unique<WindowEvents>(
      []() -> std::optional<std::string> {
        ADD_FAILURE() << "The bus is not asked for.";
        return std::nullopt;
      },
      WindowEventKinds{}, 0, executors.mainThread(), [] {});
}

}  // namespace
}  // namespace quillard::atspi
