#include "agent/PageCode.h"

#include <cstdint>
#include <span>

#include "foundation/UrlComponents.h"
#include "relay/QRCodeRenderer.h"

namespace quillard {
namespace {

constexpr int kPixelsPerModule = 4;

std::span<const std::uint8_t> bytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

bool isOnThisComputer(const std::string& address) {
  const auto components = UrlComponents::parse(address);
  return !components || !components->host || isThisComputer(*components->host);
}

}  // namespace

std::optional<std::string> PageCode::address() {
  const auto relay = pairingConfiguration.isRelayConfigured() ? pairingConfiguration.configuredRelay() : std::nullopt;
  return relay ? PairingConfiguration::backendBaseURL(relay->relayURL) : std::nullopt;
}

std::optional<LazyBitmap> PageCode::image() {
  const auto now = address();
  if (!now || isOnThisComputer(*now) || !QRCodeRenderer::fits(bytesOf(*now))) return std::nullopt;
  if (pictured == now) return picture;
  pictured = now;
  picture = LazyBitmap{[text = *now] { return QRCodeRenderer::image(bytesOf(text), 1).value_or(Bitmap{}); },
                       kPixelsPerModule};
  return picture;
}

}  // namespace quillard
