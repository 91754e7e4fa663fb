#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/FallbackStatusSnapshot.h"
#include "agent/StatusPresenter.h"
#include "platform/simulated/SimulatedWorld.h"
#include "relay/PairingPayload.h"
#include "relay/QRCodeRenderer.h"
#include "status/MenuBarIcon.h"
#include "support/AgentWorld.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
using samples::keptSecrets;
using testing::IsEmpty;

struct StatusPresenterTest : testing::Test {
  StatusPresenterTest() {
    world.environment().set("QUILLARD_RELAY_URL", "wss://relay.example/ws");
    world.environment().set("QUILLARD_PAIRING_ID", "quillard");
  }
  std::unique_ptr<StatusPresenter> makePresenter() {
    return std::make_unique<StatusPresenter>(
        StatusPresenterDependencies{world.statusBar(),
                                    pairing,
                                    world.userDefaults(),
                                    {world.application(), world.time(), world.statusWindowViews(), world.workspace(),
                                     installLocation, loginItems, permissions}},
        [this] {
          ++windowsMade;
          return StatusWindowCallbacks{.snapshotProvider = [this] {
            ++snapshots;
            return MacStatusSnapshot{};
          }};
        });
  }
  void onMainThread(const std::function<void(StatusPresenter&)>& act) {
    world.time().runOnMainThread([&] { act(*presenter); });
  }
  // The code that a phone would have to be shown now.
  std::optional<Bitmap> codeOfIdentity() {
    const auto secrets = *keptSecrets(world);
    const auto text = pairingPayloadText({.backendURL = "https://relay.example",
                                          .pairingID = secrets.pairingID,
                                          .relaySecret = secrets.relayAuthToken,
                                          .e2eSecret = secrets.e2eSecret});
    return QRCodeRenderer::image(text->view(), 10);
  }

  SimulatedWorld world{Seed{1}};
  PairingConfiguration pairing{pairingDependencies(world.platform())};
  InstallLocation installLocation{world.bundle()};
  LoginItemManager loginItems{world.bundle(), world.loginService(), world.workspace(), world.console()};
  PermissionManager permissions{world.workspace()};
  int windowsMade = 0;
  int snapshots = 0;
  std::unique_ptr<StatusPresenter> presenter = makePresenter();
};

TEST_F(StatusPresenterTest, TheMenuBarShowsWhetherAnythingIsPending) {
  onMainThread([](auto& status) { status.updateStatus(3); });
  EXPECT_THAT(world.statusBar().items(), IsEmpty()) << "It has no place there yet.";
  onMainThread([](auto& status) { status.configureMenuBar(); });
  const auto item = world.statusBar().items().at(0);
  EXPECT_EQ(item->length, 24);
  EXPECT_EQ(item->toolTip, "Quillard");
  EXPECT_TRUE(item->image == MenuBarIcon::image(0));
  onMainThread([](auto& status) { status.updateStatus(1); });
  EXPECT_EQ(item->length, 30);
  EXPECT_TRUE(item->image == MenuBarIcon::image(1));
  EXPECT_EQ(presenter->pendingApprovalCount(), 1);
  onMainThread([](auto& status) { status.updateStatus(0); });
  EXPECT_EQ(item->length, 24);
  presenter.reset();
  EXPECT_THAT(world.statusBar().items(), IsEmpty());
}

TEST_F(StatusPresenterTest, MakesItsWindowWhenItIsFirstShown) {
  onMainThread([](auto& status) { status.refreshStatusWindow(); });
  EXPECT_EQ(windowsMade, 0);
  onMainThread([](auto& status) { status.showStatusWindow(); });
  auto& window = world.statusWindowViews().window();
  EXPECT_TRUE(window.isVisible());
  window.closeByUser();
  world.advance(Seconds{0});
  EXPECT_FALSE(window.isVisible());
  onMainThread([](auto& status) { status.showStatusWindow(); });
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(windowsMade, 1) << "It is the same one.";
}

TEST_F(StatusPresenterTest, AClickInTheMenuBarShowsTheWindow) {
  onMainThread([](auto& status) { status.configureMenuBar(); });
  world.statusBar().click();
  world.advance(Seconds{0});
  EXPECT_TRUE(world.statusWindowViews().window().isVisible());
}

TEST_F(StatusPresenterTest, RefreshesTheWindowWithTheCount) {
  onMainThread([](auto& status) { status.showStatusWindow(); });
  const int before = snapshots;
  onMainThread([](auto& status) { status.updateStatus(1); });
  EXPECT_EQ(snapshots, before + 1);
  onMainThread([](auto& status) { status.refreshStatusWindow(); });
  EXPECT_EQ(snapshots, before + 2);
}

TEST_F(StatusPresenterTest, TheWindowOfTheStartMakesNoWayBeforeAPhoneWasEverPaired) {
  onMainThread([](auto& status) {
    status.showStatusWindowAtStart();
    status.updateStatus(1);
  });
  EXPECT_FALSE(world.statusWindowViews().window().isBehind());
  onMainThread([](auto& status) { status.phoneIsPaired(); });
  EXPECT_TRUE(world.statusWindowViews().window().isBehind()) << "Now there is somebody to answer the prompt.";
}

TEST_F(StatusPresenterTest, TheWindowOfALaterStartMakesWayBeforeThePhoneIsThere) {
  onMainThread([](auto& status) { status.phoneIsPaired(); });
  presenter = makePresenter();
  onMainThread([](auto& status) {
    status.showStatusWindowAtStart();
    status.updateStatus(1);
  });
  EXPECT_TRUE(world.statusWindowViews().window().isBehind());
}

TEST_F(StatusPresenterTest, AWindowThatStaysDoesNotGoBehindForAPhoneThatIsPairedLater) {
  onMainThread([](auto& status) {
    status.showStatusWindowAtStart();
    status.updateStatus(1);
  });
  world.advance(Seconds{6});
  onMainThread([](auto& status) { status.phoneIsPaired(); });
  EXPECT_FALSE(world.statusWindowViews().window().isBehind()) << "Its user is looking at it.";
}

TEST_F(StatusPresenterTest, ShowsNoWindowOnceItIsStopped) {
  onMainThread([](auto& status) {
    status.configureMenuBar();
    status.stop();
    status.showStatusWindow();
  });
  world.statusBar().click();
  world.advance(Seconds{0});
  EXPECT_THAT(world.statusWindowViews().windows(), IsEmpty());
}

TEST_F(StatusPresenterTest, ShowsTheCodeOfThisInstallation) {
  const auto image = presenter->pairingImage(/*accessibilityTrusted=*/true);
  ASSERT_TRUE(image);
  EXPECT_TRUE(image == codeOfIdentity());
  EXPECT_TRUE(presenter->pairingImage(true) == image);
  EXPECT_EQ(presenter->pairingCaption(true), "Open the iPhone app, choose Pair Mac, and scan this code.");
}

TEST_F(StatusPresenterTest, ReadsNothingOfThePairingWithoutThePermission) {
  EXPECT_EQ(presenter->pairingImage(/*accessibilityTrusted=*/false), std::nullopt);
  EXPECT_EQ(presenter->pairingCaption(false),
            "Allow Accessibility in System Settings. The pairing code appears after Quillard can detect Mac prompts.");
  EXPECT_EQ(keptSecrets(world), std::nullopt);
}

TEST_F(StatusPresenterTest, ShowsNoCodeWithoutARelay) {
  world.environment().unset("QUILLARD_PAIRING_ID");
  EXPECT_EQ(presenter->pairingImage(/*accessibilityTrusted=*/true), std::nullopt);
  EXPECT_EQ(presenter->pairingCaption(true),
            "Pairing is not configured for this launch. Add pairing settings before packaging Quillard to show a QR "
            "code.");
  EXPECT_EQ(keptSecrets(world), std::nullopt);
}

// The agent does not connect to it, and a phone would send its token there in clear.
TEST_F(StatusPresenterTest, ShowsNoCodeForARelayWhoseAddressMayNotBeUsed) {
  world.environment().set("QUILLARD_RELAY_URL", "ws://relay.example/ws");
  EXPECT_EQ(presenter->pairingImage(/*accessibilityTrusted=*/true), std::nullopt);
  EXPECT_EQ(keptSecrets(world), std::nullopt);
}

TEST_F(StatusPresenterTest, ShowsANewCodeForANewIdentity) {
  const auto before = presenter->pairingImage(true);
  for (const bool isForgotten : {false, true}) {
    if (isForgotten) presenter->forgetPairingCode();
    pairing.rotateInstallationIdentity();
    const auto image = presenter->pairingImage(true);
    EXPECT_TRUE(image == codeOfIdentity());
    EXPECT_FALSE(image == before);
  }
}

}  // namespace
}  // namespace quillard
