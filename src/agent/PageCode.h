#pragma once

#include <optional>
#include <string>

#include "relay/PairingConfiguration.h"
#include "values/Images.h"

namespace quillard {

// Where phones get their page: from the relay that is configured, as an address and as a code for any camera. The code
// holds no secret. It is asked for at every refresh of the status window, so the picture is kept until the address
// changes. Main thread.
class PageCode {
 public:
  // `pairingConfiguration` outlives this.
  explicit PageCode(PairingConfiguration& pairingConfiguration) : pairingConfiguration(pairingConfiguration) {}

  // Absent without a relay whose address can be used.
  [[nodiscard]] std::optional<std::string> address();
  // Absent also where the relay is on this computer alone: a phone could not open it.
  [[nodiscard]] std::optional<LazyBitmap> image();

 private:
  PairingConfiguration& pairingConfiguration;
  std::optional<std::string> pictured;
  std::optional<LazyBitmap> picture;
};

}  // namespace quillard
