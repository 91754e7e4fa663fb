#include "relay/RelayClient.h"

#include <utility>

#include "relay/RelayClientCore.h"

namespace quillard {

RelayClient::RelayClient(RelayClientAccess access, RelayClientCallbacks callbacks, platform::SerialExecutor& queue,
                         const RelayClientDependencies& dependencies)
    : queue(queue),
      core(std::make_shared<RelayClientCore>(std::move(access), std::move(callbacks), queue, dependencies)) {}

RelayClient::~RelayClient() {
  core->retire();
  // Sockets and timers end where they live, in a turn of the queue.
  queue.post([last = std::move(core)] {});
}

void RelayClient::connect() {
  post([](RelayClientCore& live) { live.connect(); });
}

void RelayClient::disconnect() {
  post([](RelayClientCore& live) { live.disconnect(); });
}

void RelayClient::publishSnapshot(std::vector<PendingApproval> approvals, bool accessibilityTrusted, bool force,
                                  std::size_t leftOut, ComputerState state) {
  auto signature = snapshotSignature(approvals, accessibilityTrusted);
  SnapshotContents contents{.snapshotID = std::move(signature),
                            .approvals = std::move(approvals),
                            .accessibilityTrusted = accessibilityTrusted,
                            .leftOut = leftOut,
                            .state = std::move(state)};
  post([contents = std::move(contents), force](RelayClientCore& live) { live.publishSnapshot(contents, force); });
}

void RelayClient::publishClock(MeetingReports reports) {
  post([reports = std::move(reports)](RelayClientCore& live) { live.publishClock(reports); });
}

void RelayClient::publishResult(std::string decisionID, ApprovalResultCommand result) {
  post([decisionID = std::move(decisionID), result = std::move(result)](RelayClientCore& live) {
    live.publishResult(decisionID, result);
  });
}

void RelayClient::publishPush(PushSendRelayMessage push) {
  post([push = std::move(push)](RelayClientCore& live) { live.publishPush(push); });
}

void RelayClient::unpairPhone(std::optional<std::string> deviceID, std::function<void(bool)> completion) {
  post([deviceID = std::move(deviceID), completion = std::move(completion)](RelayClientCore& live) {
    live.unpairPhone(deviceID, completion);
  });
}

void RelayClient::post(std::function<void(RelayClientCore&)> operation) {
  queue.post([weak = std::weak_ptr(core), operation = std::move(operation)] {
    if (const auto live = weak.lock()) operation(*live);
  });
}

}  // namespace quillard
