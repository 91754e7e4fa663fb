#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "values/Images.h"

namespace quillard::QRCodeRenderer {

// The light margin that the code's standard asks for, in modules.
inline constexpr int kQuietZone = 4;
inline constexpr int kLargestScale = 100;

// Whether the data fits a code: 2,331 bytes do.
[[nodiscard]] bool fits(std::span<const std::uint8_t> data);

// A QR code of `data` in byte mode, error-correction level M, quiet zone included: each module is a square of `scale`
// pixels. Absent when the data does not fit a code, or `scale` is not between 1 and `kLargestScale`.
[[nodiscard]] std::optional<Bitmap> image(std::span<const std::uint8_t> data, int scale);

}  // namespace quillard::QRCodeRenderer
