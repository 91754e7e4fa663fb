#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "foundation/StrictJson.h"
#include "relay/RelayClient.h"
#include "relay/RelayConnection.h"
#include "relay/RelayMessages.h"
#include "relay/SealedConversation.h"
#include "relay/SnapshotOutbox.h"

namespace quillard {

// "ax1:" or "ax0:" (whether accessibility is trusted) and the identifier of the list.
[[nodiscard]] std::string snapshotSignature(const std::vector<PendingApproval>& approvals, bool accessibilityTrusted);

// What a snapshot says.
struct SnapshotContents {
  std::string snapshotID;  // The signature of what follows, but for `leftOut` and `state`.
  std::vector<PendingApproval> approvals;
  bool accessibilityTrusted = false;
  std::size_t leftOut = 0;
  ComputerState state{};
};

// The part of the client that lives on its queue: joins connection, sealing and the snapshot to be sent. All calls on
// the queue, except `retire` and `isRetired`. See `RelayClient`.
class RelayClientCore : public std::enable_shared_from_this<RelayClientCore> {
 public:
  RelayClientCore(RelayClientAccess access, RelayClientCallbacks callbacks, platform::SerialExecutor& queue,
                  const RelayClientDependencies& dependencies);

  // From now on no callback begins. Any thread.
  void retire() { retired = true; }
  [[nodiscard]] bool isRetired() const { return retired; }

  void connect();
  void disconnect();
  void publishSnapshot(const SnapshotContents& contents, bool force);
  void publishClock(const MeetingReports& reports);
  void publishResult(const std::string& decisionID, const ApprovalResultCommand& result);
  void publishPush(const PushSendRelayMessage& push);
  void unpairPhone(const std::optional<std::string>& deviceID, const std::function<void(bool)>& completion);

 private:
  RelayConnectionEvents connectionEvents();
  void opened();
  void lost();
  void refused(RelayRefusal refusal);
  void received(const platform::WebSocketMessage& message);

  void receivedRequest(const ApprovalRequestRelayMessage& message);
  void receivedSuppression(const ApprovalSuppressionRelayMessage& message);
  void receivedPhoneStatus(PhoneStatusRelayMessage message);
  void receivedSubscriptions(const PushSubscriptionsRelayMessage& message);
  // Absent, and printed, when its box could not be opened or is another phone's.
  std::optional<PhoneSubscription> opened(const PushSubscriptionRecord& record);
  // Absent, and printed, when the box could not be opened or holds no such command.
  template <class Command>
  std::optional<Command> readCommand(const std::variant<OpenedBox, SealingFailure>& box);

  [[nodiscard]] std::optional<EncryptedRelayPayload> sealed(const Json& content, std::string_view what);
  [[nodiscard]] bool addState(const ComputerState& state, MacSnapshotRelayMessage& message);
  [[nodiscard]] bool holdSnapshot(const SnapshotContents& contents, const std::string& signature);
  void sendLatestSnapshotIfNeeded();
  void send(const Json& message, std::function<void(bool)> completion);
  void reportConnected();
  void reportStatus();
  void print(std::string_view prefix, std::string_view description);

  const RelayClientCallbacks callbacks;
  const RelayClientDependencies dependencies;
  const std::shared_ptr<SealedConversation> conversation;  // Never null.
  SnapshotOutbox outbox;
  RelayConnectionStatus status;
  std::shared_ptr<RelayConnection> connection;
  std::atomic<bool> retired = false;
};

}  // namespace quillard
