#include "app/MacDoctorChecks.h"

#include "app/SharedDoctorChecks.h"

namespace quillard::app {
namespace {

using State = DoctorCheck::State;
using platform::LockOutcome;
using platform::SecretStatusCode;

DoctorCheck accessibilityCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "accessibility", .title = "Accessibility", .detail = "It is allowed.", .remedy = {}};
  const bool isTrusted = facts.accessibilityTrust == platform::ProcessTrust::granted;
  if (facts.isAskedAlone && isTrusted) return check;
  if (facts.isAskedAlone) {
    check.state = State::problem;
    check.detail = "It is not allowed: no window can be read.";
    check.remedy =
        "Switch Quillard on in System Settings > Privacy & Security > Accessibility. Where the list does not have it: "
        "\"+\", and choose Quillard in Applications.";
    return check;
  }
  // A program that a terminal starts counts as the terminal.
  check.state = State::note;
  check.detail = std::string("It is ") + (isTrusted ? "" : "not ") +
                 "allowed to the program that this was started from, which says nothing of the agent.";
  check.remedy = "Open Quillard: its window says whether the agent may.";
  return check;
}

bool holdsNothing(const platform::SecretStatus& status) {
  return status.code == SecretStatusCode::itemNotFound || status.code == SecretStatusCode::missingEntitlement;
}

void describeWithheldIdentity(DoctorCheck& check, bool hasCopy) {
  check.detail = "The login keychain is locked, or its identity is another build's, which this one may not read. ";
  if (hasCopy) {
    check.state = State::note;
    check.detail += "The agent uses the copy in its settings: paired phones stay paired.";
    check.remedy = "Unlock it in Keychain Access; or delete com.quillard.agent there.";
    return;
  }
  check.state = State::problem;
  check.detail += "The agent uses an identity then that no phone knows.";
  check.remedy = "Unlock it in Keychain Access; or delete com.quillard.agent there, and pair the phone anew.";
}

DoctorCheck keychainCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "keychain",
                    .title = "Keychain",
                    .detail = "Secrets are kept in the data-protection keychain.",
                    .remedy = {}};
  if (facts.secretService.code == SecretStatusCode::success) return check;
  const bool isFirstAsked = holdsNothing(facts.secretService);
  if (isFirstAsked && facts.secretFile.code == SecretStatusCode::success) {
    check.detail = "Secrets are kept in the login keychain.";
  } else if (isFirstAsked && facts.secretFile.code == SecretStatusCode::itemNotFound) {
    check.state = State::note;
    check.detail = facts.hasIdentityInSettings
                       ? "It can be read, and holds no identity. The agent uses the copy in its settings."
                       : "It can be read, and holds no identity yet: that comes with the agent's first start.";
  } else if (isFirstAsked && facts.secretFile.code == SecretStatusCode::interactionNotAllowed) {
    describeWithheldIdentity(check, facts.hasIdentityInSettings);
  } else {
    const auto& status = isFirstAsked ? facts.secretFile : facts.secretService;
    check.state = State::problem;
    check.detail = "It cannot be read" + (status.text.empty() ? "." : ": " + status.text);
    if (facts.hasIdentityInSettings) check.detail += " The agent uses the copy in its settings meanwhile.";
    check.remedy = "Look in Keychain Access whether the login keychain is whole.";
  }
  return check;
}

DoctorCheck runningCheck(const DoctorFacts& facts) {
  DoctorCheck check{.id = "agent", .title = "Agent", .detail = "It runs.", .remedy = {}};
  if (facts.lock == LockOutcome::heldElsewhere) return check;
  check.state = State::note;
  check.detail = facts.lock == LockOutcome::acquired
                     ? "It does not run."
                     : "It cannot keep a second one from running: the temporary folder takes no lock.";
  if (facts.lock == LockOutcome::acquired) check.remedy = "Open Quillard.";
  return check;
}

}  // namespace

std::vector<DoctorCheck> macDoctorChecks(const DoctorFacts& facts) {
  return {installCheck(facts),  accessibilityCheck(facts), relayCheck(facts),
          keychainCheck(facts), loginItemCheck(facts),     runningCheck(facts)};
}

}  // namespace quillard::app
