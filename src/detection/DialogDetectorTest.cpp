#include <map>
#include <string>

#include <gtest/gtest.h>

#include "detection/DialogDetector.h"
#include "detection/DirectAccess.h"
#include "support/DetectionWorld.h"

namespace quillard {
namespace {

using platform::DesktopReadFailure;
using platform::simulated::DialogSpec;
using platform::simulated::NodeHandle;
using samples::DetectionWorld;
using samples::labels;
using samples::titles;

using Lines = std::vector<std::string>;

class DialogDetectorTest : public testing::Test, protected DetectionWorld {
 protected:
  PendingApproval onlyPrompt() {
    const auto approvals = scanTwice();
    EXPECT_EQ(approvals.size(), 1U);
    return approvals.empty() ? PendingApproval{} : approvals.front();
  }
};

DialogSpec eraseDialog() {
  return {.title = "Erase disk?", .lines = {"Are you sure?"}, .buttons = {"Cancel", "Erase"}};
}

// ---- Which prompts a scan returns

TEST_F(DialogDetectorTest, ReturnsAPromptFromTheSecondConsecutiveScanOn) {
  desktop().open(eraseDialog());
  EXPECT_TRUE(detector.scan().approvals.empty());
  EXPECT_EQ(titles(detector.scan().approvals), Lines{"Erase disk?"});
  EXPECT_EQ(titles(detector.scan().approvals), Lines{"Erase disk?"});
}

TEST_F(DialogDetectorTest, ReturnsNothingWithoutPermissionAndSendsNoRequest) {
  desktop().open(eraseDialog());
  (void)scanTwice();
  desktop().setTrusted(false);
  desktop().resetRoundTrips();
  EXPECT_TRUE(detector.scan().approvals.empty());
  EXPECT_EQ(desktop().roundTrips(), 0U);
}

TEST_F(DialogDetectorTest, NeverLooksAtItsOwnWindowsEvenFocusedOnes) {
  const auto own = desktop().launch({.name = "Quillard", .active = true, .processIdentifier = kOwnProcess});
  const auto window = desktop().open(own, eraseDialog());
  desktop().focusElement(*desktop().findButton(window, "Erase"));
  EXPECT_TRUE(scanTwice().empty());
}

TEST_F(DialogDetectorTest, ReturnsAWindowOnceThoughItIsListedMainAndFocused) {
  const auto window = desktop().open(eraseDialog());
  desktop().focusElement(*desktop().findButton(window, "Erase"));
  EXPECT_EQ(scanTwice().size(), 1U);
}

TEST_F(DialogDetectorTest, FindsTheFocusedWindowOfAnApplicationThatListsNone) {
  const auto application = desktop().launch({.name = "Shy"});
  const auto window = desktop().open(application, eraseDialog());
  desktop().focusWindow(window);
  desktop().setAttribute(application, "AXWindows", std::vector<platform::AXUIElement>{});
  desktop().removeAttribute(application, "AXMainWindow");
  desktop().setAttributeError(application, "AXMainWindow", platform::AXError::noValue);
  desktop().setAttributeError(application, "AXFocusedWindow", platform::AXError::noValue);
  EXPECT_EQ(onlyPrompt().appName, "Shy");
}

TEST_F(DialogDetectorTest, FindsTheWindowThatHoldsTheFocusedElement) {
  const auto application = desktop().launch({.name = "Shy"});
  const auto window = desktop().open(application, eraseDialog());
  desktop().focusElement(*desktop().findButton(window, "Erase"));
  for (const auto* name : {"AXWindows", "AXMainWindow", "AXFocusedWindow"}) {
    desktop().setAttributeError(application, name, platform::AXError::noValue);
  }
  desktop().setSystemWideAttributeError("AXFocusedWindow", platform::AXError::noValue);
  EXPECT_EQ(onlyPrompt().windowTitle, "Erase disk?");
}

TEST_F(DialogDetectorTest, LooksForTheWindowOfTheFocusedElementAmongTwentyElements) {
  for (const int depth : {19, 20}) {
    const auto application = desktop().launch({.name = "Shy"});
    const auto window = desktop().open(application, eraseDialog());
    auto deepest = window;
    for (int i = 0; i < depth; ++i) deepest = desktop().addChild(deepest, {.role = "AXGroup"});
    desktop().focusElement(deepest);
    for (const auto* name : {"AXWindows", "AXMainWindow", "AXFocusedWindow"}) {
      desktop().setAttributeError(application, name, platform::AXError::noValue);
    }
    desktop().setSystemWideAttributeError("AXFocusedWindow", platform::AXError::noValue);
    EXPECT_EQ(scanTwice().size(), depth == 19 ? 1U : 0U) << depth;
    desktop().terminate(application);
  }
}

TEST_F(DialogDetectorTest, MakesTheRecordOfEightyDescendants) {
  platform::simulated::ElementSpec window{.role = "AXWindow", .subrole = "AXDialog", .title = "Erase?"};
  for (const auto* label : {"Beyond", "Erase"}) {
    window.children.push_back({.role = "AXButton", .title = label, .frame = Rect{0, 0, 9, 9}});
  }
  for (int i = 0; i < 79; ++i) window.children.push_back({.role = "AXGroup"});
  desktop().addWindow(desktop().launch({.name = "App"}), window);
  EXPECT_EQ(labels(onlyPrompt()), Lines{"Erase"});
}

TEST_F(DialogDetectorTest, FindsMainAndFocusedWindowsThatAreNotListed) {
  for (const auto* remaining : {"AXMainWindow", "AXFocusedWindow"}) {
    const auto application = desktop().launch({.name = remaining});
    desktop().open(application, {.title = remaining, .lines = {"Are you sure?"}, .buttons = {"OK"}});
    for (const auto* name : {"AXWindows", "AXMainWindow", "AXFocusedWindow"}) {
      if (std::string(name) != remaining) {
        desktop().setAttributeError(application, name, platform::AXError::noValue);
      }
    }
  }
  EXPECT_EQ(titles(scanTwice()), (Lines{"AXFocusedWindow", "AXMainWindow"})) << "the one in front first";
}

TEST_F(DialogDetectorTest, TakesIdenticalPromptsAtTwoPlacesForTwo) {
  const auto application = desktop().launch({.name = "App"});
  for (const double x : {100.0, 300.0}) {
    auto spec = eraseDialog();
    spec.frame = Rect{x, 100, 300, 200};
    desktop().open(application, spec);
  }
  EXPECT_EQ(scanTwice().size(), 2U);
}

TEST_F(DialogDetectorTest, TakesTwoWindowsOfOneSignatureForOne) {
  const auto application = desktop().launch({.name = "App"});
  for (const auto* line : {"Are you sure?", "Are you really sure?"}) {
    auto spec = eraseDialog();
    spec.lines = {line};
    spec.frame = Rect{100.9, 100, 300, 200};
    desktop().open(application, spec);
  }
  const auto prompts = scanTwice();
  ASSERT_EQ(prompts.size(), 1U);
  EXPECT_EQ(prompts.front().messageLines, std::vector<std::string>{"Are you sure?"});
}

TEST_F(DialogDetectorTest, KnowsTwinsThatLieOnTopOfEachOther) {
  const auto application = desktop().launch({.name = "App"});
  auto spec = eraseDialog();
  spec.frame = Rect{100, 100, 300, 200};
  for (int i = 0; i < 2; ++i) desktop().open(application, spec);
  (void)detector.scan();
  const auto outcome = detector.scan();
  ASSERT_EQ(outcome.approvals.size(), 1U);
  ASSERT_EQ(outcome.twins.size(), 1U);
  EXPECT_NE(outcome.twins.front().window, outcome.approvals.front().window);
}

TEST_F(DialogDetectorTest, TakesEqualPromptsOfTwoProcessesOfOneApplicationForOne) {
  for (int i = 0; i < 2; ++i) {
    auto spec = eraseDialog();
    spec.frame = Rect{100, 100, 300, 200};
    desktop().open(desktop().launch({.name = "App", .bundleIdentifier = "com.example.app"}), spec);
  }
  (void)detector.scan();
  const auto outcome = detector.scan();
  EXPECT_EQ(outcome.approvals.size(), 1U) << "they have one fingerprint";
  ASSERT_EQ(outcome.twins.size(), 1U);
  EXPECT_EQ(outcome.twins.front().id, outcome.approvals.front().id);
  EXPECT_NE(outcome.twins.front().window, outcome.approvals.front().window);
}

TEST_F(DialogDetectorTest, LeavesSuppressedPromptsOut) {
  desktop().open(eraseDialog());
  const auto prompt = onlyPrompt();
  suppressionStore.suppress(prompt.suppressionID);
  EXPECT_TRUE(scanTwice().empty());
  suppressionStore.unsuppress(prompt.suppressionID);
  EXPECT_TRUE(detector.scan().approvals.empty()) << "it starts again at the gate";
  EXPECT_EQ(detector.scan().approvals.size(), 1U);
}

TEST_F(DialogDetectorTest, LeavesOutApplicationsThatHaveEnded) {
  const auto application = desktop().launch({.name = "App"});
  desktop().open(application, eraseDialog());
  desktop().terminateButKeepListed(application);
  EXPECT_TRUE(scanTwice().empty());
}

TEST_F(DialogDetectorTest, ReturnsPromptsInTheOrderOfTheScan) {
  const auto behind = desktop().launch({.name = "Behind"});
  const auto inFront = desktop().launch({.name = "In front"});
  desktop().open(behind, {.title = "1", .lines = {"Are you sure?"}, .buttons = {"OK"}});
  desktop().open(inFront, {.title = "2", .lines = {"Are you sure?"}, .buttons = {"OK"}});
  desktop().activate(inFront);
  EXPECT_EQ(titles(scanTwice()), (Lines{"2", "1"}));
}

// ---- What a prompt's record says

TEST_F(DialogDetectorTest, FillsEveryFieldOfTheRecord) {
  const auto application = desktop().launch({.name = "Disk Tool", .bundleIdentifier = "com.example.disktool"});
  desktop().open(application, {.title = "Erase disk?",
                               .lines = {"Everything on it is lost.", "Are you sure?"},
                               .buttons = {"OK", "Cancel"},
                               .frame = Rect{10.5, 20, 400, 180}});
  const auto prompt = onlyPrompt();
  EXPECT_EQ(prompt.suppressionID, prompt.id);
  EXPECT_EQ(prompt.detectedAt, world.time().now());
  EXPECT_EQ(prompt.readAt, world.time().continuousTime());
  EXPECT_EQ(prompt.appName, "Disk Tool");
  EXPECT_EQ(prompt.bundleIdentifier, "com.example.disktool");
  EXPECT_EQ(prompt.processIdentifier, application.processIdentifier);
  EXPECT_EQ(prompt.windowTitle, "Erase disk?");
  EXPECT_EQ(prompt.windowRole, "AXWindow/AXDialog");
  EXPECT_EQ(prompt.windowFrame, (DialogFrame{10.5, 20, 400, 180}));
  EXPECT_EQ(prompt.messageLines, (Lines{"Everything on it is lost.", "Are you sure?"}));
  EXPECT_EQ(prompt.reason, "Everything on it is lost.\nAre you sure?");
  EXPECT_EQ(labels(prompt), (Lines{"Cancel", "OK"})) << "in the walk's order: the last child first";
  EXPECT_EQ(prompt.recommendedButtonLabel, "OK");
  EXPECT_FALSE(prompt.requiresDirectAccess);
  EXPECT_EQ(prompt.directAccessReason, std::nullopt);
  EXPECT_FALSE(prompt.isFallbackDetection);
}

TEST_F(DialogDetectorTest, NamesTheRoleAloneWhereThereIsNoSubrole) {
  desktop().open({.title = "T", .buttons = {"OK"}, .role = "AXSheet", .subrole = ""});
  EXPECT_EQ(onlyPrompt().windowRole, "AXSheet");
}

TEST_F(DialogDetectorTest, SaysUnknownAppWhereTheSystemKnowsNoName) {
  for (const auto& name :
       {std::optional<std::string>{}, std::optional<std::string>{""}, std::optional<std::string>{"broken\xFF"}}) {
    const auto application = desktop().launch({.name = name});
    desktop().open(application, eraseDialog());
    EXPECT_EQ(onlyPrompt().appName, "Unknown app");
    EXPECT_EQ(onlyPrompt().bundleIdentifier, std::nullopt);
    desktop().terminate(application);
  }
}

TEST_F(DialogDetectorTest, WritesALineOfItsOwnForAPromptWithoutText) {
  desktop().open({.title = "T", .buttons = {"Deny", "Allow"}});
  const auto prompt = onlyPrompt();
  EXPECT_EQ(prompt.messageLines, Lines{"Blocking T with buttons: Allow, Deny"});
  EXPECT_EQ(prompt.reason, "Blocking T with buttons: Allow, Deny");
  EXPECT_TRUE(prompt.isFallbackDetection);
}

TEST_F(DialogDetectorTest, NamesTheApplicationInThatLineWhereThereIsNoTitle) {
  desktop().open({.title = "", .buttons = {"OK"}});
  EXPECT_EQ(onlyPrompt().messageLines, Lines{"Blocking Example with buttons: OK"});
}

TEST_F(DialogDetectorTest, MarksPromptsThatAskForASecretByTheirWords) {
  desktop().open({.title = "Login", .lines = {"Enter your password."}, .buttons = {"OK"}});
  const auto prompt = onlyPrompt();
  EXPECT_TRUE(prompt.requiresDirectAccess);
  EXPECT_EQ(prompt.directAccessReason->substr(0, 52), "This dialog asks for a password or keychain access. ");
}

TEST_F(DialogDetectorTest, MarksPromptsThatAskForASecretByTheirFieldsInAnyLanguage) {
  desktop().open({.title = "Anmelden",
                  .lines = {"Bitte Kennwort eingeben."},
                  .buttons = {"OK"},
                  .extra = {{.role = "AXTextField", .subrole = "AXSecureTextField", .description = "Kennwort"}}});
  const auto prompt = onlyPrompt();
  EXPECT_TRUE(prompt.requiresDirectAccess);
  EXPECT_EQ(prompt.messageLines, (Lines{"Kennwort", "Bitte Kennwort eingeben."}));
}

TEST_F(DialogDetectorTest, MarksPromptsThatWouldChangeSettings) {
  desktop().open(
      {.title = "Screen Recording", .lines = {"Grant access."}, .buttons = {"Deny", "Open System Settings"}});
  const auto prompt = onlyPrompt();
  EXPECT_TRUE(prompt.requiresDirectAccess);
  EXPECT_EQ(prompt.directAccessReason->substr(0, 49), "Approving this requires changing macOS settings. ");
  EXPECT_EQ(prompt.recommendedButtonLabel, "Open System Settings");
}

// ---- The fingerprint

TEST_F(DialogDetectorTest, GivesOnePromptOneFingerprintFromScanToScanAndForEveryDetectorOfTheProcess) {
  desktop().open(eraseDialog());
  const auto prompt = onlyPrompt();
  world.advance(Seconds{100});
  EXPECT_EQ(onlyPrompt().id, prompt.id);
  DialogDetector another{kOwnProcess, suppressionStore, dependencies};
  (void)another.scan();
  EXPECT_EQ(another.scan().approvals.front().id, prompt.id);
}

TEST_F(DialogDetectorTest, TellsPromptsApartByEachPartOfTheirIdentity) {
  const auto fingerprint = [&](const DialogSpec& spec, const char* bundle = "com.example.app") {
    const auto application = desktop().launch({.name = "App", .bundleIdentifier = bundle});
    desktop().open(application, spec);
    const auto id = onlyPrompt().id;
    desktop().terminate(application);
    return id;
  };
  auto spec = eraseDialog();
  spec.frame = Rect{100, 100, 300, 200};
  const auto id = fingerprint(spec);
  EXPECT_EQ(fingerprint(spec), id) << "the process does not count";
  EXPECT_NE(fingerprint(spec, "com.example.other"), id);
  auto other = spec;
  other.title = "Erase disk";
  EXPECT_NE(fingerprint(other), id);
  other = spec;
  other.frame->y += 1;
  EXPECT_NE(fingerprint(other), id);
  other = spec;
  other.frame->y += 0.5;
  EXPECT_EQ(fingerprint(other), id) << "fractions of a point do not count";
  other = spec;
  other.buttons = {"Erase", "Cancel"};
  EXPECT_NE(fingerprint(other), id);
  other = spec;
  other.lines = {"Are you sure"};
  EXPECT_NE(fingerprint(other), id);
}

// ---- Cost

TEST_F(DialogDetectorTest, AsksEachElementOnceAScan) {
  const auto application = desktop().launch({.name = "App"});
  const auto window = desktop().open(application, eraseDialog());
  desktop().focusElement(*desktop().findButton(window, "Erase"));
  desktop().resetRoundTrips();
  (void)detector.scan();
  // The application, the window, its text, its two buttons, and the system-wide element.
  EXPECT_EQ(desktop().roundTrips(), 6U);
}

TEST_F(DialogDetectorTest, AHungApplicationCostsOneWaitAndTheOthersAreScanned) {
  const auto hung = desktop().launch({.name = "Hung"});
  desktop().open(hung, {.title = "Hung", .lines = {"Are you sure?"}, .buttons = {"OK"}});
  desktop().open(eraseDialog());
  desktop().hang(hung);
  const auto before = world.time().monotonicNow();
  (void)detector.scan();
  EXPECT_EQ(world.time().monotonicNow() - before, std::chrono::milliseconds(200));
  EXPECT_EQ(titles(detector.scan().approvals), Lines{"Erase disk?"});
}

// ---- What a diagnosis tells

TEST_F(DialogDetectorTest, DiagnosesEveryWindowAtTheFirstReadAndConfirmsNothing) {
  desktop().open(eraseDialog());
  desktop().open({.title = "Untitled", .lines = {"Text"}, .modal = false});
  const auto windows = detector.diagnose().windows;
  std::map<std::string, bool> verdicts;
  for (const auto& window : windows) {
    ASSERT_TRUE(window.snapshot.has_value());
    EXPECT_EQ(window.appName, "Example");
    verdicts[window.snapshot->title] = window.snapshot->accepted;
  }
  EXPECT_EQ(verdicts, (std::map<std::string, bool>{{"Erase disk?", true}, {"Untitled", false}}));
  EXPECT_TRUE(detector.scan().approvals.empty());
}

TEST_F(DialogDetectorTest, DiagnosesThatAnApplicationDidNotAnswer) {
  const auto hung = desktop().launch({.name = "Hung"});
  const auto button = desktop().findButton(desktop().open(hung, eraseDialog()), "Erase");
  desktop().setRequestHook([&](const platform::simulated::AXRequest& request) {
    if (request.node == button) desktop().hang(hung);
  });
  const auto windows = detector.diagnose().windows;
  ASSERT_FALSE(windows.empty());
  EXPECT_EQ(windows.front().appName, "Hung");
  EXPECT_FALSE(windows.front().snapshot.has_value());
}

TEST_F(DialogDetectorTest, DiagnosesNothingWithoutPermission) {
  desktop().open(eraseDialog());
  desktop().setTrusted(false);
  EXPECT_EQ(detector.diagnose().failure, platform::DesktopReadFailure::notPermitted);
}

// ---- What a scan could not read

TEST_F(DialogDetectorTest, NamesAProcessThatAnswersWithAnErrorInsteadOfItsWindows) {
  const auto refusing = desktop().launch({.name = "Refusing"});
  desktop().open(refusing, eraseDialog());
  for (const auto error : {platform::AXError::cannotComplete, platform::AXError::failure}) {
    desktop().setAttributeError(refusing, platform::ax::kWindows, error);
    EXPECT_EQ(detector.scan().unreadProcesses, std::vector{refusing.processIdentifier});
  }
}

TEST_F(DialogDetectorTest, TakesAProcessThatSaysThatItHasNoWindowsAsRead) {
  const auto empty = desktop().launch({.name = "Empty"});
  for (const auto error : {platform::AXError::noValue, platform::AXError::attributeUnsupported,
                           platform::AXError::notImplemented, platform::AXError::invalidUIElement}) {
    desktop().setAttributeError(empty, platform::ax::kWindows, error);
    EXPECT_TRUE(detector.scan().isWhole());
  }
}

TEST_F(DialogDetectorTest, NamesTheProcessesThatItCouldNotRead) {
  const auto well = desktop().launch({.name = "Well"});
  const auto silent = desktop().launch({.name = "Silent"});
  desktop().open(well, eraseDialog());
  desktop().open(silent, eraseDialog());
  EXPECT_TRUE(detector.scan().isWhole());
  desktop().hang(silent);
  const auto outcome = detector.scan();
  EXPECT_EQ(outcome.unreadProcesses, std::vector{silent.processIdentifier});
  EXPECT_EQ(outcome.failure, std::nullopt);
  EXPECT_EQ(outcome.approvals.size(), 1U) << "the other one is read all the same";
  desktop().terminate(silent);
  EXPECT_TRUE(detector.scan().isWhole()) << "what has ended is gone";
}

TEST_F(DialogDetectorTest, SaysThatItCouldNotSeeTheDesktop) {
  desktop().open(eraseDialog());
  ASSERT_EQ(scanTwice().size(), 1U);
  for (const auto failure : {DesktopReadFailure::accessibilityService, DesktopReadFailure::applicationList,
                             DesktopReadFailure::windowServer}) {
    desktop().setDesktopFailure(failure);
    const auto outcome = detector.scan();
    EXPECT_EQ(outcome.failure, failure);
    EXPECT_TRUE(outcome.approvals.empty());
    EXPECT_EQ(detector.diagnose().failure, failure);
    desktop().setDesktopFailure(std::nullopt);
    EXPECT_EQ(detector.scan().approvals.size(), 1U) << "it need not be met twice again";
  }
  desktop().setTrusted(false);
  EXPECT_EQ(detector.scan().failure, DesktopReadFailure::notPermitted);
}

TEST_F(DialogDetectorTest, ReadsWhatItCanWithoutAnAnswerAboutThePermission) {
  desktop().open(eraseDialog());
  desktop().setTrustSilent(true);
  EXPECT_EQ(scanTwice().size(), 1U);
}

TEST_F(DialogDetectorTest, APromptWhoseProcessWasSilentForAScanNeedsNoThirdOne) {
  const auto application = desktop().launch({.name = "App"});
  desktop().open(application, eraseDialog());
  (void)detector.scan();
  desktop().hang(application);
  EXPECT_TRUE(detector.scan().approvals.empty());
  desktop().unhang(application);
  EXPECT_EQ(detector.scan().approvals.size(), 1U);
}

TEST_F(DialogDetectorTest, EveryRecordHasItsWindow) {
  const auto dialog = desktop().open(eraseDialog());
  EXPECT_EQ(onlyPrompt().window, desktop().element(dialog));
}

TEST_F(DialogDetectorTest, AMutedPromptIsThereAllTheSame) {
  const auto dialog = desktop().open(eraseDialog());
  const auto prompt = onlyPrompt();
  suppressionStore.suppress(prompt.suppressionID);
  EXPECT_TRUE(scanTwice().empty());
  EXPECT_TRUE(detector.presenceOf(prompt).isThere());
  EXPECT_TRUE(detector.resolveCurrentButton(prompt, prompt.buttons.at(0).label).has_value());
  desktop().close(dialog);
  EXPECT_TRUE(detector.presenceOf(prompt).isGone());
}

TEST_F(DialogDetectorTest, AskingForASecretBeyondWhatIsShownRequiresDirectAccess) {
  auto spec = eraseDialog();
  const auto window = desktop().open(spec);
  auto order = desktop().children(window);
  std::vector<NodeHandle> front;
  front.push_back(desktop().addChild(window, {.role = "AXStaticText", .value = std::string("Enter your password.")}));
  for (int i = 0; i < 90; ++i) front.push_back(desktop().addChild(window, {.role = "AXGroup"}));
  front.insert(front.end(), order.begin(), order.end());
  desktop().reorderChildren(window, front);
  const auto prompt = onlyPrompt();
  EXPECT_EQ(prompt.directAccessReason, secretRequiredReason());
  EXPECT_EQ(prompt.messageLines, spec.lines);
}

}  // namespace
}  // namespace quillard
