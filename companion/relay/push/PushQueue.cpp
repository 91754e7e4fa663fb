#include "companion/relay/push/PushQueue.h"

#include <algorithm>
#include <set>
#include <utility>

namespace quillard::relayserver {
namespace {

bool isBetween(int status, int lowest, int highest) { return status >= lowest && status <= highest; }

// `deviceID` empty: any.
bool concerns(const PushOrder& order, const std::string& pairingID, const std::string& deviceID) {
  return order.pairingID == pairingID && (deviceID.empty() || order.deviceID == deviceID);
}

}  // namespace

PushVerdict judge(const PushReply& reply) {
  if (reply.isAddressRefused) return PushVerdict::notAllowed;
  switch (reply.status) {
    case 200:
    case 201:
    case 202:
    case 204:
      return PushVerdict::accepted;
    case 404:
    case 410:
      return PushVerdict::expired;
    case 401:
    case 403:
      return PushVerdict::subscribeAnew;
    case 413:
      return PushVerdict::tooLarge;
    case 0:
    case 408:
    case 429:
      return PushVerdict::retry;
    default:
      break;
  }
  if (isBetween(reply.status, 500, 599)) return PushVerdict::retry;
  return isBetween(reply.status, 300, 399) ? PushVerdict::notAllowed : PushVerdict::malformed;
}

PushQueue::PushQueue(const PushLimits& limits)
    : limits(limits), phones(limits.phone, limits.rememberedRates), pairings(limits.pairing, limits.rememberedRates) {}

// ---- Coming

PushQueue::Addition PushQueue::add(PushOrder order, Instant now) {
  TokenBucket& ofPairing = pairings.of(order.pairingID, now);
  TokenBucket& ofPhone = phones.of(order.pairingID + "/" + order.deviceID, now);
  if (!ofPairing.hasOne(now) || !ofPhone.hasOne(now)) return {.refused = "tooMany"};
  (void)ofPairing.take(now);
  (void)ofPhone.take(now);
  Addition addition{.replaced = replaceWaiting(order, now)};
  if (entries.size() >= limits.queued || isFull(order)) {
    addition.refused = "busy";
    return addition;
  }
  const auto until = now + std::max<Duration>(order.ttl, limits.lastAttempt);
  Host& host = hostOf(order, now);
  ++pairingShares[order.pairingID].waiting;
  ++addressShares[order.address].waiting;
  const auto entry = entries.insert(
      entries.end(),
      Entry{.number = ++numbers, .order = std::move(order), .since = now, .until = until, .notBefore = now});
  byNumber.emplace(entry->number, entry);
  host.waiting.push_back(entry);
  return addition;
}

PushQueue::Host& PushQueue::hostOf(const PushOrder& order, Instant now) {
  return hosts.try_emplace(order.endpoint.origin(), limits.host, now).first->second;
}

std::optional<PushOutcome> PushQueue::replaceWaiting(const PushOrder& order, Instant now) {
  if (order.topic.empty()) return std::nullopt;
  const auto found = hosts.find(order.endpoint.origin());
  if (found == hosts.end()) return std::nullopt;
  auto& waiting = found->second.waiting;
  const auto same = std::find_if(waiting.begin(), waiting.end(), [&](const Entries::iterator& entry) {
    return entry->order.subscriptionID == order.subscriptionID && entry->order.topic == order.topic;
  });
  if (same == waiting.end()) return std::nullopt;
  const auto entry = *same;
  waiting.erase(same);
  return end(entry, PushStatus::replaced, "", now);
}

// ---- Going

bool PushQueue::mayPost(const Host& host, Instant now) const {
  if (host.waiting.empty() || now < host.notBefore || !host.rate.hasOne(now)) return false;
  return host.posted < (host.failures > 0 ? 1 : limits.connectionsOfHost);
}

std::optional<PushQueue::Start> PushQueue::next(Instant now) {
  if (underWay >= limits.connections) return std::nullopt;
  auto at = hosts.upper_bound(lastHost);
  for (std::size_t left = hosts.size(); left > 0; --left, ++at) {
    if (at == hosts.end()) at = hosts.begin();
    if (!mayPost(at->second, now)) continue;
    auto start = startNext(at->second, now);
    if (!start) continue;
    lastHost = at->first;
    return start;
  }
  return std::nullopt;
}

PushQueue::Share PushQueue::shareOf(const std::unordered_map<std::string, Share>& shares, const std::string& name) {
  const auto found = shares.find(name);
  return found == shares.end() ? Share{} : found->second;
}

void PushQueue::release(std::unordered_map<std::string, Share>& shares, const std::string& name) {
  const auto found = shares.find(name);
  if (found != shares.end() && --found->second.waiting == 0) shares.erase(found);
}

bool PushQueue::isFull(const PushOrder& order) const {
  const bool isAddressFull =
      !order.address.empty() && shareOf(addressShares, order.address).waiting >= limits.queuedOfAddress;
  return isAddressFull || shareOf(pairingShares, order.pairingID).waiting >= limits.queuedOfPairing;
}

bool PushQueue::isBusy(const PushOrder& order) const { return postedTo.contains(order.subscriptionID); }

std::optional<PushQueue::Start> PushQueue::startNext(Host& host, Instant now) {
  // What came later for the same phone waits behind what has to wait.
  std::set<std::string_view> seen;
  auto first = host.waiting.end();
  std::pair<std::size_t, std::size_t> fewest;
  for (auto at = host.waiting.begin(); at != host.waiting.end(); ++at) {
    const Entry& entry = **at;
    if (now >= entry.until || !seen.insert(entry.order.subscriptionID).second) continue;
    if (now < entry.notBefore || isBusy(entry.order)) continue;
    const bool isNamed = !entry.order.address.empty();
    const std::pair posted{isNamed ? shareOf(addressShares, entry.order.address).posted : 0,
                           shareOf(pairingShares, entry.order.pairingID).posted};
    if (posted.first >= limits.connectionsOfAddress || posted.second >= limits.connectionsOfPairing) continue;
    if (first != host.waiting.end() && posted >= fewest) continue;
    first = at;
    fewest = posted;
  }
  if (first == host.waiting.end()) return std::nullopt;
  Entry& entry = **first;
  host.waiting.erase(first);
  ++pairingShares[entry.order.pairingID].posted;
  ++addressShares[entry.order.address].posted;
  (void)host.rate.take(now);
  ++host.posted;
  ++underWay;
  entry.isPosted = true;
  ++entry.attempts;
  postedTo.emplace(entry.order.subscriptionID, entry.number);
  const auto left = std::chrono::ceil<std::chrono::seconds>(entry.since + entry.order.ttl - now);
  return Start{
      .number = entry.number, .order = &entry.order, .ttl = std::clamp(left, std::chrono::seconds(0), entry.order.ttl)};
}

std::optional<PushOutcome> PushQueue::finish(std::uint64_t number, const PushReply& reply, Instant now) {
  const auto found = byNumber.find(number);
  if (found == byNumber.end()) return std::nullopt;
  const auto entry = found->second;
  Host& host = hostOf(entry->order, now);
  didEndPost(entry, host);
  noteHost(host, reply, now);
  const auto verdict = judge(reply);
  if (entry->isForgotten) {
    erase(entry);
    return std::nullopt;
  }
  if (waitAgain(entry, verdict, reply, now)) return std::nullopt;
  switch (verdict) {
    case PushVerdict::accepted:
      return end(entry, PushStatus::accepted, "", now);
    case PushVerdict::expired:
      return end(entry, PushStatus::gone, "expired", now);
    case PushVerdict::subscribeAnew:
      return end(entry, PushStatus::refused, "subscribeAnew", now);
    case PushVerdict::tooLarge:
      return end(entry, PushStatus::refused, "tooLarge", now);
    case PushVerdict::malformed:
      return end(entry, PushStatus::refused, "malformed", now);
    case PushVerdict::notAllowed:
      return end(entry, PushStatus::refused, "notAllowed", now);
    case PushVerdict::retry:
      break;
  }
  return end(entry, PushStatus::unreachable, "tooLate", now);
}

void PushQueue::didEndPost(Entries::iterator entry, Host& host) {
  --underWay;
  --host.posted;
  --pairingShares[entry->order.pairingID].posted;
  --addressShares[entry->order.address].posted;
  entry->isPosted = false;
  postedTo.erase(entry->order.subscriptionID);
}

std::optional<PushOutcome> PushQueue::cancel(std::uint64_t number, std::string_view reason, Instant now) {
  const auto found = byNumber.find(number);
  if (found == byNumber.end()) return std::nullopt;
  const auto entry = found->second;
  didEndPost(entry, hostOf(entry->order, now));
  return end(entry, PushStatus::gone, reason, now);
}

// What one subscription is answered (429) says nothing of others; that nobody answers does.
void PushQueue::noteHost(Host& host, const PushReply& reply, Instant now) {
  const bool hasFailed = !reply.isAddressRefused && (reply.status == 0 || isBetween(reply.status, 500, 599));
  if (!hasFailed) {
    host.failures = 0;
    return;
  }
  // Those that were posted at the same time have failed at the same time.
  if (now < host.notBefore) return;
  ++host.failures;
  host.notBefore =
      now + std::max<Duration>(pauseAfter(host.failures), std::min(reply.retryAfter.value_or(std::chrono::seconds(0)),
                                                                   std::chrono::seconds(kLongestPushTtl)));
}

Duration PushQueue::pauseAfter(int failures) const {
  constexpr int kMostDoublings = 16;
  return std::min<Duration>(limits.longestPause, limits.firstPause * (1 << std::min(failures - 1, kMostDoublings)));
}

// False: it is of no use.
bool PushQueue::waitAgain(Entries::iterator entry, PushVerdict verdict, const PushReply& reply, Instant now) {
  constexpr std::chrono::seconds kShortest{1};
  if (verdict == PushVerdict::subscribeAnew && !entry->wasRefused) {
    entry->wasRefused = true;
    return wait(entry, now);
  }
  if (verdict != PushVerdict::retry) return false;
  const Instant last = entry->since + entry->order.ttl;
  if (reply.retryAfter) {
    const auto again = now + std::max<Duration>(*reply.retryAfter, kShortest);
    return again < last && wait(entry, again);
  }
  // Once more right before the end.
  const auto again = std::min<Instant>(now + pauseAfter(entry->attempts), last - kShortest);
  return again > now && wait(entry, again);
}

bool PushQueue::wait(Entries::iterator entry, Instant notBefore) {
  entry->notBefore = notBefore;
  Host& host = hosts.at(entry->order.endpoint.origin());
  const auto newer = std::find_if(host.waiting.begin(), host.waiting.end(),
                                  [&](const Entries::iterator& other) { return other->number > entry->number; });
  host.waiting.insert(newer, entry);
  return true;
}

// ---- Ending

std::vector<PushOutcome> PushQueue::expire(Instant now) {
  std::vector<PushOutcome> ended;
  for (auto at = hosts.begin(); at != hosts.end();) {
    Host& host = at->second;
    for (auto waiting = host.waiting.begin(); waiting != host.waiting.end();) {
      const auto entry = *waiting;
      if (now < entry->until) {
        ++waiting;
        continue;
      }
      waiting = host.waiting.erase(waiting);
      ended.push_back(end(entry, PushStatus::unreachable, "tooLate", now));
    }
    const bool isIdle = host.waiting.empty() && host.posted == 0 && now >= host.notBefore && host.rate.isFull(now);
    at = isIdle ? hosts.erase(at) : std::next(at);
  }
  return ended;
}

std::vector<PushOutcome> PushQueue::endWaiting(const std::string& pairingID, const std::string& deviceID,
                                               std::string_view reason, Instant now) {
  std::vector<PushOutcome> ended;
  if (!pairingShares.contains(pairingID)) return ended;
  for (auto& [origin, host] : hosts) {
    for (auto waiting = host.waiting.begin(); waiting != host.waiting.end();) {
      const auto entry = *waiting;
      const bool isOne = concerns(entry->order, pairingID, deviceID);
      waiting = isOne ? host.waiting.erase(waiting) : std::next(waiting);
      if (isOne) ended.push_back(end(entry, PushStatus::gone, reason, now));
    }
  }
  return ended;
}

void PushQueue::forget(const std::string& pairingID, const std::string& deviceID) {
  (void)endWaiting(pairingID, deviceID, "unknown", Instant{});
  if (!pairingShares.contains(pairingID)) return;
  for (auto& entry : entries) entry.isForgotten = entry.isForgotten || concerns(entry.order, pairingID, deviceID);
}

PushOutcome PushQueue::end(Entries::iterator entry, PushStatus status, std::string_view reason, Instant now) {
  PushOutcome outcome{.pairingID = entry->order.pairingID,
                      .deviceID = entry->order.deviceID,
                      .subscriptionID = entry->order.subscriptionID,
                      .pushID = entry->order.pushID,
                      .status = status,
                      .reason = reason,
                      .took = now - entry->since};
  erase(entry);
  return outcome;
}

void PushQueue::erase(Entries::iterator entry) {
  release(pairingShares, entry->order.pairingID);
  release(addressShares, entry->order.address);
  byNumber.erase(entry->number);
  entries.erase(entry);
}

}  // namespace quillard::relayserver
