#include "companion/relay/rules/TrafficBudget.h"

#include <algorithm>

namespace quillard::relayserver {
namespace {

// Measured, and rounded up.
constexpr double kSecondsOfAMessage = 10e-6;
constexpr double kSecondsOfAText = 5e-6;
constexpr double kSecondsOfAByte = 0.5e-9;
constexpr double kSecondsOfAPlainByte = 6e-9;

bool hasSpentHalf(const TokenBucket& bucket, Instant now) { return bucket.filling(now) < 0.5; }

}  // namespace

TrafficCost costOf(const TrafficWork& work) {
  const auto moved = static_cast<double>(work.received + work.sent);
  return {.bytes = moved,
          .seconds = kSecondsOfAMessage + kSecondsOfAText * static_cast<double>(work.texts) + kSecondsOfAByte * moved +
                     kSecondsOfAPlainByte * static_cast<double>(work.received - work.sealed)};
}

TrafficBudget::TrafficBudget(const RelayLimits& limits, Instant now)
    : limits(limits),
      bytesFrom(limits.addressBytes, limits.addresses),
      secondsFrom(limits.addressSeconds, limits.addresses),
      allBytes(limits.allBytes, now),
      allSeconds(limits.allSeconds, now) {}

PairingTraffic TrafficBudget::makePairing(Instant now) const {
  return {TokenBucket(limits.pairingBytes, now), TokenBucket(limits.pairingSeconds, now)};
}

Duration TrafficBudget::spend(PairingTraffic& pairing, const RatePrefixes& from, const TrafficWork& work, Instant now) {
  const TrafficCost cost = costOf(work);
  pairing.bytes.spend(cost.bytes, now);
  pairing.seconds.spend(cost.seconds, now);
  bytesFrom.spend(from, cost.bytes, now);
  secondsFrom.spend(from, cost.seconds, now);
  allBytes.spend(cost.bytes, now);
  allSeconds.spend(cost.seconds, now);
  const Duration wait =
      std::max({pairing.bytes.debtTime(now), pairing.seconds.debtTime(now), bytesFrom.debtTime(from, now),
                secondsFrom.debtTime(from, now), waitForAll(pairing, now)});
  return std::min<Duration>(wait, limits.longestWait);
}

Duration TrafficBudget::waitForAll(const PairingTraffic& pairing, Instant now) const {
  const Duration debt = std::max(allBytes.debtTime(now), allSeconds.debtTime(now));
  const bool isHeavy = hasSpentHalf(pairing.bytes, now) || hasSpentHalf(pairing.seconds, now);
  constexpr std::chrono::milliseconds kDebtThatAllFeel{500};
  return isHeavy || debt > kDebtThatAllFeel ? debt : Duration{};
}

}  // namespace quillard::relayserver
