#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/MemoryBudget.h"
#include "companion/relay/rules/Pairings.h"
#include "companion/relay/rules/PeerIntroduction.h"
#include "companion/relay/rules/PrefixCounts.h"
#include "companion/relay/rules/RelayLimits.h"
#include "companion/relay/rules/RelayMetrics.h"
#include "companion/relay/rules/RelayPeer.h"
#include "companion/relay/rules/RelayTime.h"
#include "companion/relay/rules/RoomMessages.h"
#include "companion/relay/rules/RoomPush.h"
#include "companion/relay/rules/TrafficBudget.h"

namespace quillard::relayserver {

// The connected peers, one room for each pairing, and which message goes to which of them. All of the protocol between
// agents and phones is here; sockets, and the decision who may join, are not. Time comes in as a parameter.
//
// States of a peer: unknown -> joined -> gone, because it left or because the rooms closed it. Messages of a peer that
// is gone are ignored. Not thread-safe: everything runs on the thread of the event loop. Peers are called from inside
// these operations, and never call back before they return.
class PairingRooms {
 public:
  // What the rooms are made over. All of it outlives them.
  struct Dependencies {
    Pairings& pairings;
    MemoryBudget& memory;
    const RelayLimits& limits;
    RelayMetrics& metrics;
    EventLog& log;
    RoomPush* push = nullptr;  // Null: this relay wakes no phones, and takes its messages for unknown ones.
  };
  explicit PairingRooms(const Dependencies& dependencies);
  ~PairingRooms();
  PairingRooms(const PairingRooms&) = delete;
  PairingRooms& operator=(const PairingRooms&) = delete;

  // Whether one more phone may join. A phone that replaces its own earlier connection always may; so does an agent.
  [[nodiscard]] bool hasRoomFor(const PeerIntroduction& who) const;
  // The same, when it comes from there: where all places are taken, it takes one of an address that has at least two
  // more of them, whose newest phone leaves. Nobody who has the code fills the places of the others from one address.
  [[nodiscard]] bool hasRoomFor(const PeerIntroduction& who, const RatePrefixes& from) const;
  // Whether one more WebSocket may come from there.
  [[nodiscard]] bool hasRoomFrom(const RatePrefixes& from) const { return membersFrom.hasRoom(from); }
  // `from`: where it comes from, for what its messages cost.
  void join(const std::shared_ptr<RelayPeer>& peer, PeerIntroduction who, RatePrefixes from, Instant now);
  void leave(RelayPeer& peer, Instant now);

  // What comes from a peer. Each of these says how long to wait before more is read from it: see TrafficBudget. They
  // are ignored for a peer that is gone.
  //
  // Any bytes came, pongs included: it is alive. What they were is told by the next three.
  Duration didReceiveBytes(const RelayPeer& peer, std::size_t bytes, Instant now);
  // A ping or a pong.
  Duration didReceiveControl(const RelayPeer& peer, Instant now);
  // A part of a message came, so many bytes of it, and is kept until the rest is there. Where too much memory is kept,
  // those who make the relay keep most are dropped, this peer or others.
  Duration didReceivePart(const RelayPeer& peer, std::size_t bytes, Instant now);
  // A whole message came. A peer that breaks a limit or the protocol is closed, with the code that says why.
  Duration take(RelayPeer& peer, std::string_view text, Moment now);
  // What became of a text that a peer had under way, by the number that it was sent with. Written: the connection took
  // all of it. Dropped: it ended before that, so nobody has got the whole text.
  void didWrite(std::uint64_t number, Instant now);
  void didDrop(std::uint64_t number, const MessageText& text, Instant now);
  // Pings peers, sends phones the status of their computer, drops peers that were silent for `limits.idle` or did not
  // finish a message in `limits.message`, and forgets rooms that no peer was in for long. To be called a few times a
  // second.
  void tick(Instant now);

  // Pairings that have a connected peer, each again after `limits.usedStep`, a few at a time. To be asked after `tick`.
  [[nodiscard]] std::vector<std::string> takePairingsInUse() { return std::exchange(inUse, {}); }

  struct Presence {
    bool isAgentConnected = false;
    std::size_t phoneCount = 0;
  };
  [[nodiscard]] Presence presenceOf(const std::string& pairingID) const;

  // Closes all peers of a pairing with these codes and forgets its room: what it held is not true any more.
  void closeRoom(const std::string& pairingID, CloseCode ofAgent, CloseCode ofPhones);
  // Closes one of the peers that are left. False: there are none.
  bool closeNext(CloseCode code);
  // What became of a push. Dropped where whom it concerns is not connected.
  void tellAgent(const std::string& pairingID, std::string text, Instant now);
  void tellPhone(const std::string& pairingID, const std::string& deviceID, std::string text, Instant now);
  // To the agent, if it is connected: which phones can be woken.
  void sendPushList(const std::string& pairingID, Instant now);
  [[nodiscard]] std::size_t peerCount() const { return members.size(); }
  [[nodiscard]] std::size_t roomCount() const { return rooms.size(); }
  // Drops what is kept of these pairings, which were purged; those with a connected peer stay.
  void forget(const std::vector<std::string>& pairingIDs);

 private:
  struct Room;
  struct Member;
  // A receipt that is not sent before it is known what became of the phone's message.
  struct AwaitedReceipt {
    std::weak_ptr<RelayPeer> phone;
    std::string decisionID;
  };

  Member* memberOf(const RelayPeer& peer);
  Room& roomOf(const std::string& pairingID, Instant now);
  void joinAsAgent(Member& member, Instant now);
  void joinAsPhone(Member& member, Instant now);
  // The newest phone from the address that has most of a room's phones, if that has at least two more than `from`.
  // Null: there is none.
  static Member* crowding(const Room& room, const RatePrefixes& from);

  // How many bytes of the message were sealed.
  std::size_t takeFromAgent(Member& member, std::string_view text, Moment now);
  std::size_t takeFromPhone(Member& member, std::string_view text, Moment now);
  void pingAndDropSilent(Instant now);
  void sendStatusThatIsDue(Instant now);
  void forgetEmptyRooms(Instant now);
  void noteInUse(Room& room, Instant now);
  Duration pay(Member& member, const TrafficWork& work, Instant now);
  static void makeUpFor(Member& member, Duration wait, Instant now);
  Duration payIfWorthIt(Member& member, Instant now);
  void takeSnapshot(Room& room, SnapshotMessage message, Instant now);
  void takeClock(Room& room, ClockMessage message, Instant now);
  void takeResult(Room& room, ResultMessage message, Instant now);
  void unpair(Room& room, const UnpairMessage& message, Moment now);
  void takeRequest(Member& member, RequestMessage message, Instant now);
  void keepDecision(Member& member, const std::string& decisionID);
  void takeSuppression(Member& member, SuppressionMessage message, Instant now);
  void takePush(Member& member, PushSendMessage message, Moment now);
  void takePushSubscription(Member& member, const PushSubscribeMessage* message, Moment now);
  void sendPushList(Room& room, bool evenIfEmpty, Instant now);
  void takeAsleep(Member& phone, bool isAsleep, Instant now);
  void passToAgent(Member& phone, const std::string& decisionID, const MessageText& text, Instant now);
  void sendReceipt(Member& phone, const std::string& decisionID, std::optional<NotDelivered> reason, Instant now);
  // The phone that waits for the receipt of this number, which is not waited for any more, and for what. Null: it has
  // gone.
  std::pair<Member*, std::string> takeAwaited(std::uint64_t number);
  // Calls `send`, and has the phone pay for what that sends.
  void sendLater(Member& phone, const std::function<void()>& send);

  // Recipients that do not read fast enough are closed, after all others were served.
  void sendTo(const std::vector<Member*>& recipients, const MessageText& text, Instant now);
  void sendMacStatus(Member& phone, Instant now);
  void sendMacStatusToPhones(Room& room, Instant now);
  void sendPhoneStatusToAgent(Room& room, Instant now);

  // Closes the member, takes it out of its room and sends the others the new status. `code` absent: without a close
  // message.
  void expel(Member& member, std::optional<CloseCode> code, Instant now);
  // Takes the member out of its room, and nothing else.
  void remove(Member& member);
  void closeMember(Member& member, std::optional<CloseCode> code);
  // False: too much waits for it already.
  bool sendOne(Member& recipient, const MessageText& text);
  RelayPeer::Sending sendNumbered(Member& recipient, const MessageText& text, std::uint64_t number);
  void expelSlow(const std::vector<const RelayPeer*>& slow, Instant now);
  MessageText hold(std::string text) { return memory.hold(std::move(text)); }
  // Drops peers until what is kept fits, and where that is not enough, snapshots, and then who sent which decision.
  void makeRoom(Instant now);
  Member* heaviest();
  void keepSnapshot(Room& room, MessageText text);
  void dropSnapshot(Room& room);

  Pairings& pairings;
  MemoryBudget& memory;
  const RelayLimits& limits;
  RelayMetrics& metrics;
  EventLog& log;
  RoomPush* const push;
  TrafficBudget traffic;
  PrefixCounts membersFrom;
  std::vector<std::string> inUse;
  std::size_t textsSent = 0;
  std::size_t commits = 0;
  double waited = 0;               // For these, in seconds.
  std::uint64_t joinedBefore = 0;  // How many peers ever joined.
  Instant nextForgetting{};
  std::uint64_t numberedBefore = 0;  // How many texts were sent with a number.
  std::unordered_map<std::uint64_t, std::shared_ptr<const AwaitedReceipt>> awaited;
  std::unordered_map<std::string, std::unique_ptr<Room>> rooms;
  std::unordered_map<const RelayPeer*, std::unique_ptr<Member>> members;
  std::list<Room*> roomsWithSnapshots;  // The oldest snapshot comes first.
};

}  // namespace quillard::relayserver
