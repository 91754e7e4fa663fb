#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/EraseTool.h"
#include "foundation/AgentNames.h"
#include "platform/simulated/SimulatedWorld.h"
#include "relay/PairingConfiguration.h"

namespace quillard::app {
namespace {

using platform::SecretPlace;
using testing::ElementsAre;
using testing::HasSubstr;

using Steps = std::vector<std::string>;

struct RecordedFiles final : platform::OwnFiles {
  explicit RecordedFiles(Steps& steps) : steps(steps) {}
  std::vector<std::string> found() override { return {"/home/ann/.config/autostart/quillard"}; }
  std::vector<std::string> eraseLoginStarts() override {
    steps.push_back("login starts");
    return {};
  }
  std::vector<std::string> erase(bool keepsProgram) override {
    steps.push_back(keepsProgram ? "files but the program" : "files");
    return problems;
  }
  std::vector<std::string> folders() override { return {"/home/ann/.config", "/home/ann/.local"}; }
  bool areInUse() override { return isTrialUp; }
  std::optional<std::string> agentsOtherFolders() override { return otherFolders; }
  Steps& steps;
  std::vector<std::string> problems;
  bool isTrialUp = false;
  std::optional<std::string> otherFolders;
};

struct EraseToolTest : testing::Test {
  ExitCode erase(bool isConfirmed = true) {
    return eraseAll({isConfirmed},
                    {.lockFiles = world.lockFiles(),
                     .secretStore = world.secretStore(),
                     .openSettings =
                         [this] {
                           auto settings = std::make_unique<platform::simulated::SimulatedUserDefaults>();
                           if (isPaired)
                             settings->set("quillard.installation-secrets-v1", std::vector<std::uint8_t>{1});
                           return settings;
                         },
                     .ownFiles = hasOwnFiles ? &files : nullptr,
                     .ask =
                         [this](const std::string& question) {
                           asked = question;
                           return answer;
                         },
                     .quitAgent =
                         [this] {
                           steps.push_back("quit");
                           if (agentObeys) agentsLock.reset();
                         },
                     .pause = [] {},
                     .revoke =
                         [this](platform::UserDefaults&) {
                           steps.push_back("revoke");
                           return untold;
                         }},
                    output);
  }
  void startAgent() { agentsLock = agent.acquire(kInstanceLockFile).lock; }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{5}};
  platform::simulated::SimulatedLockFiles agent{world.lockFolder()};
  std::unique_ptr<platform::FileLock> agentsLock;
  Steps steps;
  RecordedFiles files{steps};
  std::optional<bool> answer;
  std::string asked;
  bool agentObeys = true;
  bool hasOwnFiles = true;
  bool isPaired = false;
  std::size_t untold = 0;
  std::string printed;
  std::string errors;
  const Output output{.print = [this](std::string_view text) { printed += text; },
                      .printError = [this](std::string_view text) { errors += text; }};
};

TEST_F(EraseToolTest, EndsTheAgentAndWhatStartsItBeforeAnythingElse) {
  startAgent();
  EXPECT_EQ(erase(), ExitCode::fine);
  EXPECT_THAT(steps, ElementsAre("quit", "login starts", "revoke", "files"));
  EXPECT_EQ(printed, "Deleted. Nothing of Quillard is left for this user in /home/ann/.config and /home/ann/.local.\n");
  EXPECT_EQ(errors, "");
}

TEST_F(EraseToolTest, DeletesNothingBeneathAnAgentThatStays) {
  startAgent();
  agentObeys = false;
  EXPECT_EQ(erase(), ExitCode::problemFound);
  EXPECT_THAT(steps, ElementsAre("quit"));
  EXPECT_THAT(errors, HasSubstr("Quillard still runs"));
}

TEST_F(EraseToolTest, NamesWhatGoesAndAsks) {
  answer = false;
  EXPECT_EQ(erase(/*isConfirmed=*/false), ExitCode::problemFound);
  EXPECT_THAT(asked, HasSubstr("/home/ann/.config/autostart/quillard"));
  EXPECT_EQ(errors, "Nothing was deleted.\n");
  answer.reset();
  EXPECT_EQ(erase(/*isConfirmed=*/false), ExitCode::cannotDoHere);
  EXPECT_THAT(errors, HasSubstr("--yes"));
  EXPECT_TRUE(steps.empty());
  answer = true;
  EXPECT_EQ(erase(/*isConfirmed=*/false), ExitCode::fine);
  EXPECT_THAT(steps, ElementsAre("login starts", "revoke", "files"));
}

TEST_F(EraseToolTest, TakesTheSecretsOfEveryPairingOutOfBothPlaces) {
  hasOwnFiles = false;
  auto& store = world.secretStore();
  std::vector<std::string> accounts;
  for (int number = 1; number <= 8; ++number) accounts.push_back(PairingConfiguration::accountOf(number));
  for (const auto& account : accounts) {
    for (const auto place : {SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain}) {
      ASSERT_EQ(store.add(place, kAgentIdentifier, account, Secret{"x"}).code, platform::SecretStatusCode::success);
    }
  }
  EXPECT_EQ(erase(), ExitCode::fine);
  for (const auto& account : accounts) {
    EXPECT_EQ(store.stored(SecretPlace::dataProtectionKeychain, account), std::nullopt) << account;
    EXPECT_EQ(store.stored(SecretPlace::fileKeychain, account), std::nullopt) << account;
  }
}

TEST_F(EraseToolTest, SaysWhatItCouldNotDoAndDoesTheRest) {
  untold = 2;
  files.problems = {"/home/ann/x cannot be deleted: why."};
  EXPECT_EQ(erase(), ExitCode::problemFound);
  EXPECT_THAT(steps, ElementsAre("login starts", "revoke", "files"));
  EXPECT_THAT(errors, HasSubstr("/home/ann/x cannot be deleted: why."));
  EXPECT_EQ(printed,
            "The relay could not be told of some pairings, whose secrets are deleted here. Forget this computer on "
            "the phone, too.\n");
}

TEST_F(EraseToolTest, DeletesNothingWhereItCannotTellWhetherAnAgentRuns) {
  world.lockFolder().setUnavailable(true);
  EXPECT_EQ(erase(), ExitCode::problemFound);
  EXPECT_THAT(steps, ElementsAre("quit"));
  EXPECT_THAT(errors, HasSubstr("whether Quillard runs is not known"));
}

TEST_F(EraseToolTest, DeletesNothingBeneathATrial) {
  files.isTrialUp = true;
  EXPECT_EQ(erase(), ExitCode::problemFound);
  EXPECT_TRUE(steps.empty());
  EXPECT_THAT(errors, HasSubstr("A ./run is up"));
}

TEST_F(EraseToolTest, DeletesNothingWhereTheAgentKeepsItsFilesElsewhere) {
  files.otherFolders = "XDG_CONFIG_HOME=/session/config";
  EXPECT_EQ(erase(), ExitCode::problemFound);
  EXPECT_TRUE(steps.empty());
  EXPECT_THAT(errors, HasSubstr("Nothing was deleted. Try again with: XDG_CONFIG_HOME=/session/config\n"));
}

TEST_F(EraseToolTest, KeepsTheProgramWhereAKeyringMayStillHoldASecret) {
  isPaired = true;
  world.secretStore().fail(SecretPlace::dataProtectionKeychain,
                           {platform::SecretStatusCode::missingEntitlement, "There is no session bus."});
  EXPECT_EQ(erase(), ExitCode::problemFound);
  EXPECT_THAT(steps, ElementsAre("login starts", "revoke", "files but the program"));
  EXPECT_EQ(errors, "quillard erase: The keyring may still hold \"Quillard: " + PairingConfiguration::accountOf(1) +
                        "\": There is no session bus.\n");
  EXPECT_EQ(printed, "");
}

TEST_F(EraseToolTest, NeedsNoKeyringForSecretsThatWereNeverInOne) {
  isPaired = true;
  auto& store = world.secretStore();
  store.fail(SecretPlace::dataProtectionKeychain, {platform::SecretStatusCode::missingEntitlement, "None."});
  ASSERT_EQ(
      store.add(SecretPlace::fileKeychain, kAgentIdentifier, PairingConfiguration::accountOf(1), Secret{"x"}).code,
      platform::SecretStatusCode::success);
  EXPECT_EQ(erase(), ExitCode::fine);
  EXPECT_EQ(errors, "");
}

TEST_F(EraseToolTest, DeletesAFileOfSecretsThatIsDamaged) {
  world.secretStore().fail(SecretPlace::fileKeychain, {platform::SecretStatusCode::other, "It cannot be read."});
  EXPECT_EQ(erase(), ExitCode::fine);
  EXPECT_EQ(errors, "");
}

}  // namespace
}  // namespace quillard::app
