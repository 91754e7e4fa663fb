#include "app/PairingFarewell.h"

#include <utility>

#include "agent/PhonePairings.h"
#include "relay/PairingConfiguration.h"
#include "relay/PendingRevocations.h"

namespace quillard::app {
namespace {

constexpr Seconds kCheckInterval{0.1};

}  // namespace

PairingFarewell::PairingFarewell(const platform::Platform& platform, platform::UserDefaults& settings)
    : platform(platform),
      settings(settings),
      transports(platform.httpSessions, platform.webSockets, {platform.environment, &settings}),
      stampClock(platform.clock, platform.random),
      revoker({settings, platform.executors, transports, platform.clock, platform.random, silence, stampClock}) {}

PairingFarewell::~PairingFarewell() = default;

void PairingFarewell::collect() {
  bool isAnyUnreadable = false;  // A locked keyring does not say how many it holds.
  for (int number = PairingConfiguration::kFirst; number <= PhonePairings::kMost; ++number) {
    PairingConfiguration pairing(
        {platform.environment, platform.bundle, platform.secretStore, settings, platform.random, silence}, number);
    auto secrets = pairing.storedSecrets();
    if (!secrets) {
      isAnyUnreadable = isAnyUnreadable || pairing.isStoredUnreadable();
      continue;
    }
    const auto relay = pairing.configuredRelay();
    if (relay && pairing.isRelayConfigured()) {
      revoker.keep({.relayURL = relay->relayURL, .secrets = *std::move(secrets)});
    } else {
      ++unreachable;
    }
  }
  if (isAnyUnreadable) ++unreachable;
}

std::size_t PairingFarewell::waiting() const { return PendingRevocations(settings).all().size(); }

void PairingFarewell::start(std::function<void(std::size_t)> done) {
  onDone = std::move(done);
  collect();
  revoker.tryEachOnce(kTimeout);
  checks = platform.executors.mainThread().repeatEvery(kCheckInterval, [this] { check(); });
}

void PairingFarewell::check() {
  const auto left = waiting();
  if (left > 0 && !revoker.hasTriedEach()) return;
  revoker.stop();
  checks.reset();
  std::exchange(onDone, nullptr)(left + unreachable);
}

}  // namespace quillard::app
