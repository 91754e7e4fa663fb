#include "relay/QRCodeRenderer.h"

#include <cstddef>
#include <vector>

#include <qrcodegen.hpp>

#include "values/Secret.h"

namespace quillard::QRCodeRenderer {
namespace {

using qrcodegen::QrCode;
using qrcodegen::QrSegment;

// Of the largest code there is, version 40, in byte mode at level M.
constexpr std::size_t kMostBytes = 2331;

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

bool fits(std::span<const std::uint8_t> data) { return data.size() <= kMostBytes; }

std::optional<Bitmap> image(std::span<const std::uint8_t> data, int scale) {
  if (scale < 1 || scale > kLargestScale) return std::nullopt;
  const auto code = encoded(data);
  if (!code) return std::nullopt;
  const int modules = code->getSize() + 2 * kQuietZone;
  Bitmap bitmap{.width = modules, .height = modules, .pixels = {}};
  for (int y = 0; y < modules; ++y) {
    for (int x = 0; x < modules; ++x) {
      const bool isDark = code->getModule(x - kQuietZone, y - kQuietZone);
      bitmap.pixels.push_back(isDark ? 0 : 255);
    }
  }
  return scale == 1 ? bitmap : scaled(bitmap, scale);
}

}  // namespace quillard::QRCodeRenderer
