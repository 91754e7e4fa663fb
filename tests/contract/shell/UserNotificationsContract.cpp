#include "contract/shell/UserNotificationsContract.h"

#include <algorithm>
#include <optional>

#include <gmock/gmock.h>

namespace quillard::test {

using Outcomes = std::vector<std::optional<std::string>>;

TEST_P(UserNotificationsContract, AnswersARequestOnceAndInALaterTurnOfTheMainThread) {
  Outcomes outcomes;
  bool wasOnMainThread = false;
  notifications.requestAuthorization([&](const std::optional<std::string>& error) {
    outcomes.push_back(error);
    wasOnMainThread = binding->isOnMainThread();
  });
  EXPECT_TRUE(outcomes.empty());
  ASSERT_TRUE(binding->eventually([&] { return !outcomes.empty(); }));
  EXPECT_EQ(outcomes, Outcomes{std::nullopt});
  EXPECT_TRUE(wasOnMainThread);

  notifications.requestAuthorization([&](const std::optional<std::string>& error) { outcomes.push_back(error); });
  ASSERT_TRUE(binding->eventually([&] { return outcomes.size() > 1; }));
  EXPECT_EQ(outcomes, (Outcomes{std::nullopt, std::nullopt})) << "each request has one answer";
}

TEST_P(UserNotificationsContract, SaysWhyARequestFailed) {
  binding->breakAuthorization();
  Outcomes outcomes;
  notifications.requestAuthorization([&](const std::optional<std::string>& error) { outcomes.push_back(error); });
  EXPECT_TRUE(outcomes.empty());
  ASSERT_TRUE(binding->eventually([&] { return !outcomes.empty(); }));
  EXPECT_NE(outcomes.front().value_or(""), "");
}

TEST_P(UserNotificationsContract, ShowsWhatIsPosted) {
  notifications.post({.identifier = "a", .title = "Quillard", .body = "One prompt"});
  ASSERT_TRUE(binding->eventually([&] { return binding->shown().size() == 1; }));
  EXPECT_EQ(binding->shown(), (std::vector<ShownNote>{{"Quillard", "One prompt"}}));
}

TEST_P(UserNotificationsContract, ALaterNoteTakesThePlaceOfAnEarlierOneWithItsIdentifier) {
  notifications.post({.identifier = "a", .title = "First", .body = "1"});
  notifications.post({.identifier = "b", .title = "Other", .body = "2"});
  notifications.post({.identifier = "a", .title = "Second", .body = "3"});
  const auto isShown = [&] {
    const auto shown = binding->shown();
    return shown.size() == 2 && std::find(shown.begin(), shown.end(), ShownNote{"Second", "3"}) != shown.end();
  };
  EXPECT_TRUE(binding->eventually(isShown));
  EXPECT_THAT(binding->shown(), testing::UnorderedElementsAre(ShownNote{"Other", "2"}, ShownNote{"Second", "3"}));
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(UserNotificationsContract);

}  // namespace quillard::test
