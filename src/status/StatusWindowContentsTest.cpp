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

// ---- Where the phone's page is

MacStatusSnapshot readyToScan(Machine machine) {
  return {.texts = {machine, Language::english},
          .installedInApplications = true,
          .accessibilityTrusted = true,
          .relayConfigured = true,
          .relayConnected = true,
          .pairingImage = Bitmap{},
          .pageAddress = "https://relay.example",
          .pageImage = Bitmap{}};
}

TEST(StatusWindowContent, SaysWhereThePageIsBesideTheCode) {
  const auto content = statusWindowContent(readyToScan(Machine::computer));
  EXPECT_EQ(content.pageCaption,
            "https://relay.example\nOpen this page on your phone: its camera reads the small code.");
  EXPECT_TRUE(content.pageImage.has_value());
  EXPECT_EQ(content.pairingDetail, "") << "It would say the same again.";
  EXPECT_EQ(statusWindowContent(readyToScan(Machine::mac)).pairingDetail, "Open the iPhone app and scan this code.");
}

TEST(StatusWindowContent, ShowsNoCodeForACameraWhereThePhoneCouldNotOpenThePage) {
  auto snapshot = readyToScan(Machine::computer);
  snapshot.pageImage.reset();
  const auto content = statusWindowContent(snapshot);
  EXPECT_EQ(content.pageCaption,
            "https://relay.example\nThe phone's page. This relay serves it on this computer only.");
  EXPECT_FALSE(content.pageImage.has_value());
}

TEST(StatusWindowContent, SaysNothingOfThePageWhileNoPhoneIsToScanTheCode) {
  auto paired = readyToScan(Machine::computer);
  paired.phoneCount = 1;
  EXPECT_EQ(statusWindowContent(paired).pageCaption, "");
  auto withoutCode = readyToScan(Machine::computer);
  withoutCode.pairingImage.reset();
  EXPECT_EQ(statusWindowContent(withoutCode).pageCaption, "");
  auto withoutRelay = readyToScan(Machine::computer);
  withoutRelay.pageAddress.reset();
  EXPECT_EQ(statusWindowContent(withoutRelay).pageCaption, "");
}

TEST(StatusWindowContent, SaysOfAPhoneThatIsAwayWhetherItIsWoken) {
  const auto detail = [](Machine machine, Language language, std::size_t wakeable) {
    auto snapshot = readyToScan(machine);
    snapshot.texts = {machine, language};
    snapshot.isPairingCodeUsed = true;
    snapshot.phones = {{}};
    snapshot.wakeablePhones = wakeable;
    return statusWindowContent(snapshot).pairingDetail;
  };
  EXPECT_EQ(detail(Machine::computer, Language::english, 0),
            "A paired phone receives the prompts of this computer as soon as its page is open.");
  EXPECT_EQ(detail(Machine::computer, Language::english, 1),
            "A paired phone is away. It is woken when a prompt waits.");
  EXPECT_EQ(detail(Machine::computer, Language::german, 1),
            "Ein gekoppeltes Telefon ist abwesend. Es wird geweckt, wenn eine Rückfrage wartet.");
  EXPECT_EQ(detail(Machine::mac, Language::english, 1), "A paired iPhone is away. It is woken when a prompt waits.");
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
  const Bitmap dots{.width = 2, .height = 1, .pixels = {255, 0}};
  int drawings = 0;
  const LazyBitmap lazy{[&] {
                          ++drawings;
                          return dots;
                        },
                        2};
  const auto copy = lazy;
  EXPECT_EQ(copy, lazy);
  EXPECT_EQ(drawings, 0);
  EXPECT_EQ(copy.squares(), dots);
  const Bitmap large{.width = 4, .height = 2, .pixels = {255, 255, 0, 0, 255, 255, 0, 0}};
  EXPECT_EQ(lazy.bitmap(), large);
  EXPECT_EQ(lazy, LazyBitmap{large});
  EXPECT_FALSE(lazy == LazyBitmap{dots});
  EXPECT_FALSE(lazy == LazyBitmap{Bitmap{}});
  EXPECT_EQ(drawings, 1);
}

}  // namespace
}  // namespace quillard
