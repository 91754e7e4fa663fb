#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "agent/AppDelegate.h"
#include "platform/simulated/SimulatedWorld.h"
#include "relay/InstallationSecrets.h"
#include "relay/RelayCommands.h"
#include "relay/RelayMessages.h"
#include "relay/SnapshotRecords.h"

namespace quillard::samples {

using SocketHandle = platform::simulated::SimulatedWebSockets::ConnectionHandle;

// The identity that the agent keeps in its keychain now; `number`: see PairingConfiguration. Absent: none.
[[nodiscard]] std::optional<InstallationSecrets> keptSecrets(const platform::simulated::SimulatedWorld& world,
                                                             int number = 1);

// The relay of a simulated world: takes tokens, accepts the sockets of those that it was given, and routes between one
// agent and its phones.
class SimulatedRelay {
 public:
  explicit SimulatedRelay(platform::simulated::SimulatedWorld& world);

  // Kills every connection, and neither answers nor accepts until it comes up again.
  void goDown();
  void comeUp() { isUp = true; }
  // Kills every connection, and takes the next ones.
  void dropConnections();
  // What the agent sends on the connections that are open now is lost on its way, and neither side notices.
  void loseWhatIsSent();
  // From now on registrations are answered with this; absent: as they should be.
  void answerRegistrationsWith(std::optional<platform::HttpOutcome> outcome) {
    registrationAnswer = std::move(outcome);
  }
  // Kills every connection. From then on, 410 is the answer to registrations and sockets of the pairing.
  void revoke(const std::string& pairingID);
  // As if it had never been revoked.
  void unrevoke(const std::string& pairingID) { revokedPairingIDs.erase(pairingID); }
  // Kills every connection, and knows no token and no computer any more.
  void loseDatabase();
  // From now on it wants to know each pairing's computer by a key. At first it asks for none, and checks those that it
  // was shown.
  void wantComputerKeys() { wantsComputerKeys = true; }
  // From now on sockets are answered with this HTTP status; absent: as they should be.
  void answerSocketsWith(std::optional<int> status) { socketAnswer = status; }

  // The open connection on which this installation's agent listens. Empty: there is none.
  [[nodiscard]] SocketHandle agentOf(const InstallationSecrets& secrets) const;
  // What the agent sent, of one kind, over all connections, oldest first.
  [[nodiscard]] std::vector<std::string> received(std::string_view type) const;

  // Frames of one connection, with the identity that the agent had when it made it.
  struct Conversation {
    SocketHandle socket;
    InstallationSecrets secrets;
    bool losesWhatIsSent = false;
  };
  [[nodiscard]] const std::vector<Conversation>& conversations() const { return all; }
  // The pairings that an agent has asked to revoke, oldest first. Revoked they are, too.
  [[nodiscard]] std::vector<std::string> revokedByAgents() const;

 private:
  platform::HttpOutcome registered(const platform::HttpRequest& request);
  void started(const SocketHandle& socket);
  [[nodiscard]] std::optional<InstallationSecrets> secretsOf(const std::string& token) const;
  [[nodiscard]] bool isRevoked(const std::string& pairingID) const;
  // Absent: this computer may use the pairing. Otherwise the status that says why not.
  [[nodiscard]] std::optional<int> learnComputer(const std::string& pairingID, const std::optional<std::string>& key);
  [[nodiscard]] bool isComputer(const std::string& pairingID, const std::optional<std::string>& key) const;

  platform::simulated::SimulatedWorld& world;
  bool isUp = true;
  std::optional<platform::HttpOutcome> registrationAnswer;
  std::optional<int> socketAnswer;
  std::set<std::string> revokedPairingIDs;
  std::set<std::string> tokens;  // Of all pairings.
  bool wantsComputerKeys = false;
  std::map<std::string, std::string> computerKeys;  // By pairing.
  std::vector<Conversation> all;
};

// What the phone was shown.
struct PhoneSnapshot {
  std::vector<PendingApproval> approvals;
  bool accessibilityTrusted = false;
  SnapshotMarks marks;
  ComputerState state;
};

// What the phone was answered.
struct PhoneResult {
  std::string decisionID;
  ApprovalResultCommand command;
};

// A phone that scanned the code when it was last told to pair. It reads what the agent seals for that pairing, and
// nothing else.
class SimulatedPhone {
 public:
  SimulatedPhone(platform::simulated::SimulatedWorld& world, SimulatedRelay& relay);

  // Takes over the identity of the agent as it is now; `number`: which of them.
  void pair(int number = 1);
  // The relay tells the agent about it.
  void comeOnline(const std::string& deviceName = "Ann's phone");
  // Several of one pairing; the relay tells the agent about all of them together.
  void comeOnlineTogether(const std::vector<std::string>& deviceNames);
  void goOffline();
  // Whether it says of its decisions from now on that it has asked for its own lock.
  void verifyUser(bool isVerified) { isUserVerified = isVerified; }

  // Sends a decision through the relay; false when no agent listens.
  bool send(const std::string& decisionID, const Uuid& approvalID, const std::string& buttonLabel);
  // As a phone seals it that says when a person decided: `tappedAt`, or else now. To be delivered as often as the test
  // wants.
  [[nodiscard]] EncryptedRelayPayload timedRequest(const std::string& decisionID, const Uuid& approvalID,
                                                   const std::string& buttonLabel,
                                                   const std::optional<ClockStamp>& tappedAt = std::nullopt);
  // False when no agent listens.
  bool deliver(const std::string& decisionID, const EncryptedRelayPayload& request);
  // The same under a new identifier, which is returned. Absent when no agent listens.
  std::optional<std::string> decide(const Uuid& approvalID, const std::string& buttonLabel);
  bool suppress(const Uuid& suppressionID) { return sendSuppression("suppress", suppressionID); }
  bool unsuppress(const Uuid& suppressionID) { return sendSuppression("unsuppress", suppressionID); }
  // `lasts`: in seconds, 0 until it is undone; absent, as older phones leave it, until the agent ends.
  bool sendSuppression(const std::string& action, const Uuid& suppressionID,
                       std::optional<std::int64_t> lasts = std::nullopt);
  // The same box again, as a relay does that repeats what it was given. False when no agent listens.
  bool repeatSuppression();

  // Everything that came for this pairing, oldest first.
  [[nodiscard]] std::vector<PhoneSnapshot> snapshots();
  [[nodiscard]] std::vector<PhoneResult> results();
  // The newest that came, in a list, a result or by itself. Absent: none did.
  [[nodiscard]] std::optional<ClockStamp> newestClock();
  // The phones that joined unexpectedly, as they were told last.
  [[nodiscard]] std::vector<NewPhone> newPhones();
  // What was told when it came online last.
  [[nodiscard]] MeetingReports meeting();
  // The newest list; empty also when none came yet.
  [[nodiscard]] std::vector<PendingApproval> shown();
  [[nodiscard]] std::vector<std::string> shownTitles();
  // The results of one decision, as "status" or "status: error".
  [[nodiscard]] std::vector<std::string> answers(const std::string& decisionID);

 private:
  void sendStatus(bool isConnected, const std::string& deviceName);
  [[nodiscard]] std::string opened(const EncryptedRelayPayload& payload) const;
  [[nodiscard]] ComputerState readState(const EncryptedRelayPayload& payload) const;
  void read();

  platform::simulated::SimulatedWorld& world;
  SimulatedRelay& relay;
  platform::simulated::SimulatedRandom random;
  std::optional<InstallationSecrets> secrets;
  int decisionCount = 0;
  std::string lastSuppression;                    // As it was sent.
  std::map<std::size_t, std::size_t> framesRead;  // By conversation.
  std::vector<PhoneSnapshot> allSnapshots;
  std::vector<PhoneResult> allResults;
  std::optional<ClockStamp> clock;
  MeetingReports lastMeeting;
  bool isUserVerified = false;
};

// A whole agent in a simulated world, installed, trusted and with a relay configured, unless a test says otherwise
// before it launches.
class AgentWorld {
 public:
  explicit AgentWorld(std::uint64_t seed = 1);
  ~AgentWorld();
  AgentWorld(const AgentWorld&) = delete;
  AgentWorld& operator=(const AgentWorld&) = delete;

  void construct();
  void launch();
  // As `launch`, until detection runs and a phone is paired and online.
  void launchAndPair();
  // Ends the agent as the system does: told first, destroyed afterwards.
  void quit();
  // As the system does, in a turn of the main thread, once the turn that may be under way there has ended.
  void destroyAgent();

  void advance(double seconds) { world.advance(Seconds{seconds}); }
  // In a turn of the main thread; lets time pass while that is in the middle of something.
  template <class Act>
  void onMainThread(Act act) {
    const auto isDone = std::make_shared<bool>(false);
    world.time().runOnMainThread([&, isDone] {
      act(*agent);
      *isDone = true;
    });
    while (!*isDone) advance(0.01);
  }

  platform::simulated::SimulatedDesktop& desktop() { return world.desktop(); }
  // The number that the menu bar shows to tell apart from none.
  [[nodiscard]] bool menuBarShowsPending();
  [[nodiscard]] MacStatusSnapshot status();

  platform::simulated::SimulatedWorld world;
  SimulatedRelay relay{world};
  SimulatedPhone phone{world, relay};
  std::shared_ptr<AppDelegate> agent;
};

// A dialog that is a prompt beyond doubt.
[[nodiscard]] platform::simulated::DialogSpec erasePrompt(const std::string& title = "Erase disk?");

}  // namespace quillard::samples
