#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "agent/SubscriptionSequences.h"
#include "platform/simulated/SimulatedUserDefaults.h"

namespace quillard {
namespace {

using platform::simulated::SimulatedUserDefaults;

constexpr const char* kStoredSequences = "quillard.alert-subscriptions";

TEST(SubscriptionSequences, TakeTheNewestAnyNumberOfTimesAndNoneBeforeIt) {
  SimulatedUserDefaults defaults;
  SubscriptionSequences sequences{defaults};
  EXPECT_TRUE(sequences.take(1, "A", 0)) << "An older page.";
  EXPECT_TRUE(sequences.take(1, "A", 5));
  EXPECT_TRUE(sequences.take(1, "A", 5));
  EXPECT_FALSE(sequences.take(1, "A", 4));
  EXPECT_FALSE(sequences.take(1, "A", 0));
  EXPECT_TRUE(sequences.take(1, "A", 7));
  EXPECT_FALSE(sequences.take(1, "A", 5));
}

TEST(SubscriptionSequences, CountEachPhoneOfEachPairingByItself) {
  SimulatedUserDefaults defaults;
  SubscriptionSequences sequences{defaults};
  EXPECT_TRUE(sequences.take(1, "A", 5));
  EXPECT_TRUE(sequences.take(1, "B", 4));
  EXPECT_TRUE(sequences.take(2, "A", 3));
  EXPECT_FALSE(sequences.take(1, "A", 4));
}

TEST(SubscriptionSequences, OutliveTheRunAndEndWithThePairing) {
  SimulatedUserDefaults defaults;
  EXPECT_TRUE(SubscriptionSequences{defaults}.take(1, "A", 5));
  EXPECT_TRUE(SubscriptionSequences{defaults}.take(2, "A", 5));
  SubscriptionSequences next{defaults};
  EXPECT_FALSE(next.take(1, "A", 4));
  next.forget(1);
  EXPECT_TRUE(next.take(1, "A", 4));
  EXPECT_FALSE(next.take(2, "A", 4));
  next.forget(1);
  next.forget(2);
  EXPECT_FALSE(defaults.object(kStoredSequences)) << "Nothing is left behind.";
}

TEST(SubscriptionSequences, OfTooManyPhonesForgetTheOneThatCountedLeastFar) {
  SimulatedUserDefaults defaults;
  SubscriptionSequences sequences{defaults};
  EXPECT_TRUE(sequences.take(2, "other", 1));
  for (std::size_t i = 0; i < SubscriptionSequences::kMostOfPairing; ++i) {
    EXPECT_TRUE(sequences.take(1, std::to_string(i), static_cast<std::int64_t>(10 + i)));
  }
  EXPECT_FALSE(sequences.take(1, "0", 9));
  EXPECT_TRUE(sequences.take(1, "one more", 100));
  EXPECT_TRUE(sequences.take(1, "0", 9)) << "It was forgotten, and takes the place of the next.";
  EXPECT_FALSE(sequences.take(1, "15", 1));
  EXPECT_FALSE(sequences.take(2, "other", 0)) << "Nor does it take one of another pairing.";
}

TEST(SubscriptionSequences, TakeSettingsThatCannotBeReadForNone) {
  for (const std::string stored :
       {"", "{", "[]", "{}", R"({"phones":1})", R"({"phones":[{"pairing":1,"deviceID":"A"}]})",
        R"({"phones":[{"pairing":0,"deviceID":"A","sequence":5}]})",
        R"({"phones":[{"pairing":1,"deviceID":"A","sequence":0}]})",
        R"({"phones":[{"pairing":1,"deviceID":"A","sequence":1e300}]})"}) {
    SimulatedUserDefaults defaults;
    defaults.set(kStoredSequences, std::vector<std::uint8_t>(stored.begin(), stored.end()));
    SubscriptionSequences sequences{defaults};
    EXPECT_TRUE(sequences.take(1, "A", 1)) << stored;
    EXPECT_FALSE(SubscriptionSequences{defaults}.take(1, "A", 0)) << stored;
  }
  SimulatedUserDefaults defaults;
  defaults.set(kStoredSequences, true);
  EXPECT_TRUE(SubscriptionSequences{defaults}.take(1, "A", 1));
}

}  // namespace
}  // namespace quillard
