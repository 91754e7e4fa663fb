#include <algorithm>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "relay/PairingConfiguration.h"
#include "support/Installation.h"

namespace quillard {
namespace {

using namespace test;
using enum platform::simulated::SecretOperation;

TEST(InstallationIdentity, IsMadeOnceAndKeptInTheBetterKeychain) {
  Installation installation;
  const auto made = installation.run->installationSecrets("office");
  EXPECT_TRUE(made.isUsable());
  EXPECT_TRUE(made.pairingID.starts_with("office-"));
  EXPECT_EQ(made.relayAuthToken.text().size(), 64U);
  EXPECT_EQ(made.e2eSecret.text().size(), 64U);
  EXPECT_FALSE(made.relayAuthToken == made.e2eSecret);
  EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(made)->text());
  EXPECT_EQ(installation.secretStore.stored(kSecond, kAccount), std::nullopt);
  EXPECT_EQ(installation.run->installationSecrets(), made);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets("other"), made);
  EXPECT_EQ(installation.console.lines(), Lines{});
}

TEST(InstallationIdentity, IsKeptInTheFileKeychainWhereTheBetterOneCannotBeUsed) {
  Installation installation;
  installation.secretStore.fail(kFirst, kMissing);
  const auto made = installation.run->installationSecrets();
  EXPECT_EQ(installation.secretStore.stored(kSecond, kAccount), installationSecretsText(made)->text());
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), made);
  EXPECT_EQ(installation.console.lines(), Lines{});
}

TEST(InstallationIdentity, LeavesNoSecondCopyBesideTheBetterKeychain) {
  Installation installation;
  installation.putInKeychain(kSecond, R"({"pairingID":"x","relayAuthToken":"a","e2eSecret":" "})");
  const auto made = installation.run->installationSecrets();
  EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(made)->text());
  EXPECT_EQ(installation.secretStore.stored(kSecond, kAccount), std::nullopt);
}

TEST(InstallationIdentity, IsCopiedFromTheKeychainToTheUserDefaults) {
  Installation installation;
  installation.putInKeychain(kSecond, kStored);
  EXPECT_EQ(installation.run->installationSecrets().pairingID, "stored-1");
  EXPECT_EQ(installation.inDefaults(), kStored);
}

TEST(InstallationIdentity, ComesFromTheUserDefaultsOfOlderBuilds) {
  Installation installation;
  installation.putInDefaults(kStored);
  EXPECT_EQ(installation.run->installationSecrets().pairingID, "stored-1");
  EXPECT_FALSE(installation.wroteToKeychain());
}

TEST(InstallationIdentity, TakesOverTheSinglePiecesOfTheOldestBuilds) {
  Installation installation;
  installation.userDefaults.set(kLegacyPairingID, std::string(" legacy/id \n"));
  installation.userDefaults.set(kLegacySecret, std::string("\tlegacy-secret "));
  const auto made = installation.run->installationSecrets("seed");
  EXPECT_EQ(made.pairingID, "legacy/id");
  EXPECT_EQ(made.e2eSecret.text(), "legacy-secret");
  EXPECT_EQ(made.relayAuthToken.text().size(), 64U);
  EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(made)->text());
}

TEST(InstallationIdentity, PassesOverBlankPiecesAndPiecesOfAnotherKind) {
  Installation installation;
  installation.userDefaults.set(kLegacyPairingID, std::string(" "));
  installation.userDefaults.set(kLegacySecret, 7.0);
  installation.userDefaults.set(kDefaultsKey, std::string(kStored));
  const auto made = installation.run->installationSecrets("seed");
  EXPECT_TRUE(made.pairingID.starts_with("seed-"));
  EXPECT_EQ(made.e2eSecret.text().size(), 64U);
}

TEST(InstallationIdentity, IsReplacedWhenWhatIsStoredIsBroken) {
  for (const auto* broken : {R"({"pairingID":"p","relayAuthToken":"t","e2eSecret":""})", "no JSON", "", "{}",
                             R"({"pairingID":"p","pairingID":"q","relayAuthToken":"t","e2eSecret":"e"})"}) {
    Installation installation;
    installation.putInKeychain(kFirst, broken);
    installation.putInDefaults(broken);
    const auto made = installation.run->installationSecrets();
    EXPECT_TRUE(made.pairingID.starts_with("quillard-"));
    EXPECT_EQ(installation.secretStore.stored(kFirst, kAccount), installationSecretsText(made)->text());
  }
}

TEST(InstallationIdentity, OfAnOlderBuildIsUsedWhenTheKeychainsIsBroken) {
  Installation installation;
  installation.putInKeychain(kFirst, "broken");
  installation.putInDefaults(kStored);
  EXPECT_EQ(installation.run->installationSecrets().pairingID, "stored-1");
}

TEST(InstallationIdentity, IsNeverWrittenOverBecauseItCouldNotBeRead) {
  for (const auto& failure : {kLocked, SecretStatus{SecretStatusCode::accessDenied, "Denied."},
                              SecretStatus{SecretStatusCode::other, "Broken."}}) {
    for (const auto place : {kFirst, kSecond}) {
      Installation installation;
      installation.putInKeychain(place, kStored);
      installation.secretStore.fail(place, {copyMatching}, failure);
      const auto forThisRun = installation.run->installationSecrets();
      EXPECT_TRUE(forThisRun.isUsable());
      EXPECT_NE(forThisRun.pairingID, "stored-1");
      EXPECT_EQ(installation.run->installationSecrets(), forThisRun);
      EXPECT_FALSE(installation.wroteToKeychain());
      EXPECT_EQ(installation.inDefaults(), std::nullopt);
      EXPECT_EQ(installation.console.lines(),
                Lines{"Unable to read installation-secrets-v1 from Keychain: " + failure.text});
      installation.secretStore.recover(place);
      installation.restart();
      EXPECT_EQ(installation.run->installationSecrets().pairingID, "stored-1");
    }
  }
}

TEST(InstallationIdentity, ComesFromItsCopyWhileTheKeychainIsLocked) {
  Installation installation;
  installation.putInKeychain(kFirst, kStored);
  (void)installation.run->installationSecrets();
  installation.secretStore.fail(kFirst, kLocked);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets().pairingID, "stored-1");
  EXPECT_EQ(installation.console.lines(), Lines{kLockedLine});
}

TEST(InstallationIdentity, ComesFromItsCopyWhileTheKeychainIsLockedAtTheSecondStartAlready) {
  Installation installation;
  const auto made = installation.run->installationSecrets();
  installation.secretStore.fail(kFirst, kLocked);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), made);
  EXPECT_EQ(installation.console.lines(), Lines{kLockedLine});
}

TEST(InstallationIdentity, ComesFromItsCopyWhereNoKeychainTookIt) {
  Installation installation;
  for (const auto place : {kFirst, kSecond}) installation.secretStore.fail(place, {add, update}, kLocked);
  const auto made = installation.run->installationSecrets();
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), made);
}

TEST(InstallationIdentity, IsUsedForThisRunWhenItCannotBeStored) {
  Installation installation;
  for (const auto place : {kFirst, kSecond}) installation.secretStore.fail(place, {add, update}, kLocked);
  const auto made = installation.run->installationSecrets();
  EXPECT_TRUE(made.isUsable());
  EXPECT_EQ(installation.run->installationSecrets(), made);
  EXPECT_EQ(installation.console.lines(),
            Lines(2, "Unable to update installation-secrets-v1 from Keychain: " + kLocked.text));
}

TEST(InstallationIdentity, IsMadeEvenWhenTheSecureGeneratorFails) {
  Installation installation;
  installation.random.failNextFills(3);
  const auto made = installation.run->installationSecrets();
  EXPECT_EQ(made.pairingID.size(), std::string("quillard-").size() + 32);
  EXPECT_EQ(made.relayAuthToken.text().size(), 64U);
  EXPECT_EQ(made.e2eSecret.text().size(), 64U);
}

TEST(InstallationIdentity, IsTheSameForAllWhoAskAtOnce) {
  Installation installation;
  installation.setRelay("wss://relay");
  std::vector<std::string> answers(8);
  std::vector<std::thread> threads;
  for (auto& answer : answers) {
    threads.emplace_back([&] { answer = installation.run->launchConfiguration()->pairingID; });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(answers, std::vector<std::string>(8, installation.run->installationSecrets().pairingID));
}

// ---- Further identities

// The identity of this number, in a run of its own.
std::unique_ptr<PairingConfiguration> further(Installation& installation, int number) {
  return std::make_unique<PairingConfiguration>(
      PairingDependencies{installation.environment, installation.bundle, installation.secretStore,
                          installation.userDefaults, installation.random, installation.console},
      number);
}

TEST(FurtherIdentity, IsKeptBesideTheFirstAndLeavesItAlone) {
  Installation installation;
  const auto first = installation.run->installationSecrets();
  const auto second = further(installation, 2)->installationSecrets();
  EXPECT_NE(second.pairingID, first.pairingID);
  EXPECT_NE(second.relayAuthToken, first.relayAuthToken);
  EXPECT_NE(second.e2eSecret, first.e2eSecret);
  EXPECT_EQ(further(installation, 2)->installationSecrets(), second);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), first);
  further(installation, 2)->rotateInstallationIdentity();
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), first);
  EXPECT_EQ(further(installation, 2)->storedSecrets(), std::nullopt);
}

TEST(FurtherIdentity, TakesNothingOverFromOlderBuilds) {
  Installation installation;
  installation.userDefaults.set("quillard.per-install-pairing-id", std::string("old-1"));
  installation.userDefaults.set("quillard.per-install-e2e-secret", std::string("old-secret"));
  const auto second = further(installation, 2)->installationSecrets();
  EXPECT_NE(second.pairingID, "old-1");
  EXPECT_NE(second.e2eSecret.text(), "old-secret");
}

TEST(FurtherIdentity, ThatWasGivenUpWhileTheKeychainWasLockedDoesNotComeBack) {
  Installation installation;
  const auto before = further(installation, 2)->installationSecrets();
  for (const auto place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain}) {
    installation.secretStore.fail(place, kLocked);
  }
  const auto run = further(installation, 2);
  EXPECT_EQ(run->storedSecrets(), before) << "From the copy.";
  run->rotateInstallationIdentity();
  for (const auto place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain}) {
    installation.secretStore.recover(place);
  }
  EXPECT_EQ(further(installation, 2)->storedSecrets(), std::nullopt);
  EXPECT_NE(further(installation, 2)->installationSecrets().pairingID, before.pairingID);
}

TEST(FurtherIdentity, IsKeptInTheSettingsWhereTheKeychainIsLocked) {
  Installation installation;
  for (const auto place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain}) {
    installation.secretStore.fail(place, kLocked);
  }
  const auto made = further(installation, 2)->installationSecrets();
  EXPECT_EQ(further(installation, 2)->storedSecrets(), made);
}

TEST(StoredSecrets, AreNeverMade) {
  Installation installation;
  EXPECT_EQ(installation.run->storedSecrets(), std::nullopt);
  EXPECT_FALSE(installation.wroteToKeychain());
  EXPECT_EQ(installation.inDefaults(), std::nullopt);
  const auto made = installation.run->installationSecrets();
  EXPECT_EQ(installation.run->storedSecrets(), made);
}

// ---- The key that proves who is the computer

TEST(ComputersKey, IsMadeWhenItIsAskedForAndStaysWithTheIdentity) {
  Installation installation;
  const auto before = installation.run->installationSecrets();
  EXPECT_TRUE(before.computerKey.isEmpty());
  const auto with = installation.run->secretsWithComputerKey();
  EXPECT_EQ(with.computerKey.text().size(), 64U);
  EXPECT_EQ(with.pairingID, before.pairingID);
  EXPECT_EQ(with.relayAuthToken, before.relayAuthToken);
  EXPECT_EQ(installation.run->secretsWithComputerKey(), with);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), with);
  installation.run->rotateInstallationIdentity();
  EXPECT_TRUE(installation.run->installationSecrets().computerKey.isEmpty());
}

TEST(ComputersKey, IsInNoCode) {
  Installation installation;
  installation.setRelay("wss://relay.example/ws");
  const auto key = installation.run->secretsWithComputerKey().computerKey;
  const auto text = pairingPayloadText(installation.run->payload().value());
  EXPECT_EQ(text->text().find(key.text()), std::string_view::npos);
}

TEST(ComputersKey, MadeWhileTheKeychainWasLockedIsFoundInTheCopy) {
  Installation installation;
  (void)installation.run->installationSecrets();
  installation.restart();
  for (const auto place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain}) {
    installation.secretStore.fail(place, kLocked);
  }
  const auto with = installation.run->secretsWithComputerKey();
  for (const auto place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain}) {
    installation.secretStore.recover(place);
  }
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), with);
  installation.userDefaults.remove(kDefaultsKey);
  installation.restart();
  EXPECT_EQ(installation.run->installationSecrets(), with) << "The keychain has it by now.";
}

}  // namespace
}  // namespace quillard
