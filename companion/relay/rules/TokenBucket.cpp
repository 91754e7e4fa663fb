#include "companion/relay/rules/TokenBucket.h"

#include <algorithm>
#include <cmath>

namespace quillard::relayserver {
namespace {

// A full table is searched for what it need not hold no more often than this.
constexpr std::chrono::seconds kCleaningInterval{1};

constexpr const char* kSharedName = "";

}  // namespace

double TokenBucket::tokensAt(Instant now) const {
  const std::chrono::duration<double> passed = std::max(now - filledAt, Duration::zero());
  return std::min(rate.burst, tokens + passed.count() * rate.perSecond);
}

bool TokenBucket::hasOne(Instant now) const {
  constexpr double kRounding = 1e-9;  // Ten tenths of a token are a token.
  return tokensAt(now) >= 1 - kRounding;
}

bool TokenBucket::take(Instant now) {
  const bool isThere = hasOne(now);
  tokens = isThere ? std::max(0.0, tokensAt(now) - 1) : tokensAt(now);
  filledAt = std::max(filledAt, now);
  return isThere;
}

void TokenBucket::spend(double amount, Instant now) {
  tokens = std::max(tokensAt(now) - amount, -kLongestDebt * rate.perSecond);
  filledAt = std::max(filledAt, now);
}

Duration TokenBucket::debtTime(Instant now) const {
  constexpr double kLongest = 3600;
  const double owed = std::max(0.0, -tokensAt(now));
  const double seconds = rate.perSecond > 0 ? owed / rate.perSecond : kLongest;
  return std::chrono::duration_cast<Duration>(
      std::chrono::duration<double>(owed > 0 ? std::min(seconds, kLongest) : 0));
}

std::chrono::seconds TokenBucket::wait(Instant now) const {
  constexpr double kLongest = 3600;
  const double missing = std::max(0.0, 1 - tokensAt(now));
  const double seconds = rate.perSecond > 0 ? missing / rate.perSecond : kLongest;
  return std::chrono::seconds(static_cast<long>(std::ceil(std::clamp(seconds, 1.0, kLongest))));
}

TokenBucket& NamedBuckets::of(const std::string& name, Instant now) {
  const auto found = buckets.find(name);
  if (found != buckets.end()) return found->second;
  if (buckets.size() >= most && now >= nextCleaning) forgetFullOnes(now);
  const bool isCrowded = buckets.size() >= most;
  return buckets.try_emplace(isCrowded ? std::string(kSharedName) : name, rate, now).first->second;
}

void NamedBuckets::forgetFullOnes(Instant now) {
  nextCleaning = now + kCleaningInterval;
  std::erase_if(buckets, [now](const auto& entry) { return entry.second.isFull(now); });
}

}  // namespace quillard::relayserver
