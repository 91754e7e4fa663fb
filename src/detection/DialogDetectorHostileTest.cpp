#include <cmath>
#include <limits>
#include <set>

#include <gtest/gtest.h>

#include "detection/DialogDetector.h"
#include "detection/elements/AXHelpers.h"
#include "support/DetectionWorld.h"

// Other programs may show anything. Whatever it is, a scan ends, within its limits, and takes nothing for a prompt that
// it could not read.
namespace quillard {
namespace {

using platform::AXError;
using platform::AXUIElement;
using platform::simulated::AXRequest;
using platform::simulated::NodeHandle;
using samples::DetectionWorld;
using samples::labels;
using samples::titles;
namespace ax = platform::ax;

using Lines = std::vector<std::string>;

class HostileDesktop : public testing::Test, protected DetectionWorld {
 protected:
  NodeHandle openDialog() {
    return desktop().open(application, {.title = "Erase?", .lines = {"Are you sure?"}, .buttons = {"Cancel", "Erase"}});
  }

  platform::simulated::ApplicationHandle application = world.desktop().launch({.name = "Hostile"});
};

TEST_F(HostileDesktop, ATreeThatBitesItsTailIsWalkedToTheLimit) {
  const auto dialog = openDialog();
  const auto group = desktop().addChild(dialog, {.role = "AXGroup"});
  desktop().setAttribute(group, ax::kChildren, std::vector{desktop().element(dialog), desktop().element(group)});
  desktop().resetRoundTrips();
  (void)scanTwice();
  EXPECT_LT(desktop().roundTrips(), 40U) << "each element once a scan, however often the walk meets it";
}

TEST_F(HostileDesktop, AWindowOfAHundredThousandElementsIsReadToTheLimit) {
  const auto dialog = desktop().addWindow(application, {.role = "AXWindow", .subrole = "AXDialog", .title = "Large"});
  const auto child =
      desktop().element(desktop().addChild(dialog, {.role = "AXButton", .title = "OK", .frame = Rect{0, 0, 9, 9}}));
  desktop().setAttribute(dialog, ax::kChildren, std::vector<AXUIElement>(100'000, child));
  desktop().resetRoundTrips();
  EXPECT_TRUE(scanTwice().empty()) << "eighty buttons are too many";
  EXPECT_LT(desktop().roundTrips(), 20U);
}

TEST_F(HostileDesktop, AnApplicationOfAHundredThousandWindowsDoesNotHoldUpTheScan) {
  openDialog();
  const auto other = desktop().launch({.name = "Flood"});
  std::vector<AXUIElement> windows;
  for (int i = 0; i < 1500; ++i) {
    windows.push_back(desktop().element(desktop().addWindow(other, {.role = "AXWindow", .title = std::to_string(i)})));
  }
  windows.resize(100'000, windows.front());
  desktop().setAttribute(other, ax::kWindows, windows);
  desktop().resetRoundTrips();
  EXPECT_EQ(titles(scanTwice()), Lines{"Erase?"});
  EXPECT_LE(desktop().roundTrips(other), 2U * 1003U);
}

TEST_F(HostileDesktop, DeepTreesAreWalkedToTheLimit) {
  const auto dialog = openDialog();
  auto deepest = dialog;
  for (int i = 0; i < 5000; ++i) deepest = desktop().addChild(deepest, {.role = "AXGroup"});
  desktop().addChild(deepest, {.role = "AXButton", .title = "Deep", .frame = Rect{0, 0, 9, 9}});
  desktop().focusElement(deepest);
  desktop().resetRoundTrips();
  (void)scanTwice();
  EXPECT_LT(desktop().roundTrips(), 2U * 120U);
}

TEST_F(HostileDesktop, ATitleOfAMegabyteReadsAsNone) {
  const auto dialog = openDialog();
  desktop().setAttribute(dialog, ax::kTitle, std::string(1024 * 1024, 'x'));
  const auto approvals = scanTwice();
  ASSERT_EQ(approvals.size(), 1U);
  EXPECT_EQ(approvals.front().windowTitle, "");
}

TEST_F(HostileDesktop, ALabelThatIsNoTextIsNoButton) {
  const auto dialog = openDialog();
  desktop().setAttribute(*desktop().findButton(dialog, "Erase"), ax::kTitle, std::string("Erase\xFF\xFE"));
  const auto approvals = scanTwice();
  ASSERT_EQ(approvals.size(), 1U);
  EXPECT_EQ(labels(approvals.front()), Lines{"Cancel"});
  desktop().setAttribute(*desktop().findButton(dialog, "Cancel"), ax::kTitle, std::string("\xC3\x28"));
  EXPECT_TRUE(scanTwice().empty());
}

TEST_F(HostileDesktop, ATextThatIsNoTextIsNoLine) {
  desktop().open(application, {.title = "Erase?", .lines = {"Are you \x80sure?"}, .buttons = {"Erase"}});
  const auto approvals = scanTwice();
  ASSERT_EQ(approvals.size(), 1U);
  EXPECT_TRUE(approvals.front().isFallbackDetection);
}

TEST_F(HostileDesktop, FramesThatAreNoPlaceAreNone) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double bad : {std::nan(""), infinity, -infinity, 1e300, -1e300}) {
    const auto dialog = openDialog();
    desktop().setAttribute(dialog, ax::kPosition, Point{bad, bad});
    const auto erase = *desktop().findButton(dialog, "Erase");
    desktop().setAttribute(erase, ax::kSize, Size{bad, 20});
    const auto approvals = scanTwice();
    ASSERT_EQ(approvals.size(), 1U) << bad;
    EXPECT_EQ(approvals.front().windowFrame, DialogFrame{}) << bad;
    EXPECT_EQ(labels(approvals.front()), Lines{"Cancel"}) << bad;
    desktop().close(dialog);
  }
}

TEST_F(HostileDesktop, TheSmallestIntegersAreAPlaceLikeAnother) {
  const auto dialog = openDialog();
  desktop().move(dialog, {-2147483648.0, -2147483648.0, 1, 1});
  EXPECT_EQ(scanTwice().size(), 1U);
}

TEST_F(HostileDesktop, AWindowWithoutAnyAttributesIsNoPrompt) {
  const auto dialog = openDialog();
  for (const auto name : {ax::kRole, ax::kSubrole, ax::kTitle, ax::kModal, ax::kChildren, ax::kPosition, ax::kSize}) {
    desktop().setAttributeError(dialog, name, AXError::attributeUnsupported);
  }
  EXPECT_TRUE(scanTwice().empty());
}

TEST_F(HostileDesktop, EveryAttributeMayBeOfAnotherKind) {
  const auto dialog = openDialog();
  const auto erase = *desktop().findButton(dialog, "Erase");
  const auto element = desktop().element(dialog);
  const std::vector<platform::AXValue> values{
      platform::AXForeignValue{}, std::int64_t{7}, std::nan(""), true,
      std::string("AXWindow"),    Rect{},          element,      std::vector{element}};
  for (const auto& node : {dialog, erase}) {
    for (const auto name : {ax::kRole, ax::kSubrole, ax::kTitle, ax::kDescription, ax::kValue, ax::kModal,
                            ax::kChildren, ax::kPosition, ax::kSize, ax::kParent}) {
      for (const auto& value : values) {
        desktop().setAttribute(node, name, value);
        for (const auto& approval : scanTwice()) EXPECT_FALSE(approval.buttons.empty());
        desktop().removeAttribute(node, name);
      }
    }
  }
  desktop().setAttribute(application, ax::kWindows, std::string("none"));
  desktop().setSystemWideAttribute(ax::kFocusedUIElement, std::int64_t{3});
  (void)scanTwice();
}

// A prompt that asks for a password, of an application that stops answering in mid-scan, at every request in turn: what
// has been read by then looks like a harmless prompt for a while.
TEST_F(HostileDesktop, APromptThatCouldBeReadInPartOnlyIsNotTaken) {
  desktop().open(application, {.title = "Allow?", .lines = {"Enter your password."}, .buttons = {"Cancel", "Allow"}});
  desktop().resetRoundTrips();
  const auto whole = scanTwice();
  ASSERT_EQ(whole.size(), 1U);
  ASSERT_TRUE(whole.front().requiresDirectAccess);
  const auto requestsPerScan = desktop().roundTrips() / 2;
  for (std::uint64_t hangAt = 0; hangAt < requestsPerScan; ++hangAt) {
    for (int scan = 0; scan < 2; ++scan) {
      std::uint64_t index = 0;
      desktop().setRequestHook([&](const AXRequest&) {
        if (index++ == hangAt) desktop().hang(application);
      });
      for (const auto& approval : detector.scan().approvals) EXPECT_EQ(approval.id, whole.front().id) << hangAt;
      desktop().setRequestHook({});
      desktop().unhang(application);
    }
    (void)detector.scan();
  }
}

// A binding that asks for each attribute by itself, so that an application can stop answering between any two of them.
class AttributeByAttribute : public platform::Accessibility {
 public:
  explicit AttributeByAttribute(platform::Accessibility& live) : live(live) {}

  class Scope final : public platform::AXReadScope {
   public:
    explicit Scope(platform::Accessibility& live) : live(live) {}
    platform::AXResult<platform::AXValue> copyAttributeValue(const AXUIElement& element,
                                                             platform::AXAttribute name) override {
      if (missedTimeout(element)) return AXError::cannotComplete;
      auto value = live.copyAttributeValue(element, name);
      if (value.error() == AXError::cannotComplete) missed.insert(live.processIdentifier(element));
      return value;
    }
    platform::AXResult<std::vector<std::string>> copyActionNames(const AXUIElement& element) override {
      return live.copyActionNames(element);
    }
    void prepareApplications(std::span<const AXUIElement>, int) override {}
    bool missedTimeout(const AXUIElement& element) const override {
      return missed.contains(live.processIdentifier(element));
    }
    std::optional<platform::DesktopReadFailure> desktopFailure() const override { return std::nullopt; }

   private:
    platform::Accessibility& live;
    std::set<std::optional<std::int32_t>> missed;
  };

  platform::ProcessTrust isProcessTrusted() override { return live.isProcessTrusted(); }
  platform::ProcessTrust lastKnownProcessTrust() override { return live.lastKnownProcessTrust(); }
  void refreshProcessTrust(std::function<void(platform::ProcessTrust)> onAnswer) override {
    live.refreshProcessTrust(std::move(onAnswer));
  }
  platform::SubscriptionHandle observeTrustChanges(std::function<void()> onChange) override {
    return live.observeTrustChanges(std::move(onChange));
  }
  AXUIElement createApplication(std::int32_t process) override { return live.createApplication(process); }
  AXUIElement createSystemWide() override { return live.createSystemWide(); }
  std::unique_ptr<platform::AXReadScope> beginReadScope() override { return std::make_unique<Scope>(live); }
  std::optional<std::int32_t> processIdentifier(const AXUIElement& element) override {
    return live.processIdentifier(element);
  }
  AXError setAttributeValue(const AXUIElement& element, platform::AXAttribute name,
                            const platform::AXValue& value) override {
    return live.setAttributeValue(element, name, value);
  }
  AXError performAction(const AXUIElement& element, platform::AXAction action) override {
    return live.performAction(element, action);
  }
  platform::AXResult<AXUIElement> copyElementAtPosition(const AXUIElement& within, Point point) override {
    return live.copyElementAtPosition(within, point);
  }
  platform::AXResult<platform::AXValue> copyAttributeValue(const AXUIElement& element,
                                                           platform::AXAttribute name) override {
    return live.copyAttributeValue(element, name);
  }
  platform::AXResult<std::vector<std::string>> copyActionNames(const AXUIElement& element) override {
    return live.copyActionNames(element);
  }

 private:
  platform::Accessibility& live;
};

// A binding whose scans are answered from a list that was right once.
class ScansFromMemory final : public AttributeByAttribute {
 public:
  using AttributeByAttribute::AttributeByAttribute;

  std::unique_ptr<platform::AXReadScope> beginScanScope() override {
    return std::make_unique<Memory>(beginReadScope(), known);
  }

 private:
  struct Answer {
    AXUIElement element;
    platform::AXAttribute name;
    platform::AXResult<platform::AXValue> value;
  };

  class Memory final : public platform::AXReadScope {
   public:
    Memory(std::unique_ptr<platform::AXReadScope> live, std::vector<Answer>& known)
        : live(std::move(live)), known(known) {}
    platform::AXResult<platform::AXValue> copyAttributeValue(const AXUIElement& element,
                                                             platform::AXAttribute name) override {
      for (const auto& answer : known) {
        if (answer.element == element && answer.name == name) return answer.value;
      }
      known.push_back({element, name, live->copyAttributeValue(element, name)});
      return known.back().value;
    }
    platform::AXResult<std::vector<std::string>> copyActionNames(const AXUIElement& element) override {
      return live->copyActionNames(element);
    }
    void prepareApplications(std::span<const AXUIElement>, int) override {}
    bool missedTimeout(const AXUIElement&) const override { return false; }
    std::optional<platform::DesktopReadFailure> desktopFailure() const override { return std::nullopt; }

   private:
    const std::unique_ptr<platform::AXReadScope> live;
    std::vector<Answer>& known;
  };

  std::vector<Answer> known;
};

TEST_F(HostileDesktop, AButtonIsLookedForAsItIsNowAndNotAsAScanMayStillListIt) {
  const auto dialog = desktop().addWindow(application, {.role = "AXWindow", .subrole = "AXDialog", .title = "Erase?"});
  desktop().addChild(dialog,
                     {.role = "AXStaticText", .value = std::string("Are you sure?"), .frame = Rect{10, 10, 200, 20}});
  desktop().addChild(dialog, {.role = "AXButton", .title = "Cancel", .frame = Rect{10, 40, 80, 20}});
  const auto erase = desktop().addChild(dialog, {.role = "AXButton", .title = "Erase", .frame = Rect{100, 40, 80, 20}});
  ScansFromMemory accessibility{world.accessibility()};
  DialogDetector scanner{kOwnProcess,
                         suppressionStore,
                         {accessibility, world.workspace(), world.windowList(), world.time(), world.environment(),
                          world.console(), stableIDs}};
  (void)scanner.scan();
  const auto listed = scanner.scan().approvals;
  ASSERT_EQ(labels(listed.front()), (std::vector<std::string>{"Erase", "Cancel"}));
  desktop().setAttribute(erase, ax::kTitle, std::string("Erase All"));
  ASSERT_EQ(scanner.scan().approvals.size(), 1U);
  EXPECT_EQ(labels(scanner.scan().approvals.front()), labels(listed.front())) << "The list has not noticed.";
  EXPECT_NE(scanner.resolve(listed.front(), "Erase").outcome, PromptResolution::Outcome::found);
  desktop().setAttribute(erase, ax::kTitle, std::string("Erase"));
  EXPECT_EQ(scanner.resolve(listed.front(), "Erase").outcome, PromptResolution::Outcome::found);
}

TEST_F(HostileDesktop, APromptThatCouldBeReadInPartOnlyIsNotTakenWhereEachAttributeIsARequestEither) {
  desktop().open(application, {.title = "Allow?", .lines = {"Enter your password."}, .buttons = {"Cancel", "Allow"}});
  AttributeByAttribute accessibility{world.accessibility()};
  DetectorDependencies unbatched{accessibility,       world.workspace(), world.windowList(), world.time(),
                                 world.environment(), world.console(),   stableIDs};
  DialogDetector careful{kOwnProcess, suppressionStore, unbatched};
  (void)careful.scan();
  desktop().resetRoundTrips();
  const auto whole = careful.scan().approvals;
  ASSERT_EQ(whole.size(), 1U);
  const auto requestsPerScan = desktop().roundTrips();
  EXPECT_GT(requestsPerScan, 20U);
  for (std::uint64_t hangAt = 0; hangAt < requestsPerScan; ++hangAt) {
    for (int scan = 0; scan < 2; ++scan) {
      std::uint64_t index = 0;
      desktop().setRequestHook([&](const AXRequest&) {
        if (index++ == hangAt) desktop().hang(application);
      });
      for (const auto& approval : careful.scan().approvals) EXPECT_EQ(approval.id, whole.front().id) << hangAt;
      desktop().setRequestHook({});
      desktop().unhang(application);
    }
    (void)careful.scan();
  }
}

TEST_F(HostileDesktop, AWindowThatClosesInMidScanIsNotTakenTwice) {
  openDialog();
  (void)scanTwice();
  desktop().resetRoundTrips();
  (void)detector.scan();
  const auto requests = desktop().roundTrips();
  for (std::uint64_t closeAt = 0; closeAt < requests; ++closeAt) {
    const auto dialog = desktop().windows(application).front();
    std::uint64_t index = 0;
    desktop().setRequestHook([&](const AXRequest&) {
      if (index++ == closeAt) desktop().close(dialog);
    });
    (void)detector.scan();
    desktop().setRequestHook({});
    EXPECT_TRUE(detector.scan().approvals.empty()) << closeAt;
    openDialog();
    (void)scanTwice();
  }
}

TEST_F(HostileDesktop, AnApplicationThatDiesInMidScanIsForgotten) {
  openDialog();
  (void)scanTwice();
  int requests = 0;
  desktop().setRequestHook([&](const AXRequest&) {
    if (++requests == 3) desktop().terminate(application);
  });
  (void)detector.scan();
  EXPECT_TRUE(scanTwice().empty());
}

}  // namespace
}  // namespace quillard
