#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/MacDoctorChecks.h"

namespace quillard::app {
namespace {

using State = DoctorCheck::State;
using platform::LockOutcome;
using platform::LoginServiceStatus;
using platform::SecretStatus;
using platform::SecretStatusCode;

// A Mac on which all is well.
DoctorFacts healthy() {
  return {.programFolder = "/Applications/Quillard.app",
          .isInstalled = true,
          .folderForApplications = "/Applications",
          .accessibilityTrust = platform::ProcessTrust::granted,
          .isAskedAlone = true,
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
  const auto checks = macDoctorChecks(facts);
  const auto found = std::find_if(checks.begin(), checks.end(), [&](const auto& one) { return one.id == id; });
  return found == checks.end() ? DoctorCheck{} : *found;
}

TEST(MacDoctor, FindsNothingWhereAllIsWell) {
  for (const auto& one : macDoctorChecks(healthy())) {
    EXPECT_EQ(one.state, State::fine) << one.id;
    EXPECT_EQ(one.remedy, "") << one.id;
    EXPECT_NE(one.detail, "") << one.id;
  }
}

TEST(MacDoctor, HasSomethingToDoForEveryProblemAndNothingOfAnotherSystem) {
  for (const auto& one : macDoctorChecks(DoctorFacts{})) {
    if (one.state == State::problem) {
      EXPECT_NE(one.remedy, "") << one.id;
    }
    for (const char* word : {"DISPLAY", "XDG", "X server", "at-spi", ".local"}) {
      EXPECT_EQ((one.detail + one.remedy).find(word), std::string::npos) << one.id << ": " << word;
    }
  }
}

TEST(MacDoctor, FindsAMissingPermission) {
  auto facts = healthy();
  facts.accessibilityTrust = platform::ProcessTrust::denied;
  const auto found = check(facts, "accessibility");
  EXPECT_EQ(found.state, State::problem);
  EXPECT_NE(found.remedy.find("Privacy & Security > Accessibility"), std::string::npos) << found.remedy;
}

TEST(MacDoctor, TakesTheTerminalsPermissionForNeitherAnswer) {
  auto facts = healthy();
  facts.isAskedAlone = false;
  EXPECT_EQ(check(facts, "accessibility").state, State::note);
  EXPECT_NE(check(facts, "accessibility").detail.find("is allowed to the program"), std::string::npos);
  facts.accessibilityTrust = platform::ProcessTrust::denied;
  EXPECT_EQ(check(facts, "accessibility").state, State::note);
  EXPECT_NE(check(facts, "accessibility").detail.find("is not allowed to the program"), std::string::npos);
}

TEST(MacDoctor, TellsTheKeychainsApart) {
  struct Row {
    SecretStatus first;
    SecretStatus second;
    State state;
    const char* words;
  };
  const SecretStatus found{SecretStatusCode::success, ""};
  const SecretStatus none{SecretStatusCode::itemNotFound, "none"};
  const SecretStatus closed{SecretStatusCode::missingEntitlement, "closed"};
  const SecretStatus locked{SecretStatusCode::interactionNotAllowed, "locked"};
  const SecretStatus broken{SecretStatusCode::other, "broken (-7)"};
  const std::vector<Row> table{
      {found, none, State::fine, "data-protection"},     {found, broken, State::fine, "data-protection"},
      {none, found, State::fine, "login keychain"},      {closed, found, State::fine, "login keychain"},
      {none, none, State::note, "first start"},          {closed, none, State::note, "first start"},
      {none, locked, State::problem, "another build's"}, {closed, broken, State::problem, "broken (-7)"},
      {broken, found, State::problem, "broken (-7)"},    {locked, none, State::problem, "locked"}};
  for (const auto& row : table) {
    auto facts = healthy();
    facts.secretService = row.first;
    facts.secretFile = row.second;
    const auto answer = check(facts, "keychain");
    EXPECT_EQ(answer.state, row.state) << answer.detail;
    EXPECT_NE(answer.detail.find(row.words), std::string::npos) << answer.detail;
  }
}

TEST(MacDoctor, SaysThatTheCopyInTheSettingsServesWhereTheKeychainDoesNot) {
  auto facts = healthy();
  facts.hasIdentityInSettings = true;
  facts.secretService = {SecretStatusCode::missingEntitlement, ""};
  facts.secretFile = {SecretStatusCode::interactionNotAllowed, "locked"};
  EXPECT_EQ(check(facts, "keychain").state, State::note);
  EXPECT_NE(check(facts, "keychain").detail.find("stay paired"), std::string::npos);
  EXPECT_EQ(check(facts, "keychain").detail.find("no phone knows"), std::string::npos);
  facts.secretFile = {SecretStatusCode::itemNotFound, ""};
  EXPECT_NE(check(facts, "keychain").detail.find("uses the copy"), std::string::npos);
  facts.secretFile = {SecretStatusCode::other, "broken (-7)"};
  EXPECT_EQ(check(facts, "keychain").state, State::problem);
  EXPECT_NE(check(facts, "keychain").detail.find("uses the copy"), std::string::npos);
}

TEST(MacDoctor, SaysHowTheProgramGetsIntoAListThatDoesNotHaveIt) {
  auto facts = healthy();
  facts.accessibilityTrust = platform::ProcessTrust::denied;
  EXPECT_NE(check(facts, "accessibility").remedy.find("\"+\", and choose Quillard in Applications"), std::string::npos);
}

TEST(MacDoctor, FindsAProgramOutsideTheApplicationsFolder) {
  auto facts = healthy();
  facts.isInstalled = false;
  facts.programFolder = "/Users/ann/Downloads/Quillard.app";
  EXPECT_EQ(check(facts, "install").state, State::problem);
  EXPECT_NE(check(facts, "install").remedy.find("/Applications/Quillard.app"), std::string::npos);
}

TEST(MacDoctor, SaysWhetherTheAgentRuns) {
  auto facts = healthy();
  facts.lock = LockOutcome::acquired;
  EXPECT_EQ(check(facts, "agent").state, State::note);
  EXPECT_EQ(check(facts, "agent").remedy, "Open Quillard.");
  facts.lock = LockOutcome::unavailable;
  EXPECT_EQ(check(facts, "agent").state, State::note);
}

}  // namespace
}  // namespace quillard::app
