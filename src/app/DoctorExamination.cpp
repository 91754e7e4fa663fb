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
  checkSystem();
  askForNotifications();
  checkRelay();
}

void DoctorExamination::checkSystem() {
  const InstallLocation location(dependencies.bundle);
  const auto directories = location.applicationDirectories();
  facts.programFolder = dependencies.bundle.path();
  facts.canBeLoginItem = dependencies.bundle.identifier().has_value();
  facts.isInstalled = location.isRunningFromApplications() && facts.canBeLoginItem;
  if (!directories.empty()) facts.folderForApplications = directories.front();
  facts.hasDisplay = dependencies.hasDisplay();
  facts.isWayland = dependencies.environment.value("XDG_SESSION_TYPE") == "wayland" ||
                    !dependencies.environment.value("WAYLAND_DISPLAY").value_or("").empty();
  facts.isAskedAlone = dependencies.isAskedAlone;
  facts.isAccessibilityTrusted = dependencies.accessibility.isProcessTrusted();
  if (facts.isAccessibilityTrusted) facts.unseenPrograms = dependencies.unseenPrograms();
  facts.hasGtk2Bridge = holds(dependencies.environment, "GTK_MODULES", "atk-bridge");
  facts.loginItem = dependencies.loginService.status();
  checkKeychain();
  checkLock();
}

void DoctorExamination::checkKeychain() {
  auto& store = dependencies.secretStore;
  facts.secretService = store.copyMatching(SecretPlace::dataProtectionKeychain, kService, kIdentity).status;
  facts.secretFile = store.copyMatching(SecretPlace::fileKeychain, kService, kIdentity).status;
}

void DoctorExamination::checkLock() { facts.lock = dependencies.lockFiles.acquire(kLockFile).outcome; }

void DoctorExamination::askForNotifications() {
  if (!dependencies.notifications) return oneMoreDone();
  dependencies.notifications->requestAuthorization(
      [this, weak = std::weak_ptr(life)](std::optional<std::string> error) {
        if (weak.expired()) return;
        facts.notificationProblem = std::move(error);
        oneMoreDone();
      });
}

void DoctorExamination::checkRelay() {
  auto configuration = dependencies.pairing.environmentConfiguration();
  if (!configuration) configuration = dependencies.pairing.bundledConfiguration();
  if (!configuration) return relayFound(RelayReach::notConfigured);
  const auto address = PairingConfiguration::backendBaseURL(configuration->relayURL);
  if (!address) return relayFound(RelayReach::badAddress);
  facts.relayAddress = *address;
  session = dependencies.httpSessions.makeEphemeralSession(dependencies.mainThread);
  if (hasIdentity(facts)) {
    askWhetherRelayKnowsUs();
  } else {
    askWhetherRelayIsThere();
  }
}

void DoctorExamination::askWhetherRelayIsThere() {
  constexpr Seconds kTimeout{8};
  session->send(
      {.method = "GET", .url = facts.relayAddress + "/healthz", .headers = {}, .body = {}, .timeout = kTimeout},
      [this](const platform::HttpOutcome& outcome) {
        if (std::holds_alternative<platform::HttpResponse>(outcome)) return relayFound(RelayReach::reachable);
        const auto* const error = std::get_if<platform::TransportError>(&outcome);
        relayFound(RelayReach::unreachable, error ? error->description : "It does not speak HTTP.");
      });
}

void DoctorExamination::askWhetherRelayKnowsUs() {
  const auto configuration = dependencies.pairing.launchConfiguration();
  if (!configuration) return relayFound(RelayReach::notConfigured);
  const auto secrets = dependencies.pairing.installationSecrets();
  registerRelayAuthToken(*configuration, secrets.relayAuthToken, *session, dependencies.mainThread,
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
  dependencies.mainThread.post([this, weak = std::weak_ptr(life)] {
    if (!weak.expired()) onDone(facts);
  });
}

}  // namespace quillard::app
