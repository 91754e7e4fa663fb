#include "agent/PairingCode.h"

#include <utility>

#include "relay/QRCodeRenderer.h"

namespace quillard {
namespace {

constexpr int kPixelsOfModule = 10;

}  // namespace

PairingCode::PairingCode(PairingConfiguration& pairingConfiguration) : pairingConfiguration(pairingConfiguration) {}

std::optional<PairingPayload> PairingCode::payload() {
  return pairingConfiguration.isRelayConfigured() ? pairingConfiguration.payload() : std::nullopt;
}

bool PairingCode::isAvailable() { return payload().has_value(); }

std::optional<Bitmap> PairingCode::image() {
  auto current = payload();
  if (!current) {
    forget();
    return std::nullopt;
  }
  if (current == cachedPairingQRCodePayload && cachedPairingQRCodeImage) return cachedPairingQRCodeImage;
  const auto text = pairingPayloadText(*current);
  cachedPairingQRCodePayload = std::move(current);
  cachedPairingQRCodeImage = text ? QRCodeRenderer::image(text->view(), kPixelsOfModule) : std::nullopt;
  return cachedPairingQRCodeImage;
}

void PairingCode::forget() {
  cachedPairingQRCodePayload.reset();
  cachedPairingQRCodeImage.reset();
}

}  // namespace quillard
