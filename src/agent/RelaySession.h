#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "foundation/CallbackScope.h"
#include "platform/network/Http.h"
#include "platform/network/WebSocket.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/process/Executors.h"
#include "platform/process/Random.h"
#include "push/PushSchedule.h"
#include "push/PushText.h"
#include "relay/ClockStamp.h"
#include "relay/InstallationSecrets.h"
#include "relay/PairingConfiguration.h"
#include "relay/PendingRevocations.h"
#include "relay/RelayClient.h"
#include "relay/RelayCommands.h"
#include "relay/RelayLaunchConfiguration.h"
#include "relay/RelayRegistrationTask.h"
#include "relay/RelayStatus.h"
#include "relay/SealedConversation.h"
#include "values/Time.h"

namespace quillard {

// What the session is made over. All of it outlives the session.
struct RelaySessionDependencies {
  PairingConfiguration& pairingConfiguration;
  platform::Executors& executors;
  platform::HttpSessions& httpSessions;
  platform::WebSockets& webSockets;
  platform::Clock& clock;
  platform::Random& random;
  platform::Console& console;
  const StampClock& stampClock;
};

// What the phones are to be shown.
struct ApprovalSnapshot {
  std::vector<PendingApproval> approvals;  // Oldest first.
  bool accessibilityTrusted = false;
  ComputerState state{};
};

// What the session asks and reports, on the main thread, none of it after `stop`. None may be empty.
struct RelaySessionCallbacks {
  std::function<ApprovalSnapshot()> snapshotProvider;
  std::function<void(const ApprovalRequestEnvelope&)> onApprovalRequest;
  std::function<void(const ApprovalSuppressionCommand&)> onSuppressionCommand;
  std::function<void()> onStatusChange;
  // The identity is about to be replaced, and the old connection is gone: whoever was paired has no say any more. Only
  // somebody at this computer can bring that about.
  std::function<void()> onPairingForgotten;
  // The new identity is there, and the relay is started with it.
  std::function<void()> onPairingRenewed;
  // The pairing was given up by `endPairing`, and nothing follows. May destroy the session in a later turn.
  std::function<void()> onPairingEnded = [] {};
  // The pairing is given up: from now on, which is inside the call that asked for it, whoever was paired has no say and
  // is shown nothing. What the relay has to be told until it is known to know; absent: it calls the pairing revoked, or
  // there is nothing to be told.
  std::function<void(const std::optional<UnsentRevocation>&)> onPairingEnding =
      [](const std::optional<UnsentRevocation>&) {};
  // What phones are told when one comes online.
  std::function<MeetingReports()> meetingReports = [] { return MeetingReports{}; };
  // See RelayClientCallbacks.
  std::function<void(const std::vector<PhoneSubscription>&)> onPushSubscriptions =
      [](const std::vector<PhoneSubscription>&) {};
  std::function<void(const PushResultRelayMessage&)> onPushResult = [](const PushResultRelayMessage&) {};
};

// The agent's side of the relay: registers the installation's token, keeps the connection, tells the phones what is
// pending, and resets the pairing.
//
// States: unconfigured -> registering, again every 3 s -> connected -> reset, and registering again; and stopped. From
// registering and connected also: revoked -> registering, once an hour.
//
// A relay that refuses the connection because it does not know the token (it lost its database, say) is given the token
// again, 3 s later; while that does not help, after twice as long each time, 60 s at most. What is remembered of opened
// boxes stays, also when another relay is chosen, or the same one again: no relay can have a box opened twice.
//
// A relay that calls the pairing revoked is believed only so far that it is left alone: nothing is sent to it but one
// registration an hour, in case it thinks otherwise by then, or at the next start of the agent. The identity stays: no
// relay can make this computer throw it away, which would cut off its phones for good. Whoever sits at the computer is
// told, and can pair anew by `unpairPhoneFromStatusWindow`.
//
// Each start of the relay and each reset begins a new `relayGeneration`. What was begun in an earlier one and ends
// later does nothing: the counter does the work of locks and cancellations. Main thread; the client has a queue of its
// own, which never touches the session.
class RelaySession {
 public:
  RelaySession(const RelaySessionDependencies& dependencies, RelaySessionCallbacks callbacks);
  // As `stop`, but an open connection is dropped without a close message.
  ~RelaySession();
  RelaySession(const RelaySession&) = delete;
  RelaySession& operator=(const RelaySession&) = delete;

  // Begins to register. Nothing happens without a relay; an address to which nothing may be sent is printed.
  void startRelayIfConfigured();
  // Another relay was chosen, or none: lets go of the one before, and begins with the new one as the same pairing.
  void relayWasChosen();

  // Sends what is pending, shortened when it is too long for one message, which is printed once. Unless `force`, not
  // again what was sent before. Nothing happens without a connection.
  void publishCurrentApprovalSnapshot(bool force);
  // Tells the phones that are connected the time and which phones are new. Dropped without a connection.
  void publishClock();
  // Dropped without a connection.
  void publishResult(const std::string& decisionID, const ApprovalResultCommand& result);

  // Encrypts it for that phone and hands it to the relay. False: it cannot be sent as it is.
  [[nodiscard]] bool publishPush(const PushPlan& plan, const PushContents& contents);

  // Asks the relay to remove all phones, then takes a new identity whatever comes of that: as soon as the connection
  // took the request, after two seconds at most, or when another relay is chosen meanwhile. A second request while one
  // is under way is the same request.
  void unpairPhoneFromStatusWindow();

  // The same, without a new identity: the session is at its end.
  void endPairing();

  // As the client reported it last.
  [[nodiscard]] const RelayConnectionStatus& status() const { return relayStatus; }
  // Whether the relay called the pairing revoked when it was last asked. `onStatusChange` comes after each change.
  [[nodiscard]] bool isPairingRevoked() const { return pairingRevoked; }
  // Whether the relay has taken the token of the present identity in this run.
  [[nodiscard]] bool wasRegistered() const { return tokenRegistered; }
  // The same, and the reason is that it knows another computer by a key of its own for this pairing.
  [[nodiscard]] bool isOtherComputers() const { return pairingRevoked && otherComputer; }
  // Asks a relay that called the pairing revoked again, if the last time is an hour ago by the wall clock: the timer
  // for that may have stood still while the computer slept. To be called every few seconds.
  void askAgainIfDue();

  // Ends the registration and closes the connection. Waits, for half a second at most, until the relay was sent a close
  // message. Nothing is sent or reported afterwards.
  void stop();
  // The first half of it, which does not wait, where several sessions end together.
  void beginToStop();

  // Whether the phones need the list although it may not have changed: a phone came online, or it is another one. A
  // connection alone is no reason.
  [[nodiscard]] static bool phoneNeedsSnapshot(const RelayConnectionStatus& before, const RelayConnectionStatus& now);

 private:
  // Where the session registers and connects, and as whom.
  struct Access {
    RelayLaunchConfiguration configuration;
    std::string socketURL;
    InstallationSecrets secrets;
  };

  [[nodiscard]] std::optional<Access> findAccess() const;
  // The key among them is the one that is shown to this relay.
  [[nodiscard]] static InstallationSecrets secretsFor(InstallationSecrets secrets, const std::string& relayURL);
  void registerRelayToken();
  void registerRelayTokenAfter(Seconds delay);
  void relayTokenRegistered();
  void relayWantsComputerKey();
  void relayTokenNotRegistered(const std::string& description);
  void relayRefused(RelayRefusal refusal);
  void relayRevokedPairing(bool isOtherComputers);
  void askAgainInAnHour();
  [[nodiscard]] std::unique_ptr<RelayClient> makeRelayClient();
  [[nodiscard]] RelayClientCallbacks relayClientCallbacks();
  void relayStatusChanged(const RelayConnectionStatus& status);
  void unpair(bool takesNewIdentity);
  void unpaired();
  [[nodiscard]] std::optional<UnsentRevocation> revocation() const;
  void rotatePairingIdentityAfterUnpair();
  // What was begun with it ends without a word.
  void letGoOfRelay();
  void forgetPairing();
  void beginRelayGeneration();
  void dropRelayClient();
  void awaitRelayQueue();

  const RelaySessionDependencies dependencies;
  const RelaySessionCallbacks callbacks;
  std::int64_t relayGeneration = 0;
  bool isStopped = false;
  bool pairingResetInProgress = false;
  bool resetTakesNewIdentity = false;  // The reset under way.
  bool isEnded = false;                // By `endPairing`.
  bool tokenRegistered = false;
  bool pairingRevoked = false;   // The relay says so.
  bool otherComputer = false;    // The same: because it knows another computer's key.
  std::optional<Access> access;  // Of this generation. Absent: there is no relay to use.
  RelayConnectionStatus relayStatus;
  std::string lastSnapshotWarning;  // What was printed of the last list that was too long; empty: it was not.
  std::unique_ptr<platform::SerialExecutor> relayQueue;  // Of every client, one after another; made with the first.
  std::shared_ptr<SealedConversation> conversation;      // Of the present identity, in the clients' queue.
  Secret clientKey;                                      // The client's proof that it is the computer.
  std::unique_ptr<RelayClient> relayClient;              // Present once the token is registered.
  std::unique_ptr<RelayRegistrationTask> relayRegistrationTask;  // Present while the token is being registered.
  platform::TaskHandle nextRegistration;                         // Present while one is waited for, after a refusal.
  Seconds nextRegistrationDelay;                                 // After a token that the relay does not know.
  Date askAgainAt;                                               // Of a pairing that is called revoked.
  platform::TaskHandle resetEnd;                                 // Present while a reset waits for the connection.
  CallbackScope scope;                                           // Last.
};

}  // namespace quillard
