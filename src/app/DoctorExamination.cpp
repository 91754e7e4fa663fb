#include "app/DoctorExamination.h"

#include <utility>
#include <variant>

#include "relay/RelayTokenRegistration.h"
#include "system/InstallLocation.h"

namespace quillard::app {
namespace {

using platform::SecretPlace;
using platform::SecretStatusCode;

constexpr std::string_view kService = "com.quillard.agent";
constexpr std::string_view kIdentity = "installation-secrets-v1";
constexpr std::string_view kLockFile = "com.quillard.agent.lock";

bool holds(const platform::Environment& environment, std::string_view variable, std::string_view word) {
  return environment.value(variable).value_or("").find(word) != std::string::npos;
}

// In the first place, or in the second where the first one has none: that is where the agent would look.
bool hasIdentity(const DoctorFacts& facts) {
  const auto first = facts.secretService.code;
  const bool isInSecond = first == SecretStatusCode::itemNotFound || first == SecretStatusCode::missingEntitlement;
  return first == SecretStatusCode::success || (isInSecond && facts.secretFile.code == SecretStatusCode::success);
}

RelayReach reachAfter(const RelayRegistrationFailure& failure) {
  const auto* const error = std::get_if<RelayRegistrationError>(&failure);
  if (!error) return RelayReach::unreachable;
  return error->code == RelayRegistrationError::Case::invalidRelayURL ? RelayReach::badAddress : RelayReach::refused;
}

}  // namespace

void DoctorExamination::start(std::function<void(const DoctorFacts&)> handler) {
  onDone = std::move(handler);
  openQuestions = 2;
  lookAround();
  askForNotifications();
  lookForRelay();
}

void DoctorExamination::lookAround() {
  const InstallLocation location(surroundings.bundle);
  const auto directories = location.applicationDirectories();
  facts.programFolder = surroundings.bundle.path();
  facts.canBeLoginItem = surroundings.bundle.identifier().has_value();
  facts.isInstalled = location.isRunningFromApplications() && facts.canBeLoginItem;
  if (!directories.empty()) facts.folderForApplications = directories.front();
  facts.hasDisplay = surroundings.hasDisplay();
  facts.isWayland = surroundings.environment.value("XDG_SESSION_TYPE") == "wayland" ||
                    !surroundings.environment.value("WAYLAND_DISPLAY").value_or("").empty();
  facts.isAskedAlone = surroundings.isAskedAlone;
  facts.isAccessibilityTrusted = surroundings.accessibility.isProcessTrusted();
  if (facts.isAccessibilityTrusted) facts.unseenPrograms = surroundings.unseenPrograms();
  facts.hasGtk2Bridge = holds(surroundings.environment, "GTK_MODULES", "atk-bridge");
  facts.loginItem = surroundings.loginService.status();
  lookAtKeychain();
  lookAtLock();
}

void DoctorExamination::lookAtKeychain() {
  auto& store = surroundings.secretStore;
  facts.secretService = store.copyMatching(SecretPlace::dataProtectionKeychain, kService, kIdentity).status;
  facts.secretFile = store.copyMatching(SecretPlace::fileKeychain, kService, kIdentity).status;
}

void DoctorExamination::lookAtLock() {
  const auto lock = surroundings.lockFiles.acquire(kLockFile);
  facts.lock = lock.outcome;
  if (lock.outcome == platform::LockOutcome::acquired) surroundings.lockFiles.release(lock.descriptor);
}

void DoctorExamination::askForNotifications() {
  if (!surroundings.notifications) return oneMoreDone();
  surroundings.notifications->requestAuthorization(
      [this, weak = std::weak_ptr(life)](std::optional<std::string> error) {
        if (weak.expired()) return;
        facts.notificationProblem = std::move(error);
        oneMoreDone();
      });
}

void DoctorExamination::lookForRelay() {
  auto configuration = surroundings.pairing.environmentConfiguration();
  if (!configuration) configuration = surroundings.pairing.bundledConfiguration();
  if (!configuration) return relayFound(RelayReach::notConfigured);
  const auto address = PairingConfiguration::backendBaseURL(configuration->relayURL);
  if (!address) return relayFound(RelayReach::badAddress);
  facts.relayAddress = *address;
  session = surroundings.httpSessions.makeEphemeralSession(surroundings.mainThread);
  if (hasIdentity(facts)) {
    askWhetherRelayKnowsUs();
  } else {
    askWhetherRelayIsThere();
  }
}

void DoctorExamination::askWhetherRelayIsThere() {
  constexpr platform::Seconds kPatience{8};
  session->send(
      {.method = "GET", .url = facts.relayAddress + "/healthz", .headers = {}, .body = {}, .timeout = kPatience},
      [this](const platform::HttpOutcome& outcome) {
        if (std::holds_alternative<platform::HttpResponse>(outcome)) return relayFound(RelayReach::reachable);
        const auto* const error = std::get_if<platform::TransportError>(&outcome);
        relayFound(RelayReach::unreachable, error ? error->description : "It does not speak HTTP.");
      });
}

void DoctorExamination::askWhetherRelayKnowsUs() {
  const auto configuration = surroundings.pairing.launchConfiguration();
  if (!configuration) return relayFound(RelayReach::notConfigured);
  const auto secrets = surroundings.pairing.installationSecrets();
  registerRelayAuthToken(*configuration, secrets.relayAuthToken, *session, surroundings.mainThread,
                         [this](const RelayRegistrationOutcome& failure) {
                           if (!failure) return relayFound(RelayReach::registered);
                           relayFound(reachAfter(*failure), description(*failure));
                         });
}

void DoctorExamination::relayFound(RelayReach reach, std::string text) {
  facts.relay = reach;
  facts.relayText = std::move(text);
  oneMoreDone();
}

// In a later turn, since the last answer may come from inside `start`.
void DoctorExamination::oneMoreDone() {
  if (--openQuestions > 0) return;
  surroundings.mainThread.post([this, weak = std::weak_ptr(life)] {
    if (!weak.expired()) onDone(facts);
  });
}

}  // namespace quillard::app
