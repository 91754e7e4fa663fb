#include "platform/qt/window/ModuleGrid.h"

#include <cstddef>
#include <numeric>

namespace quillard::qt {
namespace {

constexpr std::uint8_t kLightest = 128;

class Pixels {
 public:
  explicit Pixels(const Bitmap& bitmap) : bitmap(bitmap) {}
  [[nodiscard]] bool isLight(int x, int y) const {
    const auto row = static_cast<std::size_t>(y) * static_cast<std::size_t>(bitmap.width);
    return bitmap.pixels[row + static_cast<std::size_t>(x)] >= kLightest;
  }

 private:
  const Bitmap& bitmap;
};

// Every place where light turns to dark lies on a border between modules, so their distance to the edges tells.
int moduleSide(const Bitmap& bitmap) {
  const Pixels pixels{bitmap};
  int side = std::gcd(bitmap.width, bitmap.height);
  for (int y = 0; y < bitmap.height && side > 1; ++y) {
    for (int x = 0; x < bitmap.width; ++x) {
      if (x > 0 && pixels.isLight(x, y) != pixels.isLight(x - 1, y)) side = std::gcd(side, x);
      if (y > 0 && pixels.isLight(x, y) != pixels.isLight(x, y - 1)) side = std::gcd(side, y);
    }
  }
  return side;
}

bool isWhole(const Bitmap& bitmap) {
  if (bitmap.width <= 0 || bitmap.height <= 0) return false;
  return bitmap.pixels.size() == static_cast<std::size_t>(bitmap.width) * static_cast<std::size_t>(bitmap.height);
}

}  // namespace

ModuleGrid moduleGrid(const Bitmap& bitmap) {
  if (!isWhole(bitmap)) return {};
  const int side = moduleSide(bitmap);
  const Pixels pixels{bitmap};
  ModuleGrid grid{.width = bitmap.width / side, .height = bitmap.height / side, .isLight = {}};
  for (int y = 0; y < grid.height; ++y) {
    for (int x = 0; x < grid.width; ++x) grid.isLight.push_back(pixels.isLight(x * side, y * side));
  }
  return grid;
}

}  // namespace quillard::qt
