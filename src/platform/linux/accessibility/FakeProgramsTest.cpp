#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/KnownPrograms.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "support/FakeProgramWorld.h"

// The binding against programs that misbehave in every way that a bus allows.
namespace quillard::atspi {
namespace {

using platform::AXError;
using platform::AXUIElement;
using test::FakeProgram;
using test::FakeProgramWorld;
using test::object;
namespace ax = platform::ax;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// For tests in which a program does not answer.
constexpr Seconds kShortTimeout{1};

milliseconds durationOf(const std::function<void()>& work) {
  const auto begin = steady_clock::now();
  work();
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
}

TEST(FakePrograms, APromptIsReadInOneChainOfFewWaits) {
  FakeProgramWorld world;
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
  FakeProgramWorld world;
  const auto window = world.window();
  ASSERT_TRUE(window);
  (void)world.elementsBelow(*window);
  (void)world.accessibility.copyActionNames(*window);
  for (const auto& question : world.program->asked()) EXPECT_EQ(question.find("GetAll"), std::string::npos) << question;
}

TEST(FakePrograms, ThePasswordIsNeverAskedFor) {
  FakeProgramWorld world;
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
  FakeProgramWorld world{Seconds{0.2}};
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
  FakeProgramWorld world{Seconds{30}};
  const auto application = world.application();
  const auto scope = world.accessibility.beginReadScope();
  scope->prepareApplications({&application, 1}, 80);
  EXPECT_FALSE(scope->missedTimeout(application));
}

TEST(FakePrograms, OneThatDiesMeanwhileFailsAtOnce) {
  FakeProgramWorld world{Seconds{30}};
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
    FakeProgramWorld world;
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
  FakeProgramWorld world;
  world.program->set("/text", object(Role{39}, "", {"/window", "/text", "/inner"}));
  world.program->set("/inner", object(Role{39}, "", {"/text", "/allow", FakeProgram::kRoot}));
  const auto window = world.window();
  ASSERT_TRUE(window);
  EXPECT_EQ(world.elementsBelow(*window), 4U) << "Each object once.";
}

TEST(FakePrograms, AnEndlesslyDeepTreeEnds) {
  FakeProgramWorld world;
  for (int i = 0; i < 400; ++i) {
    world.program->set("/d" + std::to_string(i), object(Role{39}, "", {"/d" + std::to_string(i + 1)}));
  }
  world.program->set("/window", object(Role::dialog, "Permission", {"/d0"}));
  const auto window = world.window();
  ASSERT_TRUE(window);
  EXPECT_LE(world.elementsBelow(*window), 120U);
}

TEST(FakePrograms, ObjectsOfOtherProgramsAreNoPartOfAWindow) {
  FakeProgramWorld world;
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
  FakeProgramWorld world;
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
  FakeProgramWorld world;
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
  FakeProgramWorld world{Seconds{0.2}};
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
  FakeProgramWorld world;
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
  FakeProgramWorld world;
  const auto second = world.bus.start();
  second->set(FakeProgram::kRoot, object(Role{75}, "example", {"/other"}));
  second->set("/other", object(Role::dialog, "Other"));
  world.bus.registerPrograms({world.program->name(), second->name()});
  EXPECT_EQ(AXHelpers::windows(world.accessibility, world.application()).size(), 2U);
  EXPECT_EQ(world.accessibility.processIdentifiers(), std::vector<std::int32_t>{::getpid()});
}

TEST(FakePrograms, ASlowOneDelaysNoOther) {
  constexpr milliseconds kTimeout{1000};
  FakeProgramWorld world{kTimeout};
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
  FakeProgramWorld world;
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
  FakeProgramWorld world;
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
  FakeProgramWorld world;
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
  FakeProgramWorld world;
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
  FakeProgramWorld world;
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

TEST(FakePrograms, ManyThreadsReadAtOnce) {
  FakeProgramWorld world;
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
  FakeProgramWorld world{kShortTimeout};
  const auto window = world.window();
  ASSERT_TRUE(window);
  const auto allow = AXHelpers::children(world.accessibility, *window).back();
  world.program->hangOn("DoAction");
  EXPECT_EQ(world.accessibility.performAction(allow, ax::kPressAction), AXError::cannotComplete);
  EXPECT_EQ(world.program->timesAsked("DoAction"), 1);
}

}  // namespace
}  // namespace quillard::atspi
