#include "status/FallbackSnapshot.h"

#include <utility>

namespace quillard {

MacStatusSnapshot fallbackSnapshot(bool installedInApplications, bool accessibilityTrusted,
                                   LoginItemStatus loginItemStatus, bool relayConfigured, const UserTexts& say) {
  return {.texts = say,
          .installedInApplications = installedInApplications,
          .accessibilityTrusted = accessibilityTrusted,
          .loginItemStatus = std::move(loginItemStatus),
          .relayConfigured = relayConfigured,
          .pairingCaption = say("Start Quillard to see pairing details.")};
}

}  // namespace quillard
