#include <algorithm>
#include <cstdint>

#include <gtest/gtest.h>

#include "approvals/PendingApprovalJson.h"
#include "platform/simulated/SeededGenerator.h"
#include "relay/RelayClient.h"
#include "relay/RelayClientCore.h"
#include "support/RelayClientWorld.h"

// Random lives of a client. Each prints its seed when it fails, and runs the same again from it.
namespace quillard {
namespace {

using namespace std::chrono_literals;
using platform::simulated::Seed;
using platform::simulated::SeededGenerator;
using samples::RelayClientWorld;

// What the phone must end up with: the list that was published last, whatever happened on the way.
struct Model {
  std::vector<PendingApproval> approvals;
  bool accessibilityTrusted = false;
  bool hasPublished = false;
  // How often a repetition was asked for since the connection opened: as often may a snapshot come again.
  std::size_t forcedSinceOpen = 0;

  [[nodiscard]] std::string signature() const { return snapshotSignature(approvals, accessibilityTrusted); }
};

// One client, with an agent, a relay and a network that act at random.
class RandomLife {
 public:
  explicit RandomLife(std::uint64_t seed) : world(seed), generator(Seed{seed}) {}

  void live(int steps) {
    for (int i = 0; i < steps; ++i) {
      step();
      if (chance(2)) world.run();
      if (chance(3)) world.time.advance(Seconds{static_cast<double>(generator.below(4'000)) / 1'000});
      checkThatNothingCameTwice();
    }
  }

  // Peace: the client is wanted, the relay takes every connection, and all sends arrive.
  void settle() {
    world.client->connect();
    world.sockets.onStart([](const auto& socket) { socket->accept(); });
    world.run();
    const auto present = world.sockets.newest();
    present->releaseSends();
    if (!present->isEnded() && !present->isAccepted()) accept(present);
    world.time.advance(10s);
    checkThatNothingCameTwice();
  }

  void checkWhatThePhoneHas() const {
    const auto socket = world.sockets.newest();
    EXPECT_TRUE(socket->isAccepted());
    EXPECT_FALSE(socket->isEnded());
    EXPECT_TRUE(world.statuses.back().relayConnected);
    const auto snapshots = RelayClientWorld::snapshots(socket);
    if (!model.hasPublished) {
      EXPECT_TRUE(snapshots.empty());
      return;
    }
    ASSERT_FALSE(snapshots.empty());
    EXPECT_EQ(snapshots.back().snapshotID, model.signature());
    EXPECT_EQ(snapshots.back().approvalCount, static_cast<std::int64_t>(model.approvals.size()));
    EXPECT_EQ(snapshots.back().accessibilityTrusted, model.accessibilityTrusted);
    const auto list = world.opened(snapshots.back().encryptedApprovals);
    EXPECT_EQ(std::get<std::vector<PendingApproval>>(readPendingApprovals(list)), model.approvals);
  }

  [[nodiscard]] std::size_t connectionCount() const { return world.sockets.connections().size(); }

 private:
  bool chance(std::uint64_t oneIn) { return generator.below(oneIn) == 0; }

  void accept(const samples::SocketHandle& socket) {
    model.forcedSinceOpen = 0;
    socket->accept();
  }

  void step() {
    const auto socket = connectionCount() > 0 ? world.sockets.newest() : nullptr;
    switch (generator.below(12)) {
      case 0:
        return world.client->connect();
      case 1:
        return chance(3) ? world.client->disconnect() : world.client->connect();
      case 2:
      case 3:
      case 4:
        return publish();
      default:
        if (socket) actAsRelay(socket);
    }
  }

  void publish() {
    model.hasPublished = true;
    model.accessibilityTrusted = !chance(4);
    model.approvals.clear();
    for (std::uint64_t id = 1; id <= generator.below(4); ++id) model.approvals.push_back(samples::approval(id));
    const bool force = chance(4);
    if (force) ++model.forcedSinceOpen;
    world.client->publishSnapshot(model.approvals, model.accessibilityTrusted, force);
  }

  void actAsRelay(const samples::SocketHandle& socket) {
    switch (generator.below(8)) {
      case 0:
        return socket->close(1006);
      case 1:
        return socket->fail("Reset.");
      case 2:
        socket->sendText("{}");
        return socket->close(1006);
      case 3:
        socket->sendText("{}");
        return socket->fail("Reset.");
      case 4:
        return socket->holdSends();
      case 5:
        return socket->releaseSends();
      default:
        if (!socket->isAccepted()) accept(socket);
    }
  }

  // On one connection a snapshot follows itself only when that was asked for.
  void checkThatNothingCameTwice() {
    if (connectionCount() == 0) return;
    const auto socket = world.sockets.newest();
    if (socket != watched) {
      watched = socket;
      framesRead = 0;
      repetitions = 0;
    }
    const auto texts = socket->receivedTexts();
    for (; framesRead < texts.size(); ++framesRead) {
      if (framesRead > 0 && signatureIn(texts[framesRead]) == signatureIn(texts[framesRead - 1])) ++repetitions;
    }
    EXPECT_LE(repetitions, model.forcedSinceOpen);
  }

  // All frames of these lives are snapshots.
  static std::string_view signatureIn(std::string_view frame) { return frame.substr(frame.find("\"snapshotID\"")); }

  RelayClientWorld world;
  SeededGenerator generator;
  Model model;
  samples::SocketHandle watched;
  std::size_t framesRead = 0;
  std::size_t repetitions = 0;
};

TEST(RelayClientSchedules, EndWithTheNewestSnapshotOnThePhoneOrWithNoneAtAll) {
  std::size_t connections = 0;
  for (std::uint64_t seed = 1; seed <= 1'000 && !::testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomLife life{seed};
    life.live(40);
    life.settle();
    life.checkWhatThePhoneHas();
    connections += life.connectionCount();
  }
  EXPECT_GT(connections, 2'000U) << "The schedules hardly ever lose a connection.";
}

// A relay process: up or down. While it is down, attempts fail.
class MortalRelay {
 public:
  explicit MortalRelay(RelayClientWorld& world) : world(world) {
    world.sockets.setSendDelay(50ms);
    world.sockets.onStart(
        [this](const auto& socket) { isUp ? socket->accept() : socket->fail("Connection refused."); });
  }
  void restart() { isUp = true; }
  void kill(SeededGenerator& generator) {
    isUp = false;
    for (const auto& socket : world.sockets.connections()) {
      if (socket->isEnded()) continue;
      generator.below(2) == 0 ? socket->fail("Connection reset.") : socket->close(1006);
    }
  }

 private:
  RelayClientWorld& world;
  bool isUp = true;
};

// The newest snapshot came over this connection, and nothing twice in a row.
void expectDeliveredOnce(const samples::SocketHandle& socket, const std::string& newest) {
  const auto snapshots = RelayClientWorld::snapshots(socket);
  ASSERT_FALSE(snapshots.empty());
  EXPECT_EQ(snapshots.back().snapshotID, newest);
  for (std::size_t i = 1; i < snapshots.size(); ++i) {
    EXPECT_NE(snapshots[i].snapshotID, snapshots[i - 1].snapshotID);
  }
}

TEST(RelayClientSchedules, SurviveARelayThatDiesAHundredTimes) {
  for (std::uint64_t seed = 1; seed <= 5; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RelayClientWorld world{seed};
    SeededGenerator generator{Seed{seed}};
    MortalRelay relay{world};
    std::uint64_t published = 0;
    std::string newest;
    const auto publish = [&] {
      const std::vector<PendingApproval> approvals{samples::approval(++published)};
      newest = snapshotSignature(approvals, true);
      world.client->publishSnapshot(approvals, true, false);
    };
    const auto wait = [&](std::uint64_t longest) {
      world.time.advance(Seconds{static_cast<double>(generator.below(longest)) / 1'000});
    };
    world.client->connect();
    publish();
    std::size_t quietDeaths = 0;
    for (int death = 1; death <= 100; ++death) {
      for (auto lists = generator.below(4); lists > 0; --lists) {
        wait(2'000);
        publish();
      }
      wait(100);  // Often dies in mid-send, sometimes right after it.
      const auto socket = world.sockets.newest();
      const bool wasQuiet = socket->isAccepted() && !socket->isEnded() && generator.below(2) == 0;
      if (wasQuiet) {
        world.time.advance(51ms);
        expectDeliveredOnce(socket, newest);
        ++quietDeaths;
      }
      relay.kill(generator);
      wait(8'000);
      if (generator.below(2) == 0) publish();
      relay.restart();
      wait(8'000);
    }
    world.time.advance(10s);
    expectDeliveredOnce(world.sockets.newest(), newest);
    const auto last = RelayClientWorld::snapshots(world.sockets.newest());
    EXPECT_EQ(std::count_if(last.begin(), last.end(), [&](const auto& it) { return it.snapshotID == newest; }), 1);
    EXPECT_GT(quietDeaths, 10U);
    EXPECT_GE(world.sockets.connections().size(), 101U);
  }
}

}  // namespace
}  // namespace quillard
