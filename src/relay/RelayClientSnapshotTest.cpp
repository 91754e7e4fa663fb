#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "relay/RelayClient.h"
#include "relay/SnapshotRecords.h"
#include "support/RelayClientWorld.h"

// What the client sends: snapshots, results and requests to unpair.
namespace quillard {
namespace {

using namespace std::chrono_literals;
using samples::Lines;
using samples::RelayClientWorld;

std::vector<PendingApproval> listOf(std::initializer_list<std::uint64_t> ids) {
  std::vector<PendingApproval> approvals;
  for (const auto id : ids) approvals.push_back(samples::approval(id));
  return approvals;
}

TEST(RelayClientSnapshot, CarriesTheSealedListAndItsSignature) {
  RelayClientWorld world;
  const auto socket = world.open();
  const auto approvals = listOf({1, 2});
  world.publish(approvals);
  ASSERT_EQ(world.snapshots(socket).size(), 1U);
  const auto snapshot = world.snapshots(socket).front();
  EXPECT_EQ(snapshot.type, "mac.snapshot");
  EXPECT_EQ(snapshot.observedAt, std::chrono::floor<std::chrono::seconds>(world.time.now()));
  EXPECT_TRUE(snapshot.accessibilityTrusted);
  EXPECT_EQ(snapshot.approvalCount, 2);
  EXPECT_EQ(snapshot.snapshotID, "ax1:" + RelayCrypto::snapshotID(approvals));
  EXPECT_EQ(snapshot.snapshotID.size(), 68U);
  const auto list = world.opened(snapshot.encryptedApprovals);
  EXPECT_EQ(std::get<std::vector<PendingApproval>>(readPendingApprovals(list)), approvals);
  EXPECT_EQ(std::get<SnapshotMarks>(readSnapshotMarks(list)), (SnapshotMarks{.clock = world.stampClock.now()}));
}

TEST(RelayClientSnapshot, SaysHowManyPromptsAreLeftOutAndChangesWithThat) {
  RelayClientWorld world;
  const auto socket = world.open();
  for (const std::size_t leftOut : {3U, 3U, 2U, 0U}) {
    world.client->publishSnapshot(listOf({1}), /*accessibilityTrusted=*/true, /*force=*/false, leftOut);
    world.run();
  }
  std::vector<std::size_t> said;
  for (const auto& snapshot : world.snapshots(socket)) {
    said.push_back(std::get<SnapshotMarks>(readSnapshotMarks(world.opened(snapshot.encryptedApprovals))).leftOut);
    EXPECT_EQ(snapshot.snapshotID, "ax1:" + RelayCrypto::snapshotID(listOf({1})));
    EXPECT_EQ(snapshot.approvalCount, 1);
  }
  EXPECT_EQ(said, (std::vector<std::size_t>{3, 2, 0}));
}

TEST(RelayClientSnapshot, OfAnEmptyListSealsTwoBytes) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.publish({}, false, false);
  const auto snapshot = world.snapshots(socket).at(0);
  EXPECT_EQ(snapshot.approvalCount, 0);
  EXPECT_TRUE(snapshot.snapshotID.starts_with("ax0:"));
  EXPECT_EQ(world.opened(snapshot.encryptedApprovals), "[]");
}

TEST(RelayClientSnapshot, SaysThatAlertsArePausedAndUntilWhen) {
  RelayClientWorld world;
  const auto socket = world.open();
  const Date noon = std::chrono::sys_days{std::chrono::January / 16 / 2026} + std::chrono::hours{12};
  const std::vector<ComputerState> states{{.isPaused = true, .pausedUntil = noon}, {.isPaused = true}, {}};
  for (const ComputerState& state : states) {
    for (int i = 0; i < 2; ++i) {
      world.client->publishSnapshot({}, /*accessibilityTrusted=*/true, /*force=*/false, 0, state);
      world.run();
    }
  }
  const auto snapshots = world.snapshots(socket);
  ASSERT_EQ(snapshots.size(), 3U) << "Each pause is another snapshot, and each is sent once.";
  ASSERT_TRUE(snapshots[0].encryptedState);
  EXPECT_EQ(world.opened(*snapshots[0].encryptedState), R"({"isPaused":true,"pausedUntil":"2026-01-16T12:00:00Z"})");
  ASSERT_TRUE(snapshots[1].encryptedState);
  EXPECT_EQ(world.opened(*snapshots[1].encryptedState), R"({"isPaused":true})");
  EXPECT_FALSE(snapshots[2].encryptedState);
}

TEST(RelayClientSnapshot, WaitsForTheOpenConnection) {
  RelayClientWorld world;
  world.publish(listOf({1}));
  world.publish(listOf({2}));
  const auto socket = world.open();
  ASSERT_EQ(world.snapshots(socket).size(), 1U) << "Only the newest is worth sending.";
  EXPECT_EQ(world.snapshots(socket)[0].snapshotID, "ax1:" + RelayCrypto::snapshotID(listOf({2})));
}

TEST(RelayClientSnapshot, IsSentOnceUntilItIsForced) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.publish(listOf({1}));
  world.publish(listOf({1}));
  EXPECT_EQ(world.snapshots(socket).size(), 1U);
  world.publish(listOf({1}), /*force=*/true);
  ASSERT_EQ(world.snapshots(socket).size(), 2U);
  EXPECT_EQ(world.snapshots(socket)[0], world.snapshots(socket)[1]) << "Nothing is sealed anew.";
}

TEST(RelayClientSnapshot, ChangesWithIdentitiesLabelsOrderAndTrustAlone) {
  RelayClientWorld world;
  const auto socket = world.open();
  auto approvals = listOf({1, 2});
  world.publish(approvals);
  approvals[0].windowTitle = "Another title";
  world.publish(approvals);
  EXPECT_EQ(world.snapshots(socket).size(), 1U) << "A title alone is no news.";
  world.publish(approvals, false, /*accessibilityTrusted=*/false);
  EXPECT_EQ(world.snapshots(socket).size(), 2U);
  approvals[0].buttons.pop_back();
  world.publish(approvals, false, false);
  EXPECT_EQ(world.snapshots(socket).size(), 3U);
  std::swap(approvals[0], approvals[1]);
  world.publish(approvals, false, false);
  EXPECT_EQ(world.snapshots(socket).size(), 4U);
}

TEST(RelayClientSnapshot, IsNotSentTwiceAtOnce) {
  RelayClientWorld world;
  const auto socket = world.open();
  socket->holdSends();
  world.publish(listOf({1}));
  world.publish(listOf({1}));
  socket->releaseSends();
  world.run();
  EXPECT_EQ(world.snapshots(socket).size(), 1U);
}

TEST(RelayClientSnapshot, IsSentBesideOneUnderWayWhenForced) {
  RelayClientWorld world;
  const auto socket = world.open();
  socket->holdSends();
  world.publish(listOf({1}));
  world.publish(listOf({1}), /*force=*/true);
  socket->releaseSends();
  world.run();
  world.publish(listOf({1}));
  EXPECT_EQ(world.snapshots(socket).size(), 2U);
}

TEST(RelayClientSnapshot, IsFollowedByANewerOneWhileItIsUnderWay) {
  RelayClientWorld world;
  const auto socket = world.open();
  socket->holdSends();
  world.publish(listOf({1}));
  world.publish(listOf({2}));
  world.publish(listOf({1}));
  socket->releaseSends();
  world.run();
  world.publish(listOf({1}));
  const auto snapshots = world.snapshots(socket);
  ASSERT_EQ(snapshots.size(), 3U);
  EXPECT_EQ(snapshots.back().snapshotID, "ax1:" + RelayCrypto::snapshotID(listOf({1})));
}

TEST(RelayClientSnapshot, ThatCameBackFollowsTheOneUnderWayThatReplacedIt) {
  RelayClientWorld world;  // Found by a random schedule, seed 458.
  const auto socket = world.open();
  world.publish(listOf({1}));
  socket->holdSends();
  world.publish(listOf({2}));
  world.publish(listOf({1}));
  socket->releaseSends();
  world.run();
  EXPECT_EQ(world.snapshots(socket).back().snapshotID, "ax1:" + RelayCrypto::snapshotID(listOf({1})));
}

TEST(RelayClientSnapshot, IsSentAgainAfterAReconnect) {
  RelayClientWorld world;
  world.publish(listOf({1}));
  const auto first = world.open();
  EXPECT_EQ(world.snapshots(first).size(), 1U);
  first->close(1006);
  world.time.advance(3s);
  world.sockets.newest()->accept();
  world.run();
  EXPECT_EQ(world.snapshots(world.sockets.newest()).size(), 1U);
}

TEST(RelayClientSnapshot, IsSentAgainWhenTheConnectionClosedDuringTheSend) {
  RelayClientWorld world;
  const auto first = world.open();
  first->holdSends();
  world.publish(listOf({1}));
  first->close(1006);
  world.time.advance(3s);
  const auto second = world.sockets.newest();
  second->accept();
  world.run();
  EXPECT_TRUE(first->receivedTexts().empty());
  EXPECT_EQ(world.snapshots(second).size(), 1U);
}

TEST(RelayClientSnapshot, IsSentAgainAtTheNextOccasionAfterAFailedSend) {
  RelayClientWorld world;
  const auto socket = world.open();
  socket->holdSends();
  world.publish(listOf({1}));
  socket->failSends("Full.");
  socket->releaseSends();
  world.run();
  EXPECT_TRUE(world.snapshots(socket).empty());
  EXPECT_EQ(world.console.lines().back(), "Unable to send relay message: Full.");
  world.publish(listOf({1}));
  EXPECT_EQ(world.snapshots(socket).size(), 1U);
}

TEST(RelayClientSnapshot, ThatCannotBeSealedIsReportedAndLeavesTheLastOne) {
  RelayClientWorld world;
  world.publish(listOf({1}));
  auto broken = listOf({2});
  broken[0].windowTitle = "\xFF";
  world.publish(broken);
  world.random.failNextFills(1);
  world.publish(listOf({3}));
  EXPECT_EQ(world.console.takeLines(), (Lines{"Unable to encrypt relay snapshot: A text is not valid UTF-8.",
                                              "Unable to encrypt relay snapshot: RelayCryptoError.invalidCiphertext"}));
  const auto socket = world.open();
  EXPECT_EQ(world.snapshots(socket).at(0).snapshotID, "ax1:" + RelayCrypto::snapshotID(listOf({1})));
}

// ---- Results

const ApprovalResultCommand kResult{samples::uuid(1), "Allow", "accepted", std::nullopt};

TEST(RelayClientResult, IsSealedForThePhone) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.client->publishResult("decision-1", kResult);
  world.run();
  const auto results = world.arrived<ApprovalResultRelayMessage>(socket, kApprovalResultType);
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(results[0].decisionID, "decision-1");
  EXPECT_EQ(results[0].issuedAt, std::chrono::floor<std::chrono::seconds>(world.time.now()));
  const auto opened = readRelayCommand<ApprovalResultCommand>(world.opened(results[0].encryptedResult));
  auto expected = kResult;
  expected.decisionID = "decision-1";
  expected.clock = world.stampClock.now();
  EXPECT_EQ(std::get<ApprovalResultCommand>(opened), expected);
}

TEST(RelayClientResult, IsDroppedSilentlyWhileTheConnectionIsDown) {
  RelayClientWorld world;
  world.client->publishResult("decision-1", kResult);
  world.run();
  EXPECT_EQ(world.console.takeLines(), Lines{});
  EXPECT_TRUE(world.open()->receivedTexts().empty());
}

TEST(RelayClientResult, ThatCannotBeSealedIsReported) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.random.failNextFills(1);
  world.client->publishResult("decision-1", kResult);
  world.run();
  EXPECT_EQ(world.console.lines().back(), "Unable to encrypt relay result: RelayCryptoError.invalidCiphertext");
  EXPECT_TRUE(socket->receivedTexts().empty());
}

TEST(RelayClientResult, ThatCannotBeWrittenIsReported) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.client->publishResult("\xFF", kResult);
  world.run();
  EXPECT_EQ(world.console.lines().back(), "Unable to encrypt relay result: A text is not valid UTF-8.");
  EXPECT_TRUE(socket->receivedTexts().empty());
}

// ---- The agent's clock

TEST(RelayClientClock, IsSealedForThePhonesAnewEachTime) {
  RelayClientWorld world;
  const auto socket = world.open();
  const auto first = world.stampClock.now();
  world.client->publishClock();
  world.time.advance(7s);
  world.client->publishClock();
  world.run();
  const auto clocks = world.arrived<MacClockRelayMessage>(socket, kMacClockType);
  ASSERT_EQ(clocks.size(), 2U);
  const auto stampOf = [&](const MacClockRelayMessage& message) {
    return std::get<ClockCommand>(readRelayCommand<ClockCommand>(world.opened(message.encryptedClock))).clock;
  };
  EXPECT_EQ(stampOf(clocks[0]), first);
  EXPECT_EQ(stampOf(clocks[1]).time - first.time, 7s);
}

TEST(RelayClientClock, IsDroppedSilentlyWhileTheConnectionIsDown) {
  RelayClientWorld world;
  world.client->publishClock();
  world.run();
  EXPECT_EQ(world.console.takeLines(), Lines{});
  EXPECT_TRUE(world.open()->receivedTexts().empty());
}

TEST(RelayClientClock, ThatCannotBeSealedIsReported) {
  RelayClientWorld world;
  const auto socket = world.open();
  world.random.failNextFills(1);
  world.client->publishClock();
  world.run();
  EXPECT_EQ(world.console.lines().back(), "Unable to encrypt relay clock: RelayCryptoError.invalidCiphertext");
  EXPECT_TRUE(socket->receivedTexts().empty());
}

// ---- Unpairing

struct Unpairing {
  RelayClientWorld world;
  std::vector<bool> outcomes;

  void start(const std::optional<std::string>& deviceID = std::nullopt) {
    world.client->unpairPhone(deviceID, [this](bool wasSent) { outcomes.push_back(wasSent); });
    world.run();
  }
};

TEST(RelayClientUnpairing, NamesOnePhoneOrAll) {
  Unpairing unpairing;
  const auto socket = unpairing.world.open();
  unpairing.start("phone-1");
  unpairing.start();
  EXPECT_EQ(unpairing.outcomes, (std::vector{true, true}));
  const auto requests = unpairing.world.arrived<UnpairPhoneRelayMessage>(socket, kUnpairPhoneType);
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0].deviceID, "phone-1");
  EXPECT_EQ(requests[1].deviceID, std::nullopt);
  EXPECT_EQ(socket->receivedTexts()[1].find("deviceID"), std::string::npos);
}

TEST(RelayClientUnpairing, FailsAtOnceWhileTheConnectionIsDown) {
  Unpairing unpairing;
  unpairing.start();
  EXPECT_EQ(unpairing.outcomes, std::vector{false});
}

TEST(RelayClientUnpairing, FailsOnceWhenTheConnectionIsLostDuringTheSend) {
  for (const int way : {0, 1, 2, 3}) {
    Unpairing unpairing;
    const auto socket = unpairing.world.open();
    socket->holdSends();
    unpairing.start();
    EXPECT_TRUE(unpairing.outcomes.empty());
    if (way == 0) socket->close(1006);
    if (way == 1) socket->fail("Reset.");
    if (way == 2) unpairing.world.client->disconnect();
    if (way == 3) socket->failSends("Full.");
    unpairing.world.time.advance(60s);
    EXPECT_EQ(unpairing.outcomes, std::vector{false}) << way;
  }
}

TEST(RelayClientUnpairing, FailsWhenTheRequestCannotBeWritten) {
  Unpairing unpairing;
  (void)unpairing.world.open();
  unpairing.start("\xFF");
  EXPECT_EQ(unpairing.outcomes, std::vector{false});
  EXPECT_EQ(unpairing.world.console.lines().back(), "Unable to encode relay message: A text is not valid UTF-8.");
}

}  // namespace
}  // namespace quillard
