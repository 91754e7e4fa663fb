#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/cluster/ClusterMirror.h"
#include "companion/relay/cluster/ClusterStore.h"
#include "companion/relay/cluster/RelayDisk.h"
#include "companion/relay/rules/EventLog.h"
#include "companion/relay/rules/RelayMetrics.h"
#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

// How long a relay believes what it knows. docs/relay.md says why.
struct ClusterTimes {
  std::chrono::milliseconds beat{250};
  std::chrono::milliseconds keep{500};  // How often the lease is renewed.
  // A watch that shows nothing for so long is made anew. Twice as long for each that has not shown anything at all, up
  // to `longestWatchSilence`: on a machine that is busy, one takes a while to begin.
  std::chrono::milliseconds watchSilence{600};
  std::chrono::milliseconds longestWatchSilence{4'000};
  // Then other relays are asked whether they have the engine still. Longer than it takes to go from a member that
  // stands still to the next one, and short enough for agents, who come back after three seconds, to be elsewhere after
  // five.
  std::chrono::milliseconds neighbour{1'300};
  std::chrono::milliseconds admission{6'000};  // Then nobody new is let in,
  std::chrono::milliseconds fence{60'000};     // and everybody is sent away.
  std::chrono::milliseconds sleep{2'000};      // A process that did nothing for so long has been stopped.
  std::chrono::milliseconds tombstone{5'000};  // How long a revocation waits for the engine before it is told.
  // Longer than the agents of a relay that is cut off need to be elsewhere: else phones that wait for them take the
  // home first, and are sent there once more.
  int leaseSeconds = 5;
};

// One relay's part in a cluster: it shows that it lives, follows what the others do, knows how fresh that is, and takes
// homes for its rooms.
//
// States: joining -> serving -> fenced -> serving again. Fenced: no connection may stay, and nobody is let in, because
// it is not known any more who has which room. Another process that is started under its name supersedes it: it stays
// fenced. `now` is of a clock that goes on while the computer sleeps. Not thread-safe:
// the thread of the event loop.
class ClusterMember {
 public:
  struct Options {
    std::string relay;    // Its name, of its own among all.
    std::string address;  // Where the others reach it.
    std::string run;      // Random, new each time that the process starts.
    ClusterTimes times{};
  };
  // Called from inside its operations; may ask it, but not call `tick`.
  struct Listener {
    std::function<void(const std::string& pairingID)> movedAway;  // The home is another relay's.
    std::function<void(const std::string& pairingID)> revoked;
    std::function<void(const std::string& pairingID)> homeChanged;
    std::function<void(const std::string& relay)> relayChanged;
    std::function<void()> fenced;
    std::function<void()> proven;  // What was known before sleeping is known to be so still, or was changed.
  };
  // All of it outlives the member.
  struct Dependencies {
    ClusterStore& store;
    RelayDisk& disk;
    EventLog& log;
  };
  ClusterMember(const Dependencies& dependencies, Options options, Listener listener);

  // To be called a few times a second from then on.
  void tick(Instant now);
  // Gives its homes away, so that others can take them before its lease ends. `done` once, when that is done or failed.
  void leave(const std::function<void()>& done);

  // Whether somebody may be let in by what the mirror says.
  [[nodiscard]] bool isFresh(Instant now);
  // Whether a message may be handed on. Asked before each: a woken process may read its sockets before anything else.
  // False: it is to be held until `proven`, or everybody was sent away.
  [[nodiscard]] bool mayServe(Instant now);
  // For how long it has had the engine without a gap. Zero: it has not.
  [[nodiscard]] Duration steadyFor(Instant now);
  // Another relay has answered so when it was asked the same. Where it has had the engine for a while and this one has
  // not, this one alone is cut off: a moment's difference after an election says nothing.
  void noteNeighbour(Duration steadyFor, Instant now);
  // It has not had the engine for so long that the others are to be asked.
  [[nodiscard]] bool isInDoubt(Instant now) const;

  [[nodiscard]] const ClusterMirror& mirror() const { return known; }
  [[nodiscard]] const std::string& name() const { return options.relay; }
  [[nodiscard]] bool isFenced() const { return state != State::serving; }

  // Where the room of a pairing is.
  struct Residence {
    enum class Kind { none, here, elsewhere };
    Kind kind = Kind::none;
    std::string relay{};  // Of `elsewhere`, as is the next.
    std::string address{};
  };
  [[nodiscard]] Residence residenceOf(const std::string& pairingID) const;

  enum class Claim { here, elsewhere, revoked, noPairing, unknown };
  // Makes this relay the home. By an agent, wherever it was before; by a phone, only where no living relay is the home.
  void claim(const std::string& pairingID, bool isByAgent, std::function<void(Claim)> done);
  // Reads what the store has of a pairing now into the mirror. False: it is not known.
  void refresh(const std::string& pairingID, std::function<void(bool)> done);

  // Runs a transaction, and brings what it read into the mirror.
  void transact(ClusterTransaction transaction, ClusterStore::Done<ClusterTransactionResult> done);

  // For good: on the disk first, then in the store, which is tried until it has it. `done` when it has, or after
  // `times.tombstone`.
  void revoke(const std::string& pairingID, std::int64_t at, std::function<void()> done);
  // The store does not have it yet.
  [[nodiscard]] bool isUnsaved(const std::string& pairingID) const { return tombstones.contains(pairingID); }
  [[nodiscard]] std::size_t unsavedCount() const { return tombstones.size(); }
  [[nodiscard]] ClusterMetrics metrics(Instant now);
  // Throws PairingStore::Failure: a revocation could not be kept on this relay's own disk now.
  void probeDisk() { disk.probe(); }

 private:
  enum class State { joining, serving, fenced };
  struct Tombstone {
    std::int64_t at = 0;
    bool isUnderWay = false;
    std::optional<Instant> latest{};  // Of `done`.
    std::vector<std::function<void()>> done{};
  };

  // Notices that the process has slept.
  void noteTurn(Instant now);
  void readEverything();
  void didReadEverything(const ClusterReading& reading);
  void startWatch();
  [[nodiscard]] bool isWatchSilent() const;
  void didWatch(const std::vector<ClusterEvent>& events);
  void takeLease();
  void beat();
  void noteProof();
  void checkFence();
  void fence(const std::string& why);
  void didChangeHome(const std::string& pairingID);

  void sendTombstone(const std::string& pairingID);
  void didSendTombstone(const std::string& pairingID, bool isKept);
  void sendTombstones();
  void bringDiskIntoStore();
  void bringNextPairing();
  [[nodiscard]] bool isLiving(const HomeRecord& home) const;
  void claimAgain(const std::string& pairingID, bool isByAgent, int attempts, std::function<void(Claim)> done);

  ClusterStore& store;
  RelayDisk& disk;
  EventLog& log;
  const Options options;
  const Listener listener;
  ClusterMirror known;
  State state = State::joining;
  std::uint64_t fences = 0;
  bool hasEverything = false;
  bool isReading = false;
  bool isLeaving = false;
  Instant latestTurn{};
  Instant resumedAt{};  // Since then it has had its turns without a gap that counts.
  Instant wokenAt{};
  Instant provenAt{};  // All that had happened by then is in the mirror.
  Instant steadySince{};
  bool mustProve = false;
  Instant nextBeat{};
  Instant nextKeep{};  // Of the lease.
  Instant watchSince{};
  Instant watchReceivedAt{};  // When it last showed something, or was begun.
  Duration watchTime;         // How long the present one may show nothing.
  bool isWatching = false;
  std::uint64_t watchNumber = 0;  // Of the newest watch: what earlier ones say is not listened to.
  std::optional<LeaseNumber> lease;
  bool isTakingLease = false;
  std::int64_t beats = 0;
  std::map<std::int64_t, Instant> sentBeats;    // That have not come back.
  std::map<std::string, Tombstone> tombstones;  // By pairing. What the store does not have yet.
  Instant nextTombstones{};
  std::vector<RelayDisk::Pairing> earlierPairings;  // Which the store is still to be given.
  bool isBringing = false;
  bool isSuperseded = false;
};

}  // namespace quillard::relayserver
