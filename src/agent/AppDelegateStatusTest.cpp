#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/FallbackStatusSnapshot.h"
#include "relay/PairingPayload.h"
#include "relay/QRCodeRenderer.h"
#include "status/MenuBarIcon.h"
#include "support/AgentWorld.h"

namespace quillard {
namespace {

using samples::AgentWorld;
using samples::erasePrompt;
using samples::keptSecrets;

constexpr const char* kScanThis = "Open the iPhone app, choose Pair Mac, and scan this code.";
constexpr const char* kAllowFirst =
    "Allow Accessibility in System Settings. The pairing code appears after Quillard can detect Mac prompts.";

TEST(AppDelegateStatus, ShowsTheCodeOfThisInstallation) {
  AgentWorld agent;
  agent.launch();
  agent.advance(1);
  const auto secrets = *keptSecrets(agent.world);
  const auto text = pairingPayloadText({.backendURL = "https://relay.example",
                                        .pairingID = secrets.pairingID,
                                        .relaySecret = secrets.relayAuthToken,
                                        .e2eSecret = secrets.e2eSecret});
  const auto status = agent.status();
  EXPECT_TRUE(status.pairingImage == QRCodeRenderer::image(text->view(), 10));
  EXPECT_EQ(status.pairingCaption, kScanThis);
  EXPECT_TRUE(status.pairingImage == agent.status().pairingImage);
}

TEST(AppDelegateStatus, ShowsNoCodeWithoutThePermission) {
  AgentWorld agent;
  agent.desktop().setTrusted(false);
  agent.launch();
  EXPECT_EQ(agent.status().pairingImage, std::nullopt);
  EXPECT_EQ(agent.status().pairingCaption, kAllowFirst);
}

TEST(AppDelegateStatus, TheMenuBarShowsWhetherAnythingWaits) {
  AgentWorld agent;
  agent.launchAndPair();
  const auto dialog = agent.desktop().open(erasePrompt());
  agent.advance(3);
  auto item = agent.world.statusBar().items().at(0);
  EXPECT_EQ(item->length, 30);
  EXPECT_TRUE(item->image == MenuBarIcon::image(1));
  agent.desktop().close(dialog);
  agent.advance(30);
  EXPECT_EQ(item->length, 24);
  EXPECT_TRUE(item->image == MenuBarIcon::image(0));
}

TEST(AppDelegateStatus, TheWindowOfTheStartMakesWayForAPromptThatIsThereAlready) {
  AgentWorld agent;
  agent.desktop().open(erasePrompt());
  agent.launchAndPair();
  EXPECT_TRUE(agent.world.statusWindowViews().window().isVisible());
  agent.advance(3);
  EXPECT_TRUE(agent.world.statusWindowViews().window().isVisible());
  EXPECT_TRUE(agent.world.statusWindowViews().window().isBehind());
}

TEST(AppDelegateStatus, TheWindowOfTheStartStaysInFrontWhereNothingWaits) {
  AgentWorld agent;
  agent.launch();
  agent.advance(3);
  EXPECT_FALSE(agent.world.statusWindowViews().window().isBehind());
  agent.advance(3);
  agent.desktop().open(erasePrompt());  // It comes above the window by itself.
  agent.advance(3);
  EXPECT_FALSE(agent.world.statusWindowViews().window().isBehind());
}

TEST(AppDelegateStatus, AWindowThatAPersonAskedForMakesNoWay) {
  AgentWorld agent;
  agent.desktop().open(erasePrompt());
  agent.launch();
  agent.world.statusBar().click();
  agent.advance(3);
  EXPECT_FALSE(agent.world.statusWindowViews().window().isBehind());
}

TEST(AppDelegateStatus, TheWindowsButtonsReachTheAgent) {
  AgentWorld agent;
  agent.launchAndPair();
  agent.advance(3);
  auto& window = agent.world.statusWindowViews().window();
  EXPECT_TRUE(window.click(StatusWindowButton::notificationPausePrimary));
  agent.advance(0);
  EXPECT_TRUE(agent.status().notificationPause.isPaused());
  EXPECT_TRUE(window.click(StatusWindowButton::notificationPausePrimary));
  agent.advance(0);
  EXPECT_FALSE(agent.status().notificationPause.isPaused());
  const auto before = keptSecrets(agent.world)->pairingID;
  EXPECT_TRUE(window.click(StatusWindowButton::unpairPhone));
  agent.advance(1);
  EXPECT_NE(keptSecrets(agent.world)->pairingID, before);
}

TEST(AppDelegateStatus, ARevokedPairingIsShownAndCanBeReplacedFromTheWindow) {
  AgentWorld agent;
  agent.launchAndPair();
  const auto before = keptSecrets(agent.world)->pairingID;
  agent.relay.revoke(before);
  agent.advance(10);
  auto& window = agent.world.statusWindowViews().window();
  EXPECT_EQ(window.content()->pairingStatus, "Pairing revoked");
  EXPECT_EQ(window.content()->pairingImage, std::nullopt) << "A phone that scans it would be refused.";
  EXPECT_EQ(window.content()->pairingCaption, "The code of a revoked pairing is not shown.");
  EXPECT_EQ(keptSecrets(agent.world)->pairingID, before);
  EXPECT_TRUE(window.click(StatusWindowButton::unpairPhone));
  agent.advance(1);
  EXPECT_NE(keptSecrets(agent.world)->pairingID, before);
  EXPECT_EQ(window.content()->pairingStatus, "Ready to scan");
  EXPECT_EQ(window.content()->pairingCaption, kScanThis);
}

TEST(AppDelegateStatus, ARevokedPairingIsAskedAboutAgainAfterTheComputerSlept) {
  AgentWorld agent;
  agent.launchAndPair();
  const auto pairingID = keptSecrets(agent.world)->pairingID;
  agent.relay.revoke(pairingID);
  agent.advance(10);
  ASSERT_TRUE(agent.status().pairingRevoked);
  agent.relay.unrevoke(pairingID);
  agent.world.time().setWallClock(advanced(agent.world.time().now(), Seconds{3600}));  // The timers stood still.
  agent.advance(3);
  EXPECT_FALSE(agent.status().pairingRevoked);
  EXPECT_TRUE(agent.status().relayConnected);
}

TEST(AppDelegateStatus, TheLoginItemCanBeEnabledFromTheWindow) {
  AgentWorld agent;
  agent.world.loginService().setRegistrationError("Not now.");
  agent.launch();
  agent.world.loginService().setRegistrationError(std::nullopt);
  agent.advance(3);
  EXPECT_TRUE(agent.world.statusWindowViews().window().click(StatusWindowButton::loginItemPrimary));
  agent.advance(0);
  EXPECT_EQ(agent.status().loginItemStatus.state, LoginItemState::enabled);
}

TEST(AppDelegateStatus, NamesThePageOfItsRelay) {
  AgentWorld agent;
  agent.world.environment().set("QUILLARD_RELAY_URL", "wss://relay.example/ws");
  agent.launch();
  EXPECT_EQ(agent.status().pageAddress, "https://relay.example");
  const auto image = agent.status().pageImage;
  ASSERT_TRUE(image.has_value());
  EXPECT_EQ(agent.status().pageImage, image) << "It is drawn once.";
}

TEST(AppDelegateStatus, HasNoCodeForAPageThatAPhoneCannotOpen) {
  AgentWorld agent;
  agent.world.environment().set("QUILLARD_RELAY_URL", "ws://127.0.0.1:8080/ws");
  agent.launch();
  EXPECT_EQ(agent.status().pageAddress, "http://127.0.0.1:8080");
  EXPECT_EQ(agent.status().pageImage, std::nullopt);
}

TEST(AppDelegateStatus, WithoutAnAgentOnlyTheSystemsPartIsKnown) {
  AgentWorld agent;
  const auto snapshot = fallbackStatusSnapshot(agent.world.platform());
  EXPECT_TRUE(snapshot.installedInApplications);
  EXPECT_TRUE(snapshot.accessibilityTrusted);
  EXPECT_TRUE(snapshot.relayConfigured);
  EXPECT_FALSE(snapshot.relayConnected);
  EXPECT_EQ(snapshot.pairingImage, std::nullopt);
  EXPECT_EQ(snapshot.pairingCaption, "Start Quillard to see pairing details.");
  EXPECT_EQ(keptSecrets(agent.world), std::nullopt) << "Looking makes no identity.";
}

}  // namespace
}  // namespace quillard
