#include <algorithm>
#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/AccessibleProcessList.h"
#include "platform/linux/accessibility/KnownPrograms.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeAccessibilityBus.h"

// The binding against programs that misbehave in every way that a bus allows.
namespace quillard::atspi {
namespace {

using platform::AXError;
using platform::AXUIElement;
using platform::DesktopReadFailure;
using platform::ProcessTrust;
using test::FakeAccessibilityBus;
using test::FakeObject;
using test::FakeProgram;
namespace ax = platform::ax;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

class NoWindows final : public desktop::DesktopWindows {
 public:
  [[nodiscard]] desktop::WindowCoverage coverage() const override { return desktop::WindowCoverage::none; }
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override { return {}; }
  bool activate(desktop::WindowID) override { return false; }
  bool close(desktop::WindowID) override { return false; }
};

constexpr auto kShown = bit(State::showing);

FakeObject object(Role role, const std::string& name, std::vector<std::string> children = {}) {
  FakeObject object{.role = static_cast<std::uint32_t>(role), .states = kShown, .name = name};
  object.extents = Rect{10, 10, 100, 20};
  object.children = std::move(children);
  if (role == Role::pushButton) object.actions = {"click"};
  return object;
}

// For tests in which a program does not answer.
constexpr Seconds kShortTimeout{1};

// One program with a prompt, on a bus of its own. All fake programs live in this process.
struct World {
  // No test waits for it where every program answers, so it may be long: for a busy machine.
  explicit World(Seconds messagingTimeout = Seconds{20})
      : program(bus.start()),
        accessibility({.sessionBusAddress = bus.address(), .messagingTimeout = messagingTimeout}, windows, executors) {
    bus.registerPrograms({program->name()});
    program->set(FakeProgram::kRoot, object(Role{75}, "example", {"/window"}));
    program->set("/window", object(Role::dialog, "Permission", {"/text", "/deny", "/allow"}));
    program->set("/text", object(Role::label, "Allow it?"));
    program->set("/deny", object(Role::pushButton, "Don't Allow"));
    program->set("/allow", object(Role::pushButton, "Allow"));
  }

  AXUIElement application() { return accessibility.createApplication(::getpid()); }
  std::optional<AXUIElement> window() {
    const auto found = AXHelpers::windows(accessibility, application());
    return found.empty() ? std::nullopt : std::optional{found.front()};
  }
  PromptReading read(platform::AXReadScope& scope, const AXUIElement& window) {
    return PromptReader::readPrompt(scope, {.window = window, .appName = "example"}, 80);
  }
  std::size_t elementsBelow(const AXUIElement& window) {
    const auto scope = accessibility.beginReadScope();
    return AXHelpers::deeplyNestedChildren(*scope, window, 120).size();
  }

  FakeAccessibilityBus bus;
  std::unique_ptr<FakeProgram> program;
  NoWindows windows;
  qt::QtExecutors executors;
  LinuxAccessibility accessibility;
};

// What a scope that has read one application says of the desktop.
std::optional<DesktopReadFailure> failureOf(World& world) {
  const auto scope = world.accessibility.beginReadScope();
  (void)AXHelpers::windows(*scope, world.application());
  return scope->desktopFailure();
}

milliseconds durationOf(const std::function<void()>& work) {
  const auto begin = steady_clock::now();
  work();
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
}

TEST(FakePrograms, APromptIsReadInOneChainOfFewWaits) {
  World world;
  const auto application = world.application();
  const auto scope = world.accessibility.beginReadScope();
  scope->prepareApplications({&application, 1}, 80);
  const auto waits = world.accessibility.counters().waits.load();
  const auto calls = world.accessibility.counters().calls.load();
  const auto windows = AXHelpers::windows(*scope, application);
  ASSERT_EQ(windows.size(), 1U);
  const auto reading = world.read(*scope, windows.front());
  EXPECT_EQ(reading.evidence.buttonLabels, (std::vector<std::string>{"Allow", "Don't Allow"}));
  EXPECT_EQ(reading.evidence.messageLines, std::vector<std::string>{"Allow it?"});
  EXPECT_EQ(world.accessibility.counters().calls.load(), calls) << "All was read when it was prepared.";
  // The bus's address; who is there; whose process that is; its windows; they; their children; where those are.
  EXPECT_LE(waits, 7U);
}

TEST(FakePrograms, ThePropertiesAreNeverAskedForAllAtOnce) {
  World world;
  const auto window = world.window();
  ASSERT_TRUE(window);
  (void)world.elementsBelow(*window);
  (void)world.accessibility.copyActionNames(*window);
  for (const auto& question : world.program->asked()) EXPECT_EQ(question.find("GetAll"), std::string::npos) << question;
}

TEST(FakePrograms, ThePasswordIsNeverAskedFor) {
  World world;
  auto secret = object(Role::passwordText, "");
  secret.text = "planted-secret";
  secret.states |= bit(State::editable);
  world.program->set("/text", secret);
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  const auto reading = world.read(*scope, *window);
  EXPECT_TRUE(reading.hasSecureTextField);
  EXPECT_EQ(reading.evidence.messageLines, std::vector<std::string>{"Password"});
  for (const auto& element : AXHelpers::deeplyNestedChildren(*scope, *window, 80)) {
    (void)scope->copyAttributeValue(element, ax::kValue);
  }
  EXPECT_EQ(world.program->timesAsked("GetText"), 0);
}

TEST(FakePrograms, OneThatHangsCostsOneTimeoutAndIsAskedNoMore) {
  World world{Seconds{0.2}};
  world.program->hangOn("Name");
  const auto application = world.application();
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_FALSE(scope->missedTimeout(application));
  const auto waited = durationOf([&] { scope->prepareApplications({&application, 1}, 80); });
  EXPECT_GE(waited, milliseconds(200));
  EXPECT_TRUE(scope->missedTimeout(application));
  const auto asked = world.program->asked().size();
  EXPECT_EQ(scope->copyAttributeValue(application, ax::kWindows).error(), AXError::cannotComplete);
  EXPECT_EQ(scope->copyAttributeValue(application, ax::kTitle).error(), AXError::cannotComplete);
  EXPECT_EQ(world.program->asked().size(), asked);
}

TEST(FakePrograms, OneThatAnswersInTimeMissesNothing) {
  World world{Seconds{30}};
  const auto application = world.application();
  const auto scope = world.accessibility.beginReadScope();
  scope->prepareApplications({&application, 1}, 80);
  EXPECT_FALSE(scope->missedTimeout(application));
}

TEST(FakePrograms, OneThatDiesMeanwhileFailsAtOnce) {
  World world{Seconds{30}};
  const auto window = world.window();
  ASSERT_TRUE(window);
  world.program->hangOn("Name");
  const int askedBefore = world.program->timesAsked("Name");
  auto death = std::async(std::launch::async, [&, askedBefore] {
    while (world.program->timesAsked("Name") == askedBefore) std::this_thread::sleep_for(milliseconds(1));
    world.program.reset();
  });
  const auto scope = world.accessibility.beginReadScope();
  const auto waited =
      durationOf([&] { EXPECT_EQ(scope->copyAttributeValue(*window, ax::kTitle).error(), AXError::invalidUIElement); });
  death.get();
  EXPECT_LT(waited, milliseconds(20'000));
  EXPECT_FALSE(scope->missedTimeout(*window)) << "It has gone, it did not hang.";
}

TEST(FakePrograms, AnswersOfAnotherTypeAreErrorsAndNothingWorse) {
  for (const auto* member : {"GetRole", "GetState", "Name", "GetChildren", "GetExtents", "Description", "ToolkitName",
                             "Version", "NActions", "GetName", "DoAction", "Parent"}) {
    World world;
    const auto window = world.window();
    ASSERT_TRUE(window);
    world.program->lieOn(member);
    const auto scope = world.accessibility.beginReadScope();
    EXPECT_LE(AXHelpers::deeplyNestedChildren(*scope, *window, 80).size(), 3U) << member;
    (void)world.read(*scope, *window);
    (void)scope->copyActionNames(*window);
    EXPECT_NE(world.accessibility.performAction(*window, ax::kPressAction), AXError::success) << member;
    EXPECT_FALSE(scope->missedTimeout(*window)) << member;
  }
}

TEST(FakePrograms, ATreeInACircleEnds) {
  World world;
  world.program->set("/text", object(Role{39}, "", {"/window", "/text", "/inner"}));
  world.program->set("/inner", object(Role{39}, "", {"/text", "/allow", FakeProgram::kRoot}));
  const auto window = world.window();
  ASSERT_TRUE(window);
  EXPECT_EQ(world.elementsBelow(*window), 4U) << "Each object once.";
}

TEST(FakePrograms, AnEndlesslyDeepTreeEnds) {
  World world;
  for (int i = 0; i < 400; ++i) {
    world.program->set("/d" + std::to_string(i), object(Role{39}, "", {"/d" + std::to_string(i + 1)}));
  }
  world.program->set("/window", object(Role::dialog, "Permission", {"/d0"}));
  const auto window = world.window();
  ASSERT_TRUE(window);
  EXPECT_LE(world.elementsBelow(*window), 120U);
}

TEST(FakePrograms, ObjectsOfOtherProgramsAreNoPartOfAWindow) {
  World world;
  const auto other = world.bus.start();
  other->set("/steal", object(Role::pushButton, "Allow"));
  auto window = object(Role::dialog, "Permission", {"/deny"});
  window.foreignChildren = {other->name() + "/steal"};
  world.program->set("/window", window);
  ASSERT_TRUE(world.window());
  EXPECT_EQ(world.elementsBelow(*world.window()), 1U);
  EXPECT_TRUE(other->asked().empty());
}

TEST(FakePrograms, SayWhetherABoxIsOnOffOrNeither) {
  World world;
  world.program->set("/window", object(Role::dialog, "Permission", {"/box"}));
  const auto value = [&](std::uint64_t states) {
    auto box = object(Role::checkBox, "All");
    box.states |= states;
    world.program->set("/box", box);
    const auto scope = world.accessibility.beginReadScope();
    const auto elements = AXHelpers::deeplyNestedChildren(*scope, *world.window(), 80);
    return scope->copyAttributeValue(elements.at(0), ax::kValue).value();
  };
  EXPECT_EQ(value(0), platform::AXValue{std::int64_t{0}});
  EXPECT_EQ(value(bit(State::checked)), platform::AXValue{std::int64_t{1}});
  EXPECT_EQ(value(bit(State::indeterminate)), platform::AXValue{std::int64_t{2}});
  EXPECT_EQ(value(bit(State::indeterminate) | bit(State::checked)), platform::AXValue{std::int64_t{2}});
}

TEST(FakePrograms, OfAContainerWithThousandsOfChildrenOnlyTheLastAreAskedFor) {
  World world;
  std::vector<std::string> rows;
  for (int i = 0; i < 2000; ++i) {
    rows.push_back("/row" + std::to_string(i));
    world.program->set(rows.back(), object(Role::label, "row " + std::to_string(i)));
  }
  world.program->set("/window", object(Role::dialog, "Permission", rows));
  const auto application = world.application();
  const auto read = [&] {
    const auto scope = world.accessibility.beginReadScope();
    scope->prepareApplications({&application, 1}, 80);
    const auto windows = AXHelpers::windows(*scope, application);
    const auto elements = AXHelpers::deeplyNestedChildren(*scope, windows.at(0), 80);
    EXPECT_EQ(elements.size(), 80U);
    EXPECT_EQ(AXHelpers::stringAttribute(*scope, elements.front(), ax::kValue), "row 1999");
    EXPECT_EQ(AXHelpers::stringAttribute(*scope, elements.back(), ax::kValue), "row 1920");
  };
  read();
  const int listed = world.program->timesAsked("GetChildren");
  const int roles = world.program->timesAsked("GetRole");
  EXPECT_LE(roles, 2 * 125) << "Not every child is asked.";
  read();
  EXPECT_EQ(world.program->timesAsked("GetChildren"), listed + 1) << "Only the list of windows, once it is known.";
  EXPECT_EQ(world.program->timesAsked("GetChildAtIndex"), 120);
}

TEST(FakePrograms, OneThatWasSlowOnceIsSoonAskedPlainlyAgain) {
  constexpr int kCarefulReadings = 20;
  World world{Seconds{0.2}};
  const auto application = world.application();
  const auto read = [&] {
    const int before = world.program->timesAsked("ChildCount");
    const auto scope = world.accessibility.beginReadScope();
    scope->prepareApplications({&application, 1}, 80);
    return world.program->timesAsked("ChildCount") > before;
  };
  EXPECT_FALSE(read());
  world.program->hangOn("GetChildren");
  (void)read();
  world.program->goOnWith("GetChildren");
  for (int i = 0; i < kCarefulReadings; ++i) EXPECT_TRUE(read()) << i;
  EXPECT_FALSE(read());
}

TEST(FakePrograms, OneThatHasALargeContainerIsNeverAskedPlainlyAgain) {
  World world;
  std::vector<std::string> rows;
  for (int i = 0; i < 200; ++i) {
    rows.push_back("/row" + std::to_string(i));
    world.program->set(rows.back(), object(Role::label, "row " + std::to_string(i)));
  }
  world.program->set("/window", object(Role::dialog, "Permission", rows));
  const auto application = world.application();
  const auto listed = [&] {
    const auto scope = world.accessibility.beginReadScope();
    scope->prepareApplications({&application, 1}, 80);
    const auto asked = world.program->asked();
    return std::count(asked.begin(), asked.end(), "GetChildren /window");
  };
  for (int i = 0; i < 45; ++i) EXPECT_EQ(listed(), 1) << i;
}

TEST(FakePrograms, ReadingsThatAskForNoChildrenForgetNothing) {
  EXPECT_EQ(carefulReadingsAfter(5, false, false), 5);
  EXPECT_EQ(carefulReadingsAfter(5, true, false), 4);
  EXPECT_EQ(carefulReadingsAfter(0, true, false), 0);
  EXPECT_EQ(carefulReadingsAfter(1, true, true), carefulReadingsAfter(0, false, true));
}

TEST(FakePrograms, AProcessMayHaveSeveralConnections) {
  World world;
  const auto second = world.bus.start();
  second->set(FakeProgram::kRoot, object(Role{75}, "example", {"/other"}));
  second->set("/other", object(Role::dialog, "Other"));
  world.bus.registerPrograms({world.program->name(), second->name()});
  EXPECT_EQ(AXHelpers::windows(world.accessibility, world.application()).size(), 2U);
  EXPECT_EQ(world.accessibility.processIdentifiers(), std::vector<std::int32_t>{::getpid()});
}

TEST(FakePrograms, ASlowOneDelaysNoOther) {
  constexpr milliseconds kTimeout{1000};
  World world{kTimeout};
  const auto slow = world.bus.start();
  slow->set(FakeProgram::kRoot, object(Role{75}, "slow", {"/other"}));
  slow->hangOn("GetChildren");
  world.bus.registerPrograms({slow->name(), world.program->name()});
  const auto application = world.application();
  const auto begin = steady_clock::now();
  auto isRead = std::async(std::launch::async, [&] {
    while (world.program->timesAsked("GetExtents") < 4) std::this_thread::sleep_for(milliseconds(1));
    return steady_clock::now();
  });
  const auto scope = world.accessibility.beginReadScope();
  scope->prepareApplications({&application, 1}, 80);
  EXPECT_GE(steady_clock::now() - begin, kTimeout);
  EXPECT_LT(isRead.get() - begin, kTimeout) << "Its last round came before the other one was given up.";
  EXPECT_TRUE(scope->missedTimeout(application));
}

TEST(FakePrograms, HandlesAreEqualByWhatTheyPointAt) {
  World world;
  const auto first = world.window();
  const auto second = world.window();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(*first, *second);
  EXPECT_EQ(std::hash<AXUIElement>{}(*first), std::hash<AXUIElement>{}(*second));
  EXPECT_EQ(world.application(), world.application());
  EXPECT_FALSE(world.application() == *first);
  EXPECT_FALSE(world.accessibility.createSystemWide() == world.application());
  const auto inner = AXHelpers::children(world.accessibility, *first);
  ASSERT_EQ(inner.size(), 3U);
  EXPECT_FALSE(inner[0] == inner[1]);
  EXPECT_EQ(AXHelpers::elementAttribute(world.accessibility, *first, ax::kParent), world.application());
}

TEST(FakePrograms, AnObjectThatHasGoneIsInvalid) {
  World world;
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto inner = AXHelpers::children(world.accessibility, *window);
  world.program->set("/window", object(Role::dialog, "Permission", {"/text"}));
  auto dead = object(Role::pushButton, "Allow");
  dead.states |= bit(State::defunct);
  world.program->set("/allow", dead);
  EXPECT_EQ(world.accessibility.copyAttributeValue(inner.back(), ax::kRole).error(), AXError::invalidUIElement);
  EXPECT_EQ(world.accessibility.performAction(inner.back(), ax::kPressAction), AXError::invalidUIElement);
}

TEST(FakePrograms, TextsBeyondTheLimitAreUnreadable) {
  World world;
  world.program->set("/text", object(Role::label, std::string(64 * 1024, 'x')));
  ASSERT_TRUE(world.window());
  const auto inner = [&] { return AXHelpers::children(world.accessibility, *world.window()).front(); };
  EXPECT_TRUE(AXHelpers::stringAttribute(world.accessibility, inner(), ax::kValue));
  world.program->set("/text", object(Role::label, std::string(64 * 1024 + 1, 'x')));
  const auto read = [&] { return AXHelpers::readText(world.accessibility, inner(), ax::kValue); };
  EXPECT_EQ(read().text, std::nullopt);
  EXPECT_TRUE(read().isUnreadable);
  auto nameless = object(Role::text, "");
  nameless.text = std::string(64 * 1024 + 1, 'x');
  world.program->set("/text", nameless);
  EXPECT_TRUE(read().isUnreadable);
}

TEST(FakePrograms, ATitleBeyondTheLimitIsUnreadable) {
  World world;
  const std::string endless(64 * 1024 + 1, 'x');
  world.program->set("/window", object(Role::dialog, endless, {"/text", "/deny", "/allow"}));
  world.program->set("/allow", object(Role::pushButton, endless));
  ASSERT_TRUE(world.window());
  const auto scope = world.accessibility.beginReadScope();
  const auto reading = world.read(*scope, *world.window());
  EXPECT_TRUE(reading.hasUnreadableText);
  EXPECT_EQ(reading.evidence.title, "");
  EXPECT_EQ(reading.evidence.buttonLabels, std::vector<std::string>{"Don't Allow"});
}

TEST(FakePrograms, WhatLiesTooDeepToBeReadIsNotTakenForNothing) {
  World world;
  std::string parent = "/window";
  world.program->set(parent, object(Role::dialog, "Deep", {"/d0", "/deny", "/allow"}));
  for (int i = 0; i < 110; ++i) {
    const auto next = i == 109 ? std::string("/text") : "/d" + std::to_string(i + 1);
    world.program->set("/d" + std::to_string(i), object(Role{39}, "", {next}));
  }
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  auto reading = world.read(*scope, *window);
  PromptReader::readBeyond(*scope, reading, 80);
  EXPECT_TRUE(reading.hasUnreadableText);
}

TEST(FakePrograms, AHungRegistryIsNoEmptyDesktop) {
  World world{Seconds{0.1}};
  world.bus.registry().hangOn("GetChildren");
  EXPECT_EQ(world.accessibility.copyAttributeValue(world.application(), ax::kWindows).error(), AXError::cannotComplete);
  EXPECT_EQ(world.accessibility.processIdentifiers(), std::nullopt) << "It cannot be told.";
  EXPECT_EQ(failureOf(world), DesktopReadFailure::applicationList);
  world.bus.registry().goOnWith("GetChildren");
  EXPECT_EQ(failureOf(world), std::nullopt);
}

TEST(FakePrograms, ARegistryThatAnswersNonsenseIsNoEmptyDesktop) {
  World world;
  world.bus.registry().lieOn("GetChildren");
  EXPECT_FALSE(world.accessibility.copyAttributeValue(world.application(), ax::kWindows).hasValue());
  EXPECT_EQ(failureOf(world), DesktopReadFailure::applicationList);
}

TEST(FakePrograms, AHungProgramIsNoFailureOfTheDesktop) {
  World world{Seconds{0.1}};
  world.program->hangOn("GetChildren");
  EXPECT_EQ(failureOf(world), std::nullopt);
}

TEST(FakePrograms, ASilentRegistryTakesNoProgramOffTheList) {
  World world{Seconds{0.1}};
  AccessibleProcessList list{world.accessibility, [&] { return world.accessibility.busAddress(); },
                             world.executors.mainThread()};
  const std::vector<std::int32_t> present{::getpid()};
  EXPECT_EQ(list.processIdentifiers(), present);
  world.bus.registry().hangOn("GetChildren");
  const auto another = world.bus.start();
  another->set(FakeProgram::kRoot, object(Role{75}, "another"));  // Its coming makes the list ask.
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(list.processIdentifiers(), present);
    EXPECT_TRUE(list.isPresentNow(::getpid()));
    EXPECT_FALSE(list.isPresentNow(1));
  }
}

TEST(FakePrograms, AProgramThatJoinedWhileTheRegistryWasSilentIsOnTheListSoonAfter) {
  World world{Seconds{0.1}};
  world.bus.registry().hangOn("GetChildren");
  AccessibleProcessList list{world.accessibility, [&] { return world.accessibility.busAddress(); },
                             world.executors.mainThread()};
  EXPECT_TRUE(list.processIdentifiers().empty());
  world.bus.registry().goOnWith("GetChildren");
  const auto end = steady_clock::now() + std::chrono::seconds{10};
  while (list.processIdentifiers().empty() && steady_clock::now() < end) {
    std::this_thread::sleep_for(milliseconds{20});
  }
  EXPECT_EQ(list.processIdentifiers(), std::vector<std::int32_t>{::getpid()});
}

TEST(FakePrograms, WhereNoBusCanBeReachedNothingWasSeen) {
  World world;
  world.bus.kill();
  EXPECT_EQ(failureOf(world), DesktopReadFailure::accessibilityService);
  EXPECT_EQ(world.accessibility.isProcessTrusted(), ProcessTrust::unknown) << "It may come back.";
}

TEST(FakePrograms, AScopeThatReadNothingHasMissedNothing) {
  World world;
  world.bus.kill();
  EXPECT_EQ(world.accessibility.beginReadScope()->desktopFailure(), std::nullopt);
}

TEST(FakePrograms, ALauncherThatDoesNotAnswerLeavesThePermissionUnknown) {
  World world;
  EXPECT_EQ(world.accessibility.isProcessTrusted(), ProcessTrust::granted);
  world.bus.isLauncherSilent = true;
  EXPECT_EQ(world.accessibility.isProcessTrusted(), ProcessTrust::unknown);
  EXPECT_EQ(world.accessibility.lastKnownProcessTrust(), ProcessTrust::granted);
  EXPECT_EQ(failureOf(world), std::nullopt) << "The desktop can be read all the same.";
  world.bus.isLauncherSilent = false;
  world.bus.isEnabled = false;
  EXPECT_EQ(world.accessibility.isProcessTrusted(), ProcessTrust::denied);
}

// An X server that can go.
class GoingServer final : public desktop::DesktopWindows {
 public:
  [[nodiscard]] desktop::WindowCoverage coverage() const override {
    return isThere ? desktop::WindowCoverage::all : desktop::WindowCoverage::none;
  }
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override { return {.windows = {}, .coverage = coverage()}; }
  bool activate(desktop::WindowID) override { return false; }
  bool close(desktop::WindowID) override { return false; }
  bool isThere = true;
};

TEST(FakePrograms, AnXServerThatHasGoneIsNoDesktopWithoutWindows) {
  for (const bool isXSession : {true, false}) {
    World world;
    GoingServer server;
    LinuxAccessibility accessibility{
        {.sessionBusAddress = world.bus.address(), .isXSession = isXSession}, server, world.executors};
    const auto failure = [&] {
      const auto scope = accessibility.beginReadScope();
      (void)AXHelpers::windows(*scope, world.application());
      return scope->desktopFailure();
    };
    EXPECT_EQ(failure(), std::nullopt);
    server.isThere = false;
    EXPECT_EQ(failure(), isXSession ? std::optional(DesktopReadFailure::windowServer) : std::nullopt)
        << "Elsewhere X servers come and go.";
    server.isThere = true;
    EXPECT_EQ(failure(), std::nullopt);
  }
}

// Some windows of a desktop, such as the X server's in a Wayland session.
class FixedWindows final : public desktop::DesktopWindows {
 public:
  [[nodiscard]] desktop::WindowCoverage coverage() const override { return present.coverage; }
  [[nodiscard]] desktop::WindowsSnapshot snapshot() override { return present; }
  bool activate(desktop::WindowID) override { return false; }
  bool close(desktop::WindowID) override { return false; }
  desktop::WindowsSnapshot present{.windows = {}, .coverage = desktop::WindowCoverage::some};
};

// What the three ways to ask say of who is in front.
struct Front {
  std::optional<bool> main;
  std::optional<bool> frontmost;
  bool isFocusedWindow = false;
  bool operator==(const Front&) const = default;
};

struct FrontWorld : World {
  FixedWindows windows;
  LinuxAccessibility desktop{{.sessionBusAddress = bus.address(), .messagingTimeout = Seconds{20}}, windows, executors};

  Front front() {
    const auto window = this->window();
    if (!window) return {};
    const auto flag = [&](const AXUIElement& element, platform::AXAttribute name) -> std::optional<bool> {
      const auto value = desktop.copyAttributeValue(element, name);
      if (!value.hasValue()) return std::nullopt;
      return std::get<bool>(value.value());
    };
    return {.main = flag(*window, ax::kMain),
            .frontmost = flag(application(), ax::kFrontmost),
            .isFocusedWindow =
                AXHelpers::elementAttribute(desktop, desktop.createSystemWide(), ax::kFocusedWindow) == window};
  }
  void showAs(std::uint64_t states) {
    auto dialog = object(Role::dialog, "Permission", {"/text", "/deny", "/allow"});
    dialog.states = states;
    program->set("/window", dialog);
  }
};

TEST(FakePrograms, AWindowThatTheXServerDoesNotKnowIsInFrontWhenItSaysSo) {
  FrontWorld world;
  world.showAs(kShown | bit(State::active));
  EXPECT_EQ(world.front(), (Front{true, true, true}));
  world.showAs(kShown);
  EXPECT_EQ(world.front(), (Front{false, false, false}));
}

TEST(FakePrograms, OfItsOwnWindowsTheXServerKnowsBetter) {
  FrontWorld world;
  world.showAs(kShown);
  desktop::Window own{.id = 7, .processIdentifier = ::getpid(), .name = "Permission", .isMapped = true};
  own.clientBounds = {10, 10, 100, 20};
  world.windows.present.windows = {own};
  EXPECT_EQ(world.front(), (Front{false, false, false}));
  world.windows.present.active = own.id;
  EXPECT_EQ(world.front(), (Front{true, true, true}));
}

// A dialog of GTK 4 never says that it is showing, and may be a window of Wayland while others of its program are not.
TEST(FakePrograms, ADialogOfGtk4IsThereWhereOnlySomeWindowsAreKnown) {
  FrontWorld world;
  world.program->speakAs("GTK", "4.8.3");
  world.showAs(0);
  desktop::Window one{.id = 7, .processIdentifier = ::getpid(), .name = "One", .isHidden = true};
  one.clientBounds = {0, 0, 900, 700};
  auto two = one;
  two.id = 8;
  two.name = "Two";
  const auto shown = [&] { return AXHelpers::windows(world.desktop, world.application()); };
  world.windows.present.windows = {one, two};
  EXPECT_EQ(shown().size(), 1U);
  world.windows.present.windows = {one};
  ASSERT_EQ(shown().size(), 1U);
  EXPECT_NE(AXHelpers::boolAttribute(world.desktop, shown().front(), ax::kMinimized), std::optional(true))
      << "The one that is left over need not be its own.";
  world.windows.present.coverage = desktop::WindowCoverage::all;
  world.windows.present.windows = {one, two};
  EXPECT_EQ(shown().size(), 0U);
}

TEST(FakePrograms, WhereEveryWindowIsKnownTheOneOfAnotherProgramInFrontSettlesIt) {
  FrontWorld world;
  world.showAs(kShown | bit(State::active));  // It has not noticed yet.
  world.windows.present.coverage = desktop::WindowCoverage::all;
  world.windows.present.windows = {{.id = 9, .processIdentifier = 1, .name = "Other", .isMapped = true}};
  world.windows.present.active = 9;
  EXPECT_EQ(world.front(), (Front{false, false, false}));
}

TEST(FakePrograms, OfADialogOfGtk4ItIsNotKnownWhetherItIsInFront) {
  FrontWorld world;
  world.program->speakAs("GTK", "4.8.3");
  world.showAs(kShown);
  EXPECT_EQ(world.front(), (Front{std::nullopt, std::nullopt, false}));
}

TEST(FakePrograms, WhenTheBusDiesEverythingFailsQuietly) {
  World world;
  const auto window = world.window();
  ASSERT_TRUE(window);
  EXPECT_EQ(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  world.bus.isEnabled = false;
  EXPECT_NE(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  const auto scope = world.accessibility.beginReadScope();
  EXPECT_TRUE(scope->copyAttributeValue(*window, ax::kTitle).hasValue());
  world.bus.kill();
  EXPECT_NE(world.accessibility.isProcessTrusted(), platform::ProcessTrust::granted);
  EXPECT_FALSE(world.accessibility.copyAttributeValue(*window, ax::kTitle).hasValue());
  EXPECT_EQ(world.accessibility.performAction(*window, ax::kPressAction), AXError::apiDisabled);
  EXPECT_EQ(world.accessibility.processIdentifiers(), std::nullopt) << "It cannot be told.";
}

TEST(FakePrograms, ManyThreadsReadAtOnce) {
  World world;
  std::vector<std::future<std::size_t>> readers;
  for (int i = 0; i < 8; ++i) {
    readers.push_back(std::async(std::launch::async, [&] {
      std::size_t found = 0;
      for (int round = 0; round < 5; ++round) {
        const auto window = world.window();
        found += window ? world.elementsBelow(*window) : 0;
      }
      return found;
    }));
  }
  for (auto& reader : readers) EXPECT_EQ(reader.get(), 15U);
}

TEST(FakePrograms, APressThatIsNotAnsweredInTimeCannotBeComplete) {
  World world{kShortTimeout};
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto allow = AXHelpers::children(world.accessibility, *window).back();
  world.program->hangOn("DoAction");
  EXPECT_EQ(world.accessibility.performAction(allow, ax::kPressAction), AXError::cannotComplete);
  EXPECT_EQ(world.program->timesAsked("DoAction"), 1);
}

TEST(FakePrograms, AnEmptyAlertBesideTheRealPromptIsNoDialog) {
  World world;
  world.program->set("/window", object(Role{23}, "Browser", {"/prompt", "/shell", "/remark"}));
  world.program->set("/prompt", object(Role::dialog, "Share your place?", {"/text", "/deny", "/allow"}));
  world.program->set("/shell", object(Role::alert, ""));
  world.program->set("/remark", object(Role::alert, "", {"/passing"}));
  world.program->set("/passing", object(Role::label, "Saved."));
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto scope = world.accessibility.beginReadScope();
  const auto reading = world.read(*scope, *window);
  EXPECT_EQ(reading.evidence.title, "Share your place?");
  EXPECT_EQ(reading.evidence.role, ax::kSheetRole);
  EXPECT_EQ(reading.evidence.subrole, ax::kDialogSubrole);
  EXPECT_EQ(reading.buttons.size(), 2U);
}

TEST(FakePrograms, WhatIsHiddenOrTakesNoRoomIsNoPartOfAPrompt) {
  World world;
  auto hidden = object(Role::label, "Are you sure?");
  hidden.states = 0;
  auto empty = object(Role::label, "Delete?");
  empty.extents = Rect{0, 0, 0, 0};
  auto nowhere = object(Role::label, "Erase?");
  nowhere.extents = Rect{-2147483648.0, -2147483648.0, 1, 1};
  world.program->set("/hidden", hidden);
  world.program->set("/empty", empty);
  world.program->set("/nowhere", nowhere);
  world.program->set("/window", object(Role::dialog, "Permission", {"/hidden", "/empty", "/nowhere", "/text"}));
  const auto window = world.window();
  ASSERT_TRUE(window);
  EXPECT_EQ(world.elementsBelow(*window), 1U);
}

TEST(FakePrograms, FileChoosersAndFillersAtTheTopAreWindows) {
  World world;
  world.program->set(FakeProgram::kRoot, object(Role{75}, "example", {"/a", "/b", "/c", "/d"}));
  world.program->set("/a", object(Role::fileChooser, "Open"));
  world.program->set("/b", object(Role{20}, "Plain"));
  world.program->set("/c", object(Role::toolTip, "Hint"));
  auto closed = object(Role::dialog, "Closed");
  closed.states = 0;
  world.program->set("/d", closed);
  const auto windows = AXHelpers::windows(world.accessibility, world.application());
  ASSERT_EQ(windows.size(), 2U);
  EXPECT_EQ(AXHelpers::role(world.accessibility, windows[0]), ax::kWindowRole);
  EXPECT_EQ(AXHelpers::stringAttribute(world.accessibility, windows[1], ax::kTitle), "Plain");
}

}  // namespace
}  // namespace quillard::atspi
