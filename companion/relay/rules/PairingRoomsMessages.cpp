#include <algorithm>
#include <utility>

#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/PairingRoomsState.h"
#include "companion/relay/rules/RelayNames.h"
#include "companion/relay/rules/TokenHash.h"

// Which message goes to whom.
namespace quillard::relayserver {
namespace {

// The number of decisions of which a room remembers which phone sent them.
constexpr std::size_t kKeptDecisions = 256;

// The same for one phone of a pairing each time, and no way back to the name that it has itself.
std::string nameForOthers(const std::string& pairingID, const std::string& deviceID) {
  constexpr std::size_t kBytes = 16;
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto hash = hashOf(pairingID + ":" + deviceID);
  std::string name;
  for (std::size_t i = 0; i < kBytes; ++i) {
    name += kDigits[hash[i] / 16];
    name += kDigits[hash[i] % 16];
  }
  return name;
}

template <class... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

// Of messages that have no such part: none.
template <class Messages>
std::size_t sealedBytesOf(const Messages& read) {
  return std::visit(
      [](const auto& message) -> std::size_t {
        if constexpr (requires { message.sealedBytes; }) return message.sealedBytes;
        return 0;
      },
      read);
}

}  // namespace

// ---- Messages

Duration PairingRooms::pay(Member& member, const TrafficWork& work, Instant now) {
  const Duration wait = traffic.spend(*member.room.traffic, *member.from, work, now);
  makeUpFor(member, wait, now);
  return wait;
}

// Whoever is not read is neither silent nor slow.
void PairingRooms::makeUpFor(Member& member, Duration wait, Instant now) {
  member.receivedAt = now + wait;
  if (member.partSince) *member.partSince += wait;
}

Duration PairingRooms::payIfWorthIt(Member& member, Instant now) {
  return member.unpaid.isWorthPaying() ? pay(member, member.unpaid.take(), now) : Duration{};
}

Duration PairingRooms::didReceiveBytes(const RelayPeer& peer, std::size_t bytes, Instant now) {
  Member* member = memberOf(peer);
  if (!member) return {};
  member->receivedAt = now;
  if (member->isAgent()) member->room.agentReceivedAt = now;
  member->unpaid.didRead(bytes);
  return payIfWorthIt(*member, now);
}

Duration PairingRooms::didReceiveControl(const RelayPeer& peer, Instant now) {
  Member* member = memberOf(peer);
  if (!member) return {};
  member->unpaid.add({.controls = 1});
  return payIfWorthIt(*member, now);
}

Duration PairingRooms::didReceivePart(const RelayPeer& peer, std::size_t bytes, Instant now) {
  Member* member = memberOf(peer);
  if (!member) return {};
  // The first part is paid for with the message.
  if (member->partSince) member->unpaid.add({.parts = 1});
  if (!member->partSince) member->partSince = now;
  member->partBytes += bytes;
  member->unpaid.didReceive(bytes);
  const Duration wait = payIfWorthIt(*member, now);
  makeRoom(now);
  return wait;
}

Duration PairingRooms::take(RelayPeer& peer, std::string_view text, Moment now) {
  Member* member = memberOf(peer);
  if (!member) return {};
  metrics.bytesReceived += text.size();
  member->partSince.reset();
  member->unpaid.didReceive(text.size() - std::min(text.size(), std::exchange(member->partBytes, 0)));
  Room& room = member->room;
  TokenBucket& rate = member->isAgent() ? room.agentRate : room.phoneRates.of(member->who.deviceID, now.instant);
  if (!rate.take(now.instant)) {
    expel(*member, CloseCode::tooManyMessages, now.instant);
    return {};
  }
  if (text.size() > limits.messageBytes) {
    expel(*member, CloseCode::tooBig, now.instant);
    return {};
  }
  // Both outlive the member, which may be gone afterwards.
  const auto paying = room.traffic;
  const auto from = member->from;
  const auto sentBefore = metrics.bytesSent;
  const auto textsBefore = textsSent;
  const auto commitsBefore = commits;
  const auto waitedBefore = waited;
  TrafficWork work = member->unpaid.take();
  work += {.messages = 1, .received = text.size()};
  work.sealed += member->isAgent() ? takeFromAgent(*member, text, now) : takeFromPhone(*member, text, now);
  work += {.sent = metrics.bytesSent - sentBefore,
           .texts = textsSent - textsBefore,
           .commits = commits - commitsBefore,
           .waited = waited - waitedBefore};
  const Duration wait = traffic.spend(*paying, *from, work, now.instant);
  makeRoom(now.instant);
  if (Member* left = memberOf(peer)) makeUpFor(*left, wait, now.instant);
  return wait;
}

std::size_t PairingRooms::takeFromAgent(Member& member, std::string_view text, Moment now) {
  Room& room = member.room;
  auto read = readAgentMessage(text, limits.messageBytes);
  const std::size_t sealed = sealedBytesOf(read);
  std::visit(Overloaded{[&](SnapshotMessage& message) { takeSnapshot(room, std::move(message), now.instant); },
                        [&](ClockMessage& message) { takeClock(room, std::move(message), now.instant); },
                        [&](ResultMessage& message) { takeResult(room, std::move(message), now.instant); },
                        [&](const UnpairMessage& message) { unpair(room, message, now); },
                        [&](PushSendMessage& message) { takePush(member, std::move(message), now); },
                        [&](const UnknownMessage&) { ++metrics.messages["unknown"]; },
                        [&](const MalformedMessage&) { expel(member, CloseCode::malformedMessage, now.instant); }},
             read);
  return sealed;
}

std::size_t PairingRooms::takeFromPhone(Member& member, std::string_view text, Moment now) {
  auto read = readPhoneMessage(text, limits.messageBytes);
  const std::size_t sealed = sealedBytesOf(read);
  std::visit(Overloaded{[&](RequestMessage& message) { takeRequest(member, std::move(message), now.instant); },
                        [&](SuppressionMessage& message) { takeSuppression(member, std::move(message), now.instant); },
                        [&](const PushSubscribeMessage& message) { takePushSubscription(member, &message, now); },
                        [&](const PushUnsubscribeMessage&) { takePushSubscription(member, nullptr, now); },
                        [&](const AsleepMessage& message) { takeAsleep(member, message.isAsleep, now.instant); },
                        [&](const UnknownMessage&) { ++metrics.messages["unknown"]; },
                        [&](const MalformedMessage&) { expel(member, CloseCode::malformedMessage, now.instant); }},
             read);
  return sealed;
}

void PairingRooms::takeSnapshot(Room& room, SnapshotMessage message, Instant now) {
  ++metrics.messages["mac.snapshot"];
  const auto text = hold(std::move(message.text));
  keepSnapshot(room, text);
  sendTo(room.phones, text, now);
}

void PairingRooms::takeClock(Room& room, ClockMessage message, Instant now) {
  ++metrics.messages["mac.clock"];
  sendTo(room.phones, hold(std::move(message.text)), now);
}

void PairingRooms::takeResult(Room& room, ResultMessage message, Instant now) {
  ++metrics.messages["approval.result"];
  const Decision* decision = room.decision(message.decisionID);
  const auto phone = decision ? std::optional(*decision->phone) : std::nullopt;
  // A phone's own name is how the relay knows it, and who knows it could take its place: others get another one.
  MessageText own;
  if (phone) own = hold(resultText(message, phone));
  auto asOthersKnowIt = phone;
  if (phone) asOthersKnowIt->deviceID = nameForOthers(room.pairingID, phone->deviceID);
  const auto forOthers = hold(resultText(std::move(message), asOthersKnowIt));
  std::vector<const RelayPeer*> slow;
  for (Member* one : room.phones) {
    const bool isItself = phone && one->who.deviceID == phone->deviceID;
    if (!sendOne(*one, isItself ? own : forOthers)) slow.push_back(one->peer.get());
  }
  expelSlow(slow, now);
}

void PairingRooms::unpair(Room& room, const UnpairMessage& message, Moment now) {
  ++metrics.messages["phone.unpair"];
  ++commits;
  (void)pairings.takeWaited();  // For others.
  if (push) push->forget(room.pairingID, message.deviceID.value_or(""));
  // The phone chose its name, and can choose another: to refuse this one would keep nobody out.
  if (message.deviceID) {
    waited += pairings.takeWaited();
    const auto phone = std::find_if(room.phones.begin(), room.phones.end(),
                                    [&](const Member* member) { return member->who.deviceID == *message.deviceID; });
    if (phone != room.phones.end()) expel(**phone, CloseCode::removed, now.instant);
    return sendPushList(room, true, now.instant);
  }
  // What is not on the disk is not told: a relay that is started again would not know of it.
  const bool isKept = pairings.revoke(room.pairingID, now.epochSeconds);
  waited += pairings.takeWaited();
  log.note((isKept ? "Revoked " : "Could not keep that it was revoked: ") + shortened(room.pairingID));
  metrics.pairings = pairings.count();
  const auto code = isKept ? CloseCode::revoked : CloseCode::stopping;
  closeRoom(std::string(room.pairingID), code, code);
}

void PairingRooms::takeRequest(Member& member, RequestMessage message, Instant now) {
  ++metrics.messages["approval.request"];
  Room& room = member.room;
  // The first phone counts as the one that decided: another one may repeat the decision only to get the outcome.
  if (!room.decision(message.decisionID)) {
    keepDecision(member, message.decisionID);
  }
  passToAgent(member, message.decisionID, hold(std::move(message.text)), now);
}

void PairingRooms::keepDecision(Member& member, const std::string& decisionID) {
  constexpr std::size_t kOfAllocations = 64;
  if (!member.described) {
    auto phone = member.description();
    const std::size_t bytes = sizeof phone + kOfAllocations + phone.deviceID.size() + phone.deviceName.size() +
                              (phone.platform ? phone.platform->size() : 0);
    member.described = memory.keep(std::move(phone), bytes);
  }
  auto& decisions = member.room.decisions;
  if (decisions.size() == kKeptDecisions) decisions.pop_front();
  const std::size_t bytes = sizeof(Decision) + kOfAllocations + decisionID.size();
  decisions.push_back(memory.keep(Decision{decisionID, member.described}, bytes));
}

void PairingRooms::takeSuppression(Member& member, SuppressionMessage message, Instant now) {
  ++metrics.messages[std::string(message.type)];
  const auto text = hold(std::move(message.text));
  Room& room = member.room;
  const RelayPeer& peer = *member.peer;
  passToAgent(member, message.decisionID, text, now);
  auto others = room.phones;
  std::erase_if(others, [&peer](const Member* phone) { return phone->peer.get() == &peer; });
  sendTo(others, text, now);
}

// A busy agent is not closed: the phone gets a receipt that says so, and may try again.
void PairingRooms::passToAgent(Member& phone, const std::string& decisionID, const MessageText& text, Instant now) {
  using Sending = RelayPeer::Sending;
  Room& room = phone.room;
  if (!room.agent) return sendReceipt(phone, decisionID, NotDelivered::macNotConnected, now);
  const std::uint64_t number = ++numberedBefore;
  const auto sending = sendNumbered(*room.agent, text, number);
  if (sending == Sending::refused) return sendReceipt(phone, decisionID, NotDelivered::macBusy, now);
  if (sending == Sending::written) return sendReceipt(phone, decisionID, std::nullopt, now);
  constexpr std::size_t kBytes = sizeof(AwaitedReceipt) + 128;  // With the allocations that it takes.
  awaited.emplace(number, memory.keep(AwaitedReceipt{phone.peer, decisionID}, kBytes + decisionID.size()));
}

void PairingRooms::sendReceipt(Member& phone, const std::string& decisionID, std::optional<NotDelivered> reason,
                               Instant now) {
  ++(reason ? metrics.notDelivered : metrics.delivered);
  sendTo({&phone}, hold(receiptText(decisionID, reason)), now);
}

// ---- Receipts that had to wait

void PairingRooms::didWrite(std::uint64_t number, Instant now) {
  const auto [phone, decisionID] = takeAwaited(number);
  if (!phone) return;
  sendLater(*phone, [&, member = phone, id = decisionID] { sendReceipt(*member, id, std::nullopt, now); });
}

// The agent may have come back on another connection, which the phone is not told: then that one gets the message.
void PairingRooms::didDrop(std::uint64_t number, const MessageText& text, Instant now) {
  const auto [phone, decisionID] = takeAwaited(number);
  if (!phone) return;
  sendLater(*phone, [&, member = phone, id = decisionID] { passToAgent(*member, id, text, now); });
}

// A phone that has gone asks again when it is back.
std::pair<PairingRooms::Member*, std::string> PairingRooms::takeAwaited(std::uint64_t number) {
  const auto found = awaited.find(number);
  if (found == awaited.end()) return {};
  const auto receipt = std::move(found->second);
  awaited.erase(found);
  const auto peer = receipt->phone.lock();
  return {peer ? memberOf(*peer) : nullptr, receipt->decisionID};
}

void PairingRooms::sendLater(Member& phone, const std::function<void()>& send) {
  const auto peer = phone.peer;
  const auto sentBefore = metrics.bytesSent;
  const auto textsBefore = textsSent;
  send();
  Member* left = memberOf(*peer);
  if (left) left->unpaid.add({.sent = metrics.bytesSent - sentBefore, .texts = textsSent - textsBefore});
}

// ---- Sending

void PairingRooms::sendTo(const std::vector<Member*>& recipients, const MessageText& text, Instant now) {
  std::vector<const RelayPeer*> slow;
  for (Member* member : recipients) {
    if (!sendOne(*member, text)) slow.push_back(member->peer.get());
  }
  expelSlow(slow, now);
}

void PairingRooms::expelSlow(const std::vector<const RelayPeer*>& slow, Instant now) {
  for (const RelayPeer* peer : slow) {
    if (Member* member = memberOf(*peer)) expel(*member, CloseCode::tooSlow, now);
  }
}

bool PairingRooms::sendOne(Member& recipient, const MessageText& text) {
  return sendNumbered(recipient, text, 0) != RelayPeer::Sending::refused;
}

RelayPeer::Sending PairingRooms::sendNumbered(Member& recipient, const MessageText& text, std::uint64_t number) {
  const auto sending = recipient.peer->send(text, number);
  if (sending == RelayPeer::Sending::refused) return sending;
  metrics.bytesSent += text->size();
  ++textsSent;
  return sending;
}

void PairingRooms::sendMacStatus(Member& phone, Instant now) {
  phone.statusSentAt = now;
  const Room& room = phone.room;
  std::optional<long long> ago;
  if (room.agentReceivedAt) ago = std::chrono::duration_cast<std::chrono::seconds>(now - *room.agentReceivedAt).count();
  const auto connection = room.agent ? std::optional(room.agentConnections) : std::nullopt;
  sendTo({&phone}, hold(macStatusText(connection, ago)), now);
}

void PairingRooms::sendMacStatusToPhones(Room& room, Instant now) {
  std::vector<const RelayPeer*> phones;
  for (const Member* phone : room.phones) phones.push_back(phone->peer.get());
  for (const RelayPeer* peer : phones) {
    if (Member* phone = memberOf(*peer)) sendMacStatus(*phone, now);
  }
}

void PairingRooms::sendPhoneStatusToAgent(Room& room, Instant now) {
  if (!room.agent) return;
  std::vector<PhoneDescription> phones;
  for (const Member* phone : room.phones) phones.push_back(phone->description());
  sendTo({room.agent}, hold(phoneStatusText(phones)), now);
}

}  // namespace quillard::relayserver
