#include "relay/QRCodeRenderer.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include <qrcodegen.hpp>

#include "values/Secret.h"

namespace quillard::QRCodeRenderer {
namespace {

using qrcodegen::QrCode;
using qrcodegen::QrSegment;

std::optional<QrCode> encoded(std::span<const std::uint8_t> data) {
  std::vector<std::uint8_t> bytes(data.begin(), data.end());
  const std::vector<QrSegment> segments{QrSegment::makeBytes(bytes)};
  wipe(bytes);  // Pairing codes carry secrets.
  try {
    constexpr int kAnyMask = -1;
    return QrCode::encodeSegments(segments, QrCode::Ecc::MEDIUM, QrCode::MIN_VERSION, QrCode::MAX_VERSION, kAnyMask,
                                  /*boostEcl=*/false);
  } catch (const qrcodegen::data_too_long&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<Bitmap> image(std::span<const std::uint8_t> data, int scale) {
  if (scale < 1 || scale > kLargestScale) return std::nullopt;
  const auto code = encoded(data);
  if (!code) return std::nullopt;
  const int side = (code->getSize() + 2 * kQuietZone) * scale;
  Bitmap bitmap{.width = side, .height = side, .pixels = {}};
  bitmap.pixels.reserve(static_cast<std::size_t>(side) * static_cast<std::size_t>(side));
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const bool isDark = code->getModule(x / scale - kQuietZone, y / scale - kQuietZone);
      bitmap.pixels.push_back(isDark ? 0 : 255);
    }
  }
  return bitmap;
}

}  // namespace quillard::QRCodeRenderer
