#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/AgentRules.h"
#include "support/SampleApprovals.h"

namespace quillard::AgentRules {
namespace {

using samples::approval;
using samples::date;
using samples::uuid;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(AgentRules, AnnouncesWhatWasNotAnnouncedYetInOrder) {
  EXPECT_THAT(approvalsToAnnounce({approval(3), approval(1), approval(2)}, {uuid(1), uuid(9)}),
              ElementsAre(approval(3), approval(2)));
  EXPECT_THAT(approvalsToAnnounce({}, {uuid(1)}), IsEmpty());
}

TEST(AgentRules, ForgetsAnnouncementsOfWhatHasLeft) {
  EXPECT_THAT(stillAnnounced({uuid(1), uuid(2), uuid(9)}, {approval(2), approval(3)}), UnorderedElementsAre(uuid(2)));
}

TEST(AgentRules, WaitsForTheEndOfAPauseButHalfASecondAtLeast) {
  EXPECT_EQ(resumeDelay(date(0), date(0)), Seconds{0.5});
  EXPECT_EQ(resumeDelay(date(-100), date(0)), Seconds{0.5});
  EXPECT_EQ(resumeDelay(date(0.4), date(0)), Seconds{0.5});
  EXPECT_NEAR(resumeDelay(date(7200), date(0)).count(), 7200, 1e-6);
  EXPECT_GE(resumeDelay(date(7200), date(0)).count(), 7200) << "A pause must never be found still in force.";
}

TEST(AgentRules, TakesEverySetClock) {
  EXPECT_EQ(resumeDelay(Date::min(), Date::max()), Seconds{0.5});
  EXPECT_GT(resumeDelay(Date::max(), Date::min()).count(), 1.8e13);
}

TEST(AgentRules, ANewPhoneNeedsTheListAndANewConnectionAloneDoesNot) {
  const RelayConnectionStatus none{};
  const RelayConnectionStatus connected{.relayConnected = true};
  const RelayConnectionStatus phone{.relayConnected = true, .phoneConnected = true};
  EXPECT_FALSE(phoneNeedsSnapshot(none, connected));
  EXPECT_TRUE(phoneNeedsSnapshot(connected, phone));
  EXPECT_FALSE(phoneNeedsSnapshot(phone, phone));
  EXPECT_FALSE(phoneNeedsSnapshot(phone, connected)) << "Nobody is there to be told.";
  EXPECT_FALSE(phoneNeedsSnapshot({.phoneConnected = true}, phone)) << "Only the relay's part changed.";
}

TEST(AgentRules, EachPartOfThePhonesCounts) {
  const RelayConnectionStatus connected{.relayConnected = true};
  EXPECT_TRUE(phoneNeedsSnapshot(connected, {.relayConnected = true, .phoneCount = 1}));
  const std::vector<RelayPhoneStatus> phones{{.deviceID = "1", .deviceName = "Ann's phone"}};
  EXPECT_TRUE(phoneNeedsSnapshot(connected, {.relayConnected = true, .phones = phones}));
  EXPECT_FALSE(phoneNeedsSnapshot(connected, {.relayConnected = false, .phoneCount = 1, .phones = phones}));
}

}  // namespace
}  // namespace quillard::AgentRules
