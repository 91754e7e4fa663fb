#include <gtest/gtest.h>

#include "status/StatusRows.h"
#include "status/StatusTexts.h"
#include "status/StatusWindowContents.h"
#include "support/StatusConditions.h"

namespace quillard {
namespace {

using test::expectTable;

TEST(StatusWindowContent, TakesEachTextFromWhereItIsDecided) {
  test::forEachSituation([](const test::Situation& situation) {
    const auto& snapshot = situation.snapshot;
    const auto content = statusWindowContent(snapshot);
    EXPECT_EQ(content.title, "Quillard");
    EXPECT_EQ(content.headline, StatusTexts::headline(snapshot));
    EXPECT_EQ(content.detail, StatusTexts::detail(snapshot));
    EXPECT_EQ(content.pillText, StatusTexts::overallStatus(snapshot).text);
    EXPECT_EQ(content.pillColor, StatusTexts::overallStatus(snapshot).color);
    EXPECT_EQ(content.pairingTitle, "iPhone Pairing");
    EXPECT_EQ(content.pairingDetail, StatusTexts::phoneStatusDetail(snapshot));
    EXPECT_EQ(content.pairingStatus, StatusTexts::pairingStatus(snapshot));
    EXPECT_EQ(content.pairingStatusTint, StatusTexts::pairingStatusTint(snapshot));
    EXPECT_EQ(content.installLocation, StatusRows::installLocationRow(snapshot));
    EXPECT_EQ(content.accessibility, StatusRows::accessibilityRow(snapshot));
    EXPECT_EQ(content.loginItem, StatusRows::loginItemRow(snapshot));
    EXPECT_EQ(content.update, StatusRows::updateRow(snapshot));
    EXPECT_EQ(content.notificationPause, StatusRows::notificationPauseRow(snapshot));
    EXPECT_EQ(content.programs, StatusRows::programsRow(snapshot));
  });
}

TEST(StatusWindowContent, OffersThePermissionOnceInstalledAndNotYetTrusted) {
  using Button = std::optional<ButtonContent>;
  expectTable<Button>(
      {{"It", ButtonContent{"Allow Accessibility…"}}, {"IT", std::nullopt}, {"i", std::nullopt}},
      [](const MacStatusSnapshot& snapshot) { return statusWindowContent(snapshot).pairingActionButton; });
}

TEST(StatusWindowContent, OffersToUnpairAPhoneThatIsThere) {
  using Button = std::optional<ButtonContent>;
  expectTable<Button>(
      {{"P", ButtonContent{"Unpair iPhone"}}, {"p", std::nullopt}},
      [](const MacStatusSnapshot& snapshot) { return statusWindowContent(snapshot).unpairPhoneButton; });
}

TEST(StatusWindowContent, OffersANewCodeWhereNoPhoneIsKnown) {
  using Button = std::optional<ButtonContent>;
  expectTable<Button>(
      {{"ICp", ButtonContent{"Renew Code"}}, {"P", std::nullopt}, {"ip", std::nullopt}, {"Icp", std::nullopt}},
      [](const MacStatusSnapshot& snapshot) { return statusWindowContent(snapshot).pairAnotherButton; });
}

TEST(StatusWindowContent, OffersToPairAnewWhenThePairingIsRevoked) {
  MacStatusSnapshot snapshot{.installedInApplications = true, .accessibilityTrusted = true, .pairingRevoked = true};
  EXPECT_EQ(statusWindowContent(snapshot).unpairPhoneButton, ButtonContent{"Pair Anew"});
  snapshot.installedInApplications = false;
  EXPECT_EQ(statusWindowContent(snapshot).unpairPhoneButton, std::nullopt);
}

TEST(StatusWindowContent, StandsInForACodeThatCannotBeShown) {
  const auto missingPermission = statusWindowContent({});
  EXPECT_EQ(missingPermission.pairingImage, std::nullopt);
  EXPECT_EQ(missingPermission.placeholderSymbol, "figure.wave.circle.fill");
  EXPECT_EQ(missingPermission.placeholderDescription, "Accessibility required");
  const auto notConfigured = statusWindowContent({.accessibilityTrusted = true});
  EXPECT_EQ(notConfigured.placeholderSymbol, "qrcode");
  EXPECT_EQ(notConfigured.placeholderDescription, "No pairing code");
}

TEST(StatusWindowContent, ShowsTheCodeAndItsCaption) {
  const Bitmap code{.width = 1, .height = 1, .pixels = {255}};
  const auto content =
      statusWindowContent({.accessibilityTrusted = true, .pairingImage = code, .pairingCaption = "Scan me."});
  EXPECT_EQ(content.pairingImage, code);
  EXPECT_EQ(content.pairingCaption, "Scan me.");
}

TEST(LazyBitmap, IsDrawnOnceAndOnlyWhenItIsLookedAt) {
  const Bitmap dot{.width = 1, .height = 1, .pixels = {255}};
  int drawings = 0;
  const LazyBitmap lazy{[&] {
    ++drawings;
    return dot;
  }};
  const auto copy = lazy;
  EXPECT_EQ(copy, lazy);
  EXPECT_EQ(drawings, 0);
  EXPECT_EQ(copy.bitmap(), dot);
  EXPECT_EQ(lazy.bitmap(), dot);
  EXPECT_EQ(lazy, LazyBitmap{dot});
  EXPECT_FALSE(lazy == LazyBitmap{Bitmap{}});
  EXPECT_EQ(drawings, 1);
}

}  // namespace
}  // namespace quillard
