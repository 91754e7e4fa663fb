#include "agent/PairingCode.h"

#include <utility>

#include "relay/QRCodeRenderer.h"
#include "relay/RelayAddress.h"

namespace quillard {
namespace {

constexpr int kPixelsOfModule = 10;

}  // namespace

PairingCode::PairingCode(PairingConfiguration& pairingConfiguration) : pairingConfiguration(pairingConfiguration) {}

std::optional<PairingPayload> PairingCode::payload() {
  const auto relay = pairingConfiguration.configuredRelay();
  return relay && isAllowedRelayURL(relay->relayURL) ? pairingConfiguration.payload() : std::nullopt;
}

bool PairingCode::isAvailable() { return payload().has_value(); }

std::optional<LazyBitmap> PairingCode::image() {
  auto current = payload();
  if (!current) {
    forget();
    return std::nullopt;
  }
  if (current == cachedPairingQRCodePayload && cachedPairingQRCodeImage) return cachedPairingQRCodeImage;
  auto text = pairingPayloadText(*current);
  cachedPairingQRCodePayload = std::move(current);
  cachedPairingQRCodeImage.reset();
  if (text && QRCodeRenderer::fits(text->view())) {
    cachedPairingQRCodeImage =
        LazyBitmap{[text = *std::move(text)] { return QRCodeRenderer::image(text.view(), 1).value_or(Bitmap{}); },
                   kPixelsOfModule};
  }
  return cachedPairingQRCodeImage;
}

void PairingCode::forget() {
  cachedPairingQRCodePayload.reset();
  cachedPairingQRCodeImage.reset();
}

}  // namespace quillard
