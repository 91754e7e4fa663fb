#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/CurrentApprovals.h"
#include "platform/simulated/SimulatedWorld.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using samples::approval;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Without a relay, a window or a desktop: what waits, and who is told.
struct CurrentApprovalsTest : testing::Test {
  CurrentApprovalsTest() { log.open(); }

  static ScanOutcome scanOf(std::vector<PendingApproval> found) {
    ScanOutcome outcome;
    outcome.approvals = std::move(found);
    return outcome;
  }
  static PendingApproval question(std::uint64_t number) {
    auto asked = approval(number);
    asked.isAsked = true;
    return asked;
  }
  std::vector<std::string> logged() {
    log.flush();
    std::vector<std::string> events;
    for (const auto& line : readAuditChain(world.auditFile().current().value_or("")).lines) {
      events.push_back(line.entry.event);
    }
    return events;
  }
  std::size_t notificationCount() { return world.userNotifications().posted().size(); }

  SimulatedWorld world{Seed{1}};
  platform::Platform platform = world.platform();
  ApprovalStore store{Seconds{8}, platform.clock, platform.random};
  AuditLog log{
      {platform.auditFile, platform.userDefaults, platform.clock, platform.console, [] { return AuditLimits{}; }}};
  DecisionAudit audit{{log, platform.clock, [] { return true; }}};
  ApprovalAnnouncer announcer{
      ApprovalAnnouncerDependencies{platform.bundle, platform.userNotifications, platform.console}};
  bool isTrusted = true;
  bool isPaused = false;
  std::size_t openQuestions = 0;
  std::vector<std::string> told;
  CurrentApprovals approvals{{store, audit, announcer},
                             {.isTrusted = [this] { return isTrusted; },
                              .isPaused = [this] { return isPaused; },
                              .openQuestions = [this] { return openQuestions; },
                              .publish = [this] { told.push_back("phones"); },
                              .onCount = [this](auto count) { told.push_back(std::to_string(count)); }}};
};

TEST_F(CurrentApprovalsTest, TellEverybodyOfWhatAScanFound) {
  EXPECT_EQ(approvals.publishScan(scanOf({approval(1), approval(2)})), 0U);
  EXPECT_THAT(approvals.waiting(), SizeIs(2));
  EXPECT_THAT(told, ElementsAre("phones", "2"));
  EXPECT_THAT(logged(), ElementsAre("asked", "asked"));
  EXPECT_EQ(notificationCount(), 2U);
}

TEST_F(CurrentApprovalsTest, SayHowManyAScanMissed) {
  (void)approvals.publishScan(scanOf({approval(1), approval(2)}));
  EXPECT_EQ(approvals.publishScan(scanOf({approval(2)})), 1U);
  EXPECT_THAT(approvals.waiting(), SizeIs(2)) << "For the grace it is kept.";
}

TEST_F(CurrentApprovalsTest, AreNotAnnouncedDuringAPause) {
  isPaused = true;
  (void)approvals.publishScan(scanOf({approval(1)}));
  EXPECT_EQ(notificationCount(), 0U);
  EXPECT_THAT(told, ElementsAre("phones", "1")) << "Phones are told that it is paused.";
}

TEST_F(CurrentApprovalsTest, KeepWhatTheNewestScanCouldNotRead) {
  auto unread = scanOf({});
  unread.unreadProcesses = {412};
  (void)approvals.publishScan(unread);
  EXPECT_EQ(approvals.scanProblem().unreadProgramCount, 1U);
  (void)approvals.publishScan(scanOf({}));
  EXPECT_EQ(approvals.scanProblem(), ScanProblem{});
}

TEST_F(CurrentApprovalsTest, ForgetWindowsWithoutThePermissionWhateverAScanFound) {
  auto unread = scanOf({approval(1)});
  unread.unreadProcesses = {412};
  (void)approvals.publishScan(unread);
  told.clear();
  isTrusted = false;
  openQuestions = 3;
  EXPECT_EQ(approvals.publishScan(scanOf({approval(1), approval(2)})), std::nullopt);
  EXPECT_THAT(approvals.waiting(), IsEmpty());
  EXPECT_EQ(approvals.scanProblem(), ScanProblem{});
  EXPECT_THAT(told, ElementsAre("3", "phones"));
  isTrusted = true;
  (void)approvals.publishScan(scanOf({approval(1)}));
  EXPECT_EQ(notificationCount(), 2U) << "What comes back is new.";
}

TEST_F(CurrentApprovalsTest, ShowWhatProgramsAskWithoutThePermission) {
  store.addAsked(question(7));
  (void)approvals.publishScan(scanOf({approval(1)}));
  isTrusted = false;
  ASSERT_THAT(approvals.waiting(), SizeIs(1));
  EXPECT_TRUE(approvals.waiting().front().isAsked);
}

TEST_F(CurrentApprovalsTest, AnnounceAQuestionWithoutAScan) {
  store.addAsked(question(7));
  approvals.questionsChanged();
  EXPECT_EQ(notificationCount(), 1U);
  EXPECT_THAT(told, ElementsAre("phones", "1"));
  EXPECT_THAT(logged(), ElementsAre("asked"));
}

TEST_F(CurrentApprovalsTest, TakeTheSameTextAfterAnAnswerForANewPrompt) {
  (void)approvals.publishScan(scanOf({approval(1)}));
  const auto first = approvals.waiting().at(0).id;
  told.clear();
  approvals.answered(first);
  EXPECT_THAT(approvals.waiting(), IsEmpty());
  EXPECT_THAT(told, ElementsAre("phones", "0"));
  (void)approvals.publishScan(scanOf({approval(1)}));
  EXPECT_NE(approvals.waiting().at(0).id, first);
}

}  // namespace
}  // namespace quillard
