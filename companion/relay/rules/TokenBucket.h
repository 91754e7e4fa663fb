#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <unordered_map>

#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

// A rate limit: `burst` without waiting, then `perSecond`.
struct Rate {
  double burst = 1;
  double perSecond = 1;
};

// Holds `burst` tokens at first, and gets `perSecond` new ones a second up to that.
class TokenBucket {
 public:
  TokenBucket(Rate rate, Instant now) : rate(rate), tokens(rate.burst), filledAt(now) {}

  // False: there was none left.
  [[nodiscard]] bool take(Instant now);
  // Until there is one, rounded up; at least one second.
  [[nodiscard]] std::chrono::seconds wait(Instant now) const;
  // Whether `take` would succeed.
  [[nodiscard]] bool hasOne(Instant now) const;

  // Takes `amount`, there or not: what is missing is owed, and paid by what comes in. No more is owed than what comes
  // in within kLongestDebt, so that those who come later do not pay for all that an attack has cost.
  void spend(double amount, Instant now);
  // Until nothing is owed.
  [[nodiscard]] Duration debtTime(Instant now) const;
  // How full it is, from 0 to 1; below 0 while something is owed.
  [[nodiscard]] double filling(Instant now) const { return tokensAt(now) / rate.burst; }

  // Nothing is remembered that a new one would not know.
  [[nodiscard]] bool isFull(Instant now) const { return tokensAt(now) >= rate.burst; }

 private:
  static constexpr double kLongestDebt = 10;  // Seconds: no client waits longer for one message, either.
  [[nodiscard]] double tokensAt(Instant now) const;

  Rate rate;
  double tokens;
  Instant filledAt;
};

// One bucket a name, of which a bounded number is kept: full ones are forgotten, and where all are needed, newcomers
// share one.
class NamedBuckets {
 public:
  NamedBuckets(Rate rate, std::size_t most) : rate(rate), most(most) {}

  // Of the name, or the shared one.
  [[nodiscard]] TokenBucket& of(const std::string& name, Instant now);
  [[nodiscard]] std::size_t size() const { return buckets.size(); }

 private:
  void forgetFullOnes(Instant now);

  const Rate rate;
  const std::size_t most;
  std::unordered_map<std::string, TokenBucket> buckets;
  Instant nextCleaning{};
};

}  // namespace quillard::relayserver
