#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedWebSockets.h"
#include "platform/simulated/VirtualTime.h"
#include "relay/RelayClient.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"
#include "support/SampleApprovals.h"

namespace quillard::samples {

using Lines = std::vector<std::string>;
using SocketHandle = platform::simulated::SimulatedWebSockets::ConnectionHandle;

inline const std::string kConnectedLine = "Quillard relay connected.";

// A client in virtual time, a fake relay in the hands of the test, and a phone that shares the client's end-to-end
// secret.
struct RelayClientWorld {
  explicit RelayClientWorld(std::uint64_t seed = 1)
      : time(platform::simulated::Seed{seed}),
        random(platform::simulated::Seed{seed}),
        phonesRandom(platform::simulated::Seed{~seed}) {
    client = std::make_unique<RelayClient>(
        RelayClientAccess{.url = "wss://relay.example/ws?role=mac&pairing=quillard-0123",
                          .relaySecret = Secret{std::string_view{"bearer-token"}},
                          .cryptoSecret = Secret{std::string_view{"shared-secret"}}},
        RelayClientCallbacks{.onApprovalRequest = [this](const auto& envelope) { requests.push_back(envelope); },
                             .onSuppressionCommand = [this](const auto& command) { suppressions.push_back(command); },
                             .onStatusChange = [this](const auto& status) { statuses.push_back(status); },
                             .onRefused = [this](RelayRefusal refusal) { refusals.push_back(refusal); }},
        *queue, RelayClientDependencies{sockets, time, random, console, stampClock});
  }
  // The client ends in a turn of its queue.
  ~RelayClientWorld() {
    client.reset();
    run();
  }
  RelayClientWorld(const RelayClientWorld&) = delete;
  RelayClientWorld& operator=(const RelayClientWorld&) = delete;

  void run() { time.runUntilIdle(); }

  // Connects, and lets the relay accept.
  SocketHandle open() {
    client->connect();
    run();
    const auto socket = sockets.newest();
    socket->accept();
    run();
    return socket;
  }

  void publish(const std::vector<PendingApproval>& approvals, bool force = false, bool accessibilityTrusted = true) {
    client->publishSnapshot(approvals, accessibilityTrusted, force);
    run();
  }

  // What the phone seals for the agent.
  EncryptedRelayPayload sealed(const Json& command) {
    return std::get<EncryptedRelayPayload>(RelayCrypto::seal(command, secret, phonesRandom));
  }
  // What the phone can read of what the agent sealed.
  [[nodiscard]] std::string opened(const EncryptedRelayPayload& payload) const {
    return std::get<std::string>(RelayCrypto::open(payload, secret));
  }

  // All frames of one kind that arrived through `socket`.
  template <class Message>
  static std::vector<Message> arrived(const SocketHandle& socket, std::string_view type) {
    std::vector<Message> messages;
    for (const auto& text : socket->receivedTexts()) {
      if (std::get<RelayMessageTypeProbe>(readRelayRecord<RelayMessageTypeProbe>(text)).type != type) continue;
      messages.push_back(std::get<Message>(readRelayRecord<Message>(text)));
    }
    return messages;
  }
  static std::vector<MacSnapshotRelayMessage> snapshots(const SocketHandle& socket) {
    return arrived<MacSnapshotRelayMessage>(socket, kMacSnapshotType);
  }

  const Secret secret{std::string_view{"shared-secret"}};
  platform::simulated::VirtualTime time;
  platform::simulated::SimulatedWebSockets sockets;
  platform::simulated::SimulatedRandom random;
  platform::simulated::SimulatedRandom phonesRandom;
  platform::simulated::SimulatedConsole console;
  // With random bytes of its own, so that it draws none of the client's.
  platform::simulated::SimulatedRandom epochs{platform::simulated::Seed{77}};
  const StampClock stampClock{time, epochs};
  std::unique_ptr<platform::SerialExecutor> queue =
      time.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard);
  std::vector<ApprovalRequestEnvelope> requests;
  std::vector<ApprovalSuppressionCommand> suppressions;
  std::vector<RelayConnectionStatus> statuses;
  std::vector<RelayRefusal> refusals;
  std::unique_ptr<RelayClient> client;
};

}  // namespace quillard::samples
