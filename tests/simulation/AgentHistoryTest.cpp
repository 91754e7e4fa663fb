#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "click/semantics/DialogButtonSemantics.h"
#include "support/AgentWorld.h"

// Random lives of the whole agent in virtual time, and what must hold in each of them. To replay one, give its seed to
// the test that failed: the seed is all that a life is made of.
namespace quillard {
namespace {

using platform::simulated::DialogSpec;
using platform::simulated::NodeHandle;
using platform::simulated::PressEffect;
using samples::AgentWorld;

constexpr int kSteps = 40;
constexpr const char* kPasswordLine = "Enter your password.";

class AgentLife {
 public:
  explicit AgentLife(std::uint64_t seed) : agent(seed), generator(seed) { agent.launchAndPair(); }

  void live() {
    for (int i = 0; i < kSteps; ++i) {
      step();
      agent.advance(chance(4) ? number(0, 20) : number(0, 100) / 50.0);
    }
    settle();
    expectOneAnswerForEachDecision();
    expectTheOutcomeFromMemory();
    expectOnlyDecidedPresses();
    expectOneTruthEverywhere();
    expectOnlyHarmlessLines();
    for (const auto& result : agent.phone.results()) ++answersByStatus[result.command.status];
    agent.quit();
    EXPECT_EQ(agent.world.time().nextDue(), std::nullopt);
  }

  // How often the phone was answered what, in the last pairing.
  [[nodiscard]] const std::map<std::string, int>& answers() const { return answersByStatus; }

 private:
  struct Prompt {
    NodeHandle window;
    std::string title;
    bool needsPassword = false;
  };
  struct Decision {
    std::string identifier;
    std::string title;
    std::string label;
    int connection = 0;  // The number of the connection that it came through.
    int deliveries = 1;  // How often it came through that one.
  };

  int number(int lowest, int highest) { return std::uniform_int_distribution<int>(lowest, highest)(generator); }
  bool chance(int outOf) { return number(1, outOf) == 1; }

  void step() {
    switch (number(0, 15)) {
      case 0:
      case 1:
      case 2:
      case 3:
        return openPrompt();
      case 4:
        return closePrompt();
      case 5:
      case 6:
      case 7:
      case 8:
        return decide();
      case 9:
        return decideAgain();
      case 10:
        return pauseOrResume();
      case 11:
        return agent.desktop().setTrusted(isTrusted = !isTrusted, chance(2));
      case 12:
        return loseConnection();
      case 13:
        return muteOrNot();
      case 14:
        return agent.desktop().changeSpace();
      default:
        if (chance(3)) unpair();
    }
  }

  PressEffect effect() {
    switch (number(0, 6)) {
      case 0:
        return PressEffect::doesNothing();
      case 1:
        return PressEffect::closesAfter(Seconds{number(1, 60) / 10.0});
      case 2:
        return PressEffect::fails(platform::AXError::cannotComplete);
      case 3:
        return PressEffect::failsButCloses(platform::AXError::cannotComplete);
      case 4:
        return PressEffect::disappears();
      default:
        return PressEffect::closes();
    }
  }

  void openPrompt() {
    Prompt prompt{.title = "Prompt " + std::to_string(prompts.size()), .needsPassword = chance(4)};
    DialogSpec spec{.title = prompt.title,
                    .lines = {prompt.needsPassword ? kPasswordLine : "Erasing cannot be undone."},
                    .buttons = {"Cancel", "Not Now", "Erase"},
                    .effect = effect()};
    if (chance(2)) spec.defaultButton = "Erase";
    if (chance(2)) spec.cancelButton = "Cancel";
    if (chance(3)) spec.actions = {"AXRaise", "AXConfirm", "AXCancel"};
    prompt.window = agent.desktop().open(spec);
    prompts.push_back(prompt);
  }

  void closePrompt() {
    if (!prompts.empty())
      agent.desktop().close(prompts[static_cast<std::size_t>(number(0, int(prompts.size()) - 1))].window);
  }

  void decide() {
    const auto shown = agent.phone.shown();
    if (shown.empty()) return;
    const auto& approval = shown[static_cast<std::size_t>(number(0, int(shown.size()) - 1))];
    const std::vector<std::string> labels{"Cancel", "Not Now", "Erase", "erase"};
    const auto& label = labels[static_cast<std::size_t>(number(0, 3))];
    const auto identifier = agent.phone.decide(approval.id, label);
    if (!identifier) return;
    decisions.push_back({*identifier, approval.windowTitle, label, connection});
    approvalIDs[*identifier] = approval.id;
  }

  void decideAgain() {
    if (decisions.empty() || decisions.back().connection != connection) return;
    auto& decision = decisions.back();
    if (agent.phone.send(decision.identifier, approvalIDs.at(decision.identifier), decision.label))
      ++decision.deliveries;
  }

  void pauseOrResume() {
    isPaused = !isPaused;
    agent.onMainThread([this](AppDelegate& delegate) {
      if (isPaused) {
        delegate.pauseNotifications(chance(2) ? NotificationPauseOption::twoHours
                                              : NotificationPauseOption::indefinitely);
      } else {
        delegate.resumeNotifications();
      }
    });
  }

  void loseConnection() {
    ++connection;
    if (chance(2)) return agent.relay.dropConnections();
    agent.relay.goDown();
    agent.advance(number(0, 10));
    agent.relay.comeUp();
  }

  void muteOrNot() {
    if (!muted.empty() && chance(2)) {
      if (agent.phone.unsuppress(*muted.begin())) muted.erase(muted.begin());
      return;
    }
    const auto shown = agent.phone.shown();
    if (!shown.empty() && agent.phone.suppress(shown[0].suppressionID)) muted.insert(shown[0].suppressionID);
  }

  void unpair() {
    ++connection;
    agent.onMainThread([](AppDelegate& delegate) { delegate.unpairPhoneFromStatusWindow(); });
    agent.advance(5);
    for (auto& decision : decisions) earlier.insert(decision.identifier);
    agent.phone.pair();
    agent.phone.comeOnline();
  }

  // Everything has ended, so that the newest decision is answered from memory, with the outcome that it had.
  void expectTheOutcomeFromMemory() {
    if (decisions.empty() || decisions.back().connection != connection) return;
    const auto& identifier = decisions.back().identifier;
    if (earlier.contains(identifier)) return;
    const auto before = agent.phone.answers(identifier);
    const auto presses = agent.desktop().presses().size();
    decideAgain();
    agent.advance(1);
    const auto answers = agent.phone.answers(identifier);
    ASSERT_EQ(answers.size(), before.size() + 1) << identifier;
    if (!before.empty()) {
      EXPECT_EQ(answers.back(), before.back()) << identifier;
    }
    EXPECT_EQ(agent.desktop().presses().size(), presses) << "Nothing is pressed for it.";
  }

  // Everything that is under way ends, the permission is there, nothing is paused, and a phone looks on.
  void settle() {
    agent.advance(300);
    agent.desktop().setTrusted(true);
    agent.onMainThread([](AppDelegate& delegate) { delegate.resumeNotifications(); });
    agent.advance(30);
    agent.desktop().changeSpace();
    agent.advance(30);
  }

  // A connection that broke may have taken answers along. One that did not has brought one when the decision ended, and
  // one more for each delivery after that.
  void expectOneAnswerForEachDecision() {
    for (const auto& decision : decisions) {
      const auto answers = agent.phone.answers(decision.identifier);
      if (earlier.contains(decision.identifier)) {
        EXPECT_TRUE(answers.empty()) << decision.identifier << " was the decision of another pairing.";
      } else if (decision.connection == connection) {
        EXPECT_GE(int(answers.size()), 1) << decision.identifier;
      }
      EXPECT_LE(int(answers.size()), decision.deliveries) << decision.identifier;
      EXPECT_LE(std::set(answers.begin(), answers.end()).size(), 1U) << decision.identifier << " got two outcomes.";
    }
  }

  void expectOnlyDecidedPresses() {
    std::map<std::string, std::set<std::string>> decided;
    for (const auto& decision : decisions) decided[decision.title].insert(decision.label);
    for (const auto& press : agent.desktop().presses()) {
      for (const auto& prompt : prompts) {
        if (!(prompt.window == press.root)) continue;
        EXPECT_TRUE(decided[prompt.title].contains(press.label)) << press.label << " of " << prompt.title;
        if (prompt.needsPassword) {
          EXPECT_TRUE(DialogButtonSemantics::isSafeDismissal(press.label)) << press.label << " of " << prompt.title;
        }
      }
    }
  }

  void expectOneTruthEverywhere() {
    const auto status = agent.status();
    EXPECT_EQ(agent.menuBarShowsPending(), status.pendingApprovalCount > 0);
    EXPECT_TRUE(status.relayConnected);
    EXPECT_EQ(std::int64_t(agent.phone.shown().size()), status.pendingApprovalCount);
    std::set<std::string> shown;
    for (const auto& title : agent.phone.shownTitles()) shown.insert(title);
    for (const auto& prompt : prompts) {
      if (!agent.desktop().isOpen(prompt.window)) {
        EXPECT_FALSE(shown.contains(prompt.title)) << prompt.title << " is gone.";
      }
    }
  }

  void expectOnlyHarmlessLines() {
    // The relay says so of a pairing that was given up, when it is asked whether it knows.
    constexpr const char* kGone =
        "Relay receive failed: The server answered with HTTP 410 instead of opening a WebSocket.";
    const std::set<std::string> harmless{
        kGone,
        "A prompt waits, and no phone was told: none shows its page, and none could be woken.",
        "Quillard relay connected.",
        "Relay receive failed: The connection was reset.",
        "Relay receive failed: Connection refused.",
        "Unable to send relay message: The connection was reset.",
        "Unable to register relay token: The request timed out."};
    for (const auto& line : agent.world.console().lines()) EXPECT_TRUE(harmless.contains(line)) << line;
  }

  AgentWorld agent;
  std::mt19937_64 generator;
  std::vector<Prompt> prompts;
  std::vector<Decision> decisions;
  std::map<std::string, Uuid> approvalIDs;
  std::set<std::string> earlier;  // Decisions of pairings that are no more.
  std::set<Uuid> muted;
  std::map<std::string, int> answersByStatus;
  bool isTrusted = true;
  bool isPaused = false;
  int connection = 0;
};

class AgentHistory : public testing::TestWithParam<int> {};

TEST_P(AgentHistory, HoldsItsPromises) {
  constexpr int kLivesInOneTest = 50;
  std::map<std::string, int> answers;
  for (int i = 0; i < kLivesInOneTest; ++i) {
    const auto seed = static_cast<std::uint64_t>(GetParam()) * kLivesInOneTest + static_cast<std::uint64_t>(i);
    SCOPED_TRACE("seed " + std::to_string(seed));
    AgentLife life{seed};
    life.live();
    if (HasFailure()) return;
    for (const auto& [status, count] : life.answers()) answers[status] += count;
  }
  for (const auto* status : {"accepted", "failed", "not_found", "requires_direct_access"}) {
    EXPECT_GT(answers[status], 0) << "Lives in which nothing is ever \"" << status << "\" show too little.";
  }
  RecordProperty("accepted", answers["accepted"]);
}

INSTANTIATE_TEST_SUITE_P(Seeds, AgentHistory, testing::Range(0, 6));

}  // namespace
}  // namespace quillard
