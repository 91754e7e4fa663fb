#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/AskTool.h"
#include "channel/ChannelServer.h"
#include "platform/simulated/SimulatedWorld.h"
#include "questions/QuestionCommands.h"

namespace quillard::app {
namespace {

using platform::simulated::SimulatedLocalSockets;

AskQuestion deletion() {
  return {.request = {.question = "Delete?", .buttons = {{"Delete"}, {"Cancel"}}, .timeout = Seconds{60}}};
}

class AskToolTest : public testing::Test {
 protected:
  AskToolTest() { commands.addTo(server); }
  void ask(const AskQuestion& command = deletion()) {
    tool =
        std::make_unique<AskTool>(command, QuestionAskerDependencies{sockets, world.time().mainThread(), world.time()},
                                  output, [this](ExitCode given, const AskOutcome&) { code = given; });
    world.advance(Seconds{0.1});
  }
  void answer(const std::string& label) {
    ASSERT_TRUE(questions.answer(store.all().at(0).id, label, AnsweredBy::phone, [this](bool was) { taken = was; }));
    world.advance(Seconds{0.1});
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{7}};
  ApprovalSuppressionStore suppressions{world.userDefaults()};
  ApprovalStore store{Seconds{8}, world.time(), world.random()};
  PhoneReach reach = PhoneReach::there;
  Questions questions{{store, suppressions, world.time(), world.random(), world.time().mainThread()},
                      {.phoneReach = [this] { return reach; },
                       .isPaused = [] { return false; },
                       .wasPhoneWoken = [](const Uuid&) { return false; },
                       .onChanged = [] {}}};
  QuestionCommands commands{questions, store};
  ChannelServer server{world.localSockets(), world.time().mainThread()};
  SimulatedLocalSockets sockets{world.socketFolder(), world.time().mainThread(), {.process = {.processIdentifier = 9}}};
  std::string printed;
  std::string errors;
  bool canPrint = true;
  const Output output{.print = [this](std::string_view text) { printed += text; },
                      .printError = [this](std::string_view text) { errors += text; },
                      .couldPrint = [this] { return canPrint; }};
  std::optional<ExitCode> code;
  std::optional<bool> taken;
  std::unique_ptr<AskTool> tool;
};

TEST_F(AskToolTest, PrintsTheLabelAndEndsWithItsNumber) {
  server.start();
  ask();
  EXPECT_EQ(code, std::nullopt) << "it waits";
  answer("Delete");
  EXPECT_EQ(printed, "Delete\n");
  EXPECT_EQ(errors, "");
  EXPECT_EQ(number(code.value()), 0);
  ask();
  answer("Cancel");
  EXPECT_EQ(printed, "Delete\nCancel\n");
  EXPECT_EQ(number(code.value()), 1);
}

TEST_F(AskToolTest, PrintsJson) {
  server.start();
  auto command = deletion();
  command.asJson = true;
  ask(command);
  answer("Cancel");
  EXPECT_EQ(printed, "{\"version\":1,\"outcome\":\"answered\",\"label\":\"Cancel\",\"index\":1,\"by\":\"phone\"}\n");
  printed = "";
  reach = PhoneReach::none;
  ask(command);
  EXPECT_EQ(printed, "{\"version\":1,\"outcome\":\"noPhone\",\"message\":\"No phone can be reached.\"}\n");
  EXPECT_EQ(number(code.value()), 5);
}

TEST_F(AskToolTest, AnAnswerThatCannotBePrintedIsNotTaken) {
  server.start();
  canPrint = false;
  ask();
  answer("Delete");
  EXPECT_EQ(taken, false);
  EXPECT_EQ(number(code.value()), 3);
}

TEST_F(AskToolTest, AnAnswerThatIsNotConfirmedIsNoYes) {
  std::vector<std::unique_ptr<platform::LocalConnection>> connections;
  const auto listener = world.localSockets().listen(kChannelName, [&](auto connection) {
    connection->start({[](auto) {}, [] {}});
    connection->send(channelLine("answer", {{"label", "Delete"}, {"index", 0}, {"by", "phone"}}));
    connections.push_back(std::move(connection));
  });
  auto command = deletion();
  command.asJson = true;
  command.fallsBackToTerminal = true;
  ask(command);
  EXPECT_EQ(code, std::nullopt) << "it waits for the agent's word";
  const auto line = printed;
  connections.clear();
  world.advance(Seconds{0.1});
  EXPECT_EQ(number(code.value()), 3);
  EXPECT_EQ(printed, line) << "one line at the most";
  EXPECT_EQ(errors, "quillard ask: The agent has gone before it confirmed the answer.\n");
}

TEST_F(AskToolTest, WithoutAnAgentItSaysSo) {
  ask();
  EXPECT_EQ(number(code.value()), 3);
  EXPECT_EQ(printed, "");
  EXPECT_EQ(errors, "quillard ask: No agent runs for this user.\n");
}

TEST_F(AskToolTest, NothingIsPrintedWhereTheTerminalIsAskedInstead) {
  auto command = deletion();
  command.fallsBackToTerminal = true;
  ask(command);
  EXPECT_TRUE(code.has_value());
  EXPECT_EQ(printed + errors, "");
}

TEST(AskToolCodes, EachEndHasOneOfItsOwn) {
  const std::vector<std::pair<QuestionEnd, int>> table{
      {QuestionEnd::timedOut, 4}, {QuestionEnd::noPhone, 5},  {QuestionEnd::paused, 6},  {QuestionEnd::muted, 6},
      {QuestionEnd::tooMany, 7},  {QuestionEnd::stopping, 3}, {QuestionEnd::notTaken, 3}};
  for (const auto& [end, expected] : table) {
    EXPECT_EQ(number(exitCode({.kind = AskOutcome::Kind::ended, .end = end})), expected);
  }
  EXPECT_EQ(number(exitCode({.kind = AskOutcome::Kind::noAgent})), 3);
  EXPECT_EQ(number(exitCode({.kind = AskOutcome::Kind::notTaken, .index = 0})), 3);
  EXPECT_EQ(number(exitCode({.kind = AskOutcome::Kind::refused})), 2);
  EXPECT_EQ(number(exitCode({.kind = AskOutcome::Kind::answered, .index = 7})), 1);
}

TEST(AskToolTerminal, IsAskedOnlyWhereNothingElseCanAnswer) {
  EXPECT_TRUE(mayFallBack({.kind = AskOutcome::Kind::noAgent}));
  EXPECT_TRUE(mayFallBack({.kind = AskOutcome::Kind::ended, .end = QuestionEnd::noPhone}));
  for (const auto end : {QuestionEnd::timedOut, QuestionEnd::muted, QuestionEnd::paused, QuestionEnd::tooMany}) {
    EXPECT_FALSE(mayFallBack({.kind = AskOutcome::Kind::ended, .end = end}));
  }
  EXPECT_FALSE(mayFallBack({.kind = AskOutcome::Kind::refused}));
  EXPECT_FALSE(mayFallBack({.kind = AskOutcome::Kind::answered}));
  EXPECT_FALSE(mayFallBack({.kind = AskOutcome::Kind::notTaken}));
}

TEST(AskToolTerminal, TakesANumberOrALabel) {
  const QuestionRequest request{.question = "Delete?\x1b[2J", .lines = {"214 GB"}, .buttons = {{"Delete"}, {"2"}}};
  EXPECT_EQ(terminalText(request), "\nDelete??[2J\n  214 GB\n  1  Delete\n  2  2\nNumber: ");
  EXPECT_EQ(chosenButton(request, "1"), 0U);
  EXPECT_EQ(chosenButton(request, "Delete"), 0U);
  EXPECT_EQ(chosenButton(request, "2"), 1U);
  for (const char* const line : {"", "0", "3", "delete", "1 ", "-1", "99999999999999999999999"}) {
    EXPECT_EQ(chosenButton(request, line), std::nullopt) << line;
  }
}

}  // namespace
}  // namespace quillard::app
