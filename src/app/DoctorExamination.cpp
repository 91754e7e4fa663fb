#include "app/DoctorExamination.h"

#include <utility>
#include <variant>

#include "foundation/AgentNames.h"
#include "relay/RelayTokenRegistration.h"
#include "system/InstallLocation.h"

namespace quillard::app {
namespace {

using platform::SecretPlace;
using platform::SecretStatusCode;

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
  if (error->code == RelayRegistrationError::Case::pairingRevoked) return RelayReach::revoked;
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
  const InstallLocation location(platform.bundle);
  const auto directories = location.applicationDirectories();
  facts.programFolder = platform.bundle.path();
  facts.canBeLoginItem = platform.bundle.identifier().has_value();
  facts.isInstalled = location.isRunningFromApplications() && facts.canBeLoginItem;
  if (!directories.empty()) facts.folderForApplications = directories.front();
  facts.windowListLimitation = platform.capabilities.limitation(platform::DesktopCapability::windowList);
  facts.isWayland = platform.environment.value("XDG_SESSION_TYPE") == "wayland" ||
                    !platform.environment.value("WAYLAND_DISPLAY").value_or("").empty();
  facts.isAskedAlone = traits.isAskedAlone;
  facts.accessibilityTrust = platform.accessibility.isProcessTrusted();
  facts.unreadablePrograms = platform.capabilities.unreadablePrograms();
  facts.hasGtk2Bridge = holds(platform.environment, "GTK_MODULES", "atk-bridge");
  facts.loginItem = platform.loginService.status();
  checkKeychain();
  checkLock();
}

void DoctorExamination::checkKeychain() {
  auto& store = platform.secretStore;
  facts.secretService =
      store.copyMatching(SecretPlace::dataProtectionKeychain, kAgentIdentifier, kSecretsAccount).status;
  facts.secretFile = store.copyMatching(SecretPlace::fileKeychain, kAgentIdentifier, kSecretsAccount).status;
  facts.hasIdentityInSettings = pairing.hasCopyInSettings();
}

void DoctorExamination::checkLock() { facts.lock = platform.lockFiles.acquire(kInstanceLockFile).outcome; }

void DoctorExamination::askForNotifications() {
  if (!traits.mayAskForNotifications) return oneMoreDone();
  platform.userNotifications.requestAuthorization([this, weak = std::weak_ptr(life)](std::optional<std::string> error) {
    if (weak.expired()) return;
    facts.notificationProblem = std::move(error);
    facts.notificationServer = platform.userNotifications.server();
    oneMoreDone();
  });
}

void DoctorExamination::checkRelay() {
  const auto configuration = pairing.configuredRelay();
  if (!configuration) return relayFound(RelayReach::notConfigured);
  const auto address = PairingConfiguration::backendBaseURL(configuration->relayURL);
  if (!address) return relayFound(RelayReach::badAddress);
  facts.relayAddress = *address;
  session = transports.makeEphemeralSession(platform.executors.mainThread());
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
  const auto configuration = pairing.launchConfiguration();
  if (!configuration) return relayFound(RelayReach::notConfigured);
  const auto secrets = pairing.installationSecrets();
  registerRelayAuthToken(*configuration, secrets.relayAuthToken, *session, platform.executors.mainThread(),
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
  platform.executors.mainThread().post([this, weak = std::weak_ptr(life)] {
    if (!weak.expired()) onDone(facts);
  });
}

}  // namespace quillard::app
