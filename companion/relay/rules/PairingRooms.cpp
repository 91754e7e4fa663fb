#include "companion/relay/rules/PairingRooms.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "companion/relay/rules/PairingRoomsState.h"
#include "companion/relay/rules/RelayNames.h"

namespace quillard::relayserver {
namespace {

// The number of phones whose rates a room remembers. More than can be connected, so that a phone gains little by coming
// back under another name.
constexpr std::size_t kKeptRates = 32;

// Peers by the number of their joining: what befalls them comes in this order, and not in that of addresses in memory.
using PeersInOrder = std::map<std::uint64_t, const RelayPeer*>;

}  // namespace

PairingRooms::PairingRooms(const Dependencies& dependencies)
    : pairings(dependencies.pairings),
      memory(dependencies.memory),
      limits(dependencies.limits),
      metrics(dependencies.metrics),
      log(dependencies.log),
      push(dependencies.push),
      traffic(dependencies.limits, Instant{}),
      membersFrom(dependencies.limits.addressWebSockets) {}

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
                        .traffic = std::make_shared<PairingTraffic>(traffic.makePairing(now)),
                        .usedAt = now});
  }
  return *room;
}

bool PairingRooms::hasRoomFor(const PeerIntroduction& who, const RatePrefixes& from) const {
  if (hasRoomFor(who)) return true;
  const auto found = rooms.find(who.pairingID);
  return found != rooms.end() && crowding(*found->second, from);
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
                          ++joinedBefore, now, now, now});
  membersFrom.add(*member->from);
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
  ++room.agentConnections;
  ++metrics.agents;
  sendMacStatusToPhones(room, now);
  // Who is slow is gone by now.
  const RelayPeer& peer = *member.peer;
  sendPhoneStatusToAgent(room, now);
  if (memberOf(peer)) sendPushList(room, false, now);
}

void PairingRooms::joinAsPhone(Member& member, Instant now) {
  Room& room = member.room;
  const auto earlier = std::find_if(room.phones.begin(), room.phones.end(),
                                    [&](const Member* phone) { return phone->who.deviceID == member.who.deviceID; });
  if (earlier != room.phones.end()) {
    Member& replaced = **earlier;
    closeMember(replaced, CloseCode::replaced);
    remove(replaced);
  } else if (room.phones.size() >= limits.phones) {
    if (Member* leaving = crowding(room, *member.from)) {
      closeMember(*leaving, CloseCode::tooManyMessages);
      remove(*leaving);
    }
  }
  room.phones.push_back(&member);
  ++metrics.phones;
  sendMacStatus(member, now);
  if (room.snapshot) sendTo({&member}, room.snapshot, now);
  sendPhoneStatusToAgent(room, now);
}

PairingRooms::Member* PairingRooms::crowding(const Room& room, const RatePrefixes& from) {
  const auto address = [](const RatePrefixes& prefixes) {
    return prefixes.empty() ? std::string_view() : std::string_view(prefixes.front());
  };
  std::map<std::string_view, std::size_t> countOf;
  for (const Member* phone : room.phones) ++countOf[address(*phone->from)];
  const std::size_t own = countOf[address(from)];
  Member* worst = nullptr;
  const auto badness = [&](const Member& phone) { return std::pair(countOf[address(*phone.from)], phone.number); };
  for (Member* phone : room.phones) {
    if (!worst || badness(*phone) > badness(*worst)) worst = phone;
  }
  return worst && badness(*worst).first >= own + 2 ? worst : nullptr;
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
  membersFrom.remove(*member.from);
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

void PairingRooms::closeRoom(const std::string& pairingID, CloseCode ofAgent, CloseCode ofPhones) {
  const auto found = rooms.find(pairingID);
  if (found == rooms.end()) return;
  Room& room = *found->second;
  auto leaving = room.phones;
  if (room.agent) leaving.push_back(room.agent);
  for (Member* member : leaving) {
    closeMember(*member, member->isAgent() ? ofAgent : ofPhones);
    remove(*member);
  }
  dropSnapshot(room);
  rooms.erase(found);
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

void PairingRooms::tick(Instant now) {
  pingAndDropSilent(now);
  sendStatusThatIsDue(now);
  constexpr std::chrono::seconds kForgettingInterval{5};
  if (now < nextForgetting) return;
  nextForgetting = now + kForgettingInterval;
  forgetEmptyRooms(now);
}

void PairingRooms::pingAndDropSilent(Instant now) {
  PeersInOrder silent;
  PeersInOrder tooLong;
  for (const auto& [peer, owned] : members) {
    Member& member = *owned;
    if (member.partSince && now - *member.partSince >= limits.message) tooLong.emplace(member.number, peer);
    if (now - member.receivedAt >= limits.idle) {
      silent.emplace(member.number, peer);
      continue;
    }
    if (now - member.pingedAt < limits.ping) continue;
    member.pingedAt = now;
    member.peer->ping();
  }
  // The status sent because one peer was dropped may be too much for another, which is then dropped as well.
  for (const auto& [number, peer] : silent) {
    if (Member* member = memberOf(*peer)) expel(*member, std::nullopt, now);
  }
  for (const auto& [number, peer] : tooLong) {
    if (Member* member = memberOf(*peer)) expel(*member, CloseCode::tooManyMessages, now);
  }
}

void PairingRooms::sendStatusThatIsDue(Instant now) {
  PeersInOrder uninformed;
  for (const auto& [peer, owned] : members) {
    if (!owned->isAgent() && now - owned->statusSentAt >= limits.ping) uninformed.emplace(owned->number, peer);
  }
  for (const auto& [number, peer] : uninformed) {
    if (Member* phone = memberOf(*peer)) sendMacStatus(*phone, now);
  }
}

void PairingRooms::forgetEmptyRooms(Instant now) {
  for (auto at = rooms.begin(); at != rooms.end();) {
    Room& room = *at->second;
    noteInUse(room, now);
    // When the last peer left is noticed here first, which is early enough.
    if (room.isEmpty() && room.emptySince == Instant{}) room.emptySince = now;
    const Duration longest = room.snapshot ? Duration(limits.snapshotAfter) : Duration(limits.roomAfter);
    const bool isOver = room.isEmpty() && now - room.emptySince >= longest;
    if (isOver) dropSnapshot(room);
    at = isOver ? rooms.erase(at) : std::next(at);
  }
}

// Few at a time: each may have to be written to the disk.
void PairingRooms::noteInUse(Room& room, Instant now) {
  constexpr std::size_t kMostAtOnce = 16;
  if (room.isEmpty() || now - room.usedAt < limits.usedStep || inUse.size() >= kMostAtOnce) return;
  room.usedAt = now;
  inUse.push_back(room.pairingID);
}

// ---- Memory

void PairingRooms::makeRoom(Instant now) {
  // A connection that was ended may release what it kept a little later.
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
      for (const auto& [pairingID, room] : rooms) room->decisions.clear();
      return;
    }
    excess -= std::min(excess, released);
  }
}

// Of those who come from the widest network that makes the relay keep most, the one who does so most; of several, the
// newest. Null: none of them makes it keep anything.
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
