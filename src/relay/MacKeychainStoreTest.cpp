#include <string>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedSecretStore.h"
#include "relay/MacKeychainStore.h"

namespace quillard {
namespace {

using Lines = std::vector<std::string>;
using Outcome = KeychainReading::Outcome;
using platform::SecretPlace;
using platform::SecretStatus;
using platform::SecretStatusCode;
using enum platform::simulated::SecretOperation;

constexpr auto kFirst = SecretPlace::dataProtectionKeychain;
constexpr auto kSecond = SecretPlace::fileKeychain;
const SecretStatus kMissing{SecretStatusCode::missingEntitlement, "A required entitlement is missing (-34018)."};
const SecretStatus kLocked{SecretStatusCode::interactionNotAllowed, "The keychain is locked (-25308)."};
const SecretStatus kDenied{SecretStatusCode::accessDenied, "Denied (-128)."};

struct Keychain {
  platform::simulated::SimulatedSecretStore places;
  platform::simulated::SimulatedConsole console;
  MacKeychainStore store{places, console};

  void put(SecretPlace place, std::string_view text) {
    ASSERT_EQ(places.add(place, "com.quillard.agent", "key", Secret{text}).code, SecretStatusCode::success);
  }
  bool set(bool useDataProtectionKeychain) {
    return store.set(Secret{std::string_view{"new"}}, "key", useDataProtectionKeychain);
  }
};

TEST(MacKeychainStore, ReadsTheBetterPlaceFirst) {
  Keychain keychain;
  EXPECT_EQ(keychain.store.data("key").outcome, Outcome::absent);
  keychain.put(kSecond, "older");
  EXPECT_EQ(keychain.store.data("key").data.text(), "older");
  keychain.put(kFirst, "better");
  EXPECT_EQ(keychain.store.data("key").data.text(), "better");
  EXPECT_EQ(keychain.console.lines(), Lines{});
}

TEST(MacKeychainStore, GoesByServiceAndAccount) {
  Keychain keychain;
  (void)keychain.places.add(kFirst, "com.example.other", "key", Secret{std::string_view{"foreign"}});
  EXPECT_EQ(keychain.store.data("key").outcome, Outcome::absent);
  EXPECT_EQ(keychain.store.data("other").outcome, Outcome::absent);
}

TEST(MacKeychainStore, PassesOverAPlaceThatThisBuildMayNotUse) {
  Keychain keychain;
  keychain.places.fail(kFirst, kMissing);
  EXPECT_EQ(keychain.store.data("key").outcome, Outcome::absent);
  keychain.put(kSecond, "older");
  EXPECT_EQ(keychain.store.data("key").data.text(), "older");
  EXPECT_EQ(keychain.console.lines(), Lines{});
}

TEST(MacKeychainStore, TellsUnreadableFromAbsent) {
  for (const auto& failure : {kLocked, kDenied, SecretStatus{SecretStatusCode::other, "Broken (-1)."}}) {
    for (const auto place : {kFirst, kSecond}) {
      Keychain keychain;
      keychain.places.fail(place, failure);
      EXPECT_EQ(keychain.store.data("key").outcome, Outcome::unreadable);
      EXPECT_EQ(keychain.console.lines(), Lines{"Unable to read key from Keychain: " + failure.text});
    }
  }
}

TEST(MacKeychainStore, ReportsAMissingEntitlementForTheOlderPlace) {
  Keychain keychain;
  keychain.places.fail(kSecond, kMissing);
  EXPECT_EQ(keychain.store.data("key").outcome, Outcome::unreadable);
  EXPECT_EQ(keychain.console.lines(), Lines{"Unable to read key from Keychain: " + kMissing.text});
}

TEST(MacKeychainStore, FindsInTheSecondPlaceWhatTheFirstWillNotTell) {
  Keychain keychain;
  keychain.put(kSecond, "older");
  keychain.places.fail(kFirst, kLocked);
  EXPECT_EQ(keychain.store.data("key").data.text(), "older");
}

TEST(MacKeychainStore, DoesNotReadThePlacesThatItIsToldToPassOver) {
  Keychain keychain;
  keychain.put(kFirst, "better");
  keychain.put(kSecond, "older");
  EXPECT_EQ(keychain.store.data("key", {kFirst}).data.text(), "older");
  EXPECT_EQ(keychain.store.data("key", {kSecond}).data.text(), "better");
  keychain.places.fail(kFirst, kLocked);
  keychain.places.fail(kSecond, kLocked);
  EXPECT_EQ(keychain.store.data("key", {kFirst, kSecond}).outcome, Outcome::absent);
  EXPECT_EQ(keychain.console.lines(), Lines{});
}

TEST(MacKeychainStore, AddsOrUpdatesInThePlaceThatItIsTold) {
  Keychain keychain;
  EXPECT_TRUE(keychain.set(true));
  EXPECT_EQ(keychain.places.stored(kFirst, "key"), "new");
  EXPECT_EQ(keychain.places.stored(kSecond, "key"), std::nullopt);
  keychain.put(kSecond, "old");
  EXPECT_TRUE(keychain.set(false));
  EXPECT_EQ(keychain.places.stored(kSecond, "key"), "new");
}

TEST(MacKeychainStore, FailsSilentlyToWriteWhereThisBuildMayNot) {
  Keychain keychain;
  keychain.places.fail(kFirst, kMissing);
  EXPECT_FALSE(keychain.set(true));
  EXPECT_EQ(keychain.console.lines(), Lines{});
}

TEST(MacKeychainStore, PrintsWhyItCouldNotWrite) {
  Keychain keychain;
  keychain.places.fail(kFirst, kLocked);
  keychain.places.fail(kSecond, {add}, kDenied);
  EXPECT_FALSE(keychain.set(true));
  EXPECT_FALSE(keychain.set(false));
  EXPECT_EQ(keychain.console.lines(), (Lines{"Unable to update key from Keychain: " + kLocked.text,
                                             "Unable to update key from Keychain: " + kDenied.text}));
}

TEST(MacKeychainStore, RemovesAndDoesNotMindWhatIsGone) {
  Keychain keychain;
  keychain.put(kFirst, "x");
  EXPECT_TRUE(keychain.store.remove("key", true));
  EXPECT_TRUE(keychain.store.remove("key", true));
  EXPECT_TRUE(keychain.store.remove("key", false));
  EXPECT_EQ(keychain.places.stored(kFirst, "key"), std::nullopt);
  EXPECT_EQ(keychain.console.lines(), Lines{});
}

TEST(MacKeychainStore, PrintsWhyItCouldNotRemove) {
  Keychain keychain;
  keychain.places.fail(kFirst, kMissing);
  keychain.places.fail(kSecond, kLocked);
  EXPECT_FALSE(keychain.store.remove("key", true));
  EXPECT_FALSE(keychain.store.remove("key", false));
  EXPECT_EQ(keychain.console.lines(), (Lines{"Unable to delete key from Keychain: " + kMissing.text,
                                             "Unable to delete key from Keychain: " + kLocked.text}));
}

}  // namespace
}  // namespace quillard
