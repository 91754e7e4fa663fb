#include <algorithm>

#include "contract/desktop/DesktopContract.h"
#include "contract/desktop/PromptAgent.h"
#include "detection/VisibleWindowOwners.h"

namespace quillard::test {
namespace {

using platform::DesktopCapability;
using platform::WindowListEntry;
using platform::WindowListOptions;

std::vector<WindowListEntry> windowsOf(platform::WindowList& list, const PromptProgram& program,
                                       WindowListOptions options = WindowListOptions::onScreenOnly) {
  auto windows = list.copyWindowInfo(options);
  std::erase_if(windows, [&](const WindowListEntry& entry) {
    return entry.ownerProcessIdentifier != program.processIdentifier();
  });
  return windows;
}

// A list that cannot be had is not an empty one.
void expectNoListIsClaimed(platform::WindowList& list) {
  for (const auto options : {WindowListOptions::onScreenOnly, WindowListOptions::all}) {
    const auto read = list.readWindowInfo(options);
    ASSERT_FALSE(read.isKnown());
    EXPECT_NE(read.limitation().reason, "");
    EXPECT_TRUE(list.copyWindowInfo(options).empty());
  }
}

TEST_P(WindowListContract, APromptIsAVisibleOrdinaryWindowOfItsProgram) {
  const auto program = binding->show({.title = "Camera access", .at = Point{200, 200}});
  if (lacks(DesktopCapability::windowList)) return expectNoListIsClaimed(binding->windowList());
  const auto windows = windowsOf(binding->windowList(), *program);
  ASSERT_EQ(windows.size(), 1U);
  EXPECT_TRUE(VisibleWindowOwners::isVisible(windows[0]));
  EXPECT_EQ(windows[0].windowName,
            binding->namesWindows() ? std::optional<std::string>("Camera access") : std::nullopt);
  EXPECT_EQ(windows[0].layer.value_or(0), 0);
  EXPECT_TRUE(windows[0].ownerName && !windows[0].ownerName->empty());
}

// For who asks at intervals, and reads the list only then.
TEST_P(WindowListContract, SaysThatItMayHaveChangedBeforeItIsReadFirstAndWheneverAWindowHasCome) {
  EXPECT_TRUE(binding->windowList().mayHaveChanged());
  const auto program = binding->show({.title = "Camera access"});
  EXPECT_TRUE(binding->eventually([&] { return binding->windowList().mayHaveChanged(); }));
  const auto another = binding->show({.title = "Microphone access"});
  EXPECT_TRUE(binding->eventually([&] { return binding->windowList().mayHaveChanged(); }));
}

TEST_P(WindowListContract, ItsBoundsHoldWhatAccessibilityReads) {
  const auto program = binding->show({.at = Point{200, 200}});
  if (lacks(DesktopCapability::windowList)) return expectNoListIsClaimed(binding->windowList());
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  EXPECT_TRUE(binding->eventually([&] {
    const auto windows = windowsOf(binding->windowList(), *program);
    const auto frame = AXHelpers::frame(accessibility(), *allow);
    if (windows.size() != 1 || !windows[0].bounds || !frame) return false;
    const auto& bounds = *windows[0].bounds;
    return frame->x >= bounds.x && frame->y >= bounds.y && frame->x + frame->width <= bounds.x + bounds.width &&
           frame->y + frame->height <= bounds.y + bounds.height;
  }));
}

TEST_P(WindowListContract, TheNewestWindowComesBeforeTheOnesItCovers) {
  const auto below = binding->show({.title = "Below", .at = Point{200, 200}});
  const auto above = binding->show({.title = "Above", .at = Point{220, 220}});
  if (lacks(DesktopCapability::windowList)) return expectNoListIsClaimed(binding->windowList());
  (void)binding->workspace().activate(above->processIdentifier());
  EXPECT_TRUE(binding->eventually([&] {
    const auto owners = VisibleWindowOwners::processIdentifiers(binding->windowList(), false);
    const auto position = [&](const PromptProgram& program) {
      return std::find(owners.begin(), owners.end(), program.processIdentifier());
    };
    return position(*below) != owners.end() && position(*above) < position(*below);
  }));
}

TEST_P(WindowListContract, AWindowThatHasGoneIsListedNowhere) {
  const auto program = binding->show({});
  if (lacks(DesktopCapability::windowList)) return expectNoListIsClaimed(binding->windowList());
  program->kill();
  EXPECT_TRUE(binding->eventually([&] {
    return windowsOf(binding->windowList(), *program).empty() &&
           windowsOf(binding->windowList(), *program, WindowListOptions::all).empty();
  }));
}

TEST_P(WindowListContract, AListThatWasReadSaysSoEvenWhenItIsEmpty) {
  if (lacks(DesktopCapability::windowList)) return expectNoListIsClaimed(binding->windowList());
  for (const auto options : {WindowListOptions::onScreenOnly, WindowListOptions::all}) {
    const auto read = binding->windowList().readWindowInfo(options);
    ASSERT_TRUE(read.isKnown()) << read.limitation().reason;
    EXPECT_EQ(read.value(), binding->windowList().copyWindowInfo(options));
  }
}

TEST_P(WindowListContract, AWindowKeepsItsNumberWhileItExistsAndNoOtherHasIt) {
  const auto first = binding->show({.title = "Twin", .at = Point{200, 200}});
  const auto second = binding->show({.title = "Twin", .at = Point{200, 200}});
  if (lacks(DesktopCapability::windowList)) return expectNoListIsClaimed(binding->windowList());
  const auto numberOf = [&](const PromptProgram& program) {
    const auto windows = windowsOf(binding->windowList(), program, WindowListOptions::all);
    return windows.size() == 1 ? windows[0].number : std::nullopt;
  };
  const auto number = numberOf(*first);
  ASSERT_TRUE(number);
  EXPECT_NE(number, numberOf(*second));
  (void)binding->workspace().activate(first->processIdentifier());
  EXPECT_TRUE(binding->eventually([&] {
    const auto frontmost = binding->workspace().frontmostApplication();
    return frontmost && frontmost->processIdentifier == first->processIdentifier();
  }));
  EXPECT_EQ(numberOf(*first), number);
  first->kill();
  EXPECT_TRUE(binding->eventually([&] {
    const auto windows = binding->windowList().copyWindowInfo(WindowListOptions::all);
    return std::none_of(windows.begin(), windows.end(),
                        [&](const WindowListEntry& entry) { return entry.number == number; });
  }));
}

// What a press stands on when the prompt's program does not answer any more.
TEST_P(WindowListContract, TheWindowOfAPromptIsTheOneThatTheListHasAtItsPlace) {
  const auto program = binding->show({.title = "Camera", .at = Point{200, 200}});
  PromptAgent agent{*binding};
  const auto prompts = agent.scan("Camera");
  ASSERT_EQ(prompts.size(), 1U);
  std::optional<ResolvedDialogButton> resolved;
  const bool isListed = !lacks(DesktopCapability::windowList);
  ASSERT_TRUE(binding->eventually([&] {
    resolved = agent.detector.resolveCurrentButton(prompts[0], "Allow");
    return resolved && resolved->promptWindow.number.has_value() == isListed;
  }));
  const auto windows = windowsOf(binding->windowList(), *program, WindowListOptions::all);
  ASSERT_EQ(windows.size(), isListed ? 1U : 0U);
  if (isListed) {
    EXPECT_EQ(resolved->promptWindow.number, windows[0].number);
  }
  program->stop();
  EXPECT_TRUE(agent.detector.presenceOf(prompts[0], resolved->promptWindow).isUnknown());
  program->kill();
  EXPECT_TRUE(
      binding->eventually([&] { return agent.detector.presenceOf(prompts[0], resolved->promptWindow).isGone(); }));
}

TEST_P(WindowListContract, TwoLooksAtAStillDesktopAreEqual) {
  const auto program = binding->show({});
  EXPECT_TRUE(binding->eventually([&] {
    return VisibleWindowOwners::visibleWindowSignatures(binding->windowList()) ==
           VisibleWindowOwners::visibleWindowSignatures(binding->windowList());
  }));
}

TEST_P(WindowListContract, ObserversHearOfWindowsThatComeAndGo) {
  int hints = 0;
  const bool isListed = !lacks(DesktopCapability::windowList);
  const auto onChange = [&] { ++hints; };
  const auto subscription = isListed ? binding->windowList().observeChanges(onChange)
                                     : binding->windowList().observeUnlistedWindows(onChange);
  const auto program = binding->show({});
  EXPECT_TRUE(binding->eventually([&] { return hints > 0; }));
  if (!isListed) return;  // Nothing tells that one has gone but its program.
  const int before = hints;
  program->kill();
  EXPECT_TRUE(binding->eventually([&] { return hints > before; }));
}

}  // namespace
}  // namespace quillard::test
