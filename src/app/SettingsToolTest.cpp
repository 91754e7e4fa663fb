#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/SettingsTool.h"
#include "foundation/AgentNames.h"
#include "platform/simulated/SimulatedWorld.h"
#include "relay/UserRelay.h"

namespace quillard::app {
namespace {

using testing::HasSubstr;

// Of one change: they call back when they are written. Opened anew for each, as by a process of its own.
class OpenedSettings final : public platform::UserDefaults {
 public:
  OpenedSettings(std::unique_ptr<platform::UserDefaults> opened, std::function<void()> onWritten)
      : kept(std::move(opened)), onWritten(std::move(onWritten)) {}

  [[nodiscard]] std::optional<platform::UserDefaultsValue> object(std::string_view key) const override {
    return kept->object(key);
  }
  void set(std::string_view key, platform::UserDefaultsValue value) override { kept->set(key, std::move(value)); }
  void remove(std::string_view key) override { kept->remove(key); }
  std::optional<std::string> synchronize() override {
    onWritten();
    return kept->synchronize();
  }

 private:
  const std::unique_ptr<platform::UserDefaults> kept;
  const std::function<void()> onWritten;
};

struct SettingsToolTest : testing::Test {
  ExitCode set(const SetRelay& command) { return setRelay(command, pairing, makeChange, output); }
  ExitCode show(const ShowSettings& command) { return showSettings(command, sources, output); }
  ExitCode change(const ChangeSetting& command) { return changeSetting(command, sources, makeChange, output); }
  std::string taken() { return std::exchange(printed, {}); }
  std::string takenErrors() { return std::exchange(errorText, {}); }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{3}};
  PairingConfiguration pairing{{world.environment(), world.bundle(), world.secretStore(), world.userDefaults(),
                                world.random(), world.console()}};
  const AgentConfiguration::Sources sources{world.environment(), &world.userDefaults()};
  const MakeChange makeChange = [this](const SettingsChange& change) {
    auto outcome = changeHere(change, world.lockFiles(), [this] {
      return std::make_unique<OpenedSettings>(world.userDefaults().openedByAnother(), [this] {
        wasLocked = world.lockFiles().acquire(kInstanceLockFile).outcome == platform::LockOutcome::heldElsewhere;
      });
    });
    (void)world.userDefaults().synchronize();  // As the next tool reads them.
    return outcome;
  };
  std::optional<bool> wasLocked;  // When they were last written.
  std::string printed;
  std::string errorText;
  const Output output{.print = [this](std::string_view text) { printed += text; },
                      .printError = [this](std::string_view text) { errorText += text; }};
};

// ---- The relay

TEST_F(SettingsToolTest, SetsARelayThatCountsFromTheNextStart) {
  EXPECT_EQ(set({"relay.example", std::nullopt}), ExitCode::fine);
  EXPECT_EQ(taken(), "The relay is wss://relay.example/ws.\nThe agent uses it when it starts.\n");
  EXPECT_EQ(showRelay({}, pairing, output), ExitCode::fine);
  EXPECT_EQ(taken(), "wss://relay.example/ws\nYou chose it (\"quillard relay set\").\n");
  EXPECT_EQ(errorText, "");
}

TEST_F(SettingsToolTest, NeverPrintsTheOperatorsKey) {
  EXPECT_EQ(set({"relay.example", "hunter2hunter2hunter2"}), ExitCode::fine);
  EXPECT_EQ(showRelay({}, pairing, output), ExitCode::fine);
  EXPECT_EQ(showRelay({.asJson = true}, pairing, output), ExitCode::fine);
  EXPECT_THAT(printed, HasSubstr("with its operator's key"));
  EXPECT_THAT(printed, HasSubstr("\"hasKey\": true"));
  EXPECT_EQ((printed + errorText).find("hunter2"), std::string::npos);
  EXPECT_THAT(UserRelay::stored(world.userDefaults()).value_or(""), HasSubstr("registration-key=hunter2"));
}

TEST_F(SettingsToolTest, RefusesWhatIsNoRelayAndKeepsTheOneThatWasSet) {
  ASSERT_EQ(set({"relay.example", std::nullopt}), ExitCode::fine);
  EXPECT_EQ(set({"ws://elsewhere.example", std::nullopt}), ExitCode::wrongUsage);
  EXPECT_EQ(takenErrors(), "Only wss and https addresses can be used, or ws and http of this computer itself.\n");
  EXPECT_EQ(UserRelay::stored(world.userDefaults()), "wss://relay.example/ws");
}

TEST_F(SettingsToolTest, SaysThatPhonesOfAnotherRelayHaveToBePairedAgain) {
  ASSERT_EQ(set({"relay.example", std::nullopt}), ExitCode::fine);
  ASSERT_EQ(set({"https://relay.example", std::nullopt}), ExitCode::fine);
  EXPECT_EQ(taken().find("paired again"), std::string::npos) << "it is the same relay";
  ASSERT_EQ(set({"other.example", std::nullopt}), ExitCode::fine);
  EXPECT_THAT(taken(), HasSubstr("Phones that were paired over the other relay have to be paired again.\n"));
}

TEST_F(SettingsToolTest, SaysWhenAnotherRelayComesFirst) {
  world.environment().set("QUILLARD_RELAY_URL", "wss://environment.example/ws");
  world.environment().set("QUILLARD_PAIRING_ID", "home");
  EXPECT_EQ(set({"relay.example", std::nullopt}), ExitCode::fine);
  EXPECT_EQ(takenErrors(),
            "This session uses another relay, which comes first. The environment names it (QUILLARD_RELAY_URL).\n");
  taken();
  EXPECT_EQ(showRelay({}, pairing, output), ExitCode::fine);
  EXPECT_EQ(taken(), "wss://environment.example/ws\nThe environment names it (QUILLARD_RELAY_URL).\n");
}

TEST_F(SettingsToolTest, ForgetsTheRelay) {
  ASSERT_EQ(set({"relay.example", std::nullopt}), ExitCode::fine);
  EXPECT_EQ(forgetRelay(pairing, makeChange, output), ExitCode::fine);
  taken();
  EXPECT_EQ(showRelay({}, pairing, output), ExitCode::problemFound);
  EXPECT_EQ(taken(), "No relay is set: \"quillard relay set ADDRESS\" sets one.\n");
  EXPECT_EQ(showRelay({.asJson = true}, pairing, output), ExitCode::problemFound);
  EXPECT_EQ(taken(), "{\n  \"version\": 1,\n  \"relay\": null\n}\n");
}

TEST_F(SettingsToolTest, ShowsTheRelayAsJson) {
  ASSERT_EQ(set({"https://relay.example:8443/", std::nullopt}), ExitCode::fine);
  taken();
  EXPECT_EQ(showRelay({.asJson = true}, pairing, output), ExitCode::fine);
  EXPECT_EQ(taken(), R"({
  "version": 1,
  "relay": {
    "address": "wss://relay.example:8443/ws",
    "page": "https://relay.example:8443",
    "hasKey": false,
    "from": "settings"
  }
}
)");
}

TEST_F(SettingsToolTest, TestsTheRelayThatIsNamedOrElseTheOneThatIsUsed) {
  EXPECT_EQ(relayToTest({}, pairing, output), std::nullopt);
  EXPECT_EQ(takenErrors(), "No relay is set: \"quillard relay set ADDRESS\" sets one.\n");
  EXPECT_EQ(relayToTest({"relay.example", {}}, pairing, output)->relayURL, "wss://relay.example/ws");
  ASSERT_EQ(set({"used.example", std::nullopt}), ExitCode::fine);
  EXPECT_EQ(relayToTest({}, pairing, output)->relayURL, "wss://used.example/ws");
  EXPECT_EQ(relayToTest({{}, "0123456789abcdef"}, pairing, output)->relayURL,
            "wss://used.example/ws?registration-key=0123456789abcdef");
  EXPECT_EQ(relayToTest({"ftp://relay.example", {}}, pairing, output), std::nullopt);
}

// ---- The tunables

TEST_F(SettingsToolTest, ListsEachSettingWithItsValueItsOriginAndItsDefault) {
  world.environment().set("FARROWLIGHT_SCAN_INTERVAL_SECONDS", "60");
  ASSERT_EQ(change({"event-scan-debounce", "0.5"}), ExitCode::fine);
  taken();
  EXPECT_EQ(show({}), ExitCode::fine);
  EXPECT_EQ(taken(),
            "relay-authority: none (default)\n"
            "    a file of certificates (PEM): who may vouch for the relay besides the system's authorities\n"
            "safety-sweep-interval: 60 s (FARROWLIGHT_SCAN_INTERVAL_SECONDS; default 300 s)\n"
            "    how often all windows are scanned although nothing seems to have happened\n"
            "event-scan-debounce: 0.5 s (settings; default 0.35 s)\n"
            "    how long to wait after the last event before a scan\n"
            "approval-stale-grace: 8 s (default)\n"
            "    how long a prompt is kept that scans no longer see\n"
            "visible-window-owner-poll: 2 s (default)\n"
            "    how often to look which programs have windows\n"
            "dialog-diagnostics: off (default)\n"
            "    print a line for each window at each scan, with what the window shows\n"
            "phone-lock-for-grants: off (default)\n"
            "    refuse what a phone grants without asking for its own lock first\n"
            "phone-alerts: on (default)\n"
            "    wake phones that sleep when a prompt waits\n"
            "phone-alert-texts: on (default)\n"
            "    say in what wakes a phone who asks and what; else only that a prompt waits\n"
            "log-texts: on (default)\n"
            "    keep what prompts say in the log of decisions; else only a digest of it\n"
            "log-age: 7776000 s (default)\n"
            "    how long the log of decisions keeps an entry\n"
            "log-size: 1048576 bytes (default)\n"
            "    how large the log of decisions becomes, in bytes\n");
}

TEST_F(SettingsToolTest, ShowsOneSettingAsJson) {
  world.environment().set("QUILLARD_EVENT_SCAN_DEBOUNCE_SECONDS", "0.25");
  EXPECT_EQ(show({"event-scan-debounce", true}), ExitCode::fine);
  EXPECT_EQ(taken(), R"({
  "version": 1,
  "settings": [
    {
      "name": "event-scan-debounce",
      "value": 0.25,
      "from": "environment",
      "variable": "QUILLARD_EVENT_SCAN_DEBOUNCE_SECONDS",
      "default": 0.35,
      "unit": "s",
      "meaning": "how long to wait after the last event before a scan"
    }
  ]
}
)");
}

TEST_F(SettingsToolTest, SetsASettingAndPutsItBack) {
  EXPECT_EQ(change({"approval-stale-grace", "12"}), ExitCode::fine);
  EXPECT_EQ(taken(), "approval-stale-grace is 12 s.\nThe agent uses it when it starts.\n");
  EXPECT_EQ(AgentConfiguration::approvalStaleGrace(sources), Seconds{12});
  EXPECT_EQ(change({"approval-stale-grace", std::nullopt}), ExitCode::fine);
  EXPECT_EQ(taken(), "approval-stale-grace is 8 s, the default.\nThe agent uses it when it starts.\n");
  EXPECT_EQ(AgentConfiguration::approvalStaleGrace(sources), Seconds{8});
}

TEST_F(SettingsToolTest, SetsAFileAndShowsIt) {
  EXPECT_EQ(change({"relay-authority", "authority.pem"}), ExitCode::wrongUsage);
  EXPECT_EQ(takenErrors(), "relay-authority is the full path of a file: it begins with /.\n");
  EXPECT_EQ(change({"relay-authority", "/etc/authority.pem"}), ExitCode::fine);
  EXPECT_EQ(taken(), "relay-authority is /etc/authority.pem.\nThe agent uses it when it starts.\n");
  EXPECT_EQ(show({"relay-authority", false}), ExitCode::fine);
  EXPECT_THAT(taken(), HasSubstr("relay-authority: /etc/authority.pem (settings; default none)\n"));
  EXPECT_EQ(show({"relay-authority", true}), ExitCode::fine);
  EXPECT_THAT(taken(), HasSubstr("\"value\": \"/etc/authority.pem\""));
  EXPECT_EQ(change({"relay-authority", std::nullopt}), ExitCode::fine);
  EXPECT_EQ(taken(), "relay-authority is none, the default.\nThe agent uses it when it starts.\n");
  EXPECT_EQ(show({"relay-authority", true}), ExitCode::fine);
  EXPECT_THAT(taken(), HasSubstr("\"value\": null"));
}

TEST_F(SettingsToolTest, SaysWhenTheEnvironmentComesFirst) {
  world.environment().set("QUILLARD_DIALOG_DIAGNOSTICS", "0");
  EXPECT_EQ(change({"dialog-diagnostics", "on"}), ExitCode::fine);
  EXPECT_EQ(takenErrors(), "QUILLARD_DIALOG_DIAGNOSTICS is set in this session, and comes first.\n");
}

TEST_F(SettingsToolTest, RefusesWhatIsNoSettingOrNoValue) {
  EXPECT_EQ(change({"colour", "red"}), ExitCode::wrongUsage);
  EXPECT_EQ(takenErrors(), "There is no setting colour: \"quillard settings\" lists them.\n");
  EXPECT_EQ(change({"approval-stale-grace", "-1"}), ExitCode::wrongUsage);
  EXPECT_EQ(takenErrors(), "approval-stale-grace is a number of seconds greater than 0.\n");
  EXPECT_EQ(change({"relay", "wss://relay.example"}), ExitCode::wrongUsage);
  EXPECT_EQ(takenErrors(), "The relay is set by \"quillard relay set\".\n");
  EXPECT_EQ(show({"colour", false}), ExitCode::wrongUsage);
  EXPECT_EQ(printed, "");
}

TEST_F(SettingsToolTest, SaysWhereNothingCouldBeWritten) {
  world.userDefaults().setDiskFull(true);
  const std::string problem =
      "The simulated settings cannot be written: The disk is full.\nSet it again once that is mended.\n";
  EXPECT_EQ(change({"approval-stale-grace", "11"}), ExitCode::cannotDoHere);
  EXPECT_EQ(takenErrors(), problem);
  EXPECT_EQ(set({"relay.example", std::nullopt}), ExitCode::cannotDoHere);
  EXPECT_EQ(takenErrors(), problem);
  EXPECT_EQ(printed, "");
  world.userDefaults().setDiskFull(false);
  EXPECT_EQ(set({"relay.example", std::nullopt}), ExitCode::fine);
  world.userDefaults().setDiskFull(true);
  EXPECT_EQ(forgetRelay(pairing, makeChange, output), ExitCode::cannotDoHere);
  EXPECT_EQ(UserRelay::stored(world.userDefaults()), "wss://relay.example/ws");
}

TEST_F(SettingsToolTest, SaysWhatARunningAgentCouldNotWrite) {
  const MakeChange agents = [](const SettingsChange&) {
    return ChangeOutcome{.isTakenOver = true, .unwritten = "settings.json cannot be written."};
  };
  EXPECT_EQ(setRelay({"relay.example", std::nullopt}, pairing, agents, output), ExitCode::cannotDoHere);
  EXPECT_EQ(takenErrors(),
            "settings.json cannot be written.\nThe agent uses what was set, and tries to write it again.\n");
}

TEST_F(SettingsToolTest, ChangesNothingBehindTheBackOfAnAgentThatRuns) {
  EXPECT_EQ(change({"approval-stale-grace", "11"}), ExitCode::fine);
  EXPECT_EQ(wasLocked, true) << "until they are written";
  EXPECT_EQ(change({"approval-stale-grace", std::nullopt}), ExitCode::fine);
  const auto agents = world.lockFiles().acquire(kInstanceLockFile);
  ASSERT_EQ(agents.outcome, platform::LockOutcome::acquired);
  EXPECT_EQ(change({"approval-stale-grace", "12"}), ExitCode::cannotDoHere);
  EXPECT_EQ(takenErrors(), "An agent runs and cannot be asked to change it: quit it, and try again.\n");
  EXPECT_TRUE(world.userDefaults().keys().empty());
}

}  // namespace
}  // namespace quillard::app
