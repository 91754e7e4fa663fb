#include "app/RelayTrial.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <variant>

#include "agent/configuration/Tunables.h"
#include "foundation/UrlComponents.h"
#include "relay/PairingConfiguration.h"
#include "relay/PairingIdentifiers.h"
#include "relay/RelayAddress.h"

namespace quillard::app {
namespace {

constexpr std::size_t kSecretBytes = 32;

}  // namespace

RelayTrial::RelayTrial(const platform::Platform& platform)
    : platform(platform),
      transports(platform.httpSessions, platform.webSockets, {platform.environment, &platform.userDefaults}),
      stampClock(platform.clock, platform.random) {}

RelayTrial::~RelayTrial() = default;

void RelayTrial::start(const RelayLaunchConfiguration& configuration, std::function<void(const std::string&)> stepped,
                       std::function<void(bool)> done) {
  onStep = std::move(stepped);
  onDone = std::move(done);
  trial = {configuration.relayURL, createdPairingID("trial", platform.random)};
  const auto address = relaySocketURL(trial);
  if (const auto* refusal = std::get_if<RelayAddressRefusal>(&address)) {
    onStep(refusal->line.empty() ? "The relay's address is none." : refusal->line);
    return end(false);
  }
  socketURL = std::get<std::string>(address);
  onStep("Relay: " + PairingConfiguration::backendBaseURL(trial.relayURL).value_or(""));
  sayWhoMayVouch();
  token = randomHex(kSecretBytes, platform.random);
  endToEndSecret = randomHex(kSecretBytes, platform.random);
  session = transports.makeEphemeralSession(platform.executors.mainThread());
  registerRelayAuthToken(trial, token, *session, platform.executors.mainThread(),
                         [this](const RelayRegistrationOutcome& failure) { registered(failure); });
}

void RelayTrial::sayWhoMayVouch() {
  using namespace AgentConfiguration;
  const auto authority = valueOf(*findTunable("relay-authority"), {platform.environment, &platform.userDefaults});
  if (authority.path.empty()) return;
  const bool isOfEnvironment = authority.origin == TunableOrigin::environment;
  onStep("Authorities: those of the system, and of " + authority.path +
         (isOfEnvironment ? " (" + std::string(authority.variable) + ")." : "."));
}

void RelayTrial::registered(const RelayRegistrationOutcome& failure) {
  if (failure) {
    onStep("Registration failed: " + description(*failure));
    return end(false);
  }
  onStep("Registration: the relay takes a new pairing.");
  connect();
}

void RelayTrial::connect() {
  auto& mainThread = platform.executors.mainThread();
  const auto onMainThread = [&mainThread, weak = std::weak_ptr(life)](auto act) {
    mainThread.post([weak, act] {
      if (!weak.expired()) act();
    });
  };
  deadline = mainThread.postAfter(kConnectTimeout, [this] {
    onStep("Connection failed: there was none within 10 seconds. Does a proxy pass WebSockets on?");
    end(false);
  });
  queue = platform.executors.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard);
  client = std::make_unique<RelayClient>(
      RelayClientAccess{.url = socketURL, .relaySecret = token, .cryptoSecret = endToEndSecret},
      RelayClientCallbacks{
          .onApprovalRequest = [](const auto&) {},
          .onSuppressionCommand = [](const auto&) {},
          .onStatusChange =
              [this, onMainThread](const RelayConnectionStatus& status) {
                if (status.relayConnected) onMainThread([this] { connected(); });
              },
          .onRefused = [this,
                        onMainThread](RelayRefusal refusal) { onMainThread([this, refusal] { refused(refusal); }); }},
      *queue, RelayClientDependencies{transports, platform.clock, platform.random, silence, stampClock});
  client->connect();
}

void RelayTrial::connected() {
  if (std::exchange(wasConnected, true)) return;
  onStep("Connection: open.");
  client->unpairPhone(std::nullopt, [](bool /*wasSent*/) {});
  deadline = platform.executors.mainThread().postAfter(kForgetTimeout, [this] {
    onStep("The relay was asked to forget the pairing of this trial.");
    end(true);
  });
}

void RelayTrial::refused(RelayRefusal refusal) {
  if (wasConnected) {
    onStep("The relay has forgotten the pairing of this trial.");
    return end(true);
  }
  onStep(refusal == RelayRefusal::tokenUnknown
             ? "Connection failed: the relay does not know the pairing that it has just taken (HTTP 401)."
             : "Connection failed: the relay calls a new pairing revoked (HTTP 410).");
  end(false);
}

void RelayTrial::end(bool isWell) {
  if (!onDone) return;
  deadline.reset();
  if (client) client->disconnect();
  platform.executors.mainThread().post([weak = std::weak_ptr(life), done = std::exchange(onDone, nullptr), isWell] {
    if (!weak.expired()) done(isWell);
  });
}

}  // namespace quillard::app
