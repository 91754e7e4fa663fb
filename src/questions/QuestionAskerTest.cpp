#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "channel/ChannelServer.h"
#include "platform/simulated/SimulatedWorld.h"
#include "questions/QuestionAsker.h"
#include "questions/QuestionCommands.h"

namespace quillard {
namespace {

using platform::simulated::SimulatedLocalSockets;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = AskOutcome::Kind;

QuestionRequest deletion() {
  return {.question = "Delete?", .buttons = {{"Delete"}, {"Cancel"}}, .timeout = Seconds{60}};
}

// What an agent has of the channel, for as long as its process runs.
struct Agent {
  explicit Agent(platform::simulated::SimulatedWorld& world, ApprovalSuppressionStore& suppressions, bool& isPaused)
      : sockets(world.socketFolder(), world.time().mainThread(), {.process = {.processIdentifier = 1}}),
        store(Seconds{8}, world.time(), world.random()),
        questions({store, suppressions, world.time(), world.random(), world.time().mainThread()},
                  {.phoneReach = [] { return PhoneReach::there; },
                   .isPaused = [&isPaused] { return isPaused; },
                   .wasPhoneWoken = [](const Uuid&) { return false; },
                   .onChanged = [] {}}),
        commands(questions, store),
        server(sockets, world.time().mainThread()) {
    commands.addTo(server);
    EXPECT_TRUE(server.start());
  }
  bool answer(const std::string& label) {
    const auto all = store.all();
    return !all.empty() && questions.answer(all.front().id, label, AnsweredBy::phone,
                                            [this](bool wasTaken) { taken.push_back(wasTaken); });
  }

  SimulatedLocalSockets sockets;
  ApprovalStore store;
  Questions questions;
  QuestionCommands commands;
  std::vector<bool> taken;
  ChannelServer server;
};

class QuestionAskerTest : public testing::Test {
 protected:
  void startAgent() { agent = std::make_unique<Agent>(world, suppressions, isPaused); }
  // As by a kill: nothing is said.
  void killAgent() {
    agent->sockets.endProcess();
    agent.reset();
  }
  void ask(const QuestionRequest& request = deletion()) {
    asker = std::make_unique<QuestionAsker>(
        QuestionAskerDependencies{sockets, world.time().mainThread(), world.time()}, request,
        QuestionAskerEvents{.take = [this](const AskOutcome&) { return takesAnswers; },
                            .onOutcome =
                                [this](const AskOutcome& outcome) {
                                  outcomes.push_back(outcome);
                                  asker.reset();
                                }});
    settle();
  }
  void settle() { world.advance(Seconds{0.01}); }
  [[nodiscard]] std::vector<Kind> kinds() const {
    std::vector<Kind> all;
    for (const auto& outcome : outcomes) all.push_back(outcome.kind);
    return all;
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{7}};
  ApprovalSuppressionStore suppressions{world.userDefaults()};
  bool isPaused = false;
  SimulatedLocalSockets sockets{
      world.socketFolder(), world.time().mainThread(), {.process = {.processIdentifier = 9, .executable = "/bin/job"}}};
  std::unique_ptr<Agent> agent;
  bool takesAnswers = true;
  std::vector<AskOutcome> outcomes;
  std::unique_ptr<QuestionAsker> asker;
};

TEST_F(QuestionAskerTest, HandsOverTheAnswerAndSaysSo) {
  startAgent();
  ask();
  ASSERT_EQ(agent->store.all().size(), 1U);
  ASSERT_TRUE(agent->answer("Cancel"));
  settle();
  ASSERT_THAT(kinds(), ElementsAre(Kind::answered));
  EXPECT_EQ(outcomes[0].label, "Cancel");
  EXPECT_EQ(outcomes[0].index, 1U);
  EXPECT_EQ(outcomes[0].by, "phone");
  EXPECT_THAT(agent->taken, ElementsAre(true));
  EXPECT_TRUE(agent->store.all().empty());
}

TEST_F(QuestionAskerTest, AnAnswerThatCannotBeHandedOverWasNotTaken) {
  takesAnswers = false;
  startAgent();
  ask();
  ASSERT_TRUE(agent->answer("Delete"));
  settle();
  EXPECT_THAT(kinds(), ElementsAre(Kind::notTaken));
  EXPECT_THAT(agent->taken, ElementsAre(false));
}

TEST_F(QuestionAskerTest, AnAnswerThatIsReadTooLateCountsNot) {
  std::vector<std::unique_ptr<platform::LocalConnection>> connections;
  std::string received;
  const auto listener = sockets.listen(kChannelName, [&](auto connection) {
    connection->start({[&](auto bytes) { received += bytes; }, [] {}});
    connection->send(channelLine("answer", {{"label", "Delete"}, {"index", 0}, {"by", "phone"}}) +
                     channelLine("end", {{"reason", "notTaken"}, {"message", "The answer was not taken in time."}}));
    connections.push_back(std::move(connection));
  });
  ask();
  ASSERT_THAT(kinds(), ElementsAre(Kind::notTaken));
  EXPECT_EQ(outcomes[0].message, "The answer was not taken in time.");
  EXPECT_THAT(received, testing::Not(testing::HasSubstr("taken"))) << "both lines came while the process was stopped";
}

TEST_F(QuestionAskerTest, AnAnswerCountsWhenTheAgentConfirmsIt) {
  std::vector<std::unique_ptr<platform::LocalConnection>> connections;
  const auto listener = sockets.listen(kChannelName, [&](auto connection) {
    connection->start({[](auto) {}, [] {}});
    connection->send(channelLine("answer", {{"label", "Delete"}, {"index", 0}, {"by", "phone"}}));
    connections.push_back(std::move(connection));
  });
  const std::vector<std::pair<std::string, Kind>> table{
      {channelLine("done"), Kind::answered},
      {channelLine("error", {{"code", "notTaken"}, {"message", "Too late."}}), Kind::notTaken},
      {channelLine("end", {{"reason", "stopping"}, {"message", "The agent ends."}}), Kind::notTaken}};
  for (const auto& [line, kind] : table) {
    outcomes.clear();
    ask();
    EXPECT_THAT(outcomes, IsEmpty());
    connections.back()->send(line);
    settle();
    EXPECT_THAT(kinds(), ElementsAre(kind)) << line;
  }
  outcomes.clear();
  ask();
  world.advance(QuestionAsker::kConfirmTimeout - Seconds{0.1});
  EXPECT_THAT(outcomes, IsEmpty());
  world.advance(Seconds{0.2});
  EXPECT_THAT(kinds(), ElementsAre(Kind::notTaken)) << "silence";
  outcomes.clear();
  ask();
  connections.back().reset();
  world.advance(Seconds{1});
  EXPECT_THAT(kinds(), ElementsAre(Kind::notTaken)) << "and it is not asked again";
  EXPECT_EQ(connections.size(), 5U);
}

TEST_F(QuestionAskerTest, AListOfAllThatMayWaitFitsIntoOneLine) {
  startAgent();
  auto request = deletion();
  request.question = std::string(QuestionRequest::kLongestQuestion, '"');
  request.lines.assign(QuestionRequest::kMostLines, std::string(327, '\x01'));
  request.buttons.clear();
  for (char button = 'a'; request.buttons.size() < QuestionRequest::kMostButtons; ++button) {
    request.buttons.push_back({std::string(QuestionRequest::kLongestLabel - 1, '\\') + button});
  }
  ASSERT_EQ(problemOf(request), std::nullopt);
  for (std::size_t i = 0; i < Questions::kMostOpen; ++i) {
    const platform::LocalPeer peer{.process = {.executable = "/" + std::string(990, '"') + std::to_string(i)}};
    ASSERT_TRUE(std::holds_alternative<Uuid>(
        agent->questions.ask(peer, request, {.onAnswer = [](const auto&) {}, .onEnd = [](auto) {}})));
  }
  std::vector<ChannelMessage> messages;
  ChannelClient client(sockets,
                       {.onMessage = [&](const auto& message) { messages.push_back(message); }, .onEnd = [] {}});
  ASSERT_EQ(client.open(), platform::LocalConnectOutcome::connected);
  client.send(channelLine("questions"));
  world.advance(Seconds{1});
  ASSERT_EQ(messages.size(), 1U);
  const auto& listed = messages[0].json.at("questions");
  ASSERT_EQ(listed.size(), Questions::kMostOpen);
  EXPECT_EQ(listed[0].at("lines").size() + listed[0].at("linesLeftOut").get<std::size_t>(),
            QuestionRequest::kMostLines + 1);
}

// ---- The agent's side of one question

class AskingOverTheChannel : public QuestionAskerTest {
 protected:
  AskingOverTheChannel() {
    startAgent();
    open();
  }
  void open() {
    received.clear();
    connection = sockets.connect(kChannelName).connection;
    connection->start({.onBytes = [this](std::string_view bytes) { received += bytes; }, .onEnd = [] {}});
    connection->send(channelLine("ask", toJson(deletion())));
    settle();
  }
  void say(const std::string& bytes) {
    connection->send(bytes);
    settle();
  }

  std::unique_ptr<platform::LocalConnection> connection;
  std::string received;
};

TEST_F(AskingOverTheChannel, AnAnswerThatWasReportedAsNotTakenCannotBeTakenLater) {
  ASSERT_TRUE(agent->answer("Delete"));
  world.advance(Questions::kTakeTimeout + Seconds{0.1});
  EXPECT_THAT(agent->taken, ElementsAre(false));
  EXPECT_THAT(received, testing::HasSubstr(R"("type":"end","reason":"notTaken")"));
  say(channelLine("taken"));
  EXPECT_THAT(received, testing::Not(testing::HasSubstr("done")));
  EXPECT_THAT(agent->taken, ElementsAre(false));
}

TEST_F(AskingOverTheChannel, NoAnswerIsTakenBeforeThereIsOne) {
  say(channelLine("taken"));
  EXPECT_THAT(received, testing::HasSubstr(R"("code":"notTaken")"));
  EXPECT_THAT(received, testing::Not(testing::HasSubstr("done")));
  EXPECT_TRUE(agent->store.all().empty());
}

TEST_F(AskingOverTheChannel, AQuestionEndsWithItsConnectionHoweverThatEnds) {
  std::string tooManyLines;
  for (int i = 0; i < 70; ++i) tooManyLines += channelLine("taken");
  for (const std::string& bytes :
       {std::string("no json\n"), std::string(300'000, 'x'), channelLine("ask", toJson(deletion())),
        std::string(R"({"version":2,"type":"taken"})"
                    "\n"),
        tooManyLines}) {
    connection.reset();
    open();
    ASSERT_FALSE(agent->store.all().empty());
    say(bytes);
    world.advance(Seconds{3});
    EXPECT_EQ(agent->questions.openCount(), 0U) << bytes.substr(0, 40);
  }
}

TEST_F(QuestionAskerTest, DestroyedItTakesTheQuestionBack) {
  startAgent();
  ask();
  asker.reset();
  settle();
  EXPECT_TRUE(agent->store.all().empty());
  EXPECT_THAT(outcomes, IsEmpty());
}

TEST_F(QuestionAskerTest, SaysWhyAQuestionEnded) {
  startAgent();
  isPaused = true;
  ask();
  ASSERT_THAT(kinds(), ElementsAre(Kind::ended));
  EXPECT_EQ(outcomes[0].end, QuestionEnd::paused);
  EXPECT_EQ(outcomes[0].message, "Alerts are paused.");
  isPaused = false;
  ask();
  world.advance(Seconds{61});
  ASSERT_THAT(kinds(), ElementsAre(Kind::ended, Kind::ended));
  EXPECT_EQ(outcomes[1].end, QuestionEnd::timedOut);
}

TEST_F(QuestionAskerTest, WithoutAnAgentItEndsImmediately) {
  ask();
  ASSERT_THAT(kinds(), ElementsAre(Kind::noAgent));
  EXPECT_EQ(outcomes[0].message, "No agent runs for this user.");
}

TEST_F(QuestionAskerTest, AsksTheAgentThatTakesThePlaceOfAnotherOne) {
  startAgent();
  ask();
  killAgent();
  world.advance(Seconds{3});
  EXPECT_THAT(outcomes, IsEmpty());
  startAgent();
  world.advance(Seconds{1});
  ASSERT_EQ(agent->store.all().size(), 1U) << "asked anew";
  ASSERT_TRUE(agent->answer("Delete"));
  settle();
  ASSERT_THAT(kinds(), ElementsAre(Kind::answered));
  EXPECT_EQ(outcomes[0].label, "Delete");
}

TEST_F(QuestionAskerTest, AlsoWhenTheOldOneSaidThatItEnds) {
  startAgent();
  ask();
  agent->questions.stop();
  agent->server.stop();
  settle();
  EXPECT_THAT(outcomes, IsEmpty());
  startAgent();
  world.advance(Seconds{1});
  EXPECT_EQ(agent->store.all().size(), 1U);
}

TEST_F(QuestionAskerTest, TheNewAgentIsAskedForTheTimeThatIsLeft) {
  startAgent();
  ask();
  world.advance(Seconds{50});
  killAgent();
  startAgent();
  world.advance(Seconds{9});
  EXPECT_EQ(agent->store.all().size(), 1U);
  EXPECT_THAT(outcomes, IsEmpty());
  world.advance(Seconds{1.1});
  ASSERT_THAT(kinds(), ElementsAre(Kind::ended));
  EXPECT_EQ(outcomes[0].end, QuestionEnd::timedOut);
}

TEST_F(QuestionAskerTest, AQuestionOfTheShortestTimeIsAskedAsWell) {
  startAgent();
  auto request = deletion();
  request.timeout = QuestionRequest::kShortestTimeout;
  ask(request);
  EXPECT_THAT(outcomes, IsEmpty());
  EXPECT_EQ(agent->store.all().size(), 1U);
  world.advance(Seconds{1.1});
  ASSERT_THAT(kinds(), ElementsAre(Kind::ended));
  EXPECT_EQ(outcomes[0].end, QuestionEnd::timedOut);
}

TEST_F(QuestionAskerTest, IsAskedAnewAlsoWhenLittleTimeIsLeft) {
  startAgent();
  ask();
  world.advance(Seconds{59});
  killAgent();
  startAgent();
  world.advance(Seconds{0.5});
  EXPECT_EQ(agent->store.all().size(), 1U);
  world.advance(Seconds{1});
  ASSERT_THAT(kinds(), ElementsAre(Kind::ended));
  EXPECT_EQ(outcomes[0].end, QuestionEnd::timedOut);
}

TEST_F(QuestionAskerTest, WaitsSoLongForAnotherAgentAndNoLonger) {
  startAgent();
  ask();
  killAgent();
  world.advance(QuestionAsker::kAgentTimeout - Seconds{0.5});
  EXPECT_THAT(outcomes, IsEmpty());
  world.advance(Seconds{1});
  ASSERT_THAT(kinds(), ElementsAre(Kind::noAgent));
  EXPECT_EQ(outcomes[0].message, "The agent has gone, and none came in its place.");
}

TEST_F(QuestionAskerTest, AnAgentThatHangsCountsAsGone) {
  std::vector<std::unique_ptr<platform::LocalConnection>> connections;
  const auto listener =
      sockets.listen(kChannelName, [&](auto connection) { connections.push_back(std::move(connection)); });
  ask();
  world.advance(Seconds{60} + QuestionAsker::kLateness - Seconds{0.1});
  EXPECT_THAT(outcomes, IsEmpty());
  world.advance(Seconds{0.2});
  ASSERT_THAT(kinds(), ElementsAre(Kind::noAgent));
  EXPECT_EQ(outcomes[0].message, "The agent does not answer.");
}

// A script goes by the number: it must not say yes where the label says no.
TEST_F(QuestionAskerTest, BelievesNoAnswerThatWasNotOffered) {
  for (const Json& answer : {Json{{"label", "Delete everything"}, {"index", 0}, {"by", "phone"}},
                             Json{{"label", "Cancel"}, {"index", 0}, {"by", "phone"}},
                             Json{{"label", "Cancel"}, {"index", 2}, {"by", "phone"}}}) {
    outcomes.clear();
    std::vector<std::unique_ptr<platform::LocalConnection>> connections;
    const auto listener = sockets.listen(kChannelName, [&](auto connection) {
      connection->start({[](auto) {}, [] {}});
      connection->send(channelLine("answer", answer));
      connections.push_back(std::move(connection));
    });
    ask();
    world.advance(Seconds{12});
    EXPECT_THAT(kinds(), ElementsAre(Kind::noAgent)) << answer.dump();
  }
}

TEST_F(QuestionAskerTest, TellsWhatTheAgentDidNotUnderstand) {
  startAgent();
  auto request = deletion();
  request.buttons[1].label = "Delete";
  ask(request);
  ASSERT_THAT(kinds(), ElementsAre(Kind::refused));
  EXPECT_EQ(outcomes[0].message, "Two buttons have the same label.");
}

}  // namespace
}  // namespace quillard
