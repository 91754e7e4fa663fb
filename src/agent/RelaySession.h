#pragma once

#include <cstdint>
#include <functional>
#include <memory>
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
#include "relay/PairingConfiguration.h"
#include "relay/RelayClient.h"
#include "relay/RelayCommands.h"
#include "relay/RelayRegistrationTask.h"
#include "relay/RelayStatus.h"

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
};

// What the phones are to be shown.
struct ApprovalSnapshot {
  std::vector<PendingApproval> approvals;  // Oldest first.
  bool accessibilityTrusted = false;
};

// What the session asks and reports, on the main thread, none of it after `stop`. None may be empty.
struct RelaySessionCallbacks {
  std::function<ApprovalSnapshot()> snapshotProvider;
  std::function<void(const ApprovalRequestEnvelope&)> onApprovalRequest;
  std::function<void(const ApprovalSuppressionCommand&)> onSuppressionCommand;
  std::function<void()> onStatusChange;
  // The identity is about to be replaced, and the old connection is gone: whoever was paired has no say any more.
  std::function<void()> onPairingForgotten;
  // The new identity is there, and the relay is started with it.
  std::function<void()> onPairingRenewed;
};

// The agent's side of the relay: registers the installation's token, keeps the connection, tells the phones what is
// pending, and resets the pairing.
//
// States: unconfigured -> registering, again every 3 s -> connected -> reset, and registering again; and stopped.
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

  // Sends what is pending, shortened when it is too long for one message, which is printed once. Unless `force`, not
  // again what was sent before. Nothing happens without a connection.
  void publishCurrentApprovalSnapshot(bool force);
  // Dropped without a connection.
  void publishResult(const std::string& decisionID, const ApprovalResultCommand& result);

  // Asks the relay to remove all phones, then takes a new identity whatever comes of that. A second request while one
  // is under way is the same request.
  void unpairPhoneFromStatusWindow();

  // As the client reported it last.
  [[nodiscard]] const RelayConnectionStatus& status() const { return relayStatus; }

  // Ends the registration and closes the connection. Waits, for half a second at most, until the relay was sent a close
  // message. Nothing is sent or reported afterwards.
  void stop();

  // Whether the phones need the list although it may not have changed: a phone came online, or it is another one. A
  // connection alone is no reason.
  [[nodiscard]] static bool phoneNeedsSnapshot(const RelayConnectionStatus& before, const RelayConnectionStatus& now);

 private:
  void relayTokenRegistered(const std::string& url, const InstallationSecrets& secrets);
  [[nodiscard]] RelayClientCallbacks relayClientCallbacks();
  void relayStatusChanged(const RelayConnectionStatus& status);
  void rotatePairingIdentityAfterUnpair();
  void beginRelayGeneration();
  void dropRelayClient();
  void awaitRelayQueue();

  const RelaySessionDependencies dependencies;
  const RelaySessionCallbacks callbacks;
  std::int64_t relayGeneration = 0;
  bool isStopped = false;
  bool pairingResetInProgress = false;
  RelayConnectionStatus relayStatus;
  std::string lastSnapshotWarning;  // What was printed of the last list that was too long; empty: it was not.
  std::unique_ptr<platform::SerialExecutor> relayQueue;  // Of every client, one after another; made with the first.
  std::unique_ptr<RelayClient> relayClient;              // Present once the token is registered.
  std::unique_ptr<RelayRegistrationTask> relayRegistrationTask;  // Present while the token is being registered.
  CallbackScope scope;                                           // Last.
};

}  // namespace quillard
