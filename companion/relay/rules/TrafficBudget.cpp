#include "companion/relay/rules/TrafficBudget.h"

#include <algorithm>
#include <utility>

namespace quillard::relayserver {
namespace {

// Measured, and rounded up. A commit is the least that it counts for: disks differ by more than a hundred times.
constexpr double kSecondsOfAMessage = 6e-6;
constexpr double kSecondsOfARead = 4e-6;
constexpr double kSecondsOfAPart = 2e-6;
constexpr double kSecondsOfAControl = 10e-6;
constexpr double kSecondsOfAByteOfFraming = 10e-9;
constexpr double kSecondsOfACommit = 5e-3;
constexpr double kSecondsOfAText = 5e-6;
constexpr double kSecondsOfAByte = 0.5e-9;
constexpr double kSecondsOfAPlainByte = 6e-9;

bool hasSpentHalf(const TokenBucket& bucket, Instant now) { return bucket.filling(now) < 0.5; }

}  // namespace

TrafficCost costOf(const TrafficWork& work) {
  const auto costs = [](std::size_t count, double each) { return static_cast<double>(count) * each; };
  const std::size_t moved = work.received + work.sent;
  return {.bytes = static_cast<double>(moved + work.framing),
          .seconds = costs(work.messages, kSecondsOfAMessage) + costs(work.texts, kSecondsOfAText) +
                     costs(moved, kSecondsOfAByte) + costs(work.received - work.sealed, kSecondsOfAPlainByte) +
                     costs(work.reads, kSecondsOfARead) + costs(work.parts, kSecondsOfAPart) +
                     costs(work.controls, kSecondsOfAControl) + costs(work.framing, kSecondsOfAByteOfFraming) +
                     std::max(costs(work.commits, kSecondsOfACommit), work.waited)};
}

TrafficWork& TrafficWork::operator+=(const TrafficWork& more) {
  messages += more.messages;
  received += more.received;
  sealed += more.sealed;
  sent += more.sent;
  texts += more.texts;
  reads += more.reads;
  parts += more.parts;
  controls += more.controls;
  framing += more.framing;
  commits += more.commits;
  waited += more.waited;
  return *this;
}

void UnpaidWork::didRead(std::size_t bytes) {
  // What came before was told by now, but for what the WebSocket's own buffer still holds.
  constexpr std::int64_t kReadAhead = 4096;
  if (unexplained > kReadAhead) {
    work.framing += static_cast<std::size_t>(unexplained - kReadAhead);
    unexplained = kReadAhead;
  }
  ++work.reads;
  unexplained += static_cast<std::int64_t>(bytes);
}

bool UnpaidWork::isWorthPaying() const {
  constexpr double kLeastSeconds = 100e-6;
  return costOf(work).seconds >= kLeastSeconds;
}

TrafficWork UnpaidWork::take() { return std::exchange(work, {}); }

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
