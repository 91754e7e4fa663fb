#include "status/StatusWindowContents.h"

#include <string>
#include <utility>

#include "status/StatusRows.h"
#include "status/StatusTexts.h"

namespace quillard {

namespace {

struct Placeholder {
  std::string symbol;
  std::string description;
};

// What stands where the code would be.
Placeholder placeholder(const MacStatusSnapshot& snapshot) {
  if (!snapshot.accessibilityTrusted) return {"figure.wave.circle.fill", "Accessibility required"};
  return {"qrcode", "No pairing code"};
}

void addPairingCard(const MacStatusSnapshot& snapshot, StatusWindowContent& content) {
  content.pairingTitle = "iPhone Pairing";
  content.pairingDetail = StatusTexts::phoneStatusDetail(snapshot);
  content.pairingStatus = StatusTexts::pairingStatus(snapshot);
  content.pairingStatusTint = StatusTexts::pairingStatusTint(snapshot);
  content.pairingImage = snapshot.pairingImage;
  auto [symbol, description] = placeholder(snapshot);
  content.placeholderSymbol = std::move(symbol);
  content.placeholderDescription = std::move(description);
  content.pairingCaption = snapshot.pairingCaption;
  if (snapshot.installedInApplications && !snapshot.accessibilityTrusted) {
    content.pairingActionButton = ButtonContent{"Allow Accessibility…"};
  }
  // Both do the same: the installation takes a new identity.
  if (snapshot.isPhonePresent()) content.unpairPhoneButton = ButtonContent{"Unpair iPhone"};
  if (snapshot.installedInApplications && snapshot.pairingRevoked) {
    content.unpairPhoneButton = ButtonContent{"Pair Anew"};
  }
}

}  // namespace

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
  return content;
}

}  // namespace quillard
