#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "companion/relay/EventLog.h"
#include "companion/relay/Pairings.h"
#include "companion/relay/PeerIntroduction.h"
#include "companion/relay/RelayLimits.h"
#include "companion/relay/RelayMetrics.h"
#include "companion/relay/RelayPeer.h"
#include "companion/relay/RelayTime.h"
#include "companion/relay/RoomMessages.h"

namespace quillard::relayserver {

// Who is connected, and who hears what from whom: one room a pairing. All of the protocol between agents and phones is
// here; sockets, and who may join, are not.
//
// A peer is unknown -> joined -> gone: it left, or the rooms have closed it. Of one that is gone nothing is taken.
class PairingRooms {
 public:
  // What the rooms are made over. All of it outlives them.
  struct Dependencies {
    Pairings& pairings;
    const RelayLimits& limits;
    RelayMetrics& metrics;
    EventLog& log;
  };
  explicit PairingRooms(const Dependencies& dependencies);
  ~PairingRooms();
  PairingRooms(const PairingRooms&) = delete;
  PairingRooms& operator=(const PairingRooms&) = delete;

  // Whether one more phone fits in: one that takes the place of its own earlier connection always does.
  [[nodiscard]] bool hasPlaceFor(const PeerIntroduction& who) const;
  void join(const std::shared_ptr<RelayPeer>& peer, PeerIntroduction who, Instant now);
  void leave(RelayPeer& peer, Instant now);

  // Bytes came from the peer, of whatever kind.
  void heard(const RelayPeer& peer, Instant now);
  // A whole message came.
  void take(RelayPeer& peer, std::string_view text, Moment now);
  // Pings, tells phones of their computer, and drops whom nothing was heard from. To be called a few times a second.
  void tick(Instant now);

  struct Presence {
    bool isAgentConnected = false;
    std::size_t phoneCount = 0;
  };
  [[nodiscard]] Presence presenceOf(const std::string& pairingID) const;

  // Closes one of those that are left. False: nobody is.
  bool closeNext(CloseCode code);
  [[nodiscard]] std::size_t peerCount() const { return members.size(); }
  // All that is known of these pairings, which nobody knows any more.
  void forget(const std::vector<std::string>& pairingIDs);

 private:
  struct Room;
  struct Member;

  Member* memberOf(const RelayPeer& peer);
  Room& roomOf(const std::string& pairingID, Instant now);
  void joinAsAgent(Member& member, Instant now);
  void joinAsPhone(Member& member, Instant now);

  void takeFromAgent(Member& member, std::string_view text, Moment now);
  void takeFromPhone(Member& member, std::string_view text, Moment now);
  void takeSnapshot(Room& room, const SnapshotMessage& message, Instant now);
  void takeResult(Room& room, ResultMessage message, Instant now);
  void unpair(Room& room, const UnpairMessage& message, Moment now);
  void takeRequest(Member& member, const RequestMessage& message, Instant now);
  void takeSuppression(Member& member, const SuppressionMessage& message, Instant now);
  void passToAgent(Member& phone, const std::string& decisionID, const MessageText& text, Instant now);

  // Those that do not keep up are closed, after all others have been served.
  void sendTo(const std::vector<Member*>& whom, const MessageText& text, Instant now);
  void sendMacStatus(Member& phone, Instant now);
  void tellPhonesOfMac(Room& room, Instant now);
  void tellAgentOfPhones(Room& room, Instant now);

  // Takes the member out of its room and closes it; the others are told.
  void expel(Member& member, std::optional<CloseCode> code, Instant now);
  // The same without telling anybody.
  void remove(Member& member);
  void closeMember(Member& member, std::optional<CloseCode> code);
  void keepSnapshot(Room& room, MessageText text);
  void dropSnapshot(Room& room);

  Pairings& pairings;
  const RelayLimits& limits;
  RelayMetrics& metrics;
  EventLog& log;
  std::unordered_map<std::string, std::unique_ptr<Room>> rooms;
  std::unordered_map<const RelayPeer*, std::unique_ptr<Member>> members;
  std::list<Room*> roomsWithSnapshots;  // The one whose snapshot is oldest comes first.
};

}  // namespace quillard::relayserver
