#pragma once

#include <optional>

#include "relay/PairingConfiguration.h"
#include "relay/PairingPayload.h"
#include "values/Images.h"

namespace quillard {

// The code that a phone scans to pair, as a picture. It is asked for at every refresh of the status window, so the
// picture is kept until what it says changes, and drawn when a window shows it. Main thread.
class PairingCode {
 public:
  // `pairingConfiguration` outlives this.
  explicit PairingCode(PairingConfiguration& pairingConfiguration);

  // Whether there is anything to pair with. Makes the installation's identity when there is a relay and none was made
  // yet; reads nothing of it where there is no relay, or one whose address the agent refuses, so that no phone sends it
  // what it must not have.
  [[nodiscard]] bool isAvailable();
  // Absent where there is nothing to pair with, or the text does not fit a code.
  [[nodiscard]] std::optional<LazyBitmap> image();

  // Wipes what the last picture said.
  void forget();

 private:
  [[nodiscard]] std::optional<PairingPayload> payload();

  PairingConfiguration& pairingConfiguration;
  std::optional<PairingPayload> cachedPairingQRCodePayload;
  std::optional<LazyBitmap> cachedPairingQRCodeImage;
};

}  // namespace quillard
