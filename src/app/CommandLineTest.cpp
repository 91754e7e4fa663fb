#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "app/CommandLine.h"

namespace quillard::app {
namespace {

template <class Expected>
void expectCommand(const std::vector<std::string>& arguments, const Expected& expected) {
  const auto command = parseCommandLine(arguments);
  const auto* const found = std::get_if<Expected>(&command);
  ASSERT_TRUE(found) << testing::PrintToString(arguments);
  EXPECT_TRUE(*found == expected) << testing::PrintToString(arguments);
}

std::string refusal(const std::vector<std::string>& arguments) {
  const auto command = parseCommandLine(arguments);
  const auto* const said = std::get_if<PrintMessage>(&command);
  if (!said) return "not refused";
  EXPECT_EQ(said->code, ExitCode::wrongUsage);
  return said->text;
}

TEST(CommandLine, WithoutArgumentsTheAgentRuns) { expectCommand({}, RunAgent{}); }

TEST(CommandLine, HasACommandForEachTool) {
  expectCommand({"record", "f", "--program", "thunar"}, RecordDesktop{.file = "f", .program = "thunar"});
  expectCommand({"explain"}, ExplainWindows{});
  expectCommand({"explain", "Save"}, ExplainWindows{.words = "Save"});
  expectCommand({"scan"}, ScanOnce{});
  expectCommand({"scan", "--json"}, ScanOnce{.asJson = true});
  expectCommand({"doctor"}, ExamineSetup{});
  expectCommand({"doctor", "--json"}, ExamineSetup{.asJson = true});
  expectCommand({"pair"}, ShowPairingCode{});
  expectCommand({"pair", "--text"}, ShowPairingCode{.asText = true});
  expectCommand({"pair", "--text", "--force"}, ShowPairingCode{.evenWithoutTerminal = true, .asText = true});
  expectCommand({"pair", "--force"}, ShowPairingCode{.evenWithoutTerminal = true});
  expectCommand({"readable"}, MakeReadable{});
  expectCommand({"readable", "chat"}, MakeReadable{.program = "chat"});
  expectCommand({"readable", "--undo", "chat"}, MakeReadable{.program = "chat", .undoes = true});
  expectCommand({"record", "a file.json"}, RecordDesktop{.file = "a file.json"});
  expectCommand({"record", "--mask-texts", "x"}, RecordDesktop{.file = "x", .masksTexts = true});
  expectCommand({"record", "--", "--mask-texts"}, RecordDesktop{.file = "--mask-texts"});
  expectCommand({"relay", "set", "relay.example"}, SetRelay{.address = "relay.example"});
  expectCommand({"relay", "set", "relay.example", "--key", "k"},
                SetRelay{.address = "relay.example", .registrationKey = "k"});
  expectCommand({"relay", "forget"}, ForgetRelay{});
  expectCommand({"relay", "show"}, ShowRelay{});
  expectCommand({"relay", "show", "--json"}, ShowRelay{.asJson = true});
  expectCommand({"relay", "test"}, TestRelay{});
  expectCommand({"relay", "test", "relay.example"}, TestRelay{.address = "relay.example"});
  expectCommand({"settings"}, ShowSettings{});
  expectCommand({"settings", "--json"}, ShowSettings{.asJson = true});
  expectCommand({"settings", "approval-stale-grace"}, ShowSettings{.name = "approval-stale-grace"});
  expectCommand({"settings", "approval-stale-grace", "12"}, ChangeSetting{"approval-stale-grace", "12"});
  expectCommand({"settings", "approval-stale-grace", ""}, ChangeSetting{"approval-stale-grace", ""});
  expectCommand({"settings", "approval-stale-grace", "--default"}, ChangeSetting{"approval-stale-grace", std::nullopt});
}

TEST(CommandLine, HasACommandForEachRequestToTheAgent) {
  expectCommand({"status"}, TellStatus{});
  expectCommand({"status", "--json", "--follow"}, TellStatus{.asJson = true, .follows = true});
  for (const char* const duration : {"2h", "4h", "tomorrow", "on", "off"}) {
    expectCommand({"pause", duration}, PauseAlerts{duration});
  }
  expectCommand({"open"}, OpenWindow{});
  expectCommand({"quit"}, QuitAgent{});
  expectCommand({"answer"}, AnswerQuestion{});
  expectCommand({"answer", "--json"}, AnswerQuestion{.asJson = true});
  expectCommand({"answer", "AB12", "Delete all"}, AnswerQuestion{.id = "AB12", .label = "Delete all"});
  expectCommand({"phones"}, ListPhones{});
  expectCommand({"phones", "--json"}, ListPhones{.asJson = true});
  expectCommand({"unpair", "Ann's phone"}, UnpairPhones{.phone = "Ann's phone"});
  expectCommand({"unpair", "2", "--yes"}, UnpairPhones{.phone = "2", .isConfirmed = true});
  expectCommand({"unpair", "--yes", "--", "--all"}, UnpairPhones{.phone = "--all", .isConfirmed = true});
  expectCommand({"unpair", "--all"}, UnpairPhones{.all = true});
  EXPECT_NE(refusal({"phones", "Ann"}), "not refused");
  EXPECT_NE(refusal({"unpair"}).find("PHONE or --all is missing."), std::string::npos);
  EXPECT_NE(refusal({"unpair", ""}), "not refused");
  EXPECT_NE(refusal({"unpair", "--yes"}), "not refused");
  EXPECT_NE(refusal({"unpair", "--all", "Ann"}), "not refused");
  EXPECT_NE(refusal({"unpair", "Ann", "Ben"}), "not refused");
  EXPECT_NE(refusal({"pause", "3h"}), "not refused");
  EXPECT_NE(refusal({"pause"}), "not refused");
  EXPECT_NE(refusal({"answer", "AB12"}), "not refused");
}

TEST(CommandLine, AQuestionHasAllThatAProgramCanSay) {
  expectCommand({"ask", "Go on?", "--button", "Yes"},
                AskQuestion{.request = {.question = "Go on?", .buttons = {{"Yes"}}}});
  expectCommand({"ask",
                 "Delete?",
                 "--line",
                 "214 GB",
                 "--line",
                 "on tank",
                 "--button",
                 "Löschen",
                 "--button",
                 "Nein",
                 "--deny",
                 "Nein",
                 "--recommend",
                 "Nein",
                 "--default-on-timeout",
                 "Nein",
                 "--timeout",
                 "2h",
                 "--needs-computer",
                 "--json",
                 "--text",
                 "-",
                 "--fallback",
                 "terminal"},
                AskQuestion{.request = {.question = "Delete?",
                                        .lines = {"214 GB", "on tank"},
                                        .buttons = {{"Löschen"}, {"Nein", true}},
                                        .recommended = "Nein",
                                        .answerOnTimeout = "Nein",
                                        .timeout = Seconds{7200},
                                        .needsComputer = true},
                            .readsText = true,
                            .asJson = true,
                            .fallsBackToTerminal = true});
}

TEST(CommandLine, RefusesQuestionsThatCannotBeAsked) {
  const std::vector<std::vector<std::string>> table{
      {"ask"},
      {"ask", "Go on?"},
      {"ask", "", "--button", "Yes"},
      {"ask", "Go on?", "--button", ""},
      {"ask", "Go on?", "--button", "Yes", "--button", "Yes"},
      {"ask", "Go on?", "--button", "Yes", "--deny", "No"},
      {"ask", "Go on?", "--button", "Yes", "--recommend", "No"},
      {"ask", "Go on?", "--button", "Yes", "--default-on-timeout", "No"},
      {"ask", "Go on?", "--button", "Yes", "--text", "file"},
      {"ask", "Go on?", "--button", "Yes", "--fallback", "window"},
      {"ask", "Go", "on?", "--button", "Yes"},
  };
  for (const auto& arguments : table) EXPECT_NE(refusal(arguments), "not refused") << testing::PrintToString(arguments);
  for (const char* const timeout : {"0", "soon", "1.5h", "-5", "25h", "99999999", "10 m", "5d", "m"}) {
    EXPECT_NE(refusal({"ask", "Go on?", "--button", "Yes", "--timeout", timeout}), "not refused") << timeout;
  }
}

TEST(CommandLine, AQuestionThatLooksLikeAnOptionIsNeverTakenForAYes) {
  for (const char* const question : {"-h", "--help", "-h please", "--version", "--json", "-x", "++"}) {
    EXPECT_NE(refusal({"ask", question, "--button", "Run"}), "not refused") << question;
    EXPECT_NE(refusal({"ask", "--button", "Run", question}), "not refused") << question;
    const AskQuestion expected{.request = {.question = question, .lines = {question}, .buttons = {{"Run"}}}};
    const Command command = parseCommandLine({"ask", "--line", question, "--button", "Run", "--", question});
    ASSERT_TRUE(std::holds_alternative<AskQuestion>(command)) << question;
    EXPECT_EQ(std::get<AskQuestion>(command), expected) << question;
  }
}

TEST(CommandLine, TextsInBracketsStayAsTheyAre) {
  const Command command = parseCommandLine({"ask", "--line", "[a,b]", "--button", "[Run]", "--button", "[]", "Go on?"});
  ASSERT_TRUE(std::holds_alternative<AskQuestion>(command));
  const auto& request = std::get<AskQuestion>(command).request;
  EXPECT_EQ(request.lines, std::vector<std::string>{"[a,b]"});
  EXPECT_EQ(request.buttons, (std::vector<QuestionButton>{{"[Run]"}, {"[]"}}));
}

TEST(CommandLine, HelpNamesEveryCommandAndEveryExitCode) {
  for (const char* flag : {"--help", "-h"}) {
    const auto command = parseCommandLine({flag});
    const auto& said = std::get<PrintMessage>(command);
    EXPECT_EQ(said.code, ExitCode::fine);
    for (const char* word :
         {"scan", "explain", "doctor", "pair", "readable", "relay", "settings", "record", "ask", "answer", "status",
          "pause", "phones", "unpair", "open", "quit", "--version", "Exit codes: 0", "quillard(1)"}) {
      EXPECT_NE(said.text.find(word), std::string::npos) << word << " in\n" << said.text;
    }
  }
}

TEST(CommandLine, EachCommandHasHelpOfItsOwn) {
  const auto command = parseCommandLine({"record", "--help"});
  const auto& said = std::get<PrintMessage>(command);
  EXPECT_EQ(said.code, ExitCode::fine);
  EXPECT_NE(said.text.find("--mask-texts"), std::string::npos) << said.text;
}

TEST(CommandLine, TellsItsVersion) {
  const auto command = parseCommandLine({"--version"});
  EXPECT_EQ(std::get<PrintMessage>(command), (PrintMessage{"quillard " QUILLARD_VERSION "\n", ExitCode::fine}));
}

TEST(CommandLine, SaysWhatItDoesNotUnderstand) {
  EXPECT_NE(refusal({"watch"}).find("watch"), std::string::npos);
  EXPECT_NE(refusal({"--jsn"}).find("--jsn"), std::string::npos);
  EXPECT_NE(refusal({"scan", "--force"}).find("--force"), std::string::npos);
  EXPECT_NE(refusal({"scan", "--text"}).find("--text"), std::string::npos);
  EXPECT_NE(refusal({"record"}).find("FILE"), std::string::npos);
  EXPECT_NE(refusal({"record", "a", "b"}), "not refused");
  EXPECT_NE(refusal({"relay"}), "not refused");
  EXPECT_NE(refusal({"relay", "set"}).find("ADDRESS"), std::string::npos);
  EXPECT_NE(refusal({"settings", "--default"}), "not refused");
  EXPECT_NE(refusal({"settings", "approval-stale-grace", "12", "--default"}), "not refused");
  EXPECT_NE(refusal({"settings", "approval-stale-grace", "12", "--json"}), "not refused");
  EXPECT_NE(refusal({"scan", "doctor"}), "not refused");
  EXPECT_NE(refusal({""}), "not refused");
}

}  // namespace
}  // namespace quillard::app
