// The two keychains: the common contract, and how they say no.

#include <vector>

#include "contract/storage/SecretStoreContract.h"
#include "macos/MacWorld.h"
#include "platform/macos/MacSecretStore.h"

namespace quillard::test {
namespace {

using fakes::Entitlements;
using macos::MacSecretStore;
using platform::SecretPlace;
using platform::SecretStatusCode;

constexpr auto kFirst = SecretPlace::dataProtectionKeychain;
constexpr auto kSecond = SecretPlace::fileKeychain;
constexpr std::string_view kService = "com.quillard.agent";
constexpr std::string_view kAccount = "installation-secrets-v1";

class MacSecretBinding final : public SecretStoreBinding {
 public:
  ~MacSecretBinding() override { EXPECT_EQ(fakes::liveObjects(), 0); }
  platform::SecretStore& store() override { return first; }
  platform::SecretStore& reopen() override { return next; }

 private:
  const fakes::MacSystem system;
  MacSecretStore first;
  MacSecretStore next;
};

std::unique_ptr<SecretStoreBinding> makeMac() { return std::make_unique<MacSecretBinding>(); }

class Keychains : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(fakes::liveObjects(), 0); }
  std::vector<SecretStatusCode> allStatuses(SecretPlace place) {
    return {store.copyMatching(place, kService, kAccount).status.code,
            store.add(place, kService, kAccount, Secret("new")).code,
            store.update(place, kService, kAccount, Secret("new")).code, store.remove(place, kService, kAccount).code};
  }
  fakes::MacSystem system;
  MacSecretStore store;
};

TEST_F(Keychains, WithoutAnEntitlementOnlyWritingSaysThatThePlaceIsClosed) {
  system.keychain.entitlements = Entitlements::none;
  constexpr auto kMissing = SecretStatusCode::missingEntitlement;
  EXPECT_EQ(allStatuses(kFirst), (std::vector{SecretStatusCode::itemNotFound, kMissing, kMissing, kMissing}));
  EXPECT_EQ(store.add(kSecond, kService, kAccount, Secret("in the file")).code, SecretStatusCode::success);
  EXPECT_EQ(store.copyMatching(kSecond, kService, kAccount).data.text(), "in the file");
}

TEST_F(Keychains, WithAnUnvalidatedEntitlementThePlaceIsClosed) {
  system.keychain.entitlements = Entitlements::unvalidated;
  EXPECT_EQ(allStatuses(kFirst), std::vector(4, SecretStatusCode::missingEntitlement));
}

TEST_F(Keychains, LockedIsNotMissingAndReadingNeverAsks) {
  EXPECT_EQ(store.add(kSecond, kService, kAccount, Secret("precious")).code, SecretStatusCode::success);
  system.keychain.isFileLocked = true;
  const auto reading = store.copyMatching(kSecond, kService, kAccount);
  EXPECT_EQ(reading.status.code, SecretStatusCode::interactionNotAllowed);
  EXPECT_TRUE(reading.data.isEmpty());
  EXPECT_EQ(store.update(kSecond, kService, kAccount, Secret("x")).code, SecretStatusCode::interactionNotAllowed);
  EXPECT_EQ(store.add(kSecond, kService, "new", Secret("x")).code, SecretStatusCode::interactionNotAllowed);
  EXPECT_EQ(store.remove(kSecond, kService, kAccount).code, SecretStatusCode::interactionNotAllowed);
  EXPECT_EQ(system.keychain.userQuestions, 0);
}

TEST_F(Keychains, AnItemOfAnotherBuildIsWithheldAndNeitherReplacedNorDoubled) {
  system.keychain.itemsOfAnotherBuild = {{std::string(kService), std::string(kAccount)}};
  const auto reading = store.copyMatching(kSecond, kService, kAccount);
  EXPECT_EQ(reading.status.code, SecretStatusCode::interactionNotAllowed) << "Not that nothing is there.";
  EXPECT_TRUE(reading.data.isEmpty());
  EXPECT_EQ(store.update(kSecond, kService, kAccount, Secret("x")).code, SecretStatusCode::interactionNotAllowed);
  EXPECT_EQ(store.add(kSecond, kService, kAccount, Secret("x")).code, SecretStatusCode::other);
  EXPECT_EQ(store.copyMatching(kSecond, kService, "another").status.code, SecretStatusCode::itemNotFound);
  EXPECT_EQ(system.keychain.userQuestions, 0);
  EXPECT_EQ(store.remove(kSecond, kService, kAccount).code, SecretStatusCode::success);
  EXPECT_EQ(store.add(kSecond, kService, kAccount, Secret("own")).code, SecretStatusCode::success);
  EXPECT_EQ(store.copyMatching(kSecond, kService, kAccount).data.text(), "own");
}

TEST_F(Keychains, TheFirstPlaceNeverAsksEither) {
  EXPECT_EQ(allStatuses(kFirst), (std::vector{SecretStatusCode::itemNotFound, SecretStatusCode::success,
                                              SecretStatusCode::success, SecretStatusCode::success}));
  EXPECT_EQ(system.keychain.userQuestions, 0);
}

TEST_F(Keychains, WhetherTheProcessMayAskIsAfterwardsAsItWas) {
  for (const bool mayAsk : {true, false}) {
    system.keychain.mayAskUser = mayAsk;
    static_cast<void>(allStatuses(kSecond));
    EXPECT_EQ(system.keychain.mayAskUser, mayAsk);
  }
}

TEST_F(Keychains, EveryRefusalHasItsCodeItsWordsAndItsNumber) {
  const std::vector<std::pair<OSStatus, SecretStatusCode>> table{{-25300, SecretStatusCode::itemNotFound},
                                                                 {-34018, SecretStatusCode::missingEntitlement},
                                                                 {-25308, SecretStatusCode::interactionNotAllowed},
                                                                 {-25293, SecretStatusCode::accessDenied},
                                                                 {-128, SecretStatusCode::accessDenied},
                                                                 {-25291, SecretStatusCode::other},
                                                                 {-25299, SecretStatusCode::other},
                                                                 {-1, SecretStatusCode::other}};
  for (const auto& [status, code] : table) {
    system.keychain.refusal = status;
    EXPECT_EQ(allStatuses(kFirst), std::vector(4, code)) << status;
    const auto number = std::to_string(status);
    EXPECT_EQ(store.copyMatching(kFirst, kService, kAccount).status.text, "Words for " + number + " (" + number + ")");
  }
  system.keychain.refusal = -50;  // For which this system has no words.
  EXPECT_EQ(store.remove(kFirst, kService, kAccount).text, "The keychain refused (-50)");
}

TEST_F(Keychains, SomethingElseThanDataIsAnError) {
  EXPECT_EQ(store.add(kFirst, kService, kAccount, Secret("precious")).code, SecretStatusCode::success);
  system.keychain.givesSomethingElse = true;
  const auto reading = store.copyMatching(kFirst, kService, kAccount);
  EXPECT_EQ(reading.status.code, SecretStatusCode::other);
  EXPECT_TRUE(reading.data.isEmpty());
}

TEST_F(Keychains, AnEmptySecretMayComeAsNothing) {
  EXPECT_EQ(store.add(kFirst, kService, kAccount, Secret()).code, SecretStatusCode::success);
  system.keychain.givesNothingForEmptyData = true;
  EXPECT_EQ(store.copyMatching(kFirst, kService, kAccount).status.code, SecretStatusCode::success);
}

TEST_F(Keychains, NamesThatAreNoTextAreRefused) {
  EXPECT_EQ(store.copyMatching(kFirst, "\xFF", kAccount).status.code, SecretStatusCode::other);
  EXPECT_EQ(store.add(kFirst, kService, "\xFF", Secret("x")).code, SecretStatusCode::other);
  EXPECT_EQ(store.update(kFirst, kService, "\xFF", Secret("x")).code, SecretStatusCode::other);
  EXPECT_EQ(store.remove(kFirst, "\xFF", kAccount).code, SecretStatusCode::other);
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, SecretStoreContract,
                         testing::Values(SecretStoreCase{"DataProtectionKeychain", kFirst, makeMac},
                                         SecretStoreCase{"FileKeychain", kSecond, makeMac}),
                         [](const auto& given) { return given.param.name; });

}  // namespace quillard::test
