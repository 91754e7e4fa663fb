#include <gtest/gtest.h>

#include "platform/simulated/SimulatedUserNotifications.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::platform::simulated {
namespace {

TEST(SimulatedUserNotifications, KeepsWhatIsNoLongerShown) {
  VirtualTime time{Seed{1}};
  SimulatedUserNotifications notifications{time};
  notifications.post({.identifier = "a", .title = "First"});
  notifications.post({.identifier = "a", .title = "Second"});
  ASSERT_EQ(notifications.posted().size(), 2U);
  EXPECT_EQ(notifications.posted()[0].title, "First");
  EXPECT_EQ(notifications.shown().size(), 1U);
}

TEST(SimulatedUserNotifications, FailsWithTheGivenErrorAndCountsRequests) {
  VirtualTime time{Seed{1}};
  SimulatedUserNotifications notifications{time};
  std::optional<std::string> error;
  notifications.setAuthorizationError("Not allowed.");
  notifications.requestAuthorization([&](const std::optional<std::string>& description) { error = description; });
  time.runUntilIdle();
  EXPECT_EQ(error, "Not allowed.");
  EXPECT_EQ(notifications.authorizationRequestCount(), 1);
}

}  // namespace
}  // namespace quillard::platform::simulated
