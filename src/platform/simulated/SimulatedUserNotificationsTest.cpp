#include <gtest/gtest.h>

#include "platform/simulated/SimulatedUserNotifications.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::platform::simulated {
namespace {

TEST(SimulatedUserNotifications, ALaterNoteTakesThePlaceOfAnEarlierOneWithItsIdentifier) {
  VirtualTime time{Seed{1}};
  SimulatedUserNotifications notifications{time};
  notifications.post({.identifier = "a", .title = "First"});
  notifications.post({.identifier = "b", .title = "Other"});
  notifications.post({.identifier = "a", .title = "Second"});
  ASSERT_EQ(notifications.posted().size(), 3U);
  ASSERT_EQ(notifications.shown().size(), 2U);
  EXPECT_EQ(notifications.shown()[0].title, "Other");
  EXPECT_EQ(notifications.shown()[1].title, "Second");
}

TEST(SimulatedUserNotifications, AnswersARequestOnceAndLater) {
  VirtualTime time{Seed{1}};
  SimulatedUserNotifications notifications{time};
  std::vector<std::optional<std::string>> answers;
  const auto ask = [&] {
    notifications.requestAuthorization([&](const std::optional<std::string>& error) { answers.push_back(error); });
  };
  ask();
  EXPECT_TRUE(answers.empty());
  time.runUntilIdle();
  EXPECT_EQ(answers, (std::vector<std::optional<std::string>>{std::nullopt}));
  notifications.setAuthorizationError("Not allowed.");
  ask();
  time.runUntilIdle();
  EXPECT_EQ(answers.back(), "Not allowed.");
  EXPECT_EQ(notifications.authorizationRequestCount(), 2);
}

}  // namespace
}  // namespace quillard::platform::simulated
