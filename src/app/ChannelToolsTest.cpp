#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/ChannelTools.h"
#include "channel/ChannelServer.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::app {
namespace {

using platform::simulated::SimulatedLocalSockets;
using testing::ElementsAre;

class ChannelToolsTest : public testing::Test {
 protected:
  std::unique_ptr<ChannelRequest> request(const std::string& line, bool wantsMore = false) {
    return std::make_unique<ChannelRequest>(
        sockets, world.time().mainThread(), line,
        ChannelRequestEvents{.onMessage =
                                 [this, wantsMore](const ChannelMessage& message) {
                                   log.push_back(message.type);
                                   return wantsMore;
                                 },
                             .onProblem =
                                 [this](ExitCode code, const std::string& message) {
                                   log.push_back(std::to_string(number(code)) + " " + message);
                                 }});
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{7}};
  SimulatedLocalSockets sockets{world.socketFolder(), world.time().mainThread(), {}};
  ChannelServer server{world.localSockets(), world.time().mainThread()};
  std::vector<std::string> log;
};

TEST_F(ChannelToolsTest, ARequestHasOneAnswer) {
  server.add("open", [](const auto& session, JsonReader&) { session->finish(channelLine("done")); });
  server.start();
  const auto asked = request(requestLine(OpenWindow{}));
  world.advance(Seconds{30});
  EXPECT_THAT(log, ElementsAre("done"));
}

TEST_F(ChannelToolsTest, OrMoreOfThem) {
  server.add("status", [](const auto& session, JsonReader&) {
    session->send(channelLine("status"));
    session->finish(channelLine("status"));
  });
  server.start();
  const auto asked = request(requestLine(TellStatus{.follows = true}), /*wantsMore=*/true);
  world.advance(Seconds{30});
  EXPECT_THAT(log, ElementsAre("status", "status", "3 The agent closed the connection."));
}

TEST_F(ChannelToolsTest, ARefusalIsAProblem) {
  server.start();
  const auto asked = request(requestLine(PauseAlerts{"2h"}));
  world.advance(Seconds{30});
  EXPECT_THAT(log, ElementsAre("1 This agent knows no such request."));
}

TEST_F(ChannelToolsTest, SoIsNoAgentAndOneThatIsSilent) {
  const auto first = request(requestLine(QuitAgent{}));
  world.advance(Seconds{1});
  server.add("quit", [](const auto&, JsonReader&) {});
  server.start();
  const auto second = request(requestLine(QuitAgent{}));
  world.advance(Seconds{11});
  EXPECT_THAT(log, ElementsAre("3 No agent runs for this user.", "3 The agent does not answer."));
}

TEST(StatusText, SaysInPlainWordsWhatTheAgentDoes) {
  const ChannelMessage status{"status", Json::parse(R"({"summary":"Ready","relay":{"configured":true,"connected":true},
      "phones":[{"name":"Ann's phone"},{"name":"Tablet"}],"paused":true,"pausedUntil":"2026-01-15T11:00:00Z","pending":2})")};
  EXPECT_EQ(statusText(status, /*asJson=*/false),
            "Ready\nRelay:   connected\nPhones:  Ann's phone, Tablet\nAlerts:  paused until 2026-01-15T11:00:00Z\n"
            "Waiting: 2\n");
  const ChannelMessage empty{"status", Json::parse(R"({"version":1,"summary":"x","relay":{"configured":false,
      "connected":false},"phones":[],"paused":false,"pending":0})")};
  EXPECT_EQ(statusText(empty, /*asJson=*/false),
            "x\nRelay:   none\nPhones:  none connected\nAlerts:  on\nWaiting: 0\n");
  const ChannelMessage asleep{"status", Json::parse(R"({"version":1,"summary":"x","relay":{"configured":true,
      "connected":true},"phones":[],"paused":false,"pending":0,"wakeable":2})")};
  EXPECT_THAT(statusText(asleep, /*asJson=*/false), testing::HasSubstr("Phones:  none connected, 2 can be woken\n"));
  const ChannelMessage alone{"status", Json::parse(R"({"version":1,"summary":"x","relay":{"configured":true,
      "connected":true},"phones":[],"paused":false,"pending":1,"nobodyReached":true})")};
  EXPECT_EQ(statusText(alone, /*asJson=*/false),
            "x\nRelay:   connected\nPhones:  none connected\nAlerts:  on, and no phone was told of what waits\n"
            "Waiting: 1\n");
  EXPECT_EQ(statusText({"done", Json::parse(R"({"version":1})")}, /*asJson=*/true), "{\"version\":1}\n");
}

TEST(Questions, AreListedAndFoundByTheBeginningOfTheirIdentity) {
  const auto read = readQuestions({"questions", Json::parse(R"({"questions":[
      {"id":"AB12CD34-0000-0000-0000-000000000000","program":"bash","question":"Delete?\u001b","lines":["214 GB"],
       "buttons":["Delete","Cancel"]},
      {"id":"AB12FF00-0000-0000-0000-000000000000","program":"job","question":"Go on?","lines":[],"buttons":["Yes"]}]})")});
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(questionsText(*read),
            "AB12CD34  bash: Delete??\n          214 GB\n          [Delete]\n          [Cancel]\n"
            "AB12FF00  job: Go on?\n          [Yes]\n");
  EXPECT_EQ(questionWith(*read, "ab12cd"), &(*read)[0]);
  EXPECT_EQ(questionWith(*read, "AB12FF00-0000-0000-0000-000000000000"), &(*read)[1]);
  for (const char* const prefix : {"", "AB1", "AB12", "CD34", "AB12CD35"}) {
    EXPECT_EQ(questionWith(*read, prefix), nullptr) << prefix;
  }
  EXPECT_EQ(questionsText({}), "No question waits.\n");
  EXPECT_FALSE(readQuestions({"done", Json::object()}).has_value());
}

}  // namespace
}  // namespace quillard::app
