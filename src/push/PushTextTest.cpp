#include <string>

#include <gtest/gtest.h>

#include "foundation/StrictJson.h"
#include "push/PushText.h"

namespace quillard {
namespace {

const Uuid kPrompt = *Uuid::parse("11111111-2222-4333-8444-555555555555");

PendingApproval prompt() {
  return PendingApproval::make({.id = kPrompt,
                                .appName = "Installer",
                                .windowTitle = "Install Helper?",
                                .messageLines = {"Install Helper?", "It wants to make changes."},
                                .buttons = {{.label = "Install"}, {.label = "Don't Allow"}}});
}

PushContents about(PendingApproval approval) {
  return {.kind = PushContents::Kind::prompt,
          .prompt = std::move(approval),
          .waiting = 1,
          .clock = {.epoch = kPrompt, .time = std::chrono::milliseconds{5}}};
}

PushAddressee phone(PushContent content = PushContent::prompt) {
  return {.pairingID = "pairing-1", .page = "https://relay.example/", .computer = "Studio", .content = content};
}

Json written(const PushContents& contents, const PushAddressee& addressee) {
  const auto text = pushText(contents, addressee, "00112233445566778899aabbccddeeff");
  if (!text) return {};
  EXPECT_LE(text->size(), kLongestPushPlaintext);
  return std::get<Json>(parseStrictJson(*text));
}

TEST(PushText, SaysWhoAsksAndWhatAndLeadsThere) {
  const auto json = written(about(prompt()), phone());
  EXPECT_EQ(json["web_push"], 8030);
  const auto& shown = json["notification"];
  EXPECT_EQ(shown["title"], "Studio: Installer: Install Helper?");
  EXPECT_EQ(shown["body"], "It wants to make changes.");
  EXPECT_EQ(shown["navigate"], "https://relay.example/#prompt/" + kPrompt.text());
  EXPECT_EQ(shown["tag"], "00112233445566778899aabbccddeeff");
  EXPECT_EQ(shown["silent"], false);
  const auto& data = shown["data"];
  EXPECT_EQ(data["quillard"], 1);
  EXPECT_EQ(data["kind"], "prompt");
  EXPECT_EQ(data["approvalID"], kPrompt.text());
  EXPECT_EQ(data["dismissLabel"], "Don't Allow");
  EXPECT_EQ(data["waiting"], 1);
  EXPECT_EQ(data["clock"]["time"], 5);
}

TEST(PushText, SaysOnlyThatAPromptWaitsWhereAPersonChoseThat) {
  const auto text = *pushText(about(prompt()), phone(PushContent::computer), "00");
  EXPECT_NE(text.find("A prompt waits at Studio"), std::string::npos);
  for (const auto* word : {"Install", "Helper", "changes", "Allow"})
    EXPECT_EQ(text.find(word), std::string::npos) << word;
}

TEST(PushText, OfSeveralItNamesNone) {
  const auto json = written({.kind = PushContents::Kind::several, .waiting = 3, .clock = {kPrompt, {}}}, phone());
  EXPECT_EQ(json["notification"]["title"], "3 prompts wait at Studio");
  EXPECT_EQ(json["notification"]["navigate"], "https://relay.example/");
  EXPECT_EQ(json["notification"]["data"]["waiting"], 3);
  EXPECT_FALSE(json["notification"]["data"].contains("approvalID"));
}

TEST(PushText, ATestSaysSo) {
  auto nameless = phone();
  nameless.computer.clear();
  const auto json = written({.clock = {kPrompt, {}}}, nameless);
  EXPECT_EQ(json["notification"]["data"]["kind"], "test");
  EXPECT_EQ(json["notification"]["body"], "A test from your computer.");
}

TEST(PushText, SpeaksTheLanguageOfThePhonesPageAndLeavesAPromptsWordsAlone) {
  auto german = phone();
  german.language = Language::german;
  const auto full = written(about(prompt()), german)["notification"];
  EXPECT_EQ(full["lang"], "de");
  EXPECT_EQ(full["title"], "Studio: Installer: Install Helper?");
  EXPECT_EQ(full["body"], "It wants to make changes.");
  auto bare = prompt();
  bare.messageLines.clear();
  EXPECT_EQ(written(about(bare), german)["notification"]["body"], "Öffnen Sie Quillard, um zu antworten.");
  const auto several =
      written({.kind = PushContents::Kind::several, .waiting = 3, .clock = {kPrompt, {}}}, german)["notification"];
  EXPECT_EQ(several["title"], "Studio: 3 Rückfragen warten");
  EXPECT_EQ(several["body"], "Öffnen Sie die Liste, um zu antworten.");
  german.content = PushContent::computer;
  const auto terse = written(about(prompt()), german)["notification"];
  EXPECT_EQ(terse["title"], "Studio: Eine Rückfrage wartet");
  EXPECT_EQ(terse["body"], "Öffnen Sie Quillard, um sie zu sehen.");
  german.computer.clear();
  const auto test = written({.clock = {kPrompt, {}}}, german)["notification"];
  EXPECT_EQ(test["title"], "Meldungen erreichen dieses Telefon");
  EXPECT_EQ(test["body"], "Ihr Computer hat einen Test gesendet.");
  EXPECT_EQ(written(about(prompt()), phone())["notification"]["lang"], "en");
}

TEST(PushText, OffersNoDismissalThatGrantsSomethingOrCannotBePressed) {
  auto approval = prompt();
  approval.buttons = {{.label = "Install"}, {.label = "Cancel", .isEnabled = false}};
  EXPECT_FALSE(written(about(approval), phone())["notification"]["data"].contains("dismissLabel"));
  approval.buttons.back() = {.label = "Abbrechen", .isKnownDismissal = true};
  EXPECT_EQ(written(about(approval), phone())["notification"]["data"]["dismissLabel"], "Abbrechen");
}

TEST(PushText, LeavesAPromptOfThreeButtonsToThePage) {
  auto approval = prompt();
  approval.buttons = {{.label = "Save"}, {.label = "Cancel", .isKnownDismissal = true}};
  EXPECT_TRUE(written(about(approval), phone())["notification"]["data"].contains("dismissLabel"));
  approval.buttons.push_back({.label = "Don't Save"});
  EXPECT_FALSE(written(about(approval), phone())["notification"]["data"].contains("dismissLabel"));
}

TEST(PushText, CutsLongTextsBetweenCharactersAndMarksThat) {
  auto approval = prompt();
  approval.windowTitle.clear();
  approval.appName.clear();
  for (int i = 0; i < 200; ++i) approval.appName += "ä";
  approval.messageLines = {std::string(5000, 'x')};
  const auto shown = written(about(approval), phone())["notification"];
  EXPECT_TRUE(shown["title"].get<std::string>().ends_with("…"));
  EXPECT_TRUE(shown["body"].get<std::string>().ends_with("…"));
}

TEST(PushText, StaysWithinItsLengthWhateverProgramsWrite) {
  const auto repeated = [](const std::string& piece) {
    std::string all;
    for (int i = 0; i < 500; ++i) all += piece;
    return all;
  };
  for (const std::string piece : {"\"", "\\", "\x01", "🙂", "\xE2\x80\xAE", "\xFF", "\n"}) {
    auto approval = prompt();
    approval.appName = repeated(piece);
    approval.windowTitle = repeated(piece);
    approval.messageLines = {repeated(piece), repeated(piece)};
    approval.buttons = {{.label = repeated(piece), .isKnownDismissal = true}};
    auto addressee = phone();
    addressee.page = "https://relay.example/" + std::string(490, 'p');
    addressee.computer = repeated(piece);
    const auto json = written(about(approval), addressee);
    ASSERT_FALSE(json.is_null()) << piece;
    EXPECT_NE(json["notification"]["title"], "");
    EXPECT_NE(json["notification"]["body"], "");
  }
}

TEST(PushText, ShowsNoCharactersThatHideOthers) {
  auto approval = prompt();
  approval.windowTitle =
      "safe\xE2\x80\xAE"
      "gpj.exe";
  EXPECT_EQ(written(about(approval), phone())["notification"]["title"], "Studio: Installer: safe?gpj.exe");
}

TEST(PushTag, IsOneForEachPromptAndSaysNothingWithoutTheSecret) {
  const Secret secret{std::string_view{"one"}};
  auto other = prompt();
  other.id = *Uuid::parse("11111111-2222-4333-8444-555555555556");
  const auto tag = pushTag(secret, about(prompt()));
  EXPECT_EQ(tag.size(), 32U);
  EXPECT_EQ(tag.find_first_not_of("0123456789abcdef"), std::string::npos);
  EXPECT_EQ(tag, pushTag(secret, about(prompt())));
  EXPECT_NE(tag, pushTag(secret, about(other)));
  EXPECT_NE(tag, pushTag(Secret{std::string_view{"two"}}, about(prompt())));
  EXPECT_NE(tag, pushTag(secret, {.kind = PushContents::Kind::several}));
  EXPECT_NE(pushTag(secret, {.kind = PushContents::Kind::several}),
            pushTag(secret, {.kind = PushContents::Kind::test}));
}

}  // namespace
}  // namespace quillard
