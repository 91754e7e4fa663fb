#include "status/StatusTexts.h"

#include "foundation/PrintableText.h"
#include "status/AppBrand.h"

namespace quillard::StatusTexts {

namespace {

bool hasPermissions(const MacStatusSnapshot& snapshot) {
  return snapshot.accessibilityTrusted && snapshot.loginItemStatus.state == LoginItemState::enabled;
}

bool isSetUp(const MacStatusSnapshot& snapshot) { return snapshot.installedInApplications && hasPermissions(snapshot); }

}  // namespace

OverallStatus overallStatus(const MacStatusSnapshot& snapshot) {
  if (!isSetUp(snapshot)) return {snapshot.texts("Needs Setup"), AppBrand::warningPill};
  if (!snapshot.isPhonePresent()) return {snapshot.texts("iPhone Pairing Pending"), AppBrand::warningPill};
  return {snapshot.texts("All OK"), AppBrand::successPill};
}

std::string headline(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return snapshot.texts("Move to Applications");
  if (!hasPermissions(snapshot)) return snapshot.texts("Finish setup");
  if (snapshot.isPhonePresent()) return snapshot.texts("All OK");
  return snapshot.texts(snapshot.pairingRevoked ? TextKey("Pair anew") : TextKey("Pair iPhone"));
}

std::string detail(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications)
    return snapshot.texts("Run Quillard from Applications before enabling Mac permissions.");
  if (!hasPermissions(snapshot)) {
    return snapshot.texts("Allow the required Mac permissions so nudges can be detected and delivered.");
  }
  if (snapshot.isPhonePresent()) {
    return snapshot.texts("Quillard is watching quietly and will notify your iPhone when this Mac needs attention.");
  }
  if (snapshot.pairingRevoked)
    return snapshot.texts("The relay refuses this pairing. Its phones cannot be reached until you pair anew.");
  return snapshot.texts("Mac setup is ready. Pair an iPhone to receive approval alerts.");
}

std::string pairingStatus(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return snapshot.texts("Move to Applications");
  if (!snapshot.accessibilityTrusted) return snapshot.texts("Accessibility required");
  if (!snapshot.relayConfigured) return snapshot.texts("Pairing is not configured");
  if (snapshot.pairingRevoked)
    return snapshot.texts(snapshot.isOtherComputersPairing ? TextKey("Pairing refused") : TextKey("Pairing revoked"));
  if (!snapshot.relayConnected) return snapshot.texts("Connecting");
  return snapshot.texts(snapshot.isPhonePresent() ? TextKey("iPhone paired") : TextKey("Ready to scan"));
}

Tint pairingStatusTint(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications || !snapshot.accessibilityTrusted || snapshot.pairingRevoked) {
    return {AppBrand::amber};
  }
  if (snapshot.isPhonePresent()) return {AppBrand::green};
  return {};
}

std::string phoneStatusDetail(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  constexpr TextKey kSomePhone = "A paired iPhone can receive approval alerts from this Mac.";
  if (!snapshot.installedInApplications)
    return snapshot.texts("Move Quillard to Applications before pairing your iPhone.");
  if (!snapshot.relayConfigured) return snapshot.texts("Pairing settings are missing, so no QR code can be shown.");
  if (snapshot.pairingRevoked && snapshot.isOtherComputersPairing) {
    return snapshot.texts(
        "The relay knows another computer by this pairing's code: somebody else may have it. Pair anew to get a new "
        "code. Until then, Quillard asks the relay again every hour.");
  }
  if (snapshot.pairingRevoked) {
    return snapshot.texts(
        "The relay says that this pairing was revoked. Pair anew to get a new code. Until then, Quillard asks the "
        "relay again every hour.");
  }
  if (!snapshot.relayConnected) return snapshot.texts("Quillard is connecting in the background.");
  if (!snapshot.accessibilityTrusted) {
    return snapshot.texts("Turn on Accessibility on this Mac. Until then, paired iPhones will not receive dialogs.");
  }
  if (!snapshot.connectedPhones.empty()) {
    // The relay's word for it: shown as one line of bounded length, whatever it holds.
    return say("%1 can receive approval alerts from this Mac.",
               {printableName(snapshot.connectedPhones.front().deviceName)});
  }
  if (snapshot.phoneConnected) return say(kSomePhone);
  if (snapshot.phoneCount < 1) return snapshot.texts("Open the iPhone app and scan this code.");
  return say(kSomePhone);
}

std::string pairingCaption(bool accessibilityTrusted, bool hasPayload, const UserTexts& say) {
  if (!accessibilityTrusted) {
    return say(
        "Allow Accessibility in System Settings. The pairing code appears after Quillard can detect Mac prompts.");
  }
  if (hasPayload) return say("Open the iPhone app, choose Pair Mac, and scan this code.");
  return say(
      "Pairing is not configured for this launch. Add pairing settings before packaging Quillard to show a QR code.");
}

std::string revokedPairingCaption(bool isOtherComputersPairing, const UserTexts& say) {
  return say(isOtherComputersPairing ? TextKey("The code of a refused pairing is not shown.")
                                     : TextKey("The code of a revoked pairing is not shown."));
}

std::optional<std::string> scanProblemDetail(const MacStatusSnapshot& snapshot) {
  using platform::DesktopReadFailure;
  const auto& problem = snapshot.scanProblem;
  if (problem.failure) {
    switch (*problem.failure) {
      case DesktopReadFailure::notPermitted:
      case DesktopReadFailure::accessibilityService:
        return snapshot.texts("Accessibility does not answer. Looking again.");
      case DesktopReadFailure::applicationList:
        return snapshot.texts("Cannot tell which apps run. Looking again.");
      case DesktopReadFailure::windowServer:
        return snapshot.texts("The display does not answer. Looking again.");
    }
  }
  if (problem.unreadProgramCount == 0) return std::nullopt;
  if (problem.unreadProgramCount == 1) return snapshot.texts("1 app does not answer. Its dialogs may be missed.");
  return snapshot.texts("%1 apps do not answer. Their dialogs may be missed.",
                        {std::to_string(problem.unreadProgramCount)});
}

std::string notificationPauseDetail(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return snapshot.texts("Move to Applications first.");
  if (!snapshot.relayConfigured) return snapshot.texts("Pair an iPhone before pausing alerts.");
  if (snapshot.pairingRevoked) return snapshot.texts("Pair anew before pausing alerts.");
  if (!snapshot.relayConnected) return snapshot.texts("Connecting to relay.");
  if (!snapshot.accessibilityTrusted) return snapshot.texts("Turn on Accessibility first.");
  // A Mac's words are the same for a phone that sleeps.
  const bool isAsleep = snapshot.wakeablePhones > 0 && !snapshot.texts.isOfMac();
  if (!snapshot.isPhonePresent() && !isAsleep) return snapshot.texts("Pair an iPhone to receive alerts.");
  if (snapshot.notificationPause.pausesIndefinitely) return snapshot.texts("Paused until you resume.");
  if (snapshot.notificationPause.pausedUntil) return snapshot.texts("Alerts will resume automatically.");
  return snapshot.texts("Pause while handling prompts locally.");
}

}  // namespace quillard::StatusTexts
