#include <algorithm>

#include <gmock/gmock.h>

#include "detection/DialogDetector.h"
#include "detection/DirectAccess.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "support/DetectionWorld.h"

// What the detector does where a desktop adds to the rules, and with texts that run while they are shown.
namespace quillard {
namespace {

using platform::AXValue;
using platform::simulated::NodeHandle;
using samples::DetectionWorld;
using samples::titles;
using ::testing::UnorderedElementsAre;
using Outcome = PromptResolution::Outcome;
namespace ax = platform::ax;

class DialogDetectorLinuxTest : public testing::Test, protected DetectionWorld {
 protected:
  static DetectorDependencies onLinux(DetectorDependencies dependencies) {
    dependencies.supplement = linuxPromptSupplement();
    return dependencies;
  }
  std::vector<PendingApproval> promptsAfterTwoScans() {
    (void)linuxDetector.scan();
    return linuxDetector.scan().approvals;
  }
  NodeHandle textOf(NodeHandle window) {
    for (const auto child : desktop().children(window)) {
      if (desktop().attribute(child, ax::kRole).value() == AXValue{std::string(ax::kStaticTextRole)}) return child;
    }
    ADD_FAILURE() << "no text";
    return window;
  }
  void say(NodeHandle text, const std::string& words) { desktop().setAttribute(text, ax::kValue, AXValue{words}); }
  // As the store would hold it.
  PendingApproval stored(const PendingApproval& scanned) {
    return scanned.replacingIdentity(Uuid::fromRandomBytes(world.random().identityBytes()), scanned.detectedAt);
  }

  DialogDetector linuxDetector{kOwnProcess, suppressionStore, onLinux(dependencies)};
};

TEST_F(DialogDetectorLinuxTest, APromptWithACountdownArrivesAndCanBePressed) {
  const auto window = desktop().open({.title = "Display",
                                      .lines = {"Your configuration will be restored in 20 seconds."},
                                      .buttons = {"Keep", "Cancel"}});
  const auto text = textOf(window);
  (void)linuxDetector.scan();
  world.advance(Seconds{2});
  say(text, "Your configuration will be restored in 18 seconds.");
  const auto prompts = linuxDetector.scan().approvals;
  ASSERT_EQ(prompts.size(), 1U);
  EXPECT_EQ(prompts[0].messageLines.front(), "Your configuration will be restored in 18 seconds.") << "the newest text";
  world.advance(Seconds{9});
  say(text, "Your configuration will be restored in 9 seconds.");
  EXPECT_TRUE(linuxDetector.presenceOf(stored(prompts[0])).isThere());
  EXPECT_EQ(linuxDetector.resolve(stored(prompts[0]), "Keep").outcome, Outcome::found);
}

TEST_F(DialogDetectorLinuxTest, APromptThatIsAboutSomethingElseByNowIsNotPressed) {
  const auto window = desktop().open(
      {.title = "Access", .lines = {"Allow 3 files to be read for 10 minutes?"}, .buttons = {"Allow", "Deny"}});
  const auto prompt = stored(promptsAfterTwoScans().at(0));
  const auto text = textOf(window);
  for (const std::string changed :
       {"Allow 300 files to be read for 10 minutes?", "Allow 3 files to be read for 10 hours?",
        "Allow 3 files to be read for 60 minutes?"}) {
    say(text, changed);
    EXPECT_EQ(linuxDetector.resolve(prompt, "Allow").outcome, Outcome::notFound) << changed;
  }
  say(text, "Allow 3 files to be read for 10 minutes?");
  EXPECT_EQ(linuxDetector.resolve(prompt, "Allow").outcome, Outcome::found);
}

TEST_F(DialogDetectorLinuxTest, APromptBesideProgressIsTheSameWhileItsPercentageRises) {
  const auto window = desktop().open({.title = "Copying",
                                      .lines = {"Copied 43 %."},
                                      .buttons = {"Delete", "Cancel"},
                                      .extra = {{.role = std::string(ax::kProgressIndicatorRole)}}});
  desktop().setAttribute(window, ax::kRoleDescription, AXValue{std::string(ax::kAlertDescription)});
  (void)linuxDetector.scan();
  world.advance(Seconds{2});
  say(textOf(window), "Copied 47 %.");
  const auto prompts = linuxDetector.scan().approvals;
  ASSERT_EQ(prompts.size(), 1U);
  world.advance(Seconds{2});
  say(textOf(window), "Copied 49.5 %.");
  EXPECT_EQ(linuxDetector.resolve(stored(prompts[0]), "Delete").outcome, Outcome::found);
  say(textOf(window), "Copied 12 %.");
  EXPECT_EQ(linuxDetector.resolve(stored(prompts[0]), "Delete").outcome, Outcome::notFound);
}

TEST_F(DialogDetectorLinuxTest, AQuestionAboutAnotherPercentageIsAnotherPrompt) {
  for (const bool hasProgress : {false, true}) {
    std::vector<platform::simulated::ElementSpec> extra;
    if (hasProgress) extra.push_back({.role = std::string(ax::kProgressIndicatorRole)});
    const auto window = desktop().open({.title = "Payment",
                                        .lines = {"Do you really want to pay 10 %?"},
                                        .buttons = {"Pay", "Cancel"},
                                        .extra = extra});
    const auto prompts = promptsAfterTwoScans();
    ASSERT_EQ(prompts.size(), 1U);
    say(textOf(window), "Do you really want to pay 12 %?");
    EXPECT_EQ(linuxDetector.resolve(stored(prompts[0]), "Pay").outcome, Outcome::notFound);
    EXPECT_NE(promptsAfterTwoScans().at(0).id, prompts[0].id);
    desktop().close(window);
  }
}

// A bar that shows how long there is to answer makes no progress of what is asked.
TEST_F(DialogDetectorLinuxTest, APercentageThatIsAskedAboutInAnotherLineIsNoProgress) {
  const auto window = desktop().open({.title = "Payment",
                                      .lines = {"Share: 10 %", "Do you really want to transfer?"},
                                      .buttons = {"Pay", "Cancel"},
                                      .extra = {{.role = std::string(ax::kProgressIndicatorRole)}}});
  const auto prompt = promptsAfterTwoScans().at(0);
  for (const auto child : desktop().children(window)) {
    const auto value = desktop().attribute(child, ax::kValue);
    if (value.hasValue() && value.value() == AXValue{std::string("Share: 10 %")}) say(child, "Share: 12 %");
  }
  world.advance(Seconds{2});
  EXPECT_EQ(linuxDetector.resolve(stored(prompt), "Pay").outcome, Outcome::notFound);
  EXPECT_NE(promptsAfterTwoScans().at(0).id, prompt.id);
}

TEST_F(DialogDetectorLinuxTest, AButtonThatCountsIsFoundByItsWord) {
  const auto window = desktop().open({.title = "Restart", .lines = {"Restart?"}, .buttons = {"Restart (9)", "Cancel"}});
  const auto button = *desktop().findButton(window, "Restart (9)");
  const auto prompt = stored(promptsAfterTwoScans().at(0));
  desktop().setAttribute(button, ax::kTitle, AXValue{std::string("Restart (8)")});
  const auto resolution = linuxDetector.resolve(prompt, "Restart (9)");
  ASSERT_EQ(resolution.outcome, Outcome::found);
  EXPECT_EQ(resolution.button->button.label, "Restart (8)");
}

// "Allow" with the box on is another answer than "Allow" without.
TEST_F(DialogDetectorLinuxTest, APromptWhoseBoxWasSwitchedSinceItWasShownIsAnotherOne) {
  const auto window = desktop().open({.title = "Camera", .lines = {"Let it film?"}, .buttons = {"Allow", "Deny"}});
  const auto box = desktop().addChild(
      window, {.role = std::string(ax::kCheckBoxRole), .title = "Remember this", .value = AXValue{std::int64_t{0}}});
  const auto prompts = promptsAfterTwoScans();
  ASSERT_EQ(prompts.size(), 1U);
  EXPECT_EQ(prompts[0].messageLines.back(), "☐ Remember this");
  EXPECT_EQ(linuxDetector.resolve(stored(prompts[0]), "Allow").outcome, Outcome::found);
  desktop().setAttribute(box, ax::kValue, AXValue{std::int64_t{1}});
  EXPECT_EQ(linuxDetector.resolve(stored(prompts[0]), "Allow").outcome, Outcome::notFound);
  EXPECT_EQ(promptsAfterTwoScans().at(0).messageLines.back(), "☑ Remember this");
}

// Beyond what is shown, without a title, one of many, and half on.
TEST_F(DialogDetectorLinuxTest, NoBoxOrMenuCanBeSwitchedUnnoticed) {
  using platform::simulated::ElementSpec;
  const ElementSpec box{
      .role = std::string(ax::kCheckBoxRole), .title = "Remember this", .value = AXValue{std::int64_t{0}}};
  ElementSpec untitled = box;
  untitled.title = "";
  const ElementSpec menu{
      .role = std::string(ax::kComboBoxRole), .title = "Length", .value = AXValue{std::string("A day")}};
  struct Case {
    std::string what;
    std::vector<ElementSpec> others;  // Met before it.
    ElementSpec option;
    AXValue switched;
  };
  const ElementSpec filler{.role = "AXGroup"};
  const std::vector<Case> cases{{"beyond", std::vector<ElementSpec>(90, filler), box, AXValue{std::int64_t{1}}},
                                {"untitled", {}, untitled, AXValue{std::int64_t{1}}},
                                {"half on", {}, box, AXValue{std::int64_t{2}}},
                                {"menu", {}, menu, AXValue{std::string("For ever")}}};
  for (const auto& each : cases) {
    auto extra = each.others;
    extra.push_back({.role = std::string(ax::kButtonRole),
                     .title = "Allow",
                     .frame = Rect{9, 9, 80, 24},
                     .actions = {std::string(ax::kPressAction)}});
    const auto window = desktop().open({.title = "Camera", .subrole = "AXDialog"});
    const auto option = desktop().addChild(window, each.option);
    for (const auto& other : extra) (void)desktop().addChild(window, other);
    (void)desktop().addChild(window,
                             {.role = std::string(ax::kStaticTextRole), .value = AXValue{std::string("Let it film?")}});
    (void)desktop().addChild(window, {.role = std::string(ax::kButtonRole),
                                      .title = "Deny",
                                      .frame = Rect{99, 9, 80, 24},
                                      .actions = {std::string(ax::kPressAction)}});
    desktop().setAttribute(window, ax::kRoleDescription, AXValue{std::string(ax::kAlertDescription)});
    const auto prompts = promptsAfterTwoScans();
    ASSERT_EQ(prompts.size(), 1U) << each.what;
    EXPECT_EQ(prompts[0].recommendedButtonLabel, std::nullopt) << each.what;
    EXPECT_EQ(linuxDetector.resolve(stored(prompts[0]), "Deny").outcome, Outcome::found) << each.what;
    desktop().setAttribute(option, ax::kValue, each.switched);
    EXPECT_EQ(linuxDetector.resolve(stored(prompts[0]), "Deny").outcome, Outcome::notFound) << each.what;
    EXPECT_NE(promptsAfterTwoScans().at(0).id, prompts[0].id) << each.what;
    desktop().close(window);
  }
}

TEST_F(DialogDetectorLinuxTest, AMutedKindOfPromptStaysMutedWhenItsBoxIsSwitched) {
  const auto window = desktop().open({.title = "Camera", .lines = {"Let it film?"}, .buttons = {"Allow", "Deny"}});
  const auto box = desktop().addChild(
      window, {.role = std::string(ax::kCheckBoxRole), .title = "Remember this", .value = AXValue{std::int64_t{0}}});
  suppressionStore.suppress(promptsAfterTwoScans().at(0).suppressionID);
  EXPECT_TRUE(promptsAfterTwoScans().empty());
  desktop().setAttribute(box, ax::kValue, AXValue{std::int64_t{1}});
  EXPECT_TRUE(promptsAfterTwoScans().empty());
}

TEST_F(DialogDetectorLinuxTest, IsExplainedAsItIsJudged) {
  const auto window = desktop().open({.title = "Camera"});
  (void)desktop().addChild(window,
                           {.role = std::string(ax::kStaticTextRole), .value = AXValue{std::string("Password")}});
  for (int i = 0; i < 90; ++i) (void)desktop().addChild(window, {.role = "AXGroup"});
  (void)desktop().addChild(window,
                           {.role = std::string(ax::kStaticTextRole), .value = AXValue{std::string("Let it film?")}});
  for (const std::string label : {"Allow", "Deny"}) {
    (void)desktop().addChild(window,
                             {.role = std::string(ax::kButtonRole), .title = label, .frame = Rect{9, 9, 80, 24}});
  }
  desktop().setAttribute(window, ax::kRoleDescription, AXValue{std::string(ax::kAlertDescription)});
  const auto prompts = promptsAfterTwoScans();
  ASSERT_EQ(prompts.size(), 1U);
  const auto explained = linuxDetector.diagnose().windows.at(0);
  EXPECT_TRUE(explained.structure.isCutOff);
  EXPECT_EQ(explained.snapshot->messageLines, prompts[0].messageLines);
  EXPECT_EQ(explained.directAccessReason, prompts[0].directAccessReason);
  EXPECT_EQ(explained.directAccessReason, secretRequiredReason());
}

TEST_F(DialogDetectorLinuxTest, AButtonThatTakesNoPressesIsShownAndNotPressed) {
  const auto window = desktop().open({.title = "Frob", .lines = {"Go on?"}, .buttons = {"Allow", "Cancel"}});
  desktop().setAttribute(*desktop().findButton(window, "Allow"), ax::kEnabled, AXValue{false});
  for (auto* const each : {&linuxDetector, &detector}) {
    (void)each->scan();
    const auto prompts = each->scan().approvals;
    ASSERT_EQ(prompts.size(), 1U);
    ASSERT_NE(prompts[0].button("Allow"), nullptr);
    EXPECT_FALSE(prompts[0].button("Allow")->isEnabled);
    EXPECT_TRUE(prompts[0].button("Cancel")->isEnabled);
    EXPECT_EQ(prompts[0].recommendedButtonLabel, std::nullopt);
    EXPECT_EQ(each->resolve(prompts[0], "Allow").outcome, Outcome::notFound);
    EXPECT_EQ(each->resolve(prompts[0], "Cancel").outcome, Outcome::found);
  }
}

TEST_F(DialogDetectorLinuxTest, OfTwoDialogsTheOneThatBlocksTheOtherIsListed) {
  const auto program = desktop().launch({.name = "Editor"});
  desktop().open(program, {.title = "Behind", .lines = {"Start?"}, .buttons = {"Start", "Cancel"}, .modal = false});
  const auto other = desktop().launch({.name = "Other"});
  desktop().open(other, {.title = "Elsewhere", .lines = {"Start?"}, .buttons = {"Start", "Cancel"}, .modal = false});
  const auto front =
      desktop().open(program, {.title = "In front", .lines = {"Replace it?"}, .buttons = {"Replace", "Cancel"}});
  EXPECT_THAT(titles(promptsAfterTwoScans()), UnorderedElementsAre("In front", "Elsewhere"));
  const auto windows = linuxDetector.diagnose().windows;
  const auto behind = std::find_if(windows.begin(), windows.end(),
                                   [](const auto& window) { return window.snapshot->title == "Behind"; });
  EXPECT_EQ(behind->snapshot->rejectionReason, "Another dialog of the same program blocks it.");
  desktop().close(front);
  EXPECT_THAT(titles(promptsAfterTwoScans()), UnorderedElementsAre("Behind", "Elsewhere"));
}

TEST_F(DialogDetectorLinuxTest, ASafeDismissalOfTheDesktopMayBePressedOnAnyPrompt) {
  desktop().open({.title = "Frob", .lines = {"Password needed."}, .buttons = {"Grant Access", "Deny Access"}});
  const auto prompt = promptsAfterTwoScans().at(0);
  EXPECT_TRUE(prompt.requiresDirectAccess);
  EXPECT_TRUE(requiresDirectAccessFor(prompt, "Grant Access"));
  EXPECT_FALSE(requiresDirectAccessFor(prompt, "Deny Access"));
  EXPECT_TRUE(requiresDirectAccessFor(prompt, "Reject")) << "it has no such button";
  const auto resolution = linuxDetector.resolve(stored(prompt), "Deny Access");
  ASSERT_EQ(resolution.outcome, Outcome::found);
  EXPECT_TRUE(resolution.button->button.isKnownDismissal);
}

}  // namespace
}  // namespace quillard
