#include <array>

#include "contract/desktop/DesktopContract.h"

namespace quillard::test {
namespace {

namespace ax = platform::ax;
using platform::AXUIElement;

// All that a walk over a window reads, as text: what two readers must agree on.
std::vector<std::string> walked(platform::AXAttributeReader& reader, const AXUIElement& window) {
  std::vector<std::string> lines;
  const auto add = [&](const AXUIElement& element) {
    std::string line = AXHelpers::role(reader, element) + "/" + AXHelpers::subrole(reader, element);
    for (const auto name : {ax::kTitle, ax::kDescription, ax::kValue}) {
      line += "|" + AXHelpers::stringAttribute(reader, element, name).value_or("-");
    }
    const auto frame = AXHelpers::frame(reader, element);
    line += frame ? "|" + std::to_string(frame->x) + "," + std::to_string(frame->y) + "," +
                        std::to_string(frame->width) + "," + std::to_string(frame->height)
                  : "|-";
    for (const auto& action : AXHelpers::actionNames(reader, element)) line += "|" + action;
    lines.push_back(line);
  };
  add(window);
  for (const auto& element : AXHelpers::deeplyNestedChildren(reader, window, 80)) add(element);
  return lines;
}

TEST_P(ReadScopeContract, AScopeAnswersWhatLiveReadsAnswer) {
  const auto program = binding->show({.hasSecureTextField = true});
  std::vector<std::string> live;
  std::vector<std::string> inUnprepared;
  std::vector<std::string> inPrepared;
  bool hasMissedTimeout = false;
  (void)binding->eventually([&] {  // On a busy machine one read may miss its time-out.
    live = walked(accessibility(), window(*program));
    const auto unprepared = accessibility().beginReadScope();
    inUnprepared = walked(*unprepared, window(*program, *unprepared));
    const auto prepared = accessibility().beginReadScope();
    prepared->prepareApplications(std::array{application(*program)}, 80);
    inPrepared = walked(*prepared, window(*program, *prepared));
    hasMissedTimeout = prepared->missedTimeout(application(*program));
    return live == inUnprepared && live == inPrepared && !hasMissedTimeout;
  });
  EXPECT_GT(live.size(), 3U);
  EXPECT_EQ(inUnprepared, live);
  EXPECT_EQ(inPrepared, live);
  EXPECT_FALSE(hasMissedTimeout);
}

TEST_P(ReadScopeContract, AWalkThatGoesOnBeyondWhatWasPreparedFindsTheRest) {
  const auto program = binding->show({});
  std::vector<std::string> live;
  std::vector<std::string> inScope;
  (void)binding->eventually([&] {  // On a busy machine one read may miss its time-out.
    live = walked(accessibility(), window(*program));
    const auto scope = accessibility().beginReadScope();
    scope->prepareApplications(std::array{application(*program)}, 2);
    inScope = walked(*scope, window(*program, *scope));
    return live == inScope;
  });
  EXPECT_GT(live.size(), 3U);
  EXPECT_EQ(inScope, live);
}

TEST_P(ReadScopeContract, TheNextScopeSeesWhatHasChanged) {
  const auto program = binding->show({.title = "First", .successor = "Second"});
  {
    const auto scope = accessibility().beginReadScope();
    scope->prepareApplications(std::array{application(*program)}, 80);
    EXPECT_EQ(AXHelpers::stringAttribute(*scope, window(*program, *scope), ax::kTitle), "First");
  }
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  (void)accessibility().performAction(*allow, ax::kPressAction);
  EXPECT_TRUE(binding->eventually([&] {
    const auto scope = accessibility().beginReadScope();
    scope->prepareApplications(std::array{application(*program)}, 80);
    const auto windows = AXHelpers::windows(*scope, application(*program));
    return windows.size() == 1 && AXHelpers::stringAttribute(*scope, windows[0], ax::kTitle) == "Second";
  }));
}

TEST_P(ReadScopeContract, AHungProgramCostsOneWaitAndHidesNoOther) {
  const auto hung = binding->show({.title = "Hung"});
  const auto well = binding->show({.title = "Well"});
  const auto hungWindow = window(*hung);
  hung->stop();
  const auto scope = accessibility().beginReadScope();
  const auto before = binding->clock().monotonicNow();
  scope->prepareApplications(std::array{application(*hung), application(*well)}, 80);
  for (int i = 0; i < 50; ++i) {
    EXPECT_FALSE(scope->copyAttributeValue(hungWindow, ax::kTitle).hasValue());
    EXPECT_TRUE(AXHelpers::windows(*scope, application(*hung)).empty());
  }
  EXPECT_EQ(AXHelpers::stringAttribute(*scope, window(*well, *scope), ax::kTitle), "Well");
  EXPECT_LT(binding->clock().monotonicNow() - before, Seconds{1});
  EXPECT_TRUE(scope->missedTimeout(application(*hung)));
  EXPECT_TRUE(scope->missedTimeout(hungWindow));
  EXPECT_FALSE(scope->missedTimeout(application(*well)));
  hung->goOn();
  EXPECT_TRUE(binding->eventually([&] { return AXHelpers::windows(accessibility(), application(*hung)).size() == 1; }));
}

TEST_P(ReadScopeContract, AProgramThatDiesInMidScopeIsQuietlyGone) {
  const auto program = binding->show({.title = "Dying"});
  const auto other = binding->show({.title = "Living"});
  const auto scope = accessibility().beginReadScope();
  const auto windows = AXHelpers::windows(*scope, application(*program));
  ASSERT_EQ(windows.size(), 1U);
  program->kill();
  EXPECT_TRUE(
      binding->eventually([&] { return !accessibility().copyAttributeValue(windows[0], ax::kRole).hasValue(); }));
  (void)walked(*scope, windows[0]);
  EXPECT_EQ(AXHelpers::stringAttribute(*scope, window(*other, *scope), ax::kTitle), "Living");
}

TEST_P(ReadScopeContract, AScopeSaysThatItCouldNotSeeTheDesktop) {
  const auto program = binding->show({});
  const auto prompt = window(*program);
  {
    const auto scope = accessibility().beginReadScope();
    EXPECT_EQ(scope->desktopFailure(), std::nullopt) << "before the first read";
    (void)walked(*scope, prompt);
    EXPECT_EQ(scope->desktopFailure(), std::nullopt);
  }
  binding->loseDesktop();
  EXPECT_TRUE(binding->eventually([&] {
    const auto scope = accessibility().beginReadScope();
    const bool isEmpty = AXHelpers::windows(*scope, application(*program)).empty();
    return isEmpty && scope->desktopFailure() && !scope->copyAttributeValue(prompt, ax::kRole).hasValue();
  }));
}

TEST_P(ReadScopeContract, AHungProgramIsNoFailureOfTheDesktop) {
  const auto hung = binding->show({});
  hung->stop();
  const auto scope = accessibility().beginReadScope();
  EXPECT_TRUE(AXHelpers::windows(*scope, application(*hung)).empty());
  EXPECT_EQ(scope->desktopFailure(), std::nullopt);
  hung->goOn();
}

}  // namespace
}  // namespace quillard::test
