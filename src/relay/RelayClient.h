#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "platform/network/WebSocket.h"
#include "platform/process/Clock.h"
#include "platform/process/Console.h"
#include "platform/process/Executors.h"
#include "platform/process/Random.h"
#include "relay/ClockStamp.h"
#include "relay/PushMessages.h"
#include "relay/RelayCommands.h"
#include "relay/RelayStatus.h"
#include "values/Secret.h"

namespace quillard {

class SealedConversation;

// The address of the relay and the secrets for it.
struct RelayClientAccess {
  std::string url;          // ws or wss, with the query that names pairing and role. Never printed.
  Secret relaySecret;       // The bearer token.
  Secret cryptoSecret;      // The end-to-end secret: the relay never learns it.
  Secret computerKey = {};  // Shown to a relay that wants one. Empty: none was made.
  // Of the clients of this pairing before, all of the same queue: what they have sealed and opened. Null: it is the
  // first one, which makes its own.
  std::shared_ptr<SealedConversation> conversation = {};
};

// Called on the client's queue, one at a time; they post the work to its own executor. None may be empty.
struct RelayClientCallbacks {
  std::function<void(const ApprovalRequestEnvelope&)> onApprovalRequest;
  std::function<void(const ApprovalSuppressionCommand&)> onSuppressionCommand;
  std::function<void(const RelayConnectionStatus&)> onStatusChange;
  // The relay did not let the client in. The client is stopped then, until `connect`; its end-to-end state stays.
  std::function<void(RelayRefusal)> onRefused = [](RelayRefusal) {};
  // Which phones can be woken: all of them, each time. Those whose box could not be opened are left out.
  std::function<void(const std::vector<PhoneSubscription>&)> onPushSubscriptions =
      [](const std::vector<PhoneSubscription>&) {};
  std::function<void(const PushResultRelayMessage&)> onPushResult = [](const PushResultRelayMessage&) {};
};

// All of it outlives the client's queue.
struct RelayClientDependencies {
  platform::WebSockets& webSockets;
  const platform::Clock& clock;
  platform::Random& random;
  platform::Console& console;
  const StampClock& stampClock;
};

class RelayClientCore;

// Keeps one connection to the relay, publishes the pending approvals to the phones behind it, once for each change, and
// passes their decisions to the callbacks. Nothing fails towards the caller: an error is printed, the message in
// question is dropped, and a broken connection is opened again 3 s later, unless the relay refused this computer.
//
// States: stopped -> connecting -> open -> waiting to reconnect -> connecting ..., and stopped again by `disconnect`
// from any of them, or by a refusal. Every change is reported, and so is every status of the phones that the relay
// sends.
//
// Any thread: each operation is a later turn of the queue. Once the client is destroyed no callback begins; operations
// that were called before are still done, and then, in a later turn of the queue, its socket is destroyed.
//
// One queue serves all relay clients of a pairing, one after another: a client that is replaced can still send its
// close message while the next one begins, and quitting waits for the queue, up to half a second, not for a client.
class RelayClient {
 public:
  // `queue` outlives the client and everything that the client posted to it.
  RelayClient(RelayClientAccess access, RelayClientCallbacks callbacks, platform::SerialExecutor& queue,
              const RelayClientDependencies& dependencies);
  ~RelayClient();
  RelayClient(const RelayClient&) = delete;
  RelayClient& operator=(const RelayClient&) = delete;

  // Does nothing while there is a connection, open or not.
  void connect();
  // Sends the relay a close message, and does not reconnect.
  void disconnect();

  // Seals `approvals` into a snapshot and sends it, now or as soon as the connection is open. Lists with the same
  // identities and button labels in the same order, and the same `accessibilityTrusted`, `leftOut` and `state`, are the
  // same snapshot: it is sent once a connection, and once more for each `force`, as it was sealed first. `leftOut`: how
  // many prompts wait besides.
  void publishSnapshot(std::vector<PendingApproval> approvals, bool accessibilityTrusted, bool force,
                       std::size_t leftOut = 0, ComputerState state = {});

  // Tells the phones that are connected what time it is on the agent's clock: a snapshot that was sealed long ago does
  // not. `reports`: what they may have missed. Dropped when the connection is not open.
  void publishClock(MeetingReports reports = {});

  // Sealed with the decision's name and the time. Dropped when the connection is not open.
  void publishResult(std::string decisionID, ApprovalResultCommand result);

  // Dropped when the connection is not open; what becomes of it is told by `onPushResult`.
  void publishPush(PushSendRelayMessage push);

  // Absent: all phones. `completion` is called on the queue, exactly once unless the client is destroyed before, with
  // whether the request was sent.
  void unpairPhone(std::optional<std::string> deviceID, std::function<void(bool)> completion);

 private:
  void post(std::function<void(RelayClientCore&)> operation);

  platform::SerialExecutor& queue;
  std::shared_ptr<RelayClientCore> core;
};

}  // namespace quillard
