#include <algorithm>
#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "platform/simulated/SimulatedRandom.h"
#include "relay/PairingIdentifiers.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedRandom;

bool isLowercaseHex(std::string_view text) {
  return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

std::string prefixFor(const std::optional<std::string>& seed) {
  SimulatedRandom random{Seed{1}};
  const auto identifier = createdPairingID(seed, random);
  EXPECT_GT(identifier.size(), 33U);
  const auto digits = identifier.substr(identifier.size() - 32);
  EXPECT_TRUE(isLowercaseHex(digits)) << identifier;
  EXPECT_EQ(identifier[identifier.size() - 33], '-');
  return identifier.substr(0, identifier.size() - 33);
}

TEST(RandomHex, HasTwoDigitsAByte) {
  SimulatedRandom random{Seed{1}};
  for (const std::size_t count : {0U, 1U, 16U, 32U}) {
    const auto text = randomHex(count, random);
    EXPECT_EQ(text.text().size(), 2 * count);
    EXPECT_TRUE(isLowercaseHex(text.text()));
  }
  EXPECT_FALSE(randomHex(32, random) == randomHex(32, random));
}

TEST(RandomHex, FallsBackToTwoIdentitiesWhenTheGeneratorFails) {
  SimulatedRandom random{Seed{1}};
  random.failNextFills(3);
  const auto first = randomHex(32, random);
  const auto second = randomHex(32, random);
  EXPECT_EQ(first.text().size(), 64U);
  EXPECT_TRUE(isLowercaseHex(first.text()));
  EXPECT_EQ(first.text()[12], '4') << "The version of a random identity.";
  EXPECT_EQ(first.text()[44], '4');
  EXPECT_FALSE(first == second);
  EXPECT_EQ(randomHex(16, random).text().size(), 32U);
}

TEST(CreatedPairingID, BeginsWithTheFirstPartOfTheSeed) {
  EXPECT_EQ(prefixFor("Team Mac-01"), "team-mac");
  EXPECT_EQ(prefixFor("  \n Office_1-x-y\t"), "office_1");
  EXPECT_EQ(prefixFor("--lead-rest"), "lead");
}

TEST(CreatedPairingID, BeginsWithTheProductWhenTheSeedHasNothing) {
  for (const auto* seed : {"--", "", " ", "-", "__", "\xC3\xA4\xC3\xB6", "!!-a"})
    EXPECT_EQ(prefixFor(seed), "quillard");
  EXPECT_EQ(prefixFor(std::nullopt), "quillard");
}

TEST(CreatedPairingID, IsAnotherOneEachTime) {
  SimulatedRandom random{Seed{1}};
  EXPECT_NE(createdPairingID("a", random), createdPairingID("a", random));
}

TEST(SanitizedPairingPrefix, KeepsAsciiLettersDigitsAndUnderscoresOnly) {
  EXPECT_EQ(sanitizedPairingPrefix("Team Mac"), "team-mac");
  EXPECT_EQ(sanitizedPairingPrefix("A_b9"), "a_b9");
  EXPECT_EQ(sanitizedPairingPrefix("M\xC3\xBCnchen"), "m-nchen") << "One dash for each character.";
  EXPECT_EQ(sanitizedPairingPrefix("a\xD9\xA3\xE2\x84\xABz"), "a--z") << "Foreign digits and letters do not count.";
  EXPECT_EQ(sanitizedPairingPrefix("a/b?c#d"), "a-b-c-d");
}

TEST(SanitizedPairingPrefix, LosesDashesAndUnderscoresAtBothEnds) {
  EXPECT_EQ(sanitizedPairingPrefix("-_ x-_y _-"), "x-_y");
  for (const auto* nothing : {"", "-", "_-_", " ", "\xF0\x9F\x98\x80"}) {
    EXPECT_FALSE(sanitizedPairingPrefix(nothing).has_value()) << nothing;
  }
}

RC_GTEST_PROP(SanitizedPairingPrefix, IsSafeInAPathWhateverTheSeed, (const std::string& text)) {
  const auto prefix = sanitizedPairingPrefix(text);
  if (!prefix) return;
  RC_ASSERT(!prefix->empty());
  RC_ASSERT(prefix->find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_-") == std::string::npos);
}

}  // namespace
}  // namespace quillard
