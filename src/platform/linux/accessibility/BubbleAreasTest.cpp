#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "platform/qt/QtExecutors.h"
#include "support/ShownObjects.h"

// One window with several notifications, as LXQt shows them.
namespace quillard::atspi {
namespace {

using platform::AXError;
using platform::AXUIElement;
using test::FakeAccessibilityBus;
using test::FakeProgram;
using test::shownObject;
namespace ax = platform::ax;

// The windows that the desktop lists: at most that of the notifications.
class ListedWindows final : public desktop::DesktopWindows {
 public:
  [[nodiscard]] desktop::WindowCoverage coverage() const override { return desktop::WindowCoverage::all; }
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override {
    return {.windows = windows, .coverage = desktop::WindowCoverage::all};
  }
  bool activate(desktop::WindowID) override { return false; }
  bool close(desktop::WindowID) override { return false; }
  std::vector<desktop::Window> windows;
};

struct BubbleWorld {
  explicit BubbleWorld(const std::string& name = "lxqt-notificationd", const FakeProgram::Override& override = {})
      : program(std::make_unique<FakeProgram>(bus.address(), "", override)),
        accessibility({.sessionBusAddress = bus.address(), .messagingTimeout = Seconds{20}}, windows, executors) {
    bus.registerPrograms({program->name()});
    program->speakAs("Qt", "5.15.8");
    program->set(FakeProgram::kRoot, shownObject(Role{75}, name, {"/window"}));
    program->set("/window", shownObject(Role::filler, "", {"/content"}));
    program->set("/content", shownObject(Role::filler, "", {"/column"}));
    show({"/first"});
  }

  // Each a notification with this path and text.
  void show(const std::vector<std::string>& bubbles) {
    for (const auto& path : bubbles) {
      program->set(path, shownObject(Role::filler, "", {path + "/text", path + "/close", path + "/buttons"}));
      program->set(path + "/text", shownObject(Role::label, "May " + path + " go on?"));
      program->set(path + "/close", shownObject(Role::pushButton, "x"));
      program->set(path + "/buttons", shownObject(Role::filler, "", {path + "/deny", path + "/allow"}));
      program->set(path + "/deny", shownObject(Role::pushButton, "Don't Allow"));
      program->set(path + "/allow", shownObject(Role::pushButton, "Allow"));
    }
    program->set("/column", shownObject(Role::filler, "", bubbles));
  }

  std::vector<AXUIElement> windowsOfProgram() {
    const auto scope = accessibility.beginReadScope();
    return AXHelpers::windows(*scope, accessibility.createApplication(::getpid()));
  }
  // What it says and offers, one text after another.
  std::vector<std::string> contentOf(const AXUIElement& window) {
    const auto scope = accessibility.beginReadScope();
    const auto reading = PromptReader::readPrompt(*scope, {.window = window, .appName = "example"}, 80);
    auto content = reading.evidence.messageLines;
    auto labels = reading.evidence.buttonLabels;
    std::sort(labels.begin(), labels.end());
    content.insert(content.end(), labels.begin(), labels.end());
    return content;
  }

  FakeAccessibilityBus bus;
  std::unique_ptr<FakeProgram> program;
  ListedWindows windows;
  qt::QtExecutors executors;
  LinuxAccessibility accessibility;
};

TEST(BubbleAreas, EachNotificationIsAWindowWithItsOwnTextsAndButtons) {
  BubbleWorld world;
  world.show({"/first", "/second"});
  const auto windows = world.windowsOfProgram();
  ASSERT_EQ(windows.size(), 2U);
  for (const auto& [window, path] : {std::pair{windows[0], "/first"}, std::pair{windows[1], "/second"}}) {
    EXPECT_EQ(AXHelpers::role(world.accessibility, window), ax::kWindowRole);
    EXPECT_EQ(AXHelpers::frame(world.accessibility, window), (Rect{10, 10, 100, 20}));
    EXPECT_EQ(world.contentOf(window),
              (std::vector<std::string>{std::string("May ") + path + " go on?", "Allow", "Don't Allow", "x"}));
  }
}

TEST(BubbleAreas, OneStaysWhatItIsWhileOthersComeAndGo) {
  BubbleWorld world;
  const auto alone = world.windowsOfProgram();
  ASSERT_EQ(alone.size(), 1U);
  const auto content = world.contentOf(alone.front());
  world.show({"/before", "/first", "/after"});
  const auto among = world.windowsOfProgram();
  ASSERT_EQ(among.size(), 3U);
  EXPECT_EQ(among[1], alone.front());
  EXPECT_EQ(world.contentOf(alone.front()), content) << "Read by the element that was kept.";
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_EQ(AXHelpers::role(*scope, alone.front()), ax::kWindowRole);
  EXPECT_EQ(AXHelpers::windows(*scope, world.accessibility.createApplication(::getpid())), among)
      << "Also in a reading that has met it before.";
}

TEST(BubbleAreas, OneThatHasGoneIsGoneThoughAnotherIsThere) {
  BubbleWorld world;
  const auto alone = world.windowsOfProgram();
  ASSERT_EQ(alone.size(), 1U);
  world.show({"/second"});
  EXPECT_EQ(world.accessibility.copyAttributeValue(alone.front(), ax::kRole).error(), AXError::invalidUIElement);
}

TEST(BubbleAreas, OneThatCannotBeReadLeavesThemUnknown) {
  BubbleWorld world("lxqt-notificationd", [](sd_bus_message* message) {
    const bool isIt = std::string(sd_bus_message_get_path(message)) == "/second" &&
                      std::string(sd_bus_message_get_member(message)) == "GetState";
    return isIt && sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no") >= 0;
  });
  world.show({"/first", "/second"});
  const auto application = world.accessibility.createApplication(::getpid());
  const auto list = world.accessibility.copyAttributeValue(application, ax::kWindows);
  ASSERT_FALSE(list.hasValue());
  EXPECT_EQ(list.error(), AXError::cannotComplete);
}

TEST(BubbleAreas, ThoseOfOtherProgramsAreOneWindowAndSoIsOneThatTheDesktopLists) {
  BubbleWorld other("example");
  other.show({"/first", "/second"});
  EXPECT_EQ(other.windowsOfProgram().size(), 1U);
  BubbleWorld listed;
  listed.windows.windows = {{.id = 1, .processIdentifier = ::getpid()}};
  listed.show({"/first", "/second"});
  EXPECT_EQ(listed.windowsOfProgram().size(), 1U);
}

TEST(BubbleAreas, OneThatShowsNothingIsNoMoreThanAWindow) {
  BubbleWorld world;
  world.show({});
  const auto windows = world.windowsOfProgram();
  ASSERT_EQ(windows.size(), 1U);
  EXPECT_TRUE(world.contentOf(windows.front()).empty());
}

}  // namespace
}  // namespace quillard::atspi
