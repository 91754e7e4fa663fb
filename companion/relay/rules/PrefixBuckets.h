#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "companion/relay/rules/TokenBucket.h"

namespace quillard::relayserver {

// By what a client is counted, the narrowest first: an IPv4 address alone; of an IPv6 address its networks of 64, 56
// and 48 bits, since one customer may have any of these. Empty: the client is not counted.
using RatePrefixes = std::vector<std::string>;

// How much more a wider prefix may have than the one inside it: who has many networks gains little, and neighbours who
// share one seldom notice each other.
inline constexpr std::size_t kShareOfWiderPrefix = 4;

// A bucket for each prefix. A wider one holds kShareOfWiderPrefix times as much as the one inside it.
class PrefixBuckets {
 public:
  // `rate`: of the narrowest prefix. `most`: how many are kept of each width.
  PrefixBuckets(Rate rate, std::size_t most);

  // From all of them, or from none. False: one of them has none left.
  [[nodiscard]] bool take(const RatePrefixes& prefixes, Instant now);
  // Until all of them have one, rounded up; at least one second.
  [[nodiscard]] std::chrono::seconds wait(const RatePrefixes& prefixes, Instant now);

  // See TokenBucket.
  void spend(const RatePrefixes& prefixes, double amount, Instant now);
  [[nodiscard]] Duration debtTime(const RatePrefixes& prefixes, Instant now);

 private:
  // `use(bucket)` for each prefix.
  template <class Use>
  void forEach(const RatePrefixes& prefixes, Instant now, Use use);

  std::vector<NamedBuckets> widths;
};

}  // namespace quillard::relayserver
