#include <chrono>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audit/AuditLog.h"
#include "platform/simulated/SimulatedAppendOnlyFile.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;
using namespace platform::simulated;
using platform::FileCode;
using testing::ElementsAre;
using testing::HasSubstr;

class AuditLogTest : public testing::Test {
 protected:
  // The agent is started again.
  void start() {
    log = std::make_unique<AuditLog>(AuditLogDependencies{file, defaults, time, console, [this] { return limits; }});
    log->open();
  }
  void add(const std::string& title) { log->add({.event = "asked", .title = title}); }
  void tendFor(Seconds duration) {
    for (auto left = duration; left > Seconds::zero(); left -= Seconds{10}) {
      time.advance(Seconds{10});
      log->tend();
    }
  }
  AuditReading reading() { return readAuditChain(file.current().value_or("")); }
  // "asked A", "mended cut": of the lines that are in the file.
  std::vector<std::string> written() {
    std::vector<std::string> texts;
    for (const auto& line : reading().lines) {
      texts.push_back(line.entry.event + " " + line.entry.title + line.entry.how);
    }
    return texts;
  }

  VirtualTime time{Seed{7}};
  SimulatedConsole console;
  SimulatedUserDefaults defaults;
  SimulatedAppendOnlyFile file;
  AuditLimits limits;
  std::unique_ptr<AuditLog> log;
};

TEST_F(AuditLogTest, GoesOnFromRunToRun) {
  start();
  add("A");
  add("B");
  start();
  add("C");
  EXPECT_THAT(written(), ElementsAre("asked A", "asked B", "asked C"));
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
  EXPECT_EQ(reading().head(), log->head());
  EXPECT_TRUE(console.lines().empty());
}

TEST_F(AuditLogTest, WritesNothingBeforeThereIsSomething) {
  start();
  EXPECT_EQ(file.current(), std::nullopt);
  EXPECT_TRUE(defaults.keys().empty());
}

TEST_F(AuditLogTest, AFullDiskLosesNothingAndIsSaidOnce) {
  start();
  add("A");
  file.failWith(FileCode::noSpace);
  add("B");
  add("C");
  EXPECT_THAT(written(), ElementsAre("asked A"));
  EXPECT_EQ(console.lines().size(), 1U);
  EXPECT_TRUE(log->problem());
  file.failWith(FileCode::success);
  tendFor(AuditLog::kRetryInterval);
  EXPECT_THAT(written(), ElementsAre("asked A", "asked B", "asked C"));
  EXPECT_EQ(reading().fault, AuditFault::none);
  EXPECT_FALSE(log->problem());
  EXPECT_EQ(console.lines().back(), "The log of decisions is written again.");
}

TEST_F(AuditLogTest, TriesOnceMoreBeforeTheAgentEnds) {
  start();
  file.failWith(FileCode::noSpace);
  add("A");
  file.failWith(FileCode::success);
  log->flush();
  EXPECT_THAT(written(), ElementsAre("asked A"));
}

TEST_F(AuditLogTest, CountsWhatIsLostWhenTheAgentEndsOverRunsUntilThatIsWritten) {
  start();
  add("A");
  file.failWith(FileCode::noSpace);
  add("B");
  add("C");
  log->flush();
  start();
  add("D");
  log->flush();
  EXPECT_EQ(log->head().sequence, 1) << "What nobody can read was never there.";
  file.failWith(FileCode::success);
  start();
  add("E");
  add("F");
  start();
  add("G");
  EXPECT_THAT(written(), ElementsAre("asked A", "asked E", "asked F", "asked G"));
  std::vector<std::int64_t> leftOut;
  for (const auto& line : reading().lines) leftOut.push_back(line.entry.leftOut);
  EXPECT_THAT(leftOut, ElementsAre(0, 3, 0, 0));
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
}

TEST_F(AuditLogTest, ItsHeadIsTheLastLineThatIsInTheFile) {
  start();
  add("A");
  const auto before = log->head();
  file.failWith(FileCode::noSpace);
  add("B");
  EXPECT_EQ(log->head(), before);
  file.failWith(FileCode::success);
  log->flush();
  EXPECT_EQ(log->head(), reading().head());
}

TEST_F(AuditLogTest, CountsWhatIsTooMuchToWait) {
  start();
  file.failWith(FileCode::noSpace);
  for (std::size_t i = 0; i < AuditLog::kMostWaiting + 5; ++i) add("A");
  file.failWith(FileCode::success);
  tendFor(AuditLog::kRetryInterval);
  add("B");
  const auto read = reading();
  EXPECT_EQ(read.fault, AuditFault::none);
  ASSERT_EQ(read.lines.size(), AuditLog::kMostWaiting + 1);
  EXPECT_EQ(read.lines.back().entry.leftOut, 5);
}

TEST_F(AuditLogTest, AFileThatHasGoneIsNotBegunAnewInSilence) {
  start();
  add("A");
  add("B");
  file.setContents(std::nullopt);
  start();
  EXPECT_THAT(written(), ElementsAre("mended missing"));
  EXPECT_EQ(reading().lines.front().sequence, 3);
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
  EXPECT_THAT(console.lines().back(), HasSubstr("missing"));
}

TEST_F(AuditLogTest, AFileThatGoesWhileTheAgentRunsIsNoticedAtTheNextEntry) {
  start();
  add("A");
  file.setContents(std::nullopt);
  add("B");
  EXPECT_THAT(written(), ElementsAre("asked B", "mended missing"));
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
  EXPECT_EQ(reading().head(), log->head());
}

TEST_F(AuditLogTest, LinesCutFromTheEndAreMissed) {
  start();
  add("A");
  const auto one = file.current();
  add("B");
  add("C");
  file.setContents(one);
  start();
  EXPECT_THAT(written(), ElementsAre("asked A", "mended cut"));
  EXPECT_EQ(reading().lines.back().entry.note, "Entries 2 to 3 have gone from the end.");
  start();
  EXPECT_EQ(reading().lines.size(), 2U) << "It is said once.";
}

TEST_F(AuditLogTest, AnotherFileInItsPlaceIsNoticed) {
  start();
  add("A");
  add("B");
  AuditHead head;
  std::string forged;
  for (int i = 0; i < 3; ++i) forged += nextAuditLine({.event = "asked", .title = "X"}, head);
  file.setContents(forged);
  start();
  EXPECT_THAT(written(), ElementsAre("asked X", "asked X", "asked X", "mended changed"));
}

TEST_F(AuditLogTest, WhatSomebodyWritesUnderARunningAgentIsKeptAside) {
  start();
  add("A");
  file.setContents(*file.current() + "rubbish\n");
  add("B");
  EXPECT_THAT(written(), ElementsAre("asked B", "mended damaged"));
  ASSERT_EQ(file.asides().size(), 1U);
  EXPECT_THAT(file.asides().front(), HasSubstr("rubbish"));
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
}

TEST_F(AuditLogTest, ADamagedFileIsKeptAsideAndTheChainGoesOn) {
  start();
  add("A");
  add("B");
  auto bytes = *file.current();
  bytes[bytes.find("\"A\"") + 1] = 'Z';
  file.setContents(bytes);
  start();
  add("C");
  EXPECT_THAT(written(), ElementsAre("mended damaged", "asked C"));
  EXPECT_EQ(reading().lines.front().sequence, 3);
  EXPECT_THAT(file.asides(), ElementsAre(bytes));
}

TEST_F(AuditLogTest, ALineThatWasNotFinishedBecomesANote) {
  start();
  add("A");
  add("B");
  const auto torn = file.current()->substr(0, file.current()->size() - 3);
  file.setContents(torn);
  start();
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
  EXPECT_THAT(written(), ElementsAre("asked A", "mended cut", "mended torn"));
  EXPECT_THAT(reading().lines.back().entry.note, HasSubstr("\"title\":\"B"));
  EXPECT_TRUE(file.asides().empty());
}

TEST_F(AuditLogTest, AFileThatCannotBeReadIsLeftAlone) {
  start();
  add("A");
  const auto before = file.current();
  file.failWith(FileCode::unsafe, /*forReading=*/true);
  start();
  add("B");
  EXPECT_EQ(file.current(), before);
  EXPECT_TRUE(log->problem());
  file.failWith(FileCode::success);
  tendFor(AuditLog::kRetryInterval);
  EXPECT_THAT(written(), ElementsAre("asked A", "asked B"));
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
}

TEST_F(AuditLogTest, SettingsThatWereWrittenLessThanTheFileAreNoDamage) {
  start();
  add("A");
  const auto remembered = defaults.object(AuditLog::key);
  add("B");
  defaults.set(AuditLog::key, *remembered);
  start();
  EXPECT_THAT(written(), ElementsAre("asked A", "asked B"));
  defaults.set(AuditLog::key, std::string("rubbish"));
  start();
  add("C");
  EXPECT_THAT(written(), ElementsAre("asked A", "asked B", "asked C"));
}

TEST_F(AuditLogTest, IsBoundedBySize) {
  limits.bytes = 20'000;
  start();
  for (int i = 0; i < 500; ++i) {
    add(std::to_string(i));
    EXPECT_LE(file.current()->size(), limits.bytes + 1000);
  }
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
  EXPECT_GT(reading().lines.front().sequence, 300);
  EXPECT_EQ(reading().lines.back().entry.title, "499");
}

TEST_F(AuditLogTest, IsBoundedByAgeButForItsNewestLines) {
  limits.age = Seconds{86400};
  start();
  const int count = static_cast<int>(AuditLog::kKeptAnyway) + 50;
  for (int i = 0; i < count; ++i) add("old");
  tendFor(AuditLog::kAgeInterval);
  EXPECT_EQ(reading().lines.size(), static_cast<std::size_t>(count)) << "They are not old yet.";
  time.setWallClock(time.now() + 240h);  // However it came to that.
  tendFor(AuditLog::kAgeInterval);
  EXPECT_EQ(reading().lines.size(), AuditLog::kKeptAnyway + 1);
  EXPECT_EQ(reading().lines.back().entry.event, "removed");
  EXPECT_EQ(reading().fault, AuditFault::none) << reading().problem;
  start();
  EXPECT_TRUE(console.lines().empty()) << console.lines().front();
}

TEST_F(AuditLogTest, ShowsPhonesWhatTheyShow) {
  start();
  for (int i = 0; i < 60; ++i) {
    add("A");
    log->add({.event = "outcome", .title = std::to_string(i)});
  }
  ASSERT_EQ(log->newestLines().size(), AuditLog::kMostNewest);
  EXPECT_EQ(log->newestLines().back().line.entry.title, "59");
  EXPECT_EQ(log->newestLines().back().digest, log->head().digest);
  start();
  ASSERT_EQ(log->newestLines().size(), AuditLog::kMostNewest) << "They are read from the file.";
  EXPECT_EQ(log->newestLines().front().line.entry.title, "20");
}

}  // namespace
}  // namespace quillard
