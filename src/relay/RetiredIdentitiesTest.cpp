#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedUserDefaults.h"
#include "relay/RetiredIdentities.h"

namespace quillard {
namespace {

using platform::SecretPlace;
using Texts = std::vector<std::string>;

constexpr auto kFirst = SecretPlace::dataProtectionKeychain;
constexpr auto kSecond = SecretPlace::fileKeychain;
constexpr const char* kPairingIDs = "quillard.retired-pairing-ids";
constexpr const char* kVoidPlaces = "quillard.void-keychain-places";

struct RetiredIdentitiesTest : testing::Test {
  platform::simulated::SimulatedUserDefaults defaults;
  RetiredIdentities retired{defaults};
};

TEST_F(RetiredIdentitiesTest, AreKnownInEveryLaterRun) {
  EXPECT_FALSE(retired.contains("quillard-1"));
  EXPECT_TRUE(defaults.keys().empty()) << "Asking stores nothing.";
  retired.retire("quillard-1");
  retired.retire("quillard-2");
  EXPECT_TRUE(RetiredIdentities(defaults).contains("quillard-1"));
  EXPECT_TRUE(RetiredIdentities(defaults).contains("quillard-2"));
  EXPECT_FALSE(RetiredIdentities(defaults).contains("quillard-"));
  EXPECT_FALSE(RetiredIdentities(defaults).contains(""));
}

TEST_F(RetiredIdentitiesTest, AreForgottenOldestFirstOnceThereAreTooMany) {
  for (std::size_t i = 0; i < RetiredIdentities::kMost; ++i) retired.retire("quillard-" + std::to_string(i));
  retired.retire("quillard-0");  // Again: now it is the newest.
  retired.retire("quillard-new");
  EXPECT_TRUE(retired.contains("quillard-0"));
  EXPECT_TRUE(retired.contains("quillard-new"));
  EXPECT_FALSE(retired.contains("quillard-1"));
  EXPECT_TRUE(retired.contains("quillard-2"));
  EXPECT_EQ(std::get<Texts>(*defaults.object(kPairingIDs)).size(), RetiredIdentities::kMost);
}

TEST_F(RetiredIdentitiesTest, LeavePlacesVoidUntilTheyAreUsable) {
  EXPECT_TRUE(retired.voidPlaces().empty());
  retired.setVoid(kFirst);
  retired.setVoid(kSecond);
  retired.setUsable(kFirst);
  EXPECT_EQ(RetiredIdentities(defaults).voidPlaces(), std::set{kSecond});
  retired.setUsable(kSecond);
  EXPECT_TRUE(retired.voidPlaces().empty());
  EXPECT_EQ(defaults.object(kVoidPlaces), std::nullopt);
}

TEST_F(RetiredIdentitiesTest, AreReadFromDamagedSettingsAsFarAsTheyGo) {
  const std::vector<platform::UserDefaultsValue> table{std::monostate{}, true, 7.0, std::string("quillard-1"),
                                                       std::vector<std::uint8_t>{1, 2}};
  for (const auto& value : table) {
    defaults.set(kPairingIDs, value);
    defaults.set(kVoidPlaces, value);
    EXPECT_FALSE(retired.contains("quillard-1"));
    EXPECT_TRUE(retired.voidPlaces().empty());
    retired.retire("quillard-1");
    retired.setVoid(kFirst);
    EXPECT_TRUE(retired.contains("quillard-1"));
    EXPECT_EQ(retired.voidPlaces(), std::set{kFirst});
  }
  defaults.set(kVoidPlaces, Texts{"", "cellar", "file-keychain", "file-keychain"});
  EXPECT_EQ(retired.voidPlaces(), std::set{kSecond});
  defaults.set(kPairingIDs, Texts(100'000, "quillard-1"));
  retired.retire("quillard-2");
  EXPECT_LE(std::get<Texts>(*defaults.object(kPairingIDs)).size(), RetiredIdentities::kMost);
}

}  // namespace
}  // namespace quillard
