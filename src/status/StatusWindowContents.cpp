#include "status/StatusWindowContents.h"

#include <string>
#include <utility>

#include "status/PhoneRows.h"
#include "status/StatusRows.h"
#include "status/StatusTexts.h"

namespace quillard {

namespace {

constexpr TextKey kCoveredCaption =
    "This pairing has its phone, so its code is covered. Each phone gets a code of its own.";
constexpr TextKey kOfferedCaption =
    "Open the iPhone app, choose Pair Mac, and scan this code. It is for one phone, and ends after ten minutes.";

// A code is for one phone: once it has that, nobody is to photograph it.
bool isCovered(const MacStatusSnapshot& snapshot) {
  return snapshot.isPairingCodeUsed && !snapshot.isPairingOffered && snapshot.accessibilityTrusted &&
         !snapshot.pairingRevoked;
}

struct Placeholder {
  std::string symbol;
  std::string description;
};

// What stands where the code would be.
Placeholder placeholder(const MacStatusSnapshot& snapshot) {
  if (!snapshot.accessibilityTrusted) return {"figure.wave.circle.fill", snapshot.texts("Accessibility required")};
  if (isCovered(snapshot)) return {"iphone", snapshot.texts("Pairing code covered")};
  return {"qrcode", snapshot.texts("No pairing code")};
}

// The code that is for the next phone, or none.
void addCode(const MacStatusSnapshot& snapshot, StatusWindowContent& content) {
  const auto& say = snapshot.texts;
  content.pairingImage = snapshot.pairingImage;
  content.pairingCaption = snapshot.pairingCaption;
  if (snapshot.isPairingOffered && snapshot.accessibilityTrusted) {
    content.pairingImage = snapshot.offeredPairingImage;
    content.pairingCaption = say(kOfferedCaption);
    content.pairAnotherButton = ButtonContent{say("Hide Code")};
  } else if (isCovered(snapshot)) {
    content.pairingImage.reset();
    content.pairingCaption = say(kCoveredCaption);
    if (snapshot.canPairAnother) content.pairAnotherButton = ButtonContent{say("Pair Another Phone")};
    if (snapshot.relayConnected && !snapshot.isPhonePresent()) {
      content.pairingStatus = say("iPhone away");
      content.pairingDetail =
          say(snapshot.wakeablePhones > 0
                  ? TextKey("A paired iPhone is away. It is woken when a prompt waits.")
                  : TextKey("A paired iPhone receives approval alerts from this Mac as soon as its page is open."));
    }
  }
}

// While a phone is to scan the code.
void addPage(const MacStatusSnapshot& snapshot, StatusWindowContent& content) {
  const bool isAwaited = snapshot.isPairingOffered || !snapshot.isPhonePresent();
  if (!content.pairingImage || !snapshot.pageAddress || !isAwaited) return;
  const auto& say = snapshot.texts;
  content.pageCaption =
      say(snapshot.pageImage ? TextKey("%1\nOpen this page on your phone: its camera reads the small code.")
                             : TextKey("%1\nThe phone's page. This relay serves it on this computer only."),
          {*snapshot.pageAddress});
  const bool saysTheSame = content.pairingDetail == say("Open the iPhone app and scan this code.");
  if (!say.isOfMac() && saysTheSame) content.pairingDetail.clear();
  content.pageImage = snapshot.pageImage;
  content.pageDescription = say("Address of the phone's page");
}

void addPairingCard(const MacStatusSnapshot& snapshot, StatusWindowContent& content) {
  const auto& say = snapshot.texts;
  content.pairingTitle = say("iPhone Pairing");
  content.codeDescription = say("Pairing QR code");
  content.pairingDetail = StatusTexts::phoneStatusDetail(snapshot);
  content.pairingStatus = StatusTexts::pairingStatus(snapshot);
  content.pairingStatusTint = StatusTexts::pairingStatusTint(snapshot);
  auto [symbol, description] = placeholder(snapshot);
  content.placeholderSymbol = std::move(symbol);
  content.placeholderDescription = std::move(description);
  if (snapshot.installedInApplications && !snapshot.accessibilityTrusted) {
    content.pairingActionButton = ButtonContent{say("Allow Accessibility…")};
  }
  addCode(snapshot, content);
  addPage(snapshot, content);
  // The installation takes a new identity, and further pairings end.
  if (snapshot.isPhonePresent() || !snapshot.phones.empty()) {
    content.unpairPhoneButton =
        ButtonContent{say(snapshot.phones.size() > 1 ? TextKey("Unpair All Phones") : TextKey("Unpair iPhone"))};
  }
  // Further pairings stay.
  if (snapshot.installedInApplications && snapshot.pairingRevoked) {
    content.unpairPhoneButton = ButtonContent{say("Pair Anew")};
  }
  if (offersToRenewCode(snapshot)) content.pairAnotherButton = ButtonContent{say("Renew Code")};
}

}  // namespace

bool offersToRenewCode(const MacStatusSnapshot& snapshot) {
  return snapshot.installedInApplications && snapshot.relayConfigured && !snapshot.pairingRevoked &&
         !snapshot.isPairingOffered && !snapshot.isPhonePresent() && snapshot.phones.empty();
}

StatusWindowContent statusWindowContent(const MacStatusSnapshot& snapshot) {
  StatusWindowContent content;
  content.title = "Quillard";
  content.headline = StatusTexts::headline(snapshot);
  content.detail = StatusTexts::detail(snapshot);
  auto [pillText, pillColor] = StatusTexts::overallStatus(snapshot);
  content.pillText = std::move(pillText);
  content.pillColor = pillColor;
  addPairingCard(snapshot, content);
  content.installLocation = StatusRows::installLocationRow(snapshot);
  content.accessibility = StatusRows::accessibilityRow(snapshot);
  content.loginItem = StatusRows::loginItemRow(snapshot);
  content.update = StatusRows::updateRow(snapshot);
  content.notificationPause = StatusRows::notificationPauseRow(snapshot);
  content.question = StatusRows::questionRow(snapshot);
  content.phones = PhoneRows::rows(snapshot);
  content.programs = StatusRows::programsRow(snapshot);
  content.muted = StatusRows::mutedRow(snapshot);
  content.relay = StatusRows::relayRow(snapshot);
  return content;
}

}  // namespace quillard
