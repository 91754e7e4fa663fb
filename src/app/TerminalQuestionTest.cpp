#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "app/AskTool.h"
#include "app/TerminalQuestion.h"

namespace quillard::app {
namespace {

// A person at the other end of a terminal.
class TerminalQuestion : public testing::Test {
 protected:
  TerminalQuestion() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
  ~TerminalQuestion() override {
    for (const int end : ends) ::close(end);
  }
  void type(std::string_view text) const {
    ASSERT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  [[nodiscard]] std::variant<std::size_t, TerminalEnd> ask(Seconds timeout = Seconds{30}, bool hasEnded = false) const {
    return askAtTerminal(ends[0], request, timeout, [hasEnded] { return hasEnded; });
  }
  [[nodiscard]] AskOutcome outcomeOf(const std::variant<std::size_t, TerminalEnd>& chosen) const {
    return terminalOutcome(request, chosen, {.kind = AskOutcome::Kind::noAgent, .message = "No agent runs."});
  }

  QuestionRequest request{.question = "Delete?", .buttons = {{"Delete"}, {"Keep", true}}};
  int ends[2] = {-1, -1};
};

using Chosen = std::variant<std::size_t, TerminalEnd>;

TEST_F(TerminalQuestion, IsAskedAgainUntilALineNamesAButton) {
  type("perhaps\n\n3\nKeep\n");
  EXPECT_EQ(ask(), Chosen{1U});
  std::string shown(4096, '\0');
  shown.resize(static_cast<std::size_t>(::read(ends[1], shown.data(), shown.size())));
  std::size_t count = 0;
  for (auto at = shown.find("Delete?"); at != std::string::npos; at = shown.find("Delete?", at + 1)) ++count;
  EXPECT_EQ(count, 4U);
}

TEST_F(TerminalQuestion, EndsWhenItsTimeIsOverHoweverMuchIsTyped) {
  EXPECT_EQ(ask(Seconds{0.02}), Chosen{TerminalEnd::timedOut});
  type("half a li");
  EXPECT_EQ(ask(Seconds{0.02}), Chosen{TerminalEnd::timedOut});
  EXPECT_EQ(ask(Seconds{-1}), Chosen{TerminalEnd::timedOut});
}

TEST_F(TerminalQuestion, EndsWithWhoeverAsksAndWithTheTerminal) {
  type("1\n");
  EXPECT_EQ(ask(Seconds{30}, /*hasEnded=*/true), Chosen{TerminalEnd::interrupted});
  ::shutdown(ends[1], SHUT_WR);
  EXPECT_EQ(ask(), Chosen{0U}) << "what was typed before";
  EXPECT_EQ(ask(), Chosen{TerminalEnd::noTerminal});
}

TEST_F(TerminalQuestion, TheAnswerForNobodyIsThatOfTheQuestion) {
  EXPECT_EQ(outcomeOf(0U).by, "terminal");
  EXPECT_EQ(exitCode(outcomeOf(TerminalEnd::timedOut)), ExitCode::timedOut);
  request.answerOnTimeout = "Keep";
  const auto outcome = outcomeOf(TerminalEnd::timedOut);
  EXPECT_EQ(outcome.label, "Keep");
  EXPECT_EQ(outcome.by, "timeout");
  EXPECT_EQ(exitCode(outcome), ExitCode::otherButton);
  EXPECT_EQ(exitCode(outcomeOf(TerminalEnd::noTerminal)), ExitCode::cannotDoHere) << "as without a terminal";
  EXPECT_EQ(askErrorText(outcomeOf(TerminalEnd::noTerminal)), "quillard ask: No agent runs.\n");
}

}  // namespace
}  // namespace quillard::app
