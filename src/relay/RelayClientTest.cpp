#include <utility>

#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "relay/RelayClient.h"
#include "support/RelayClientWorld.h"

// Connecting, losing the connection, and coming back.
namespace quillard {
namespace {

using namespace std::chrono_literals;
using samples::kConnectedLine;
using samples::Lines;
using samples::RelayClientWorld;

const RelayConnectionStatus kDisconnected{};
const RelayConnectionStatus kConnected{.relayConnected = true};

std::vector<PendingApproval> listOf(std::initializer_list<std::uint64_t> ids) {
  std::vector<PendingApproval> approvals;
  for (const auto id : ids) approvals.push_back(samples::approval(id));
  return approvals;
}

TEST(RelayClient, AsksForASocketWithItsBearerToken) {
  RelayClientWorld world;
  world.client->connect();
  world.run();
  const auto request = world.sockets.newest()->request();
  EXPECT_EQ(request.url, "wss://relay.example/ws?role=mac&pairing=quillard-0123");
  EXPECT_EQ(request.timeout, Seconds{60});
  ASSERT_EQ(request.headers.size(), 1U);
  EXPECT_EQ(request.headers[0].name, "authorization");
  EXPECT_EQ(request.headers[0].value, "Bearer bearer-token");
  EXPECT_EQ(world.console.lines(), Lines{kConnectedLine});
  EXPECT_TRUE(world.statuses.empty()) << "It is started, not open.";
}

TEST(RelayClient, ConnectsOnceHoweverOftenItIsAsked) {
  RelayClientWorld world;
  world.client->connect();
  world.open();
  world.client->connect();
  world.run();
  EXPECT_EQ(world.sockets.connections().size(), 1U);
}

TEST(RelayClient, ReportsAnOpenConnection) {
  RelayClientWorld world;
  world.open();
  EXPECT_EQ(world.statuses, std::vector{kConnected});
}

TEST(RelayClient, ComesBackThreeSecondsAfterAClose) {
  RelayClientWorld world;
  world.open()->close(1006);
  world.run();
  EXPECT_EQ(world.statuses, (std::vector{kConnected, kDisconnected}));
  world.time.advance(2999ms);
  EXPECT_EQ(world.sockets.connections().size(), 1U);
  world.time.advance(1ms);
  EXPECT_EQ(world.sockets.connections().size(), 2U);
}

TEST(RelayClient, ComesBackThreeSecondsAfterAFailedReceive) {
  RelayClientWorld world;
  world.open()->fail("The network went away.");
  world.run();
  EXPECT_EQ(world.statuses, (std::vector{kConnected, kDisconnected}));
  EXPECT_EQ(world.console.lines(), (Lines{kConnectedLine, "Relay receive failed: The network went away."}));
  world.time.advance(2999ms);
  EXPECT_EQ(world.sockets.connections().size(), 1U);
  world.time.advance(1ms);
  EXPECT_EQ(world.sockets.connections().size(), 2U);
}

TEST(RelayClient, PrintsNothingWhenTheServerClosesTheConnection) {
  RelayClientWorld world;
  world.open()->close(1006);
  world.run();
  EXPECT_EQ(world.console.lines(), Lines{kConnectedLine});
}

TEST(RelayClient, ReceivesWhatTheServerSentBeforeItClosed) {
  RelayClientWorld world;
  const auto socket = world.open();
  for (int phones : {1, 2}) {
    socket->sendText(R"({"type":"phone.status","phoneConnected":true,"phoneCount":)" + std::to_string(phones) + "}");
  }
  socket->close(1006);
  world.run();
  ASSERT_EQ(world.statuses.size(), 4U);
  EXPECT_EQ(world.statuses[1].phoneCount, 1);
  EXPECT_EQ(world.statuses[2].phoneCount, 2);
  EXPECT_EQ(world.statuses[3], kDisconnected);
}

TEST(RelayClient, ComesBackOnceWhenASendFailsWithTheConnection) {
  for (const bool isClosed : {true, false}) {
    RelayClientWorld world;
    const auto socket = world.open();
    socket->holdSends();
    world.publish(listOf({1}));
    isClosed ? socket->close(1006) : socket->fail("Reset.");
    world.time.advance(10s);
    EXPECT_EQ(world.sockets.connections().size(), 2U);
    EXPECT_EQ(world.statuses.back(), kDisconnected);
    world.sockets.newest()->accept();
    world.time.advance(60s);
    EXPECT_EQ(world.sockets.connections().size(), 2U) << "Reports of the old socket do not end the new one.";
    EXPECT_EQ(world.statuses.back(), kConnected);
  }
}

TEST(RelayClient, StopsAndSaysWhyWhenTheRelayRefusesItForGood) {
  for (const auto& [status, refusal] :
       {std::pair{401, RelayRefusal::tokenUnknown}, std::pair{410, RelayRefusal::pairingRevoked}}) {
    RelayClientWorld world;
    world.publish(listOf({1}));
    world.client->connect();
    world.run();
    world.sockets.newest()->refuse(status);
    world.time.advance(600s);
    EXPECT_EQ(world.refusals, std::vector{refusal});
    EXPECT_EQ(world.statuses, std::vector{kDisconnected});
    EXPECT_EQ(world.sockets.connections().size(), 1U);
    EXPECT_EQ(world.console.lines(),
              (Lines{kConnectedLine, "Relay receive failed: The server answered with HTTP " + std::to_string(status) +
                                         " instead of opening a WebSocket."}));
    EXPECT_EQ(RelayClientWorld::snapshots(world.open()).size(), 1U) << "It can be asked to connect again.";
    world.sockets.newest()->close(1006);
    world.time.advance(4s);
    EXPECT_EQ(world.sockets.connections().size(), 3U) << "It comes back by itself as before.";
  }
}

TEST(RelayClient, ComesBackAfterOtherRefusals) {
  for (const int status : {200, 302, 403, 404, 429, 500, 503}) {
    RelayClientWorld world;
    world.client->connect();
    world.run();
    world.sockets.newest()->refuse(status);
    world.time.advance(4s);
    EXPECT_TRUE(world.refusals.empty()) << status;
    EXPECT_EQ(world.sockets.connections().size(), 2U) << status;
  }
}

TEST(RelayClient, TriesForEverAtTheSamePace) {
  RelayClientWorld world;
  world.sockets.onStart([](const auto& socket) { socket->fail("Unauthorised."); });
  world.client->connect();
  world.time.advance(300s);
  EXPECT_EQ(world.sockets.connections().size(), 101U);
}

TEST(RelayClient, IgnoresTheOpenEventOfASocketThatItLetGo) {
  RelayClientWorld world;
  world.client->connect();
  world.run();
  const auto old = world.sockets.newest();
  old->accept();               // Its event is on the way behind these two:
  world.client->disconnect();  // the order of the queue decides.
  world.client->connect();
  world.run();
  world.statuses.clear();
  old->accept();
  world.run();
  EXPECT_TRUE(world.statuses.empty());
  world.publish(listOf({1}));
  EXPECT_TRUE(world.sockets.newest()->receivedTexts().empty()) << "The new one is not open.";
}

TEST(RelayClient, IgnoresAnOpenEventThatIsOvertakenByTheDisconnect) {
  RelayClientWorld world;
  world.client->connect();
  world.run();
  world.client->disconnect();
  world.sockets.newest()->accept();
  world.run();
  EXPECT_EQ(world.statuses, std::vector{kDisconnected});
}

// ---- Disconnecting, in every state

TEST(RelayClient, DisconnectsWhenStopped) {
  RelayClientWorld world;
  world.client->disconnect();
  world.time.advance(60s);
  EXPECT_EQ(world.statuses, std::vector{kDisconnected});
  EXPECT_TRUE(world.sockets.connections().empty());
}

TEST(RelayClient, DisconnectsWhileConnecting) {
  RelayClientWorld world;
  world.client->connect();
  world.client->disconnect();
  world.time.advance(60s);
  EXPECT_EQ(world.sockets.connections().size(), 1U);
  EXPECT_EQ(world.sockets.newest()->sentCloseCode(), 1001);
  EXPECT_EQ(world.statuses, std::vector{kDisconnected});
}

TEST(RelayClient, DisconnectsWhenOpen) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.client->disconnect();
  world.time.advance(60s);
  EXPECT_EQ(socket->sentCloseCode(), 1001);
  EXPECT_EQ(world.sockets.connections().size(), 1U);
  EXPECT_EQ(world.statuses, (std::vector{kConnected, kDisconnected}));
}

TEST(RelayClient, DisconnectsWhileWaitingToReconnect) {
  RelayClientWorld world;
  world.open()->close(1006);
  world.time.advance(2s);
  world.client->disconnect();
  world.time.advance(60s);
  EXPECT_EQ(world.sockets.connections().size(), 1U);
  EXPECT_EQ(world.statuses.back(), kDisconnected);
}

TEST(RelayClient, ConnectsAgainAfterADisconnect) {
  RelayClientWorld world;
  world.open();
  world.client->disconnect();
  world.open();
  EXPECT_EQ(world.sockets.connections().size(), 2U);
  EXPECT_EQ(world.statuses.back(), kConnected);
}

TEST(RelayClient, ConnectsAtOnceWhenAskedWhileWaiting) {
  RelayClientWorld world;
  world.open()->close(1006);
  world.time.advance(1s);
  world.open();
  EXPECT_EQ(world.sockets.connections().size(), 2U);
  world.time.advance(60s);
  EXPECT_EQ(world.sockets.connections().size(), 2U) << "The timer finds a connection and does nothing.";
  EXPECT_EQ(world.statuses.back(), kConnected);
}

// ---- The end of a client

TEST(RelayClient, MakesNoCallbackOnceItIsDestroyed) {
  RelayClientWorld world;
  const auto socket = world.open();
  socket->holdSends();
  bool wasCalled = false;
  world.client->unpairPhone(std::nullopt, [&](bool) { wasCalled = true; });
  world.run();
  world.statuses.clear();
  socket->sendText(R"({"type":"phone.status","phoneConnected":true,"phoneCount":1})");
  socket->close(1006);
  world.client->disconnect();
  world.client.reset();
  socket->releaseSends();
  world.time.advance(60s);
  EXPECT_TRUE(world.statuses.empty());
  EXPECT_FALSE(wasCalled);
  EXPECT_TRUE(socket->isEnded());
  EXPECT_EQ(world.sockets.connections().size(), 1U);
}

TEST(RelayClient, StillSendsTheCloseMessageWhenItIsDestroyedRightAfterTheDisconnect) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.client->disconnect();
  world.client.reset();
  world.run();
  EXPECT_EQ(socket->sentCloseCode(), 1001);
}

TEST(RelayClient, DoesNotComeBackOnceItIsDestroyed) {
  RelayClientWorld world;
  world.open()->close(1006);
  world.time.advance(1s);
  world.client.reset();
  world.time.advance(60s);
  EXPECT_EQ(world.sockets.connections().size(), 1U);
}

TEST(RelayClient, LetsItsSocketGoWhenItIsDestroyed) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.client.reset();
  world.run();
  EXPECT_TRUE(socket->isEnded());
}

TEST(RelayClient, MayBeDestroyedFromItsOwnCallback) {
  RelayClientWorld world;
  std::unique_ptr<RelayClient> inner;
  int calls = 0;
  inner = std::make_unique<RelayClient>(
      RelayClientAccess{.url = "wss://relay.example"},
      RelayClientCallbacks{.onApprovalRequest = [](const auto&) {},
                           .onSuppressionCommand = [](const auto&) {},
                           .onStatusChange =
                               [&](const auto&) {
                                 ++calls;
                                 inner.reset();
                               }},
      *world.queue, RelayClientDependencies{world.sockets, world.time, world.random, world.console, world.stampClock});
  inner->connect();
  world.run();
  world.sockets.newest()->accept();
  world.time.advance(60s);
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(world.sockets.newest()->isEnded());
}

}  // namespace
}  // namespace quillard
