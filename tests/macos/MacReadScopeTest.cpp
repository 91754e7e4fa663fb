#include <string>
#include <vector>

#include "detection/elements/AXHelpers.h"
#include "macos/MacWorld.h"

namespace quillard::test {
namespace {

using platform::AXError;
using platform::AXUIElement;
using platform::AXValue;
using platform::simulated::ApplicationHandle;
using platform::simulated::NodeHandle;
namespace ax = platform::ax;

class MacReadScope : public MacTest {
 protected:
  void SetUp() override {
    prompt = mac->desktop.open({.title = "Camera", .lines = {"Film?"}, .buttons = {"Deny", "Allow"}});
    owner = *mac->desktop.owner(prompt);
    mac->desktop.resetRoundTrips();
  }
  AXUIElement application() { return mac->accessibility.createApplication(owner.processIdentifier); }
  AXUIElement window(platform::AXReadScope& scope) { return AXHelpers::windows(scope, application()).front(); }
  // All that a walk reads of one element.
  static std::vector<std::string> readings(platform::AXReadScope& scope, const AXUIElement& element) {
    std::vector<std::string> found{AXHelpers::role(scope, element), AXHelpers::subrole(scope, element)};
    for (const auto name : {ax::kTitle, ax::kDescription, ax::kValue}) {
      found.push_back(AXHelpers::stringAttribute(scope, element, name).value_or("none"));
    }
    found.push_back(AXHelpers::boolAttribute(scope, element, ax::kModal).value_or(false) ? "modal" : "not modal");
    found.push_back(std::to_string(AXHelpers::children(scope, element).size()));
    found.push_back(AXHelpers::frame(scope, element) ? "frame" : "no frame");
    found.push_back(AXHelpers::elementAttribute(scope, element, ax::kParent) ? "parent" : "no parent");
    return found;
  }
  const std::vector<std::string> windowReadings{"AXWindow", "AXDialog", "Camera", "none",  "none",
                                                "modal",    "3",        "frame",  "parent"};
  NodeHandle prompt{};
  ApplicationHandle owner{};
};

TEST_F(MacReadScope, AnElementCostsOneRequestHoweverMuchIsReadOfIt) {
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  EXPECT_EQ(mac->desktop.roundTrips(), 1U);  // The application.
  for (int i = 0; i < 2; ++i) {
    for (const auto name : {ax::kRole, ax::kSubrole, ax::kTitle, ax::kModal, ax::kChildren, ax::kParent, ax::kSize}) {
      EXPECT_TRUE(scope->copyAttributeValue(target, name).hasValue()) << name.name();
    }
  }
  EXPECT_EQ(mac->desktop.roundTrips(), 2U);
  EXPECT_EQ(readings(*scope, target), windowReadings);
  EXPECT_EQ(readings(*scope, target), windowReadings);
  EXPECT_EQ(mac->desktop.roundTrips(), 3U);  // The value.
  EXPECT_EQ(scope->copyActionNames(target).value(), std::vector<std::string>{"AXRaise"});
  EXPECT_EQ(scope->copyActionNames(target).value(), std::vector<std::string>{"AXRaise"});
  EXPECT_EQ(mac->desktop.roundTrips(), 4U);
}

TEST_F(MacReadScope, AnApplicationsWindowsAreOneRequest) {
  const auto scope = mac->accessibility.beginReadScope();
  EXPECT_EQ(AXHelpers::windows(*scope, application()).size(), 1U);
  EXPECT_TRUE(AXHelpers::elementAttribute(*scope, application(), ax::kMainWindow));
  EXPECT_TRUE(AXHelpers::elementAttribute(*scope, application(), ax::kFocusedWindow));
  EXPECT_EQ(mac->desktop.roundTrips(), 1U);
}

TEST_F(MacReadScope, AWalkCostsOneRequestForEachElement) {
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  EXPECT_EQ(AXHelpers::deeplyNestedChildren(*scope, target, 80).size(), 3U);
  for (const auto& element : AXHelpers::deeplyNestedChildren(*scope, target, 80)) {
    (void)AXHelpers::role(*scope, element);
    (void)AXHelpers::frame(*scope, element);
  }
  EXPECT_EQ(mac->desktop.roundTrips(), 1U + 1U + 3U);
}

// The value of a text area is all that was ever written in it.
TEST_F(MacReadScope, AValueTravelsOnlyWhenItIsAskedFor) {
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  EXPECT_EQ(AXHelpers::role(*scope, target), "AXWindow");
  EXPECT_EQ(mac->system.asked.count("AXValue"), 0U);
  EXPECT_FALSE(scope->copyAttributeValue(target, ax::kValue).hasValue());
  EXPECT_EQ(mac->system.asked.count("AXValue"), 1U);
}

TEST_F(MacReadScope, TheValueOfASecureTextFieldIsNeverAskedFor) {
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  mac->system.odd.values.insert_or_assign("AXSubrole", fakes::stringObject("AXSecureTextField"));
  EXPECT_EQ(AXHelpers::subrole(*scope, target), "AXSecureTextField");
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kValue).error(), AXError::noValue);
  EXPECT_EQ(mac->system.asked.count("AXValue"), 0U);
}

TEST_F(MacReadScope, AnErrorInThePlaceOfTheValueIsNoMissedTimeout) {
  mac->system.odd.errors = {{"AXValue", kAXErrorCannotComplete}};
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kValue).error(), AXError::cannotComplete);
  EXPECT_FALSE(scope->missedTimeout(target));
  EXPECT_EQ(AXHelpers::role(*scope, target), "AXWindow");
}

TEST_F(MacReadScope, AnAttributeThatNoWalkReadsIsARequestOfItsOwnOnce) {
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  mac->desktop.resetRoundTrips();
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kMain).value(), AXValue(true));
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kMain).value(), AXValue(true));
  EXPECT_EQ(mac->desktop.roundTrips(), 1U);
}

TEST_F(MacReadScope, ASlotWithAnErrorSpoilsNoOther) {
  mac->system.odd.errors = {{"AXTitle", kAXErrorFailure}, {"AXPosition", kAXErrorCannotComplete}};
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  mac->desktop.resetRoundTrips();
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kTitle).error(), AXError::failure);
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kPosition).error(), AXError::cannotComplete);
  EXPECT_EQ(AXHelpers::role(*scope, target), "AXWindow");
  EXPECT_EQ(AXHelpers::children(*scope, target).size(), 3U);
  EXPECT_FALSE(AXHelpers::frame(*scope, target));
  EXPECT_EQ(mac->desktop.roundTrips(), 1U);
  EXPECT_FALSE(scope->missedTimeout(target));  // It did answer.
}

TEST_F(MacReadScope, ASlotOfAnotherTypeReadsAsAbsent) {
  const CGSize size{1, 2};
  mac->system.odd.values.insert_or_assign("AXPosition", fakes::Held::take(AXValueCreate(kAXValueTypeCGSize, &size)));
  mac->system.odd.values.insert_or_assign("AXTitle", fakes::integerObject(3));
  mac->system.odd.values.insert_or_assign("AXModal", fakes::stringObject("true"));
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  EXPECT_FALSE(AXHelpers::frame(*scope, target));
  EXPECT_FALSE(AXHelpers::stringAttribute(*scope, target, ax::kTitle));
  EXPECT_FALSE(AXHelpers::boolAttribute(*scope, target, ax::kModal));
  EXPECT_EQ(AXHelpers::role(*scope, target), "AXWindow");
}

// A list that is shorter or longer may have its answers in other places: none of it is believed.
TEST_F(MacReadScope, AListOfAnotherLengthIsDroppedAndEachAttributeReadAlone) {
  for (const CFIndex length : {0, 1, 3, 8, 10, 40}) {
    mac->system.odd.batchLength = length;
    const auto scope = mac->accessibility.beginReadScope();
    EXPECT_EQ(readings(*scope, window(*scope)), windowReadings) << length;
  }
}

TEST_F(MacReadScope, AnApplicationThatTakesNoListsIsAskedOneByOne) {
  for (const ::AXError error :
       {kAXErrorFailure, kAXErrorNotImplemented, kAXErrorIllegalArgument, kAXErrorAttributeUnsupported}) {
    mac->system.odd.batchError = error;
    const auto scope = mac->accessibility.beginReadScope();
    EXPECT_EQ(readings(*scope, window(*scope)), windowReadings) << error;
  }
  mac->system.odd.batchError.reset();
  mac->system.odd.givesNullArrays = true;
  const auto scope = mac->accessibility.beginReadScope();
  EXPECT_EQ(readings(*scope, window(*scope)), windowReadings);
}

TEST_F(MacReadScope, ADeadElementIsAskedOnce) {
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  mac->desktop.close(prompt);
  mac->desktop.resetRoundTrips();
  for (const auto name : {ax::kRole, ax::kTitle, ax::kChildren}) {
    EXPECT_EQ(scope->copyAttributeValue(target, name).error(), AXError::invalidUIElement);
  }
  EXPECT_LE(mac->desktop.roundTrips(), 1U);
  EXPECT_FALSE(scope->missedTimeout(target));
}

TEST_F(MacReadScope, AHungApplicationCostsOneWaitAndOthersNone) {
  const auto other = mac->desktop.launch({.name = "Other"});
  const NodeHandle otherPrompt = mac->desktop.open(other, {.title = "Other"});
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  mac->desktop.hang(owner);
  const auto before = mac->world.time().monotonicNow();
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kRole).error(), AXError::cannotComplete);
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kTitle).error(), AXError::cannotComplete);
  EXPECT_EQ(scope->copyActionNames(application()).error(), AXError::cannotComplete);
  EXPECT_EQ(scope->copyAttributeValue(application(), ax::kWindows).error(), AXError::cannotComplete);
  EXPECT_NEAR(Seconds{mac->world.time().monotonicNow() - before}.count(), 0.2, 1e-6);
  EXPECT_TRUE(scope->missedTimeout(target));
  EXPECT_TRUE(scope->missedTimeout(application()));

  const AXUIElement calm = mac->accessibility.createApplication(other.processIdentifier);
  EXPECT_FALSE(scope->missedTimeout(calm));
  EXPECT_EQ(AXHelpers::windows(*scope, calm).size(), 1U);
  mac->desktop.unhang(owner);
  EXPECT_EQ(scope->copyAttributeValue(target, ax::kRole).error(), AXError::cannotComplete);
  EXPECT_EQ(AXHelpers::role(*mac->accessibility.beginReadScope(), target), "AXWindow");
  EXPECT_TRUE(mac->desktop.isOpen(otherPrompt));
}

TEST_F(MacReadScope, AScopeThatMissedActionNamesMissedTheApplication) {
  const auto scope = mac->accessibility.beginReadScope();
  const AXUIElement target = window(*scope);
  mac->desktop.slow(owner, Seconds{0.25});
  EXPECT_EQ(scope->copyActionNames(target).error(), AXError::cannotComplete);
  EXPECT_TRUE(scope->missedTimeout(target));
}

TEST_F(MacReadScope, TheSystemWideElementIsAskedForEachByItself) {
  mac->desktop.focusWindow(prompt);
  mac->desktop.resetRoundTrips();
  const auto scope = mac->accessibility.beginReadScope();
  EXPECT_EQ(AXHelpers::focusedWindow(mac->accessibility, *scope), window(*scope));
  EXPECT_TRUE(AXHelpers::focusedWindow(mac->accessibility, *scope));
  EXPECT_EQ(mac->desktop.roundTrips(), 2U);  // It, and the application.
  EXPECT_EQ(mac->accessibility.processIdentifier(mac->accessibility.createSystemWide()), std::nullopt);
}

}  // namespace
}  // namespace quillard::test
