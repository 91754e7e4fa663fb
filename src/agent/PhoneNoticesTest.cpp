#include <string>

#include <gtest/gtest.h>

#include "agent/PhoneNotices.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

struct PhoneNoticesTest : testing::Test {
  [[nodiscard]] std::string newest() {
    const auto& posted = world.userNotifications().posted();
    if (posted.empty()) return "none";
    return posted.back().identifier + ": " + posted.back().body;
  }

  SimulatedWorld world{Seed{1}};
  ApprovalAnnouncer announcer{
      ApprovalAnnouncerDependencies{world.bundle(), world.userNotifications(), world.console()}};
  PhoneNotices notices{announcer};
};

TEST_F(PhoneNoticesTest, SayThatNobodyIsReached) {
  notices.nobodyReached();
  EXPECT_EQ(newest(),
            "nobody-reached: A prompt waits, and no phone was told: none shows its page, and none could be woken.");
}

TEST_F(PhoneNoticesTest, NameThePhoneOfAFirstGrantOnlyWhereItIsKnown) {
  notices.firstGrant({.phone = {.name = "Ann's phone"}, .isCertain = true});
  EXPECT_EQ(newest(), "first-grant: Ann's phone has answered a prompt for the first time.");
  notices.firstGrant({.phone = {.name = "Ann's phone"}, .isCertain = false});
  EXPECT_EQ(newest(),
            "first-grant: A phone paired with the code of Ann's phone has answered a prompt for the first time.");
}

TEST_F(PhoneNoticesTest, NameAPhoneThatNobodyExpectedAndWhoseCodeItHas) {
  notices.unexpectedPhone({.pairing = 2, .name = "Eve's phone", .earlierName = "Ann's phone"});
  EXPECT_EQ(newest(),
            "new-phone: Eve's phone has paired with the code of Ann's phone. If you do not know it, unpair it in "
            "Quillard's window.");
}

TEST_F(PhoneNoticesTest, NameAPhoneThatWasRemoved) {
  notices.phoneRemoved("Eve's phone");
  EXPECT_EQ(newest(), "phone-removed: A phone has had Eve's phone removed.");
}

}  // namespace
}  // namespace quillard
