#include <gtest/gtest.h>

#include "relay/PairingConfiguration.h"
#include "support/Installation.h"

namespace quillard {
namespace {

using namespace test;
using enum platform::simulated::SecretOperation;

TEST(Rotation, GivesANewIdentityThatLasts) {
  Installation installation;
  installation.setRelay("wss://relay");
  const auto before = installation.run->installationSecrets("office");
  installation.run->rotateInstallationIdentity();
  const auto after = installation.run->installationSecrets("office");
  EXPECT_NE(after.pairingID, before.pairingID);
  EXPECT_FALSE(after.relayAuthToken == before.relayAuthToken);
  EXPECT_FALSE(after.e2eSecret == before.e2eSecret);
  EXPECT_EQ(installation.run->launchConfiguration()->pairingID, after.pairingID);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), after);
}

TEST(Rotation, ForgetsThePiecesOfOlderBuildsToo) {
  Installation installation;
  installation.userDefaults.set(kLegacyPairingID, std::string("legacy"));
  installation.userDefaults.set(kLegacySecret, std::string("legacy-secret"));
  installation.putInDefaults(kStored);
  installation.putInKeychain(kFirst, kStored);
  installation.putInKeychain(kSecond, kStored);
  installation.run->rotateInstallationIdentity();
  for (const auto* key : {kLegacyPairingID, kLegacySecret, kDefaultsKey}) {
    EXPECT_EQ(installation.userDefaults.object(key), std::nullopt) << key;
  }
  EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), std::nullopt);
  EXPECT_EQ(installation.secretStore.stored(kSecond, kAccount), std::nullopt);
  EXPECT_TRUE(installation.run->installationSecrets().pairingID.starts_with("quillard-"));
}

TEST(Rotation, DoesNotFallBackToWhatTheKeychainRefusesToDelete) {
  Installation installation;
  installation.putInKeychain(kFirst, kStored);
  EXPECT_EQ(installation.run->installationSecrets().pairingID, "stored-1");
  installation.secretStore.fail(kFirst, {remove}, kLocked);
  installation.run->rotateInstallationIdentity();
  EXPECT_EQ(installation.console.lines(),
            Lines{"Unable to delete installation-secrets-v1 from Keychain: " + kLocked.text});
  const auto after = installation.run->installationSecrets();
  EXPECT_NE(after.pairingID, "stored-1");
  EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(after)->text());
}

// Each takes away what a run of the agent can store, from the moment of the rotation on.
struct StorageFailure {
  const char* name;
  void (*begin)(Installation& installation);
};
const std::vector<StorageFailure> kStorageFailures{
    {"nothing fails", [](Installation&) {}},
    {"the better keychain is locked", [](Installation& it) { it.secretStore.fail(kFirst, kLocked); }},
    {"both keychains are locked",
     [](Installation& it) {
       it.secretStore.fail(kFirst, kLocked);
       it.secretStore.fail(kSecond, kLocked);
     }},
    {"nothing is deleted",
     [](Installation& it) {
       it.secretStore.fail(kFirst, {remove}, kLocked);
       it.secretStore.fail(kSecond, {remove}, kLocked);
     }},
    {"nothing is written or deleted",
     [](Installation& it) {
       it.secretStore.fail(kFirst, {add, update, remove}, kLocked);
       it.secretStore.fail(kSecond, {add, update, remove}, kLocked);
     }},
    {"the better keychain is not there", [](Installation& it) { it.secretStore.fail(kFirst, kMissing); }}};

TEST(Rotation, RetiresAnIdentityForEveryLaterRun) {
  for (const auto& failure : kStorageFailures) {
    for (const bool recovers : {false, true}) {
      SCOPED_TRACE(std::string(failure.name) + (recovers ? ", and recovers" : ""));
      Installation installation;
      const auto before = installation.run->installationSecrets();
      failure.begin(installation);
      installation.run->rotateInstallationIdentity();
      const auto after = installation.run->installationSecrets();
      EXPECT_NE(after.pairingID, before.pairingID);
      if (recovers) {
        for (const auto place : {kFirst, kSecond}) installation.secretStore.recover(place);
      }
      for (int restart = 0; restart < 3; ++restart) {
        installation.restart();
        EXPECT_EQ(installation.run->installationSecrets(), after) << "restart " << restart;
      }
      if (recovers) {
        EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(after)->text())
            << "Nothing is left of the old one.";
        EXPECT_EQ(installation.secretStore.stored(kSecond, kAccount), std::nullopt);
      }
    }
  }
}

TEST(Rotation, RetiresWhatALockedKeychainHidesToo) {
  Installation installation;
  installation.putInKeychain(kFirst, kStored);
  installation.secretStore.fail(kFirst, kLocked);
  const auto forThisRun = installation.run->installationSecrets();
  EXPECT_NE(forThisRun.pairingID, "stored-1");
  installation.run->rotateInstallationIdentity();
  const auto after = installation.run->installationSecrets();
  installation.secretStore.recover(kFirst);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), after) << "Whoever unpaired meant every phone.";
  EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(after)->text());
}

TEST(Rotation, RetiresAnIdentityThatABackupBringsBack) {
  Installation installation;
  installation.putInKeychain(kFirst, kStored);
  (void)installation.run->installationSecrets();
  installation.run->rotateInstallationIdentity();
  const auto after = installation.run->installationSecrets();
  const auto bringBack = [&] {
    return installation.secretStore.update(kFirst, "com.quillard.agent", kAccount, Secret{std::string_view{kStored}})
        .code;
  };
  ASSERT_EQ(bringBack(), SecretStatusCode::success);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), after) << "Its copy is there.";
  EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(after)->text());
  ASSERT_EQ(bringBack(), SecretStatusCode::success);
  installation.putInDefaults(kStored);
  installation.restart();
  const auto anew = installation.run->installationSecrets();
  EXPECT_NE(anew.pairingID, "stored-1");
  EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(anew)->text());
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), anew);
}

TEST(Rotation, RetiresThePiecesOfOlderBuildsThatComeBack) {
  Installation installation;
  installation.userDefaults.set(kLegacyPairingID, std::string("legacy"));
  installation.userDefaults.set(kLegacySecret, std::string("legacy-secret"));
  EXPECT_EQ(installation.run->installationSecrets().pairingID, "legacy");
  installation.run->rotateInstallationIdentity();
  installation.userDefaults.set(kLegacyPairingID, std::string("legacy"));
  installation.userDefaults.set(kLegacySecret, std::string("legacy-secret"));
  installation.restart();
  const auto after = installation.run->installationSecrets();
  EXPECT_NE(after.pairingID, "legacy");
  EXPECT_NE(after.e2eSecret.text(), "legacy-secret");
}

TEST(Rotation, RemembersABoundedNumberOfIdentities) {
  Installation installation;
  std::set<std::string> identities;
  for (int i = 0; i < 200; ++i) {
    EXPECT_TRUE(identities.insert(installation.run->installationSecrets().pairingID).second);
    installation.run->rotateInstallationIdentity();
  }
  const auto retired =
      std::get<std::vector<std::string>>(*installation.userDefaults.object("quillard.retired-pairing-ids"));
  EXPECT_EQ(retired.size(), 64U);
  EXPECT_TRUE(identities.contains(retired.back()));
}

}  // namespace
}  // namespace quillard
