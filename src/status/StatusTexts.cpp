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
  if (!isSetUp(snapshot)) return {"Needs Setup", AppBrand::warningPill};
  if (!snapshot.isPhonePresent()) return {"iPhone Pairing Pending", AppBrand::warningPill};
  return {"All OK", AppBrand::successPill};
}

std::string headline(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return "Move to Applications";
  if (!hasPermissions(snapshot)) return "Finish setup";
  if (snapshot.isPhonePresent()) return "All OK";
  return snapshot.pairingRevoked ? "Pair anew" : "Pair iPhone";
}

std::string detail(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return "Run Quillard from Applications before enabling Mac permissions.";
  if (!hasPermissions(snapshot)) {
    return "Allow the required Mac permissions so nudges can be detected and delivered.";
  }
  if (snapshot.isPhonePresent()) {
    return "Quillard is watching quietly and will notify your iPhone when this Mac needs attention.";
  }
  if (snapshot.pairingRevoked)
    return "The relay refuses this pairing. Its phones cannot be reached until you pair anew.";
  return "Mac setup is ready. Pair an iPhone to receive approval alerts.";
}

std::string pairingStatus(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return "Move to Applications";
  if (!snapshot.accessibilityTrusted) return "Accessibility required";
  if (!snapshot.relayConfigured) return "Pairing is not configured";
  if (snapshot.pairingRevoked) return snapshot.isOtherComputersPairing ? "Pairing refused" : "Pairing revoked";
  if (!snapshot.relayConnected) return "Connecting";
  return snapshot.isPhonePresent() ? "iPhone paired" : "Ready to scan";
}

Tint pairingStatusTint(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications || !snapshot.accessibilityTrusted || snapshot.pairingRevoked) {
    return {AppBrand::amber};
  }
  if (snapshot.isPhonePresent()) return {AppBrand::green};
  return {};
}

std::string phoneStatusDetail(const MacStatusSnapshot& snapshot) {
  static constexpr const char* kSomePhone = "A paired iPhone can receive approval alerts from this Mac.";
  if (!snapshot.installedInApplications) return "Move Quillard to Applications before pairing your iPhone.";
  if (!snapshot.relayConfigured) return "Pairing settings are missing, so no QR code can be shown.";
  if (snapshot.pairingRevoked && snapshot.isOtherComputersPairing) {
    return "The relay knows another computer by this pairing's code: somebody else may have it. Pair anew to get a new "
           "code. Until then, Quillard asks the relay again every hour.";
  }
  if (snapshot.pairingRevoked) {
    return "The relay says that this pairing was revoked. Pair anew to get a new code. Until then, Quillard asks the "
           "relay again every hour.";
  }
  if (!snapshot.relayConnected) return "Quillard is connecting in the background.";
  if (!snapshot.accessibilityTrusted) {
    return "Turn on Accessibility on this Mac. Until then, paired iPhones will not receive dialogs.";
  }
  if (!snapshot.connectedPhones.empty()) {
    // The relay's word for it: shown as one line of bounded length, whatever it holds.
    return printableName(snapshot.connectedPhones.front().deviceName) + " can receive approval alerts from this Mac.";
  }
  if (snapshot.phoneConnected) return kSomePhone;
  if (snapshot.phoneCount < 1) return "Open the iPhone app and scan this code.";
  return kSomePhone;
}

std::string pairingCaption(bool accessibilityTrusted, bool hasPayload) {
  if (!accessibilityTrusted) {
    return "Allow Accessibility in System Settings. The pairing code appears after Quillard can detect Mac prompts.";
  }
  if (hasPayload) return "Open the iPhone app, choose Pair Mac, and scan this code.";
  return "Pairing is not configured for this launch. Add pairing settings before packaging Quillard to show a QR code.";
}

std::string revokedPairingCaption(bool isOtherComputersPairing) {
  return isOtherComputersPairing ? "The code of a refused pairing is not shown."
                                 : "The code of a revoked pairing is not shown.";
}

std::optional<std::string> scanProblemDetail(const MacStatusSnapshot& snapshot) {
  using platform::DesktopReadFailure;
  const auto& problem = snapshot.scanProblem;
  if (problem.failure) {
    switch (*problem.failure) {
      case DesktopReadFailure::notPermitted:
      case DesktopReadFailure::accessibilityService:
        return "Accessibility does not answer. Looking again.";
      case DesktopReadFailure::applicationList:
        return "Cannot tell which apps run. Looking again.";
      case DesktopReadFailure::windowServer:
        return "The display does not answer. Looking again.";
    }
  }
  if (problem.unreadProgramCount == 0) return std::nullopt;
  if (problem.unreadProgramCount == 1) return "1 app does not answer. Its dialogs may be missed.";
  return std::to_string(problem.unreadProgramCount) + " apps do not answer. Their dialogs may be missed.";
}

std::string notificationPauseDetail(const MacStatusSnapshot& snapshot) {
  if (!snapshot.installedInApplications) return "Move to Applications first.";
  if (!snapshot.relayConfigured) return "Pair an iPhone before pausing alerts.";
  if (snapshot.pairingRevoked) return "Pair anew before pausing alerts.";
  if (!snapshot.relayConnected) return "Connecting to relay.";
  if (!snapshot.accessibilityTrusted) return "Turn on Accessibility first.";
  if (!snapshot.isPhonePresent()) return "Pair an iPhone to receive alerts.";
  if (snapshot.notificationPause.pausesIndefinitely) return "Paused until you resume.";
  if (snapshot.notificationPause.pausedUntil) return "Alerts will resume automatically.";
  return "Pause while handling prompts locally.";
}

}  // namespace quillard::StatusTexts
