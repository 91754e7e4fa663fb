#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "contract/support/ScriptedServer.h"
#include "e2e/HurriedExecutors.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtNetworkThread.h"
#include "platform/qt/QtWebSockets.h"
#include "platform/qt/SystemClock.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayClient.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"
#include "support/ChildProcess.h"
#include "support/SampleApprovals.h"

// The relay client over real sockets, against a relay that is really killed.
namespace quillard {
namespace {

using test::ChildProcess;
using test::HurriedQueue;

class RelayEndToEnd : public testing::Test {
 protected:
  RelayClient makeClient(const std::string& port) {
    return RelayClient{{.url = "ws://127.0.0.1:" + port + "/ws?role=mac&pairing=office-1",
                        .relaySecret = Secret{std::string_view{"bearer"}},
                        .cryptoSecret = Secret{std::string_view{"shared"}}},
                       {.onApprovalRequest = [](const auto&) {},
                        .onSuppressionCommand = [](const auto&) {},
                        .onStatusChange = [](const auto&) {}},
                       queue,
                       {sockets, clock, random, console, stampClock}};
  }

  // The kind of the message that `line` holds.
  static std::string typeOf(const std::optional<std::string>& line) {
    if (!line) return "nothing";
    const auto probe = readRelayRecord<RelayMessageTypeProbe>(*line);
    const auto* read = std::get_if<RelayMessageTypeProbe>(&probe);
    return read ? read->type : "no message";
  }

  qt::QtExecutors executors;
  qt::QtNetworkThread network;
  qt::QtWebSockets sockets{network};
  qt::SystemClock clock;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{1}};
  platform::simulated::SimulatedConsole console;
  const StampClock stampClock{clock, random};
  HurriedQueue queue{executors.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard)};
};

TEST_F(RelayEndToEnd, TheNewestSnapshotArrivesOncePerConnectionAtARelayThatIsKilledFiveTimes) {
  const std::string port = std::to_string(test::deadPort());
  auto client = makeClient(port);
  client.connect();
  for (std::uint64_t life = 1; life <= 5; ++life) {
    // No server listens now: both lists wait, and only the newer one is worth sending.
    client.publishSnapshot({samples::approval(100 + life)}, true, false);
    const std::vector<PendingApproval> newest{samples::approval(life), samples::approval(50)};
    client.publishSnapshot(newest, true, false);

    ChildProcess relay({.command = {LISTENING_RELAY, port}, .environment = test::presentEnvironment()});
    ASSERT_EQ(relay.readLine(), port) << "life " << life;
    const auto line = relay.readLine();
    ASSERT_EQ(typeOf(line), "mac.snapshot") << "life " << life;
    const auto snapshot = readRelayRecord<MacSnapshotRelayMessage>(*line);
    EXPECT_EQ(std::get<MacSnapshotRelayMessage>(snapshot).snapshotID, "ax1:" + RelayCrypto::snapshotID(newest));

    // The same list again is no news: what comes next is the result.
    client.publishSnapshot(newest, true, false);
    client.publishResult("decision", {.approvalID = samples::uuid(life), .buttonLabel = "Erase", .status = "accepted"});
    EXPECT_EQ(typeOf(relay.readLine()), "approval.result") << "life " << life;
    relay.kill();
  }
  client.disconnect();
}

}  // namespace
}  // namespace quillard
