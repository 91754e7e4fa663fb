#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "channel/ChannelClient.h"
#include "channel/ChannelServer.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::LocalConnectOutcome;
using platform::simulated::Seed;
using platform::simulated::SimulatedLocalSockets;
using testing::ElementsAre;
using testing::HasSubstr;

// A program that sends raw bytes.
struct RawClient {
  explicit RawClient(SimulatedLocalSockets& sockets) : connection(sockets.connect(kChannelName).connection) {
    if (!connection) return;
    connection->start({.onBytes = [this](std::string_view bytes) { received += bytes; }, .onEnd = [this] { ++ends; }});
  }
  void send(std::string_view bytes) { connection->send(bytes); }

  std::unique_ptr<platform::LocalConnection> connection;
  std::string received;
  int ends = 0;
};

class ChannelServerTest : public testing::Test {
 protected:
  ChannelServerTest() {
    server.add("greet", [](const auto& session, JsonReader& reader) {
      const auto name = reader.string("name");
      if (ChannelServer::isRead(*session, reader))
        session->finish(channelLine("greeting", {{"text", "Hello " + name}}));
    });
    server.add("wait", [this](const auto& session, JsonReader&) {
      session->setOnMessage([this](const ChannelMessage& message) { later.push_back(message.type); });
      session->setOnEnd([this] { ++ends; });
      waiting = session;
    });
  }
  void settle() { world.advance(Seconds{0.001}); }

  platform::simulated::SimulatedWorld world{Seed{7}};
  SimulatedLocalSockets other{world.socketFolder(), world.time().mainThread(), {.process = {.processIdentifier = 77}}};
  std::vector<std::string> later;
  int ends = 0;
  std::weak_ptr<ChannelSession> waiting;
  ChannelServer server{world.localSockets(), world.time().mainThread()};
};

TEST_F(ChannelServerTest, AnswersARequest) {
  ASSERT_TRUE(server.start());
  RawClient client(other);
  client.send(R"({"version":1,"type":"greet","name":"Ann"})"
              "\n");
  settle();
  EXPECT_EQ(client.received, "{\"version\":1,\"type\":\"greeting\",\"text\":\"Hello Ann\"}\n");
}

TEST_F(ChannelServerTest, SaysWhatIsWrongAndCloses) {
  ASSERT_TRUE(server.start());
  const std::vector<std::pair<std::string, std::string>> table{
      {"no json\n", R"("code":"malformed")"},
      {"\n", R"("code":"malformed")"},
      {R"({"version":9,"type":"greet"})"
       "\n",
       R"("code":"version")"},
      {R"({"version":1,"type":"dance"})"
       "\n",
       R"("code":"unknownType")"},
      {R"({"version":1,"type":"greet"})"
       "\n",
       R"("code":"malformed")"},
      {R"({"version":1,"type":"greet","name":5})"
       "\n",
       R"("code":"malformed")"},
      {std::string(ChannelLines::kLongest + 1, 'x'), R"("code":"tooMuch")"},
  };
  for (const auto& [bytes, expected] : table) {
    RawClient client(other);
    client.send(bytes);
    settle();
    EXPECT_THAT(client.received, HasSubstr(expected)) << bytes.substr(0, 80);
    world.advance(ChannelSession::kFinishTimeout);
    EXPECT_EQ(client.ends, 1) << bytes.substr(0, 80);
  }
  EXPECT_EQ(server.sessionCount(), 0U);
}

TEST_F(ChannelServerTest, AConnectionIsForOneRequest) {
  ASSERT_TRUE(server.start());
  RawClient client(other);
  client.send(R"({"version":1,"type":"greet","name":"Ann"})"
              "\n"
              R"({"version":1,"type":"greet","name":"Bob"})"
              "\n");
  settle();
  EXPECT_THAT(client.received, testing::Not(HasSubstr("Bob")));
}

TEST_F(ChannelServerTest, WhatComesLaterIsForWhoeverTookTheRequest) {
  ASSERT_TRUE(server.start());
  RawClient client(other);
  client.send(channelLine("wait"));
  settle();
  client.send(channelLine("one") + channelLine("two"));
  settle();
  EXPECT_THAT(later, ElementsAre("one", "two"));
  client.connection.reset();
  settle();
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(server.sessionCount(), 0U);
  EXPECT_TRUE(waiting.expired());
}

TEST_F(ChannelServerTest, LinesOfOneConnectionAreCounted) {
  ASSERT_TRUE(server.start());
  RawClient client(other);
  client.send(channelLine("wait"));
  for (std::size_t i = 1; i < ChannelSession::kMostLines; ++i) client.send(channelLine("more"));
  settle();
  EXPECT_EQ(later.size(), ChannelSession::kMostLines - 1);
  EXPECT_EQ(client.received, "");
  client.send(channelLine("more"));
  settle();
  EXPECT_THAT(client.received, HasSubstr("tooMuch"));
  EXPECT_EQ(later.size(), ChannelSession::kMostLines - 1);
}

TEST_F(ChannelServerTest, WhatCannotBeUnderstoodEndsWhatWasBegun) {
  ASSERT_TRUE(server.start());
  std::string tooManyLines;
  for (std::size_t i = 0; i < ChannelSession::kMostLines; ++i) tooManyLines += channelLine("more");
  for (const std::string& bytes :
       {std::string("no json\n"), std::string(ChannelLines::kLongest + 1, 'x'), tooManyLines}) {
    ends = 0;
    RawClient client(other);
    client.send(channelLine("wait"));
    settle();
    client.send(bytes);
    settle();
    EXPECT_EQ(ends, 1) << bytes.substr(0, 40);
    EXPECT_THAT(client.received, HasSubstr("error")) << bytes.substr(0, 40);
    world.advance(ChannelSession::kFinishTimeout + Seconds{0.01});
    EXPECT_EQ(ends, 1) << "once: " << bytes.substr(0, 40);
  }
}

TEST_F(ChannelServerTest, AConnectionWithoutARequestIsClosedInTime) {
  ASSERT_TRUE(server.start());
  RawClient silent(other);
  RawClient slow(other);
  RawClient waits(other);
  waits.send(channelLine("wait"));
  world.advance(ChannelSession::kRequestTimeout - Seconds{0.01});
  slow.send("{\"version\":1,");
  settle();
  EXPECT_EQ(silent.ends, 0);
  world.advance(Seconds{0.02});
  EXPECT_EQ(silent.ends, 1);
  EXPECT_EQ(slow.ends, 1) << "half a request is none";
  EXPECT_EQ(waits.ends, 0) << "who has asked may wait";
}

TEST_F(ChannelServerTest, TheLastLineIsReadBeforeTheConnectionGoes) {
  ASSERT_TRUE(server.start());
  RawClient client(other);
  client.send(R"({"version":1,"type":"greet","name":"Ann"})"
              "\n");
  world.advance(ChannelSession::kFinishTimeout - Seconds{0.01});
  EXPECT_EQ(client.ends, 0);
  world.advance(Seconds{0.02});
  EXPECT_EQ(client.ends, 1);
}

TEST_F(ChannelServerTest, StoppedItListensNoMoreAndClosesAll) {
  ASSERT_TRUE(server.start());
  EXPECT_FALSE(server.start()) << "it listens already";
  RawClient client(other);
  client.send(channelLine("wait"));
  settle();
  server.stop();
  settle();
  EXPECT_EQ(client.ends, 1);
  EXPECT_EQ(other.connect(kChannelName).outcome, LocalConnectOutcome::absent);
  EXPECT_TRUE(server.start()) << "again";
}

TEST_F(ChannelServerTest, SaysWhenItCannotListen) {
  world.socketFolder().setUnusable(true);
  EXPECT_FALSE(server.start());
}

TEST_F(ChannelServerTest, AClientReadsMessagesUntilOneIsNone) {
  ASSERT_TRUE(server.start());
  std::vector<std::string> types;
  int clientEnds = 0;
  ChannelClient client(other, {.onMessage = [&](const ChannelMessage& message) { types.push_back(message.type); },
                               .onEnd = [&] { ++clientEnds; }});
  ASSERT_EQ(client.open(), LocalConnectOutcome::connected);
  client.send(channelLine("wait"));
  settle();
  waiting.lock()->send(channelLine("one") + channelLine("two") + "three\n" + channelLine("four"));
  settle();
  EXPECT_THAT(types, ElementsAre("one", "two"));
  EXPECT_EQ(clientEnds, 1);
  EXPECT_EQ(ends, 1) << "the connection is closed";
}

TEST_F(ChannelServerTest, AClientSaysThatNobodyListens) {
  ChannelClient client(other, {.onMessage = [](const ChannelMessage&) {}, .onEnd = [] {}});
  EXPECT_EQ(client.open(), LocalConnectOutcome::absent);
}

}  // namespace
}  // namespace quillard
