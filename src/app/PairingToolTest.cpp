#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "agent/PhoneRoster.h"
#include "app/PairingCodeText.h"
#include "app/PairingTool.h"
#include "platform/simulated/SimulatedBundle.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedSecretStore.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "platform/simulated/VirtualTime.h"
#include "relay/PairingPayload.h"
#include "relay/QRCodeRenderer.h"

namespace quillard::app {
namespace {

using platform::SecretPlace;
using platform::SecretStatusCode;

constexpr TerminalFacts kWideTerminal{.isTerminal = true, .columns = 200};

class PairingTool : public testing::Test {
 protected:
  PairingTool() {
    environment.set("QUILLARD_RELAY_URL", "wss://relay.example.org/ws");
    environment.set("QUILLARD_PAIRING_ID", "office");
  }
  ExitCode show(const TerminalFacts& terminal = kWideTerminal, const ShowPairingCode& command = {}) {
    return showPairingCode(command, terminal, pairing, secretStore, output);
  }
  void expectRefusal(const TerminalFacts& terminal, const std::string& because) {
    EXPECT_EQ(show(terminal), ExitCode::cannotDoHere);
    EXPECT_EQ(printed, "");
    EXPECT_NE(errorText.find(because), std::string::npos) << errorText;
  }

  platform::simulated::SimulatedEnvironment environment;
  platform::simulated::SimulatedBundle bundle;
  platform::simulated::SimulatedSecretStore secretStore;
  platform::simulated::SimulatedUserDefaults userDefaults;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{7}};
  platform::simulated::SimulatedConsole console;
  PairingConfiguration pairing{{environment, bundle, secretStore, userDefaults, random, console}};
  std::string printed;
  std::string errorText;
  const Output output{.print = [this](std::string_view text) { printed += text; },
                      .printError = [this](std::string_view text) { errorText += text; }};
};

TEST_F(PairingTool, ShowsTheCodeOfThisInstallationAndItsCaption) {
  EXPECT_EQ(show(), ExitCode::fine);
  const auto content = pairingPayloadText(*pairing.payload());
  const auto code = QRCodeRenderer::image(content->view(), 1);
  EXPECT_TRUE(printed ==
              std::string(terminalText(*code).text()) + "Open the iPhone app, choose Pair Mac, and scan this code.\n");
  EXPECT_NE(errorText.find("Whoever sees this code"), std::string::npos) << errorText;
}

TEST_F(PairingTool, RefusesAnOutputThatIsNoTerminalUnlessForced) {
  expectRefusal({.isTerminal = false, .columns = {}}, "--force");
  EXPECT_TRUE(secretStore.calls().empty());  // Nor was anything made for it.
  EXPECT_EQ(show({.isTerminal = false, .columns = {}}, {.evenWithoutTerminal = true}), ExitCode::fine);
  EXPECT_NE(printed, "");
}

TEST_F(PairingTool, RefusesATerminalThatIsTooNarrow) {
  ASSERT_EQ(show(), ExitCode::fine);
  const auto width = QRCodeRenderer::image(pairingPayloadText(*pairing.payload())->view(), 1)->width;
  printed.clear();
  expectRefusal({.isTerminal = true, .columns = width - 1}, "needs " + std::to_string(width) + " columns");
  EXPECT_EQ(show({.isTerminal = true, .columns = width}), ExitCode::fine);
}

TEST_F(PairingTool, ShowsWhatTheCodeHoldsAsOneLineAndNothingElse) {
  EXPECT_EQ(show(kWideTerminal, {.asText = true}), ExitCode::fine);
  const auto content = pairingPayloadText(*pairing.payload());
  EXPECT_TRUE(printed == std::string(content->text()) + "\n");
  EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1);
  EXPECT_NE(errorText.find("Whoever has this text"), std::string::npos) << errorText;
}

TEST_F(PairingTool, ShowsTheTextOnATerminalOfAnyWidth) {
  EXPECT_EQ(show({.isTerminal = true, .columns = 20}, {.asText = true}), ExitCode::fine);
}

TEST_F(PairingTool, RefusesTheTextWhereItWouldRefuseTheCode) {
  const ShowPairingCode asText{.asText = true};
  EXPECT_EQ(show({.isTerminal = false, .columns = {}}, asText), ExitCode::cannotDoHere);
  EXPECT_NE(errorText.find("--force"), std::string::npos) << errorText;
  secretStore.fail(SecretPlace::dataProtectionKeychain, {SecretStatusCode::interactionNotAllowed, "locked"});
  EXPECT_EQ(show(kWideTerminal, asText), ExitCode::cannotDoHere);
  environment.unset("QUILLARD_RELAY_URL");
  EXPECT_EQ(show(kWideTerminal, asText), ExitCode::cannotDoHere);
  EXPECT_EQ(printed, "");
}

TEST_F(PairingTool, ShowsTheTextWithoutATerminalWhenForced) {
  EXPECT_EQ(show({.isTerminal = false, .columns = {}}, {.evenWithoutTerminal = true, .asText = true}), ExitCode::fine);
  EXPECT_NE(printed.find("quillard.pairing"), std::string::npos);
}

TEST_F(PairingTool, KnowsACodeThatHasItsPhone) {
  const platform::simulated::VirtualTime clock{platform::simulated::Seed{7}};
  EXPECT_FALSE(isFirstCodeUsed(pairing, userDefaults, clock)) << "There is no identity yet.";
  ASSERT_EQ(show(), ExitCode::fine);
  EXPECT_FALSE(isFirstCodeUsed(pairing, userDefaults, clock));
  PhoneRoster roster(userDefaults, clock);
  (void)roster.note("another-pairing", {.relayConnected = true, .phoneCount = 1});
  EXPECT_FALSE(isFirstCodeUsed(pairing, userDefaults, clock));
  (void)roster.note(pairing.payload()->pairingID, {.relayConnected = true, .phoneCount = 1});
  EXPECT_TRUE(isFirstCodeUsed(pairing, userDefaults, clock));
}

TEST_F(PairingTool, ShowsTheCodeOfOneMorePhoneWithWhatItIsGoodFor) {
  std::string text = "{}";
  const Secret code = takenSecret(text);
  EXPECT_EQ(showCodeOf(code, {.asText = true}, kWideTerminal, output, "For ten minutes.\n"), ExitCode::fine);
  EXPECT_EQ(printed, "{}\n");
  EXPECT_NE(errorText.find("For ten minutes."), std::string::npos) << errorText;
}

TEST_F(PairingTool, RefusesWithoutARelay) {
  environment.unset("QUILLARD_RELAY_URL");
  expectRefusal(kWideTerminal, "Pairing is not configured for this launch.");
}

// Its token would travel in clear, to any host.
TEST_F(PairingTool, RefusesARelayWhoseAddressMayNotBeUsed) {
  for (const auto* address : {"ws://relay.example.org/ws", "https://relay.example.org/ws", "wss:///ws"}) {
    environment.set("QUILLARD_RELAY_URL", address);
    PairingConfiguration anew{{environment, bundle, secretStore, userDefaults, random, console}};
    EXPECT_EQ(showPairingCode({.asText = true}, kWideTerminal, anew, secretStore, output), ExitCode::cannotDoHere);
    EXPECT_EQ(printed, "") << address;
    EXPECT_EQ(anew.storedSecrets(), std::nullopt) << "Nor is anything made for it.";
  }
  EXPECT_NE(errorText.find("\"ws://relay.example.org/ws\" is no address"), std::string::npos) << errorText;
}

TEST_F(PairingTool, RefusesWhenTheKeychainIsLockedSinceNoAgentWouldKnowTheCode) {
  secretStore.fail(SecretPlace::dataProtectionKeychain, {SecretStatusCode::interactionNotAllowed, "locked"});
  expectRefusal(kWideTerminal, "The keychain cannot be read.");
}

TEST_F(PairingTool, WorksOnADesktopWithoutAKeyring) {
  secretStore.fail(SecretPlace::dataProtectionKeychain, {SecretStatusCode::missingEntitlement, "There is none."});
  EXPECT_EQ(show(), ExitCode::fine);
  EXPECT_TRUE(secretStore.stored(SecretPlace::fileKeychain, "installation-secrets-v1").has_value());
}

TEST(TerminalTexts, AreEnglishInTheWordsOfTheMachine) {
  EXPECT_EQ(terminalTexts({Machine::computer, Language::german}), UserTexts(Machine::computer, Language::english));
  EXPECT_EQ(terminalTexts({Machine::mac, Language::german}), UserTexts(Machine::mac, Language::english));
}

}  // namespace
}  // namespace quillard::app
