#include "status/StatusWindowContents.h"

#include <string>
#include <utility>

#include "status/PhoneRows.h"
#include "status/StatusRows.h"
#include "status/StatusTexts.h"

namespace quillard {

namespace {

constexpr const char* kCoveredCaption =
    "This pairing has its phone, so its code is covered. Each phone gets a code of its own.";
constexpr const char* kOfferedCaption =
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
  if (!snapshot.accessibilityTrusted) return {"figure.wave.circle.fill", "Accessibility required"};
  if (isCovered(snapshot)) return {"iphone", "Pairing code covered"};
  return {"qrcode", "No pairing code"};
}

// The code that is for the next phone, or none.
void addCode(const MacStatusSnapshot& snapshot, StatusWindowContent& content) {
  content.pairingImage = snapshot.pairingImage;
  content.pairingCaption = snapshot.pairingCaption;
  if (snapshot.isPairingOffered && snapshot.accessibilityTrusted) {
    content.pairingImage = snapshot.offeredPairingImage;
    content.pairingCaption = kOfferedCaption;
    content.pairAnotherButton = ButtonContent{"Hide Code"};
  } else if (isCovered(snapshot)) {
    content.pairingImage.reset();
    content.pairingCaption = kCoveredCaption;
    if (snapshot.canPairAnother) content.pairAnotherButton = ButtonContent{"Pair Another Phone"};
    if (snapshot.relayConnected && !snapshot.isPhonePresent()) {
      content.pairingStatus = "iPhone away";
      content.pairingDetail = "A paired iPhone receives approval alerts from this Mac as soon as its page is open.";
    }
  }
}

void addPairingCard(const MacStatusSnapshot& snapshot, StatusWindowContent& content) {
  content.pairingTitle = "iPhone Pairing";
  content.pairingDetail = StatusTexts::phoneStatusDetail(snapshot);
  content.pairingStatus = StatusTexts::pairingStatus(snapshot);
  content.pairingStatusTint = StatusTexts::pairingStatusTint(snapshot);
  auto [symbol, description] = placeholder(snapshot);
  content.placeholderSymbol = std::move(symbol);
  content.placeholderDescription = std::move(description);
  if (snapshot.installedInApplications && !snapshot.accessibilityTrusted) {
    content.pairingActionButton = ButtonContent{"Allow Accessibility…"};
  }
  addCode(snapshot, content);
  // The installation takes a new identity, and further pairings end.
  if (snapshot.isPhonePresent() || !snapshot.phones.empty()) {
    content.unpairPhoneButton = ButtonContent{snapshot.phones.size() > 1 ? "Unpair All Phones" : "Unpair iPhone"};
  }
  // Further pairings stay.
  if (snapshot.installedInApplications && snapshot.pairingRevoked) {
    content.unpairPhoneButton = ButtonContent{"Pair Anew"};
  }
  if (offersToRenewCode(snapshot)) content.pairAnotherButton = ButtonContent{"Renew Code"};
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
