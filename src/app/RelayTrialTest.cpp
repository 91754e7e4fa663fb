#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/RelayTrial.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::app {
namespace {

using platform::HttpRequest;
using platform::HttpResponse;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

struct RelayTrialTest : testing::Test {
  void answerRegistrations(int status) {
    world.httpSessions().setServer([this, status](const HttpRequest& request) {
      asked.push_back(request);
      return HttpResponse{.statusCode = status};
    });
  }
  void start(const std::string& relayURL = "wss://relay.example/ws") {
    trial = std::make_unique<RelayTrial>(world.platform());
    world.time().runOnMainThread([&] {
      trial->start(
          {relayURL, "office"}, [this](const std::string& step) { steps.push_back(step); },
          [this](bool isWell) { ends.push_back(isWell); });
    });
  }
  void run(double seconds = 0.1) { world.advance(Seconds{seconds}); }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{5}};
  std::vector<HttpRequest> asked;
  std::vector<std::string> steps;
  std::vector<bool> ends;
  std::unique_ptr<RelayTrial> trial;
};

TEST_F(RelayTrialTest, RegistersConnectsAndHasThePairingForgotten) {
  answerRegistrations(204);
  start();
  run();
  const auto socket = world.webSockets().newest();
  ASSERT_TRUE(socket);
  EXPECT_THAT(socket->request().url, StartsWith("wss://relay.example/ws?role=mac&pairing=trial-"));
  socket->accept();
  run();
  EXPECT_THAT(socket->receivedTexts(), testing::Contains(HasSubstr("phone.unpair")));
  socket->close(1000);
  run(4);
  world.webSockets().newest()->refuse(410);
  run();
  EXPECT_THAT(steps, ElementsAre("Relay: https://relay.example", "Registration: the relay takes a new pairing.",
                                 "Connection: open.", "The relay has forgotten the pairing of this trial."));
  EXPECT_THAT(ends, ElementsAre(true));
}

TEST_F(RelayTrialTest, IsWellWithARelayThatKeepsTheConnection) {
  answerRegistrations(204);
  start();
  run();
  world.webSockets().newest()->accept();
  run(4.9);
  EXPECT_TRUE(ends.empty());
  run(0.2);
  EXPECT_EQ(steps.back(), "The relay was asked to forget the pairing of this trial.");
  EXPECT_THAT(ends, ElementsAre(true));
}

TEST_F(RelayTrialTest, LeavesTheIdentityOfThisComputerAlone) {
  answerRegistrations(204);
  start();
  run();
  EXPECT_TRUE(world.userDefaults().keys().empty());
  ASSERT_EQ(asked.size(), 1U);
  EXPECT_EQ(asked.front().url.find("office"), std::string::npos);
}

TEST_F(RelayTrialTest, SaysWhyTheRelayTakesNoPairing) {
  answerRegistrations(403);
  start();
  run();
  EXPECT_THAT(steps, ElementsAre("Relay: https://relay.example", StartsWith("Registration failed: ")));
  EXPECT_THAT(steps.back(), HasSubstr("403"));
  EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(RelayTrialTest, SaysWhoMayVouchForTheRelayBesidesTheSystem) {
  world.environment().set("QUILLARD_RELAY_AUTHORITY", "/etc/authority.pem");
  world.httpSessions().addAuthorityFile("/etc/authority.pem");
  answerRegistrations(204);
  start();
  run();
  ASSERT_GE(steps.size(), 2U);
  EXPECT_EQ(steps[1], "Authorities: those of the system, and of /etc/authority.pem (QUILLARD_RELAY_AUTHORITY).");
  ASSERT_EQ(asked.size(), 1U);
  EXPECT_EQ(asked.front().authorityFile, "/etc/authority.pem");
  EXPECT_EQ(world.webSockets().newest()->request().authorityFile, "/etc/authority.pem");
}

TEST_F(RelayTrialTest, NamesAFileOfAuthoritiesThatCannotBeUsed) {
  world.environment().set("QUILLARD_RELAY_AUTHORITY", "/etc/gone.pem");
  answerRegistrations(204);
  start();
  run();
  EXPECT_EQ(steps.back(), "Registration failed: The file of authorities cannot be read: /etc/gone.pem");
  EXPECT_THAT(ends, ElementsAre(false));
  EXPECT_TRUE(asked.empty());
}

TEST_F(RelayTrialTest, SaysThatNoConnectionCame) {
  answerRegistrations(204);
  start();
  run(9.9);
  EXPECT_TRUE(ends.empty());
  run(0.5);
  EXPECT_THAT(steps.back(), StartsWith("Connection failed: there was none within 10 seconds."));
  EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(RelayTrialTest, SaysThatTheRelayForgotThePairingAtOnce) {
  answerRegistrations(204);
  start();
  run();
  world.webSockets().newest()->refuse(401);
  run();
  EXPECT_EQ(steps.back(), "Connection failed: the relay does not know the pairing that it has just taken (HTTP 401).");
  EXPECT_THAT(ends, ElementsAre(false));
}

TEST_F(RelayTrialTest, SendsNothingToAnAddressThatMayNotBeUsed) {
  answerRegistrations(204);
  start("ws://relay.example/ws");
  run();
  EXPECT_THAT(steps, ElementsAre("Refusing insecure relay URL: ws://relay.example/ws"));
  EXPECT_THAT(ends, ElementsAre(false));
  EXPECT_TRUE(asked.empty());
}

TEST_F(RelayTrialTest, SaysNothingOnceItHasGone) {
  answerRegistrations(204);
  start();
  run();
  trial.reset();
  run(20);
  EXPECT_TRUE(ends.empty());
}

}  // namespace
}  // namespace quillard::app
