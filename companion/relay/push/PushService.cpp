#include "companion/relay/push/PushService.h"

#include <algorithm>
#include <utility>

#include "companion/relay/rules/RelayNames.h"
#include "companion/relay/rules/TokenHash.h"

namespace quillard::relayserver {
namespace {

constexpr std::chrono::seconds kKeyInterval{1};

}  // namespace

std::string pushSubscriptionID(const std::string& pairingID, const std::string& deviceID, const std::string& endpoint) {
  constexpr std::size_t kBytes = 16;
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto hash = hashOf("push " + pairingID + " " + deviceID + " " + endpoint);
  std::string id;
  for (std::size_t i = 0; i < kBytes; ++i) {
    id += kDigits[hash[i] / 16];
    id += kDigits[hash[i] % 16];
  }
  return id;
}

PushService::PushService(const Dependencies& dependencies, PushHosts hosts, std::string contact)
    : store(dependencies.store),
      transport(dependencies.transport),
      limits(dependencies.limits),
      metrics(dependencies.metrics),
      log(dependencies.log),
      now(dependencies.now),
      newSecret(dependencies.newSecret),
      hosts(std::move(hosts)),
      contact(std::move(contact)),
      queue(dependencies.limits),
      subscriptionRates(dependencies.limits.subscriptionWrites, dependencies.limits.rememberedRates) {}

template <class Work>
auto PushService::withStore(Work work) -> std::optional<decltype(work())> {
  try {
    return work();
  } catch (const PairingStore::Failure& failure) {
    ++metrics.storeFailures;
    log.warn("A subscription could not be read or written: " + failure.description);
    return std::nullopt;
  }
}

// ---- The key

void PushService::takeKey() {
  const auto secret = withStore([this] {
    auto found = store.pushSecret();
    if (found) return found;
    store.offerPushSecret(newSecret());
    return store.pushSecret();
  });
  if (!secret || !*secret) return;
  auto key = VapidKey::fromSecret(**secret);
  if (!key) {
    log.warn("The key for push services in the database is none: no phone can be woken.");
    return;
  }
  tokens.emplace(std::move(*key), contact);
}

void PushService::tick(Moment at) {
  if (!tokens && at.instant >= nextKey) {
    nextKey = at.instant + kKeyInterval;
    takeKey();
  }
  for (const auto& outcome : queue.expire(at.instant)) tell(outcome, at);
  post(at);
}

std::optional<std::string> PushService::publicKey() const {
  return tokens ? std::optional(tokens->publicText()) : std::nullopt;
}

// ---- Subscriptions

RoomPush::Answer PushService::subscribe(const std::string& pairingID, const std::string& deviceID,
                                        const PushSubscribeMessage& message, Moment at) {
  const auto refused = [](PushRefusal refusal) { return Answer{.toPhone = pushSubscriptionText(refusal)}; };
  const auto endpoint = PushEndpoint::parse(message.endpoint);
  if (!endpoint || !hosts.allows(*endpoint)) return refused(PushRefusal::endpointNotAllowed);
  // Another relay of a cluster may have made it meanwhile.
  if (!tokens) takeKey();
  const auto key = publicKey();
  if (!key) return refused(PushRefusal::notNow);
  if (message.key != *key) return refused(PushRefusal::otherKey);
  const auto answer = withStore([&]() -> Answer {
    const PushSubscription wanted{.deviceID = deviceID,
                                  .id = pushSubscriptionID(pairingID, deviceID, message.endpoint),
                                  .endpoint = message.endpoint,
                                  .sealed = message.sealed,
                                  .at = at.epochSeconds};
    const auto kept = find(pairingID, deviceID);
    if (kept && kept->id == wanted.id) {
      if (kept->state == PushSubscription::State::expired) return refused(PushRefusal::expired);
      if (kept->state == PushSubscription::State::refused) return refused(PushRefusal::subscribeAnew);
      if (kept->sealed == wanted.sealed) return {.toPhone = pushSubscriptionText(std::nullopt)};
    }
    if (store.subscriptionBytes() + wanted.bytes() > limits.subscriptionBytes) {
      log.warn("The subscriptions of all phones take too much memory: one was not kept.");
      return refused(PushRefusal::notNow);
    }
    if (!subscriptionRates.of(pairingID, at.instant).take(at.instant)) return refused(PushRefusal::notNow);
    store.keepPushSubscription(pairingID, wanted, limits.subscriptions);
    Answer taken{.toPhone = pushSubscriptionText(std::nullopt), .hasChanged = true};
    if (kept && kept->id != wanted.id) taken.toAgent = endWaiting(pairingID, deviceID, "unknown", at);
    return whenKept(pairingID, deviceID, std::move(taken));
  });
  return answer ? *answer : refused(PushRefusal::notNow);
}

RoomPush::Answer PushService::whenKept(const std::string& pairingID, const std::string& deviceID, Answer answer) {
  const auto kept = std::make_shared<std::optional<bool>>();
  const auto isLater = std::make_shared<bool>(false);
  const auto done = [weak = std::weak_ptr(self), pairingID, deviceID, kept, isLater,
                     text = answer.toPhone](bool isKept) {
    const auto live = weak.lock();
    *kept = isKept;
    if (!live || !*isLater || !(*live)->rooms) return;
    PairingRooms& told = *(*live)->rooms;
    const Instant instant = (*live)->now().instant;
    told.tellPhone(pairingID, deviceID, isKept ? text : pushSubscriptionText(PushRefusal::notNow), instant);
    told.sendPushList(pairingID, instant);
  };
  store.whenKept(pairingID, deviceID, done);
  *isLater = true;
  if (!*kept) {
    answer.toPhone.clear();
    answer.hasChanged = false;
  } else if (!**kept) {
    answer.toPhone = pushSubscriptionText(PushRefusal::notNow);
  }
  return answer;
}

std::vector<std::string> PushService::endWaiting(const std::string& pairingID, const std::string& deviceID,
                                                 std::string_view reason, Moment at) {
  std::vector<std::string> texts;
  for (const auto& outcome : queue.endWaiting(pairingID, deviceID, reason, at.instant)) {
    count(outcome);
    texts.push_back(pushResultText(outcome.pushID, outcome.deviceID, outcome.status, outcome.reason));
  }
  return texts;
}

RoomPush::Answer PushService::unsubscribe(const std::string& pairingID, const std::string& deviceID, Moment at) {
  const auto hasChanged = withStore([&] {
    const bool isThere = find(pairingID, deviceID).has_value();
    if (isThere) store.erasePushSubscriptions(pairingID, deviceID);
    return isThere;
  });
  const auto refusal = hasChanged ? PushRefusal::unsubscribed : PushRefusal::notNow;
  Answer answer{.toPhone = pushSubscriptionText(refusal), .hasChanged = hasChanged.value_or(false)};
  if (hasChanged) answer.toAgent = endWaiting(pairingID, deviceID, "unknown", at);
  return answer.hasChanged ? whenKept(pairingID, deviceID, std::move(answer)) : answer;
}

void PushService::forget(const std::string& pairingID, const std::string& deviceID) {
  queue.forget(pairingID, deviceID);
  (void)withStore([&] {
    store.erasePushSubscriptions(pairingID, deviceID);
    return true;
  });
}

std::optional<PushSubscription> PushService::find(const std::string& pairingID, const std::string& deviceID) {
  for (auto& kept : store.pushSubscriptions(pairingID)) {
    if (kept.deviceID == deviceID) return std::move(kept);
  }
  return std::nullopt;
}

std::optional<RoomPush::List> PushService::list(const std::string& pairingID) {
  const auto all = withStore([&] { return store.pushSubscriptions(pairingID); });
  if (!all) return std::nullopt;
  List list{.text = R"({"type":"push.subscriptions","subscriptions":[)"};
  for (const auto& kept : *all) {
    if (kept.state == PushSubscription::State::expired) continue;
    if (!std::exchange(list.isEmpty, false)) list.text += ',';
    // Neither name holds anything that would have to be escaped, and the member was written by the relay.
    list.text += R"({"deviceID":")" + kept.deviceID + R"(","subscriptionID":")" + kept.id + "\"," + kept.sealed;
    if (kept.state == PushSubscription::State::refused) list.text += R"(,"refused":true)";
    list.text += '}';
  }
  list.text += "]}";
  return list;
}

// ---- Pushes

std::string PushService::refuse(const std::string& pushID, const std::string& deviceID, PushStatus status,
                                std::string_view reason) {
  ++metrics.pushes[std::string(pushStatusName(status))];
  return pushResultText(pushID, deviceID, status, reason);
}

std::optional<std::string> PushService::send(const std::string& pairingID, PushSendMessage message, Moment at) {
  const auto answer = [&](PushStatus status, std::string_view reason) {
    return refuse(message.pushID, message.deviceID, status, reason);
  };
  if (!tokens) takeKey();
  const auto kept = withStore([&] { return find(pairingID, message.deviceID); });
  if (!kept || !tokens) return answer(PushStatus::refused, "busy");
  if (!*kept || (*kept)->id != message.subscriptionID) return answer(PushStatus::gone, "unknown");
  if ((*kept)->state == PushSubscription::State::expired) return answer(PushStatus::gone, "expired");
  const auto endpoint = PushEndpoint::parse((*kept)->endpoint);
  // The operator may have taken its host away.
  if (!endpoint || !hosts.allows(*endpoint)) return answer(PushStatus::refused, "notAllowed");
  const auto added = queue.add({.pairingID = pairingID,
                                .address = std::move(message.from),
                                .deviceID = message.deviceID,
                                .subscriptionID = message.subscriptionID,
                                .pushID = message.pushID,
                                .endpoint = *endpoint,
                                .body = std::move(message.body),
                                .ttl = std::chrono::seconds(message.ttl),
                                .urgency = std::move(message.urgency),
                                .topic = std::move(message.topic)},
                               at.instant);
  if (!added.refused.empty()) return answer(PushStatus::refused, added.refused);
  // One result for each push, in two messages where there are two: the rooms send the one that is returned.
  std::optional<std::string> replaced;
  if (added.replaced) {
    count(*added.replaced);
    replaced = pushResultText(added.replaced->pushID, added.replaced->deviceID, PushStatus::replaced, "");
  }
  post(at);
  return replaced;
}

void PushService::post(Moment at) {
  if (!tokens) return;
  while (const auto start = queue.next(at.instant)) {
    if (isCurrent(*start->order)) {
      postOne(*start, at);
    } else if (const auto outcome = queue.cancel(start->number, "unknown", at.instant)) {
      tell(*outcome, at);
    }
  }
  metrics.pushesWaiting = queue.size() - queue.posted();
}

// Where the database cannot be read, what was known when it was asked for counts.
bool PushService::isCurrent(const PushOrder& order) {
  const auto kept = withStore([&] { return find(order.pairingID, order.deviceID); });
  return !kept || (*kept && (*kept)->id == order.subscriptionID);
}

void PushService::postOne(const PushQueue::Start& start, Moment at) {
  const auto& order = *start.order;
  const auto origin = order.endpoint.origin();
  ++metrics.pushPosts;
  transport.post({.endpoint = order.endpoint,
                  .authorization = tokens->authorization(origin, at.epochSeconds),
                  .ttl = start.ttl,
                  .urgency = order.urgency,
                  .topic = order.topic,
                  .body = order.body},
                 [this, number = start.number, origin](const PushReply& reply) { didPost(number, origin, reply); });
}

void PushService::didPost(std::uint64_t number, const std::string& origin, const PushReply& reply) {
  const Moment at = now();
  // It may have been refused because of its time.
  if (judge(reply) == PushVerdict::subscribeAnew) tokens->forget(origin);
  if (const auto outcome = queue.finish(number, reply, at.instant)) {
    if (outcome->status == PushStatus::refused) {
      log.note("A push service answered " + std::to_string(reply.status) + " to " + shortened(outcome->pairingID));
    }
    tell(*outcome, at);
  }
  post(at);
}

void PushService::count(const PushOutcome& outcome) {
  ++metrics.pushes[std::string(pushStatusName(outcome.status))];
  if (outcome.status != PushStatus::accepted) return;
  const double seconds = std::chrono::duration<double>(outcome.took).count();
  metrics.pushSecondsSum += seconds;
  for (auto& [bound, within] : metrics.pushSeconds) within += seconds <= bound ? 1 : 0;
}

bool PushService::mark(const PushOutcome& outcome, PushSubscription::State state) {
  const auto hasChanged = withStore([&] {
    auto kept = find(outcome.pairingID, outcome.deviceID);
    if (!kept || kept->id != outcome.subscriptionID || kept->state == state) return false;
    kept->state = state;
    if (state == PushSubscription::State::expired) {
      kept->endpoint.clear();
      kept->sealed.clear();
    }
    store.keepPushSubscription(outcome.pairingID, *kept, limits.subscriptions);
    return true;
  });
  return hasChanged.value_or(false);
}

void PushService::tell(const PushOutcome& outcome, Moment at) {
  count(outcome);
  std::optional<PushRefusal> refusal;
  bool hasChanged = false;
  std::vector<std::string> others;
  if (outcome.reason == "expired") {
    refusal = PushRefusal::expired;
    hasChanged = mark(outcome, PushSubscription::State::expired);
    others = endWaiting(outcome.pairingID, outcome.deviceID, "expired", at);
  } else if (outcome.reason == "subscribeAnew") {
    refusal = PushRefusal::subscribeAnew;
    hasChanged = mark(outcome, PushSubscription::State::refused);
  } else if (outcome.status == PushStatus::accepted) {
    hasChanged = mark(outcome, PushSubscription::State::good);
  }
  if (!rooms) return;
  rooms->tellAgent(outcome.pairingID, pushResultText(outcome.pushID, outcome.deviceID, outcome.status, outcome.reason),
                   at.instant);
  for (auto& text : others) rooms->tellAgent(outcome.pairingID, std::move(text), at.instant);
  if (!hasChanged) return;
  rooms->sendPushList(outcome.pairingID, at.instant);
  if (refusal) {
    rooms->tellPhone(outcome.pairingID, outcome.deviceID, pushSubscriptionText(*refusal), at.instant);
  }
}

}  // namespace quillard::relayserver
