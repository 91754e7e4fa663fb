#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/LinuxDoctorChecks.h"

namespace quillard::app {
namespace {

using State = DoctorCheck::State;
using platform::LockOutcome;
using platform::LoginServiceStatus;
using platform::SecretStatusCode;

// A computer on which all is well.
DoctorFacts healthy() {
  return {.programFolder = "/home/ann/.local/lib/Quillard.app",
          .isInstalled = true,
          .folderForApplications = "/home/ann/.local/lib",
          .accessibilityTrust = platform::ProcessTrust::granted,
          .relay = RelayReach::registered,
          .relayAddress = "https://relay.example.org",
          .relayText = {},
          .secretService = {SecretStatusCode::success, ""},
          .secretFile = {SecretStatusCode::itemNotFound, ""},
          .notificationProblem = {},
          .canBeLoginItem = true,
          .loginItem = LoginServiceStatus::enabled,
          .lock = LockOutcome::heldElsewhere};
}

DoctorCheck check(const DoctorFacts& facts, const std::string& id) {
  const auto checks = linuxDoctorChecks(facts);
  const auto found = std::find_if(checks.begin(), checks.end(), [&](const auto& one) { return one.id == id; });
  return found == checks.end() ? DoctorCheck{} : *found;
}

TEST(Doctor, FindsNothingWhereAllIsWell) {
  for (const auto& one : linuxDoctorChecks(healthy())) {
    EXPECT_EQ(one.state, State::fine) << one.id;
    EXPECT_EQ(one.remedy, "") << one.id;
    EXPECT_NE(one.detail, "") << one.id;
  }
}

TEST(Doctor, HasSomethingToDoForEveryProblem) {
  for (const auto& one : linuxDoctorChecks(DoctorFacts{})) {
    if (one.state == State::problem) {
      EXPECT_NE(one.remedy, "") << one.id;
    }
  }
}

TEST(Doctor, FindsAnAgentThatIsNotInstalled) {
  auto facts = healthy();
  facts.isInstalled = false;
  const auto found = check(facts, "install");
  EXPECT_EQ(found.state, State::problem);
  EXPECT_NE(found.remedy.find("/home/ann/.local/lib/Quillard.app"), std::string::npos) << found.remedy;
}

TEST(Doctor, TellsNoDisplayFromAWaylandSession) {
  auto facts = healthy();
  facts.isWayland = true;
  facts.windowListLimitation = platform::Limitation{.reason = "Some are not listed.", .isPartial = true};
  EXPECT_EQ(check(facts, "display").state, State::note);
  EXPECT_EQ(check(facts, "display").detail, "Some are not listed.");
  facts.windowListLimitation = platform::Limitation{"None are listed."};
  EXPECT_EQ(check(facts, "display").state, State::note);
  EXPECT_EQ(check(facts, "display").detail, "None are listed.");
  EXPECT_NE(check(facts, "display").remedy.find("X session"), std::string::npos);
  facts.isWayland = false;
  EXPECT_EQ(check(facts, "display").state, State::problem);
  EXPECT_EQ(check(facts, "display").detail, "None are listed.");
  EXPECT_NE(check(facts, "display").remedy.find("DISPLAY"), std::string::npos);
}

TEST(Doctor, FindsAccessibilitySwitchedOff) {
  auto facts = healthy();
  facts.accessibilityTrust = platform::ProcessTrust::denied;
  EXPECT_EQ(check(facts, "accessibility").state, State::problem);
}

TEST(Doctor, TellsAccessibilityThatDoesNotAnswerFromOneThatIsOff) {
  auto facts = healthy();
  facts.accessibilityTrust = platform::ProcessTrust::unknown;
  EXPECT_EQ(check(facts, "accessibility").state, State::problem);
  EXPECT_EQ(check(facts, "accessibility").detail, "Its service or its bus does not answer: no window can be read.");
  EXPECT_EQ(check(facts, "accessibility").remedy.find("gsettings"), std::string::npos) << "It is switched on already.";
}

TEST(Doctor, ClaimsNothingOfProgramsThatCannotBeKnown) {
  auto facts = healthy();
  facts.unreadablePrograms = platform::Limitation{"Not known here."};
  EXPECT_EQ(check(facts, "programs").state, State::note);
  EXPECT_EQ(check(facts, "programs").detail, "Not known here.");
}

TEST(Doctor, NamesProgramsThatCannotBeRead) {
  auto facts = healthy();
  facts.unreadablePrograms = std::vector<platform::UnreadableProgram>{{12, "gimp"}, {15, "keepassxc"}};
  auto found = check(facts, "programs");
  EXPECT_EQ(found.state, State::note);
  EXPECT_EQ(found.detail, "Prompts of these are not seen: gimp (process 12), keepassxc (process 15).");
  EXPECT_NE(found.remedy.find("GTK_MODULES=gail:atk-bridge"), std::string::npos) << found.remedy;
  facts.hasGtk2Bridge = true;
  found = check(facts, "programs");
  EXPECT_EQ(found.remedy.find("GTK_MODULES"), std::string::npos) << found.remedy;
}

TEST(Doctor, SaysOfEachProgramWhatMakesItReadable) {
  auto facts = healthy();
  facts.hasGtk2Bridge = true;
  facts.unreadablePrograms = std::vector<platform::UnreadableProgram>{
      {12, "Chromium", "Start it with a switch."}, {13, "Signal", "Start it with a switch."}, {15, "game", ""}};
  EXPECT_EQ(
      check(facts, "programs").remedy,
      "Chromium, Signal: Start it with a switch. Start the others anew: some look only then whether accessibility "
      "is on.");
}

struct RelayCase {
  RelayReach reach;
  State state;
  const char* says;
};
class DoctorRelay : public testing::TestWithParam<RelayCase> {};
INSTANTIATE_TEST_SUITE_P(
    All, DoctorRelay,
    testing::Values(RelayCase{RelayReach::notConfigured, State::problem, "None is configured"},
                    RelayCase{RelayReach::badAddress, State::problem, "Its address is none: no host"},
                    RelayCase{RelayReach::unreachable, State::problem, "relay.example.org does not answer: no host"},
                    RelayCase{RelayReach::refused, State::problem, "does not accept this computer: no host"},
                    RelayCase{RelayReach::revoked, State::problem, "calls the pairing of this computer revoked"},
                    RelayCase{RelayReach::reachable, State::note, "was not asked whether"},
                    RelayCase{RelayReach::registered, State::fine, "knows this computer"}));

TEST_P(DoctorRelay, IsToldAsFarAsItWasReached) {
  auto facts = healthy();
  facts.relay = GetParam().reach;
  facts.relayText = "no host";
  const auto found = check(facts, "relay");
  EXPECT_EQ(found.state, GetParam().state);
  EXPECT_NE(found.detail.find(GetParam().says), std::string::npos) << found.detail;
}

TEST(Doctor, AcceptsAKeyringWithoutTheItem) {
  auto facts = healthy();
  facts.secretService = {SecretStatusCode::itemNotFound, ""};
  EXPECT_EQ(check(facts, "keychain").state, State::fine);
}

TEST(Doctor, NotesThatSecretsAreKeptInAFile) {
  auto facts = healthy();
  facts.secretService = {SecretStatusCode::missingEntitlement, "There is no session bus."};
  EXPECT_EQ(check(facts, "keychain").state, State::note);
  facts.secretFile = {SecretStatusCode::accessDenied, "It belongs to another user."};
  const auto found = check(facts, "keychain");
  EXPECT_EQ(found.state, State::problem);
  EXPECT_NE(found.detail.find("It belongs to another user."), std::string::npos) << found.detail;
}

TEST(Doctor, FindsALockedKeyring) {
  auto facts = healthy();
  facts.secretService = {SecretStatusCode::interactionNotAllowed, "locked"};
  const auto found = check(facts, "keychain");
  EXPECT_EQ(found.state, State::problem);
  EXPECT_NE(found.remedy.find("Unlock"), std::string::npos);
}

TEST(Doctor, FindsAKeyringThatFails) {
  auto facts = healthy();
  facts.secretService = {SecretStatusCode::other, "time-out"};
  const auto found = check(facts, "keychain");
  EXPECT_EQ(found.state, State::problem);
  EXPECT_NE(found.detail.find("time-out"), std::string::npos) << found.detail;
}

TEST(Doctor, NotesMissingNotifications) {
  auto facts = healthy();
  facts.notificationProblem = "There is no session bus.";
  const auto found = check(facts, "notifications");
  EXPECT_EQ(found.state, State::note);
  EXPECT_NE(found.detail.find("There is no session bus."), std::string::npos);
}

TEST(Doctor, RespectsThatTheLoginItemIsSwitchedOff) {
  auto facts = healthy();
  facts.loginItem = LoginServiceStatus::requiresApproval;
  EXPECT_EQ(check(facts, "login-item").state, State::note);
  EXPECT_NE(check(facts, "login-item").detail.find("switched off"), std::string::npos);
  facts.loginItem = LoginServiceStatus::notRegistered;
  EXPECT_EQ(check(facts, "login-item").state, State::note);
  facts.loginItem = LoginServiceStatus::enabled;
  facts.canBeLoginItem = false;
  EXPECT_EQ(check(facts, "login-item").state, State::note);
}

TEST(Doctor, TellsWhetherTheAgentRuns) {
  auto facts = healthy();
  facts.lock = LockOutcome::acquired;
  EXPECT_EQ(check(facts, "agent").detail, "It does not run.");
  facts.lock = LockOutcome::unavailable;
  EXPECT_EQ(check(facts, "agent").state, State::note);
}

TEST(Doctor, NamesNotificationServersWhoseQuestionsAreNotSeenOrNotPressed) {
  struct Case {
    platform::NotificationServer server;
    DoctorCheck::State state;
    std::string text;
  };
  const std::vector<Case> cases{
      {{"dunst", "knopwob"}, DoctorCheck::State::note, "What other programs ask in its notifications is not seen."},
      {{"mako", "emersion"}, DoctorCheck::State::note, "is not seen."},
      {{"Naughty", "awesome"}, DoctorCheck::State::note, "is not seen."},
      {{"Notification Daemon", "MATE"}, DoctorCheck::State::note, "cannot be pressed from afar."},
      {{"Xfce Notify Daemon", "Xfce"}, DoctorCheck::State::fine, "They are shown by Xfce Notify Daemon."},
      {{"gnome-shell", "GNOME"}, DoctorCheck::State::fine, "They are shown by gnome-shell."},
      {{"", ""}, DoctorCheck::State::fine, "They are shown."}};
  for (const auto& [server, state, text] : cases) {
    auto facts = healthy();
    facts.notificationServer = server;
    const auto found = check(facts, "notifications");
    EXPECT_EQ(found.state, state) << server.name;
    EXPECT_NE(found.detail.find(text), std::string::npos) << found.detail;
    EXPECT_EQ(found.remedy.empty(), state == DoctorCheck::State::fine) << found.remedy;
  }
}

TEST(Doctor, SaysHowTheStartOfAProgramIsMended) {
  auto facts = healthy();
  facts.unreadablePrograms = std::vector<platform::UnreadableProgram>{
      {.processIdentifier = 7, .name = "Chat", .remedy = "Start it so.", .startEntry = "chat"}};
  EXPECT_NE(check(facts, "programs").remedy.find("Chat: Start it so. \"quillard readable\""), std::string::npos)
      << check(facts, "programs").remedy;
}

}  // namespace
}  // namespace quillard::app
