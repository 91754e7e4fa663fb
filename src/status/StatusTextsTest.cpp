#include <gtest/gtest.h>

#include "status/AppBrand.h"
#include "status/FallbackSnapshot.h"
#include "status/StatusTexts.h"
#include "support/StatusConditions.h"

namespace quillard {
namespace {

using test::expectTable;
using Texts = std::vector<test::Row<std::string>>;

// The tables name every condition that an answer depends on, so that no row stands on the order of the rows.

TEST(StatusTexts, OverallStatusAsksForTheWholeSetupAndThenForAPhone) {
  using StatusTexts::OverallStatus;
  const OverallStatus ok{"All OK", AppBrand::successPill};
  const OverallStatus pending{"iPhone Pairing Pending", AppBrand::warningPill};
  const OverallStatus setup{"Needs Setup", AppBrand::warningPill};
  expectTable<OverallStatus>({{"ITEP", ok}, {"ITEp", pending}, {"i", setup}, {"It", setup}, {"ITe", setup}},
                             StatusTexts::overallStatus);
}

TEST(StatusTexts, HeadlineNamesTheNextStep) {
  expectTable<std::string>(Texts{{"i", "Move to Applications"},
                                 {"It", "Finish setup"},
                                 {"ITe", "Finish setup"},
                                 {"ITEP", "All OK"},
                                 {"ITEp", "Pair iPhone"}},
                           StatusTexts::headline);
}

TEST(StatusTexts, DetailExplainsTheNextStep) {
  const std::string permissions = "Allow the required Mac permissions so nudges can be detected and delivered.";
  expectTable<std::string>(
      Texts{{"i", "Run Quillard from Applications before enabling Mac permissions."},
            {"It", permissions},
            {"ITe", permissions},
            {"ITEP", "Quillard is watching quietly and will notify your iPhone when this Mac needs attention."},
            {"ITEp", "Mac setup is ready. Pair an iPhone to receive approval alerts."}},
      StatusTexts::detail);
}

TEST(StatusTexts, PairingStatusAsksForThePermissionBeforeTheRelay) {
  expectTable<std::string>(Texts{{"i", "Move to Applications"},
                                 {"It", "Accessibility required"},
                                 {"ITc", "Pairing is not configured"},
                                 {"ITCr", "Connecting"},
                                 {"ITCRP", "iPhone paired"},
                                 {"ITCRp", "Ready to scan"}},
                           StatusTexts::pairingStatus);
}

TEST(StatusTexts, PairingStatusIsGreenWithAPhoneAndAmberBeforeItCanBePaired) {
  const Tint green{AppBrand::green};
  const Tint amber{AppBrand::amber};
  const Tint secondary{std::nullopt};
  expectTable<Tint>({{"i", amber}, {"It", amber}, {"ITP", green}, {"ITp", secondary}}, StatusTexts::pairingStatusTint);
}

TEST(StatusTexts, PhoneStatusDetailAsksForTheRelayBeforeThePermission) {
  const std::string some = "A paired iPhone can receive approval alerts from this Mac.";
  const auto withName = [](const MacStatusSnapshot& snapshot) {
    // Which of the two lists it was is no condition of the table.
    const bool isBobFirst = snapshot.connectedPhones.size() == 2;
    const std::string text = StatusTexts::phoneStatusDetail(snapshot);
    return isBobFirst && text == "Bob's iPhone can receive approval alerts from this Mac."
               ? "Ann's iPhone can receive approval alerts from this Mac."
               : text;
  };
  expectTable<std::string>(
      Texts{{"i", "Move Quillard to Applications before pairing your iPhone."},
            {"Ic", "Pairing settings are missing, so no QR code can be shown."},
            {"ICr", "Quillard is connecting in the background."},
            {"ICRt", "Turn on Accessibility on this Mac. Until then, paired iPhones will not receive dialogs."},
            {"ICRTL", "Ann's iPhone can receive approval alerts from this Mac."},
            {"ICRTlF", some},
            {"ICRTlfN", some},
            {"ICRTlfn", "Open the iPhone app and scan this code."}},
      withName);
}

TEST(StatusTexts, NotificationPauseDetailSaysWhatIsMissingBeforeWhatIsPaused) {
  expectTable<std::string>(Texts{{"i", "Move to Applications first."},
                                 {"Ic", "Pair an iPhone before pausing alerts."},
                                 {"ICr", "Connecting to relay."},
                                 {"ICRt", "Turn on Accessibility first."},
                                 {"ICRTp", "Pair an iPhone to receive alerts."},
                                 {"ICRTPX", "Paused until you resume."},
                                 {"ICRTPxU", "Alerts will resume automatically."},
                                 {"ICRTPxu", "Pause while handling prompts locally."}},
                           StatusTexts::notificationPauseDetail);
}

MacStatusSnapshot readySnapshot() {
  return {.installedInApplications = true,
          .accessibilityTrusted = true,
          .loginItemStatus = {LoginItemState::enabled, ""},
          .relayConfigured = true,
          .relayConnected = true};
}

TEST(StatusTexts, ALoginItemThatWaitsForApprovalIsUnfinishedSetup) {
  auto snapshot = readySnapshot();
  snapshot.loginItemStatus = {LoginItemState::requiresApproval, ""};
  snapshot.phoneConnected = true;
  EXPECT_EQ(StatusTexts::overallStatus(snapshot).text, "Needs Setup");
  EXPECT_EQ(StatusTexts::headline(snapshot), "Finish setup");
}

TEST(StatusTexts, AListedPhoneIsThereWhateverTheCountSays) {
  auto snapshot = readySnapshot();
  snapshot.connectedPhones = {{.deviceID = "1", .deviceName = "Ann's iPhone"}};
  EXPECT_EQ(StatusTexts::overallStatus(snapshot).text, "All OK");
  EXPECT_EQ(StatusTexts::headline(snapshot), "All OK");
  EXPECT_EQ(StatusTexts::phoneStatusDetail(snapshot), "Ann's iPhone can receive approval alerts from this Mac.");
}

TEST(StatusTexts, TheTwoTextsOfThePairingCardLookAtDifferentThingsFirst) {
  auto snapshot = readySnapshot();
  snapshot.relayConnected = false;
  snapshot.accessibilityTrusted = false;
  EXPECT_EQ(StatusTexts::phoneStatusDetail(snapshot), "Quillard is connecting in the background.");
  EXPECT_EQ(StatusTexts::pairingStatus(snapshot), "Accessibility required");
}

TEST(StatusTexts, ARevokedPairingIsNamedInsteadOfAConnectionThatIsNotTried) {
  auto snapshot = readySnapshot();
  snapshot.relayConnected = false;
  snapshot.pairingRevoked = true;
  EXPECT_EQ(StatusTexts::pairingStatus(snapshot), "Pairing revoked");
  EXPECT_EQ(StatusTexts::pairingStatusTint(snapshot), Tint{AppBrand::amber});
  EXPECT_EQ(StatusTexts::phoneStatusDetail(snapshot),
            "The relay says that this pairing was revoked. Pair anew to get a new code. Until then, Quillard asks the "
            "relay again every hour.");
  EXPECT_EQ(StatusTexts::notificationPauseDetail(snapshot), "Pair anew before pausing alerts.");
  snapshot.accessibilityTrusted = false;
  EXPECT_EQ(StatusTexts::pairingStatus(snapshot), "Accessibility required");
  snapshot.relayConfigured = false;
  EXPECT_EQ(StatusTexts::phoneStatusDetail(snapshot), "Pairing settings are missing, so no QR code can be shown.");
}

TEST(StatusTexts, APairingThatIsRefusedIsToBePairedAnewUnlessAnotherPhoneIsThere) {
  MacStatusSnapshot snapshot{.installedInApplications = true, .accessibilityTrusted = true, .relayConfigured = true};
  snapshot.loginItemStatus.state = LoginItemState::enabled;
  snapshot.pairingRevoked = true;
  EXPECT_EQ(StatusTexts::headline(snapshot), "Pair anew");
  EXPECT_EQ(StatusTexts::detail(snapshot),
            "The relay refuses this pairing. Its phones cannot be reached until you pair anew.");
  snapshot.phoneCount = 1;
  EXPECT_EQ(StatusTexts::headline(snapshot), "All OK") << "One of another pairing.";
}

TEST(StatusTexts, APairingWithAnotherComputersKeyIsNotCalledRevoked) {
  MacStatusSnapshot snapshot{.installedInApplications = true, .accessibilityTrusted = true, .relayConfigured = true};
  snapshot.pairingRevoked = true;
  snapshot.isOtherComputersPairing = true;
  EXPECT_EQ(StatusTexts::pairingStatus(snapshot), "Pairing refused");
  EXPECT_EQ(
      StatusTexts::phoneStatusDetail(snapshot),
      "The relay knows another computer by this pairing's code: somebody else may have it. Pair anew to get a new "
      "code. Until then, Quillard asks the relay again every hour.");
  EXPECT_EQ(StatusTexts::revokedPairingCaption(true), "The code of a refused pairing is not shown.");
}

TEST(StatusTexts, TheFirstPhoneIsNamed) {
  auto snapshot = readySnapshot();
  snapshot.connectedPhones = {{.deviceID = "2", .deviceName = "Bob\xE2\x80\x99s iPhone"},
                              {.deviceID = "1", .deviceName = "Ann's iPhone"}};
  EXPECT_EQ(StatusTexts::phoneStatusDetail(snapshot),
            "Bob\xE2\x80\x99s iPhone can receive approval alerts from this Mac.");
}

TEST(StatusTexts, ANameFromTheRelayCannotDisturbTheCard) {
  auto snapshot = readySnapshot();
  snapshot.connectedPhones = {{.deviceID = "1", .deviceName = "A\nB\xE2\x80\xAE\x01" + std::string(100'000, 'c')}};
  const auto text = StatusTexts::phoneStatusDetail(snapshot);
  EXPECT_EQ(text.substr(0, 6), "A?B??c");
  EXPECT_LT(text.size(), 300U);
  EXPECT_TRUE(text.ends_with("... can receive approval alerts from this Mac."));
}

TEST(StatusTexts, TheCaptionAsksForThePermissionBeforeItSpeaksOfACode) {
  const std::string permission =
      "Allow Accessibility in System Settings. The pairing code appears after Quillard can detect Mac prompts.";
  EXPECT_EQ(StatusTexts::pairingCaption(false, false), permission);
  EXPECT_EQ(StatusTexts::pairingCaption(false, true), permission);
  EXPECT_EQ(StatusTexts::pairingCaption(true, true), "Open the iPhone app, choose Pair Mac, and scan this code.");
  EXPECT_EQ(StatusTexts::pairingCaption(true, false),
            "Pairing is not configured for this launch. Add pairing settings before packaging Quillard to show a QR "
            "code.");
}

TEST(FallbackSnapshot, KnowsOnlyWhatCanBeToldWithoutTheAgent) {
  for (unsigned bits = 0; bits < 8; ++bits) {
    const bool isInstalled = (bits & 1U) != 0;
    const bool isTrusted = (bits & 2U) != 0;
    const bool isConfigured = (bits & 4U) != 0;
    const auto login = LoginItemStatus::unavailable("Because.");
    const auto snapshot = fallbackSnapshot(isInstalled, isTrusted, login, isConfigured);
    EXPECT_EQ(snapshot.installedInApplications, isInstalled);
    EXPECT_EQ(snapshot.accessibilityTrusted, isTrusted);
    EXPECT_EQ(snapshot.loginItemStatus, login);
    EXPECT_EQ(snapshot.relayConfigured, isConfigured);
    EXPECT_FALSE(snapshot.relayConnected);
    EXPECT_FALSE(snapshot.isPhonePresent());
    EXPECT_EQ(snapshot.phoneCount, 0);
    EXPECT_FALSE(snapshot.notificationPause.isPaused());
    EXPECT_EQ(snapshot.pendingApprovalCount, 0);
    EXPECT_EQ(snapshot.pairingImage, std::nullopt);
    EXPECT_EQ(snapshot.pairingCaption, "Start Quillard to see pairing details.");
    EXPECT_EQ(snapshot.updateAvailability, UpdateAvailabilitySnapshot{});
  }
}

}  // namespace
}  // namespace quillard
