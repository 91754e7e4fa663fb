#include "companion/relay/rules/PrefixBuckets.h"

#include <algorithm>

namespace quillard::relayserver {
namespace {

constexpr std::size_t kWidths = 3;
constexpr auto kShareOfWider = static_cast<double>(kShareOfWiderPrefix);

}  // namespace

PrefixBuckets::PrefixBuckets(Rate rate, std::size_t most) {
  for (std::size_t i = 0; i < kWidths; ++i) {
    widths.emplace_back(rate, most);
    rate = {rate.burst * kShareOfWider, rate.perSecond * kShareOfWider};
  }
}

template <class Use>
void PrefixBuckets::forEach(const RatePrefixes& prefixes, Instant now, Use use) {
  for (std::size_t i = 0; i < std::min(prefixes.size(), widths.size()); ++i) use(widths[i].of(prefixes[i], now));
}

bool PrefixBuckets::take(const RatePrefixes& prefixes, Instant now) {
  bool isThere = true;
  forEach(prefixes, now, [&](const TokenBucket& bucket) { isThere = isThere && bucket.hasOne(now); });
  if (isThere) spend(prefixes, 1, now);
  return isThere;
}

std::chrono::seconds PrefixBuckets::wait(const RatePrefixes& prefixes, Instant now) {
  std::chrono::seconds longest{1};
  forEach(prefixes, now, [&](const TokenBucket& bucket) { longest = std::max(longest, bucket.wait(now)); });
  return longest;
}

void PrefixBuckets::spend(const RatePrefixes& prefixes, double amount, Instant now) {
  forEach(prefixes, now, [&](TokenBucket& bucket) { bucket.spend(amount, now); });
}

Duration PrefixBuckets::debtTime(const RatePrefixes& prefixes, Instant now) {
  Duration longest{};
  forEach(prefixes, now, [&](const TokenBucket& bucket) { longest = std::max(longest, bucket.debtTime(now)); });
  return longest;
}

}  // namespace quillard::relayserver
