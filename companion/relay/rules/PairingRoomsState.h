#pragma once

#include <algorithm>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "companion/relay/rules/PairingRooms.h"

// What PairingRooms keeps of a room and of a peer: for its own sources only.
namespace quillard::relayserver {

struct Decision {
  std::string id;
  std::shared_ptr<const PhoneDescription> phone;  // Shared by all decisions of one connection.
};

struct PairingRooms::Room {
  std::string pairingID;
  TokenBucket agentRate;
  NamedBuckets phoneRates;
  Member* agent = nullptr;
  std::uint64_t agentConnections = 0;  // How many there were.
  std::vector<Member*> phones;
  MessageText snapshot;
  std::list<Room*>::iterator snapshotPlace;  // While there is a snapshot.
  std::optional<Instant> agentReceivedAt;
  std::list<std::shared_ptr<const Decision>> decisions;  // Oldest first.
  std::shared_ptr<PairingTraffic> traffic;
  Instant emptySince{};  // While no peer is in it.
  Instant usedAt{};      // When that it is used was last noted.

  [[nodiscard]] bool isEmpty() const { return !agent && phones.empty(); }

  [[nodiscard]] const Decision* decision(const std::string& id) const {
    const auto found =
        std::find_if(decisions.begin(), decisions.end(), [&](const auto& kept) { return kept->id == id; });
    return found == decisions.end() ? nullptr : found->get();
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
  std::size_t partBytes = 0;         // So much of it is there.
  bool isAsleep = false;             // Of a phone: its page is hidden.
  UnpaidWork unpaid{};
  std::shared_ptr<const PhoneDescription> described{};  // Of a phone that has decided something.

  [[nodiscard]] bool isAgent() const { return who.role == Role::agent; }
  [[nodiscard]] PhoneDescription description() const { return {who.deviceID, who.deviceName, who.platform, isAsleep}; }
};

}  // namespace quillard::relayserver
