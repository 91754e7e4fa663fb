#include "companion/relay/rules/PairingRooms.h"

#include <algorithm>
#include <deque>
#include <tuple>

#include "companion/relay/rules/RelayNames.h"

namespace quillard::relayserver {
namespace {

// The number of decisions of which a room remembers which phone sent them.
constexpr std::size_t kKeptDecisions = 256;
// The number of phones whose rates a room remembers. More than can be connected, so that a phone gains little by coming
// back under another name.
constexpr std::size_t kKeptRates = 32;

struct Decision {
  std::string id;
  PhoneDescription phone;
};

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

struct PairingRooms::Room {
  std::string pairingID;
  TokenBucket agentRate;
  NamedBuckets phoneRates;
  Member* agent = nullptr;
  std::vector<Member*> phones;
  MessageText snapshot;
  std::list<Room*>::iterator snapshotPlace;  // While there is a snapshot.
  std::optional<Instant> agentReceivedAt;
  std::deque<Decision> decisions;  // Oldest first.
  std::shared_ptr<PairingTraffic> traffic;
  Instant emptySince{};  // While nobody is in it.

  [[nodiscard]] bool isEmpty() const { return !agent && phones.empty(); }

  [[nodiscard]] const Decision* decision(const std::string& id) const {
    const auto found =
        std::find_if(decisions.begin(), decisions.end(), [&](const auto& kept) { return kept.id == id; });
    return found == decisions.end() ? nullptr : &*found;
  }
};

struct PairingRooms::Member {
  std::shared_ptr<RelayPeer> peer;
  PeerIntroduction who;
  Room& room;
  std::shared_ptr<const RatePrefixes> from;
  std::uint64_t number;  // Later ones have higher numbers.
  Instant receivedAt;
  Instant pingedAt;
  Instant statusSentAt;              // Of a phone: when it was last sent its computer's status.
  std::optional<Instant> partSince;  // A message has begun to arrive.

  [[nodiscard]] bool isAgent() const { return who.role == Role::agent; }
  [[nodiscard]] PhoneDescription description() const { return {who.deviceID, who.deviceName, who.platform}; }
};

PairingRooms::PairingRooms(const Dependencies& dependencies)
    : pairings(dependencies.pairings),
      memory(dependencies.memory),
      limits(dependencies.limits),
      metrics(dependencies.metrics),
      log(dependencies.log),
      traffic(dependencies.limits, Instant{}) {}

PairingRooms::~PairingRooms() = default;

// ---- Coming and going

PairingRooms::Member* PairingRooms::memberOf(const RelayPeer& peer) {
  const auto found = members.find(&peer);
  return found == members.end() ? nullptr : found->second.get();
}

PairingRooms::Room& PairingRooms::roomOf(const std::string& pairingID, Instant now) {
  auto& room = rooms[pairingID];
  if (!room) {
    room.reset(new Room{.pairingID = pairingID,
                        .agentRate = TokenBucket(limits.agentMessages, now),
                        .phoneRates = NamedBuckets(limits.phoneMessages, kKeptRates),
                        .traffic = std::make_shared<PairingTraffic>(traffic.makePairing(now))});
  }
  return *room;
}

bool PairingRooms::hasRoomFor(const PeerIntroduction& who) const {
  const auto found = rooms.find(who.pairingID);
  if (who.role == Role::agent || found == rooms.end()) return true;
  const auto& phones = found->second->phones;
  return phones.size() < limits.phones || std::any_of(phones.begin(), phones.end(), [&](const Member* phone) {
           return phone->who.deviceID == who.deviceID;
         });
}

void PairingRooms::join(const std::shared_ptr<RelayPeer>& peer, PeerIntroduction who, RatePrefixes from, Instant now) {
  Room& room = roomOf(who.pairingID, now);
  auto& member = members[peer.get()];
  member.reset(new Member{peer, std::move(who), room, std::make_shared<const RatePrefixes>(std::move(from)),
                          ++joinedBefore, now, now, now, std::nullopt});
  log.note((member->isAgent() ? "Agent joined " : "Phone joined ") + shortened(room.pairingID));
  if (member->isAgent()) {
    joinAsAgent(*member, now);
  } else {
    joinAsPhone(*member, now);
  }
}

void PairingRooms::joinAsAgent(Member& member, Instant now) {
  Room& room = member.room;
  if (room.agent) {
    Member& earlier = *room.agent;
    closeMember(earlier, CloseCode::replaced);
    remove(earlier);
  }
  room.agent = &member;
  ++metrics.agents;
  sendMacStatusToPhones(room, now);
  sendPhoneStatusToAgent(room, now);
}

void PairingRooms::joinAsPhone(Member& member, Instant now) {
  Room& room = member.room;
  const auto earlier = std::find_if(room.phones.begin(), room.phones.end(),
                                    [&](const Member* phone) { return phone->who.deviceID == member.who.deviceID; });
  if (earlier != room.phones.end()) {
    Member& replaced = **earlier;
    closeMember(replaced, CloseCode::replaced);
    remove(replaced);
  }
  room.phones.push_back(&member);
  ++metrics.phones;
  sendMacStatus(member, now);
  if (room.snapshot) sendTo({&member}, room.snapshot, now);
  sendPhoneStatusToAgent(room, now);
}

void PairingRooms::leave(RelayPeer& peer, Instant now) {
  Member* member = memberOf(peer);
  if (!member) return;
  Room& room = member->room;
  const bool wasAgent = member->isAgent();
  log.note((wasAgent ? "Agent left " : "Phone left ") + shortened(room.pairingID));
  remove(*member);
  if (wasAgent) {
    sendMacStatusToPhones(room, now);
  } else {
    sendPhoneStatusToAgent(room, now);
  }
}

void PairingRooms::remove(Member& member) {
  Room& room = member.room;
  if (room.agent == &member) {
    room.agent = nullptr;
    --metrics.agents;
  } else if (std::erase(room.phones, &member) > 0) {
    --metrics.phones;
  }
  if (room.isEmpty()) room.emptySince = Instant{};
  members.erase(member.peer.get());
}

void PairingRooms::closeMember(Member& member, std::optional<CloseCode> code) {
  const int number = code ? static_cast<int>(*code) : 0;
  ++metrics.closes[number];
  log.note((member.isAgent() ? "Agent closed with " : "Phone closed with ") + std::to_string(number) + " in " +
           shortened(member.room.pairingID));
  if (code) {
    member.peer->close(*code);
  } else {
    member.peer->abort();
  }
}

void PairingRooms::expel(Member& member, std::optional<CloseCode> code, Instant now) {
  Room& room = member.room;
  const bool wasAgent = member.isAgent();
  closeMember(member, code);
  remove(member);
  if (wasAgent) {
    sendMacStatusToPhones(room, now);
  } else {
    sendPhoneStatusToAgent(room, now);
  }
}

bool PairingRooms::closeNext(CloseCode code) {
  if (members.empty()) return false;
  Member& member = *members.begin()->second;
  closeMember(member, code);
  remove(member);
  return true;
}

PairingRooms::Presence PairingRooms::presenceOf(const std::string& pairingID) const {
  const auto found = rooms.find(pairingID);
  if (found == rooms.end()) return {};
  return {.isAgentConnected = found->second->agent != nullptr, .phoneCount = found->second->phones.size()};
}

void PairingRooms::forget(const std::vector<std::string>& pairingIDs) {
  for (const auto& pairingID : pairingIDs) {
    const auto found = rooms.find(pairingID);
    // A connected peer has used the pairing since: it will be stored again.
    if (found == rooms.end() || found->second->agent || !found->second->phones.empty()) continue;
    dropSnapshot(*found->second);
    rooms.erase(found);
  }
}

// ---- Time

void PairingRooms::didReceiveBytes(const RelayPeer& peer, Instant now) {
  Member* member = memberOf(peer);
  if (!member) return;
  member->receivedAt = now;
  if (member->isAgent()) member->room.agentReceivedAt = now;
}

void PairingRooms::tick(Instant now) {
  pingAndDropSilent(now);
  sendStatusThatIsDue(now);
  constexpr std::chrono::seconds kForgettingInterval{5};
  if (now < nextForgetting) return;
  nextForgetting = now + kForgettingInterval;
  forgetEmptyRooms(now);
}

void PairingRooms::pingAndDropSilent(Instant now) {
  std::vector<const RelayPeer*> silent;
  std::vector<const RelayPeer*> tooLong;
  for (const auto& [peer, owned] : members) {
    Member& member = *owned;
    if (member.partSince && now - *member.partSince >= limits.message) tooLong.push_back(peer);
    if (now - member.receivedAt >= limits.idle) {
      silent.push_back(peer);
      continue;
    }
    if (now - member.pingedAt < limits.ping) continue;
    member.pingedAt = now;
    member.peer->ping();
  }
  // The status sent because one peer was dropped may be too much for another, which is then dropped as well.
  for (const RelayPeer* peer : silent) {
    if (Member* member = memberOf(*peer)) expel(*member, std::nullopt, now);
  }
  for (const RelayPeer* peer : tooLong) {
    if (Member* member = memberOf(*peer)) expel(*member, CloseCode::tooManyMessages, now);
  }
}

void PairingRooms::sendStatusThatIsDue(Instant now) {
  std::vector<const RelayPeer*> uninformed;
  for (const auto& [peer, owned] : members) {
    if (!owned->isAgent() && now - owned->statusSentAt >= limits.ping) uninformed.push_back(peer);
  }
  for (const RelayPeer* peer : uninformed) {
    if (Member* phone = memberOf(*peer)) sendMacStatus(*phone, now);
  }
}

void PairingRooms::forgetEmptyRooms(Instant now) {
  for (auto at = rooms.begin(); at != rooms.end();) {
    Room& room = *at->second;
    // When somebody left is noticed here first, which is early enough.
    if (room.isEmpty() && room.emptySince == Instant{}) room.emptySince = now;
    const Duration longest = room.snapshot ? Duration(limits.snapshotAfter) : Duration(limits.roomAfter);
    const bool isOver = room.isEmpty() && now - room.emptySince >= longest;
    if (isOver) dropSnapshot(room);
    at = isOver ? rooms.erase(at) : std::next(at);
  }
}

// ---- Messages

void PairingRooms::didReceivePart(const RelayPeer& peer, Instant now) {
  Member* member = memberOf(peer);
  if (member && !member->partSince) member->partSince = now;
  makeRoom(now);
}

Duration PairingRooms::take(RelayPeer& peer, std::string_view text, Moment now) {
  Member* member = memberOf(peer);
  if (!member) return {};
  metrics.bytesReceived += text.size();
  member->partSince.reset();
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
  TrafficWork work{.received = text.size()};
  work.sealed = member->isAgent() ? takeFromAgent(*member, text, now) : takeFromPhone(*member, text, now);
  work.sent = metrics.bytesSent - sentBefore;
  work.texts = textsSent - textsBefore;
  const Duration wait = traffic.spend(*paying, *from, work, now.instant);
  makeRoom(now.instant);
  member = memberOf(peer);
  if (!member) return {};
  // Whoever is not read is not silent.
  member->receivedAt = now.instant + wait;
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
  const auto phone = decision ? std::optional(decision->phone) : std::nullopt;
  sendTo(room.phones, hold(resultText(std::move(message), phone)), now);
}

void PairingRooms::unpair(Room& room, const UnpairMessage& message, Moment now) {
  ++metrics.messages["phone.unpair"];
  if (message.deviceID) {
    pairings.removePhone(room.pairingID, *message.deviceID, now.epochSeconds);
    const auto removed = std::find_if(room.phones.begin(), room.phones.end(),
                                      [&](const Member* phone) { return phone->who.deviceID == *message.deviceID; });
    if (removed != room.phones.end()) expel(**removed, CloseCode::removed, now.instant);
    return;
  }
  log.note("Revoked " + shortened(room.pairingID));
  pairings.revoke(room.pairingID, now.epochSeconds);
  metrics.pairings = pairings.count();
  auto leaving = room.phones;
  if (room.agent) leaving.push_back(room.agent);
  for (Member* member : leaving) {
    closeMember(*member, CloseCode::revoked);
    remove(*member);
  }
  dropSnapshot(room);
  rooms.erase(std::string(room.pairingID));
}

void PairingRooms::takeRequest(Member& member, RequestMessage message, Instant now) {
  ++metrics.messages["approval.request"];
  Room& room = member.room;
  // The first phone counts as the one that decided: another one may repeat the decision only to get the outcome.
  if (!room.decision(message.decisionID)) {
    if (room.decisions.size() == kKeptDecisions) room.decisions.pop_front();
    room.decisions.push_back({message.decisionID, member.description()});
  }
  passToAgent(member, message.decisionID, hold(std::move(message.text)), now);
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
  std::optional<NotDelivered> reason;
  Room& room = phone.room;
  if (!room.agent) {
    reason = NotDelivered::macNotConnected;
  } else if (!sendOne(*room.agent, text)) {
    reason = NotDelivered::macBusy;
  }
  ++(reason ? metrics.notDelivered : metrics.delivered);
  sendTo({&phone}, hold(receiptText(decisionID, reason)), now);
}

// ---- Sending

void PairingRooms::sendTo(const std::vector<Member*>& recipients, const MessageText& text, Instant now) {
  std::vector<const RelayPeer*> slow;
  for (Member* member : recipients) {
    if (!sendOne(*member, text)) slow.push_back(member->peer.get());
  }
  for (const RelayPeer* peer : slow) {
    if (Member* member = memberOf(*peer)) expel(*member, CloseCode::tooSlow, now);
  }
}

// False: too much waits for it already.
bool PairingRooms::sendOne(Member& recipient, const MessageText& text) {
  if (!recipient.peer->send(text)) return false;
  metrics.bytesSent += text->size();
  ++textsSent;
  return true;
}

void PairingRooms::sendMacStatus(Member& phone, Instant now) {
  phone.statusSentAt = now;
  const Room& room = phone.room;
  std::optional<long long> ago;
  if (room.agentReceivedAt) ago = std::chrono::duration_cast<std::chrono::seconds>(now - *room.agentReceivedAt).count();
  sendTo({&phone}, hold(macStatusText(room.agent != nullptr, ago)), now);
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

// ---- Memory

void PairingRooms::makeRoom(Instant now) {
  // A connection that was ended may give back what it kept a little later.
  std::size_t excess = memory.excess();
  while (excess > 0) {
    std::size_t released = 0;
    if (Member* member = heaviest()) {
      released = member->peer->heldBytes();
      ++metrics.droppedForMemory;
      expel(*member, std::nullopt, now);
    } else if (!roomsWithSnapshots.empty()) {
      released = roomsWithSnapshots.front()->snapshot->size();
      dropSnapshot(*roomsWithSnapshots.front());
    } else {
      return;
    }
    excess -= std::min(excess, released);
  }
}

// Of those who come from the widest network that makes the relay keep most, the one who does so most; of several, the
// newest. Null: nobody makes it keep anything.
PairingRooms::Member* PairingRooms::heaviest() {
  const auto network = [](const Member& member) {
    return member.from->empty() ? std::string_view() : std::string_view(member.from->back());
  };
  std::unordered_map<std::string_view, std::size_t> heldBy;
  for (const auto& [peer, member] : members) heldBy[network(*member)] += peer->heldBytes();
  Member* worst = nullptr;
  const auto badness = [&](const Member& member) {
    return std::tuple(heldBy[network(member)], member.peer->heldBytes(), member.number);
  };
  for (const auto& [peer, member] : members) {
    if (peer->heldBytes() > 0 && (!worst || badness(*member) > badness(*worst))) worst = member.get();
  }
  return worst;
}

// ---- Snapshots

void PairingRooms::keepSnapshot(Room& room, MessageText text) {
  dropSnapshot(room);
  metrics.snapshotBytes += text->size();
  room.snapshot = std::move(text);
  room.snapshotPlace = roomsWithSnapshots.insert(roomsWithSnapshots.end(), &room);
  while (metrics.snapshotBytes > limits.snapshotBytes) dropSnapshot(*roomsWithSnapshots.front());
}

void PairingRooms::dropSnapshot(Room& room) {
  if (!room.snapshot) return;
  metrics.snapshotBytes -= room.snapshot->size();
  room.snapshot = nullptr;
  roomsWithSnapshots.erase(room.snapshotPlace);
}

}  // namespace quillard::relayserver
