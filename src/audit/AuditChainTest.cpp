#include <gtest/gtest.h>

#include "audit/AuditChain.h"

namespace quillard {
namespace {

// `count` lines from the beginning.
std::string chain(int count, AuditHead head = {}) {
  std::string bytes;
  for (int i = 0; i < count; ++i) bytes += nextAuditLine({.event = "asked", .title = std::to_string(i)}, head);
  return bytes;
}

std::vector<std::string> linesOf(const std::string& bytes) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < bytes.size();) {
    const auto end = bytes.find('\n', at) + 1;
    lines.push_back(bytes.substr(at, end - at));
    at = end;
  }
  return lines;
}

TEST(AuditChain, KnowsTheDigestThatEverybodyKnows) {
  EXPECT_EQ(auditDigest("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(AuditChain, OfNothingIsWhole) {
  const auto reading = readAuditChain("");
  EXPECT_EQ(reading.fault, AuditFault::none);
  EXPECT_EQ(reading.head(), AuditHead{});
}

TEST(AuditChain, IsReadUpToItsHead) {
  AuditHead head;
  const auto first = nextAuditLine({.event = "asked"}, head);
  const auto second = nextAuditLine({.event = "gone"}, head);
  const auto reading = readAuditChain(first + second);
  EXPECT_EQ(reading.fault, AuditFault::none) << reading.problem;
  ASSERT_EQ(reading.lines.size(), 2U);
  EXPECT_EQ(reading.lines[1].previous, auditDigest(first.substr(0, first.size() - 1)));
  EXPECT_EQ(reading.head(), head);
  EXPECT_EQ(reading.digestOf(2), head.digest);
  EXPECT_EQ(reading.digestOf(3), std::nullopt);
}

TEST(AuditChain, EveryChangeOfALineIsFound) {
  const auto whole = chain(4);
  for (std::size_t i = 0; i + 1 < whole.size(); ++i) {
    auto changed = whole;
    changed[i] = changed[i] == '5' ? '6' : '5';
    const auto reading = readAuditChain(changed);
    // A change of the last line shows in the head, which others know.
    EXPECT_TRUE(reading.fault != AuditFault::none || reading.head() != readAuditChain(whole).head()) << i;
  }
}

TEST(AuditChain, ALineTakenOutMovedOrDoubledIsFound) {
  const auto lines = linesOf(chain(4));
  EXPECT_EQ(readAuditChain(lines[0] + lines[2] + lines[3]).fault, AuditFault::damaged);
  EXPECT_EQ(readAuditChain(lines[0] + lines[2] + lines[1] + lines[3]).fault, AuditFault::damaged);
  EXPECT_EQ(readAuditChain(lines[0] + lines[1] + lines[1]).fault, AuditFault::damaged);
  EXPECT_EQ(readAuditChain(lines[0] + "\n" + lines[1]).fault, AuditFault::damaged);
}

TEST(AuditChain, IsReadAsFarAsItIsGood) {
  const auto lines = linesOf(chain(3));
  const auto reading = readAuditChain(lines[0] + lines[1] + "rubbish\n");
  EXPECT_EQ(reading.lines.size(), 2U);
  EXPECT_EQ(reading.goodBytes, lines[0].size() + lines[1].size());
  EXPECT_TRUE(reading.problem.starts_with("Line 3: ")) << reading.problem;
}

TEST(AuditChain, ALineThatIsNotFinishedIsTornAndNotDamaged) {
  const auto lines = linesOf(chain(2));
  const auto reading = readAuditChain(lines[0] + lines[1].substr(0, 20));
  EXPECT_EQ(reading.fault, AuditFault::torn);
  EXPECT_EQ(reading.goodBytes, lines[0].size());
  const auto unended = lines[0].substr(0, lines[0].size() - 1);
  EXPECT_EQ(readAuditChain(unended).fault, AuditFault::torn);
}

TEST(AuditChain, AMissingBeginningNeedsALineThatSaysSo) {
  AuditHead head;
  (void)nextAuditLine({.event = "asked"}, head);
  (void)nextAuditLine({.event = "asked"}, head);
  const auto third = nextAuditLine({.event = "gone"}, head);
  auto wrong = head;
  EXPECT_EQ(readAuditChain(third).fault, AuditFault::beginning);
  EXPECT_EQ(readAuditChain(third + nextAuditLine({.event = "removed", .sequence = 2}, head)).fault, AuditFault::none);
  EXPECT_EQ(readAuditChain(third + nextAuditLine({.event = "removed", .sequence = 1}, wrong)).fault,
            AuditFault::beginning);
}

}  // namespace
}  // namespace quillard
