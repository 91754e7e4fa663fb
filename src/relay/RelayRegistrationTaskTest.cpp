#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedHttpSessions.h"
#include "platform/simulated/VirtualTime.h"
#include "relay/RelayRegistrationTask.h"

namespace quillard {
namespace {

using platform::HttpOutcome;
using platform::HttpResponse;
using testing::ElementsAre;
using testing::IsEmpty;

struct RelayRegistrationTaskTest : testing::Test {
  void start() {
    time.runOnMainThread([&] {
      task = std::make_unique<RelayRegistrationTask>(
          RelayLaunchConfiguration{.relayURL = "wss://relay.example/ws", .pairingID = "quillard-0123"},
          Secret{std::string_view{"c4n4ry"}}, sessions, time.mainThread(),
          RelayRegistrationEvents{.onRegistered = [&] { tell("registered"); },
                                  .onRevoked = [&] { tell("revoked"); },
                                  .onFailure = [&](const std::string& description) { tell(description); }});
    });
  }
  void tell(const std::string& what) {
    told.push_back(what);
    if (endsWhenNotified) task.reset();
  }
  void answerWith(const std::optional<HttpOutcome>& outcome) {
    sessions.setServer([outcome](const auto&) { return outcome; });
  }

  platform::simulated::VirtualTime time{platform::simulated::Seed{1}};
  platform::simulated::SimulatedHttpSessions sessions;
  std::unique_ptr<RelayRegistrationTask> task;
  std::vector<std::string> told;
  bool endsWhenNotified = false;
};

TEST_F(RelayRegistrationTaskTest, SaysOnceThatTheRelayKnowsTheToken) {
  start();
  time.advance(Seconds{100});
  EXPECT_THAT(told, ElementsAre("registered"));
  EXPECT_EQ(sessions.requests().size(), 1U);
}

TEST_F(RelayRegistrationTaskTest, TriesAgainThreeSecondsAfterEachFailure) {
  answerWith(HttpResponse{500});
  start();
  EXPECT_THAT(told, ElementsAre("The relay rejected token registration with HTTP 500."));
  time.advance(Seconds{2.999});
  EXPECT_EQ(sessions.requests().size(), 1U);
  time.advance(Seconds{0.002});
  EXPECT_EQ(sessions.requests().size(), 2U);
  time.advance(Seconds{300});
  EXPECT_EQ(sessions.requests().size(), 102U) << "Neither a limit nor a growing delay.";
  answerWith(HttpResponse{200});
  time.advance(Seconds{3});
  EXPECT_EQ(told.back(), "registered");
}

TEST_F(RelayRegistrationTaskTest, ATimeOutIsAFailureLikeOthers) {
  answerWith(std::nullopt);
  start();
  time.advance(Seconds{7.999});
  EXPECT_THAT(told, IsEmpty());
  time.advance(Seconds{0.002});
  EXPECT_THAT(told, ElementsAre("The request timed out."));
}

TEST_F(RelayRegistrationTaskTest, ARevokedPairingEndsIt) {
  answerWith(HttpResponse{410});
  start();
  time.advance(Seconds{100});
  EXPECT_THAT(told, ElementsAre("revoked"));
  EXPECT_EQ(sessions.requests().size(), 1U);
}

TEST_F(RelayRegistrationTaskTest, MayBeEndedByWhatItTells) {
  endsWhenNotified = true;
  for (const int status : {204, 410, 500}) {
    answerWith(HttpResponse{status});
    start();
    EXPECT_EQ(task, nullptr);
  }
  EXPECT_EQ(told.size(), 3U);
}

TEST_F(RelayRegistrationTaskTest, SaysNothingOnceItIsCancelled) {
  answerWith(std::nullopt);
  start();
  time.advance(Seconds{4});
  time.runOnMainThread([&] { task.reset(); });
  time.advance(Seconds{100});
  EXPECT_THAT(told, IsEmpty());

  answerWith(HttpResponse{500});
  start();
  time.runOnMainThread([&] { task.reset(); });
  time.advance(Seconds{100});
  EXPECT_EQ(told.size(), 1U) << "Nor does it ask again.";
  EXPECT_EQ(sessions.requests().size(), 2U);
}

TEST_F(RelayRegistrationTaskTest, SaysNothingWhenCancelledBetweenAnswerAndTurn) {
  // A refused address is answered in a later turn without any request.
  time.runOnMainThread([&] {
    task = std::make_unique<RelayRegistrationTask>(
        RelayLaunchConfiguration{.relayURL = "ws://relay.example/ws", .pairingID = "quillard-0123"},
        Secret{std::string_view{"c4n4ry"}}, sessions, time.mainThread(),
        RelayRegistrationEvents{.onRegistered = [&] { tell("registered"); },
                                .onRevoked = [&] { tell("revoked"); },
                                .onFailure = [&](const std::string& description) { tell(description); }});
    time.mainThread().post([&] { time.mainThread().post([&] { task.reset(); }); });
  });
  time.advance(Seconds{10});
  EXPECT_LE(told.size(), 1U);
  EXPECT_THAT(sessions.requests(), IsEmpty());
}

}  // namespace
}  // namespace quillard
