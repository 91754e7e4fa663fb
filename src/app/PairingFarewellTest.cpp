#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/PairingFarewell.h"
#include "platform/simulated/SimulatedWorld.h"
#include "relay/PairingConfiguration.h"

namespace quillard::app {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct PairingFarewellTest : testing::Test {
  PairingFarewellTest() {
    world.environment().set("QUILLARD_RELAY_URL", "wss://relay.example/ws");
    world.environment().set("QUILLARD_PAIRING_ID", "office");
  }
  void makePairing(int number = 1) {
    const auto platform = world.platform();
    PairingConfiguration pairing({platform.environment, platform.bundle, platform.secretStore, platform.userDefaults,
                                  platform.random, platform.console},
                                 number);
    static_cast<void>(pairing.installationSecrets());
  }
  void start() {
    farewell = std::make_unique<PairingFarewell>(world.platform(), world.userDefaults());
    world.time().runOnMainThread([this] { farewell->start([this](std::size_t count) { untold.push_back(count); }); });
    run();
  }
  void run(double seconds = 0.2) { world.advance(Seconds{seconds}); }
  // The relay takes the newest connection, and the pairing back.
  void letRevoke() {
    const auto socket = world.webSockets().newest();
    ASSERT_TRUE(socket);
    socket->accept();
    run();
    EXPECT_THAT(socket->receivedTexts(), testing::Contains(HasSubstr("phone.unpair")));
    socket->close(1000);
    run(4);
    world.webSockets().newest()->refuse(410);
    run();
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{5}};
  std::unique_ptr<PairingFarewell> farewell;
  std::vector<std::size_t> untold;
};

TEST_F(PairingFarewellTest, HasTheRelayRevokeEveryPairing) {
  makePairing(1);
  makePairing(3);
  start();
  letRevoke();
  EXPECT_TRUE(untold.empty());
  letRevoke();
  EXPECT_THAT(untold, ElementsAre(0U));
}

TEST_F(PairingFarewellTest, IsOverWithoutAPairing) {
  start();
  EXPECT_THAT(untold, ElementsAre(0U));
}

TEST_F(PairingFarewellTest, CountsThePairingsThatNoRelayCouldBeToldOf) {
  makePairing();
  start();
  run(PairingFarewell::kTimeout.count() - 0.5);
  EXPECT_TRUE(untold.empty());
  run(1);
  EXPECT_THAT(untold, ElementsAre(1U));
}

TEST_F(PairingFarewellTest, WaitsForNoRelayWhereNoneIsConfigured) {
  makePairing();
  world.environment().set("QUILLARD_RELAY_URL", "");
  start();
  EXPECT_THAT(untold, ElementsAre(1U));
}

TEST_F(PairingFarewellTest, TriesTheOthersWhereOneRelayIsDown) {
  makePairing(1);
  makePairing(2);
  start();
  run(PairingFarewell::kTimeout.count());  // The first relay does not answer.
  EXPECT_TRUE(untold.empty());
  letRevoke();
  EXPECT_THAT(untold, ElementsAre(1U));
}

TEST_F(PairingFarewellTest, TriesTheOthersWhereOneRelayRefuses) {
  makePairing(1);
  makePairing(2);
  start();
  world.webSockets().newest()->refuse(401);
  run();
  letRevoke();
  EXPECT_THAT(untold, ElementsAre(1U));
}

TEST_F(PairingFarewellTest, CountsWhatCannotBeRead) {
  world.secretStore().fail(platform::SecretPlace::dataProtectionKeychain,
                           {platform::SecretStatusCode::interactionNotAllowed, "locked"});
  start();
  EXPECT_THAT(untold, ElementsAre(1U));
}

}  // namespace
}  // namespace quillard::app
