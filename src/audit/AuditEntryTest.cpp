#include <chrono>

#include <gtest/gtest.h>

#include "audit/AuditEntry.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

using std::chrono::sys_days;

const std::string kZeros(64, '0');

AuditLine full() {
  return {.sequence = 7,
          .previous = std::string(64, 'a'),
          .entry = {.at = Date{sys_days{std::chrono::year{2026} / 3 / 1}},
                    .event = "outcome",
                    .approvalID = Uuid::fromRandomBytes({1, 2, 3}),
                    .decisionID = "d-1",
                    .program = "Installer",
                    .title = "Install \"it\"?\n",
                    .lines = {"One", ""},
                    .buttons = {"Install", "Cancel"},
                    .textDigest = std::string(64, 'b'),
                    .label = "Install",
                    .status = "accepted",
                    .error = "none",
                    .pairing = 2,
                    .phones = {"Ana's phone"},
                    .how = "window",
                    .until = Date{sys_days{std::chrono::year{2026} / 3 / 2}},
                    .note = "Grüße",
                    .sequence = 3,
                    .leftOut = 4}};
}

std::string line(const std::string& members) {
  return R"({"version":1,"sequence":1,"previous":")" + kZeros + R"(","at":"2026-03-01T00:00:00Z","event":"asked")" +
         members + "}";
}

TEST(AuditEntry, IsReadAsItWasWritten) {
  const auto read = readAuditLine(auditLineText(full()));
  ASSERT_TRUE(std::holds_alternative<AuditLine>(read)) << std::get<JsonError>(read).description();
  EXPECT_EQ(std::get<AuditLine>(read), full());
}

TEST(AuditEntry, LeavesOutWhatIsEmpty) {
  const AuditLine bare{.sequence = 1, .previous = kZeros, .entry = {.at = full().entry.at, .event = "asked"}};
  EXPECT_EQ(auditLineText(bare), line(""));
}

TEST(AuditEntry, ReadsEventsAndMembersThatANewerAgentAdds) {
  const auto read = readAuditLine(line(R"(,"mood":"good")"));
  EXPECT_TRUE(std::holds_alternative<AuditLine>(read));
}

TEST(AuditEntry, RefusesWhatIsNone) {
  const std::string good = line("");
  const auto with = [&](const std::string& from, const std::string& to) {
    auto text = good;
    return text.replace(text.find(from), from.size(), to);
  };
  for (const auto& text : {std::string(),
                           std::string("{}"),
                           std::string("[]"),
                           good + " x",
                           good.substr(0, good.size() - 1),
                           with("\"version\":1", "\"version\":2"),
                           with("\"version\":1,", ""),
                           with("\"sequence\":1", "\"sequence\":0"),
                           with("\"sequence\":1", "\"sequence\":1.5"),
                           with("\"sequence\":1", "\"sequence\":9007199254740993"),
                           with(kZeros, std::string(63, '0')),
                           with(kZeros, std::string(64, 'A')),
                           with(kZeros, std::string(64, 'x')),
                           with("2026-03-01T00:00:00Z", "yesterday"),
                           with("\"asked\"", "1"),
                           with("\"event\"", "\"even\""),
                           line(R"(,"approvalID":"1")"),
                           line(R"(,"lines":"a")"),
                           line(R"(,"lines":[1])"),
                           line(R"(,"pairing":-1)"),
                           line(R"(,"leftOut":"1")"),
                           line(R"(,"until":5)"),
                           line(R"(,"at":"2026-03-01T00:00:00Z")"),
                           line(",\"note\":\"\xff\""),
                           line(R"(,"x":[[[[[1]]]]])")}) {
    EXPECT_TRUE(std::holds_alternative<JsonError>(readAuditLine(text))) << text;
  }
}

TEST(AuditEntry, IsBoundedWhateverAProgramShows) {
  AuditEntry huge{.event = "asked", .program = std::string(100'000, 'p'), .title = std::string(100'000, '\x01')};
  for (int i = 0; i < 1000; ++i) {
    huge.lines.push_back(std::string(5000, '\x02'));
    huge.buttons.push_back(std::string(5000, '\x03'));
  }
  const AuditLine written{.sequence = kMostAuditLines, .previous = kZeros, .entry = boundedAuditEntry(huge)};
  EXPECT_LE(auditLineText(written).size(), kLongestAuditLine);
  EXPECT_TRUE(std::holds_alternative<AuditLine>(readAuditLine(auditLineText(written))));
}

TEST(AuditEntry, IsCutBetweenCharacters) {
  std::string title;
  while (title.size() < 2000) title += "ä€😀";
  const auto bounded = boundedAuditEntry({.event = "asked", .title = title});
  EXPECT_TRUE(bounded.title.ends_with("…"));
  EXPECT_TRUE(text::isValidUtf8(bounded.title));
}

TEST(AuditEntry, TextsThatAreNoUtf8AreWrittenAsSomethingThatIs) {
  const AuditLine odd{.sequence = 1, .previous = kZeros, .entry = {.event = "asked", .title = "a\xff"}};
  EXPECT_TRUE(std::holds_alternative<AuditLine>(readAuditLine(auditLineText(odd))));
}

}  // namespace
}  // namespace quillard
