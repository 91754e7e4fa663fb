// The whole agent over the binding's own sources and fakes that answer as the system does: late, busy, without
// names, and with errors for what they have done.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "macos/fakes/MacSystem.h"
#include "platform/macos/MacAccessibility.h"
#include "platform/macos/MacDesktopCapabilities.h"
#include "platform/macos/MacSyntheticEvents.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/MacWindowList.h"
#include "platform/macos/objc/MacUserNotifications.h"
#include "platform/macos/objc/MacWorkspace.h"
#include "support/AgentWorld.h"

namespace quillard::test {
namespace {

using platform::simulated::NodeHandle;
using platform::simulated::PressEffect;
using samples::AgentWorld;
using samples::erasePrompt;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// Every object that the agent's calls were given is released in the end.
struct Balance {
  Balance() = default;
  Balance(const Balance&) = delete;
  Balance& operator=(const Balance&) = delete;
  ~Balance() { EXPECT_EQ(fakes::liveObjects(), 0) << "objects that were not released"; }
};

// Its secrets, its windows and its network are the simulated world's.
class MacAgent : Balance, public AgentWorld {
 public:
  MacAgent() { system.loop = &world.time().mainThread(); }
  ~MacAgent() { destroyAgent(); }
  MacAgent(const MacAgent&) = delete;
  MacAgent& operator=(const MacAgent&) = delete;

  void start() {
    world.time().runOnMainThread([&] { agent = std::make_shared<AppDelegate>(platform(), world.statusWindowViews()); });
    launchAndPair();
  }
  NodeHandle show(const platform::simulated::DialogSpec& spec) {
    const auto dialog = desktop().open(spec);
    advance(5);
    EXPECT_THAT(phone.shownTitles(), Contains(spec.title));
    return dialog;
  }
  // What the phone is answered, a minute later at the latest.
  std::vector<std::string> answersTo(const std::string& label) {
    const auto decision = phone.decide(phone.shown().at(0).id, label);
    advance(60);
    return phone.answers(decision.value());
  }

 private:
  platform::Platform platform() {
    const auto simulated = world.platform();
    return {.accessibility = accessibility,
            .application = simulated.application,
            .auditFile = simulated.auditFile,
            .bundle = simulated.bundle,
            .calendar = simulated.calendar,
            .capabilities = capabilities,
            .clock = simulated.clock,
            .console = simulated.console,
            .environment = simulated.environment,
            .executors = simulated.executors,
            .httpSessions = simulated.httpSessions,
            .localSockets = simulated.localSockets,
            .lockFiles = simulated.lockFiles,
            .loginService = simulated.loginService,
            .random = simulated.random,
            .secretStore = simulated.secretStore,
            .statusBar = simulated.statusBar,
            .syntheticEvents = macEvents,
            .translations = simulated.translations,
            .updateService = simulated.updateService,
            .userDefaults = userDefaults,
            .userNotifications = notifications,
            .webSockets = simulated.webSockets,
            .windowList = windowList,
            .workspace = workspace};
  }

  platform::simulated::SimulatedSyntheticEvents events{desktop(), world.time()};

 public:
  fakes::MacSystem system{desktop(), events};

 private:
  macos::MacWorkspace workspace{world.time().mainThread()};
  macos::MacAccessibility accessibility{macos::AXCalls{},
                                        [this]() -> std::optional<std::int32_t> {
                                          const auto front = workspace.frontmostApplication();
                                          if (!front) return std::nullopt;
                                          return front->processIdentifier;
                                        },
                                        world.time()};
  macos::MacWindowList windowList{workspace};
  macos::MacSyntheticEvents macEvents;
  macos::MacDesktopCapabilities capabilities;
  macos::MacUserDefaults userDefaults;
  macos::MacUserNotifications notifications{world.time().mainThread(), world.bundle()};
};

TEST(MacAgent, ShowsAPromptToThePhoneAndPressesWhatItChose) {
  MacAgent agent;
  agent.start();
  const auto dialog = agent.show(erasePrompt());
  EXPECT_EQ(agent.system.appKit.notes.size(), 1U);
  EXPECT_THAT(agent.answersTo("Cancel"), ElementsAre("accepted"));
  EXPECT_EQ(agent.desktop().pressed(dialog), "Cancel");
  EXPECT_THAT(agent.phone.shown(), IsEmpty());
  agent.quit();
}

TEST(MacAgent, TakesADialogThatWentForPressedWhateverItAnswered) {
  for (const ::AXError answer : {kAXErrorCannotComplete, kAXErrorAttributeUnsupported, kAXErrorActionUnsupported,
                                 kAXErrorInvalidUIElement, kAXErrorFailure}) {
    MacAgent agent;
    agent.start();
    const auto dialog = agent.show(erasePrompt());
    agent.system.odd.answerAfterActing = answer;
    EXPECT_THAT(agent.answersTo("Cancel"), ElementsAre("accepted")) << answer;
    EXPECT_EQ(agent.desktop().pressed(dialog), "Cancel");
    EXPECT_EQ(agent.desktop().presses().size(), 1U) << answer;
  }
}

TEST(MacAgent, AnApplicationThatIsBusyForSecondsAfterThePressIsPressedOnce) {
  MacAgent agent;
  agent.start();
  agent.show(erasePrompt());
  agent.system.odd.busyAfterActing = Seconds{3};
  EXPECT_THAT(agent.answersTo("Cancel"), ElementsAre("accepted"));
  EXPECT_EQ(agent.desktop().presses().size(), 1U);
}

TEST(MacAgent, AnApplicationThatStaysBusyIsPressedOnceToo) {
  MacAgent agent;
  agent.start();
  auto spec = erasePrompt();
  spec.effect = PressEffect::doesNothing();  // Its window stays, and nothing can be read of it.
  agent.show(spec);
  agent.system.odd.busyAfterActing = Seconds{50};
  EXPECT_THAT(agent.answersTo("Cancel"),
              ElementsAre("failed: The button was pressed, but the program has stopped answering."));
  EXPECT_EQ(agent.desktop().presses().size(), 1U);
}

TEST(MacAgent, NoticesThatComeLateDelayAPromptAndLoseNone) {
  MacAgent agent;
  agent.system.appKit.noticeDelay = Seconds{1.5};
  agent.start();
  agent.show(erasePrompt());
}

TEST(MacAgent, PressesAlsoWhereTheSystemBringsNothingToTheFront) {
  MacAgent agent;
  agent.start();
  const auto other = agent.desktop().launch();
  agent.desktop().activate(other);
  const auto dialog = agent.show(erasePrompt());
  agent.system.appKit.ignoresActivation = true;
  EXPECT_THAT(agent.answersTo("Cancel"), ElementsAre("accepted"));
  EXPECT_EQ(agent.desktop().pressed(dialog), "Cancel");
}

TEST(MacAgent, WorksWhileItHasTheKeyboardItself) {
  MacAgent agent;
  agent.start();
  agent.system.hasFocus = true;
  agent.show(erasePrompt());
  EXPECT_THAT(agent.answersTo("Cancel"), ElementsAre("accepted"));
}

TEST(MacAgent, WorksWhereWhoIsInFrontIsKnownLate) {
  MacAgent agent;
  agent.start();
  const auto gone = agent.desktop().launch({.processIdentifier = 4242});
  agent.desktop().terminate(gone);
  agent.system.appKit.staleFrontmost = 4242;
  agent.system.focusedApplicationError = kAXErrorCannotComplete;
  agent.show(erasePrompt());
  EXPECT_THAT(agent.answersTo("Cancel"), ElementsAre("accepted"));
}

}  // namespace
}  // namespace quillard::test
