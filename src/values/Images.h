#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

#include "values/Geometry.h"

namespace quillard {

// Device-independent components from 0 to 1.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
  bool operator==(const Color&) const = default;
};

// A black and white picture, one byte a pixel (0 black, 255 white), rows from the top, shown without smoothing.
struct Bitmap {
  int width = 0;  // Pixels, and points: one each.
  int height = 0;
  std::vector<std::uint8_t> pixels;  // width * height of them.
  bool operator==(const Bitmap&) const = default;
};

// Each of its pixels as a square of `scale` by `scale`, which is 1 or more.
[[nodiscard]] inline Bitmap scaled(const Bitmap& bitmap, int scale) {
  Bitmap large{.width = bitmap.width * scale, .height = bitmap.height * scale, .pixels = {}};
  for (int y = 0; y < large.height; ++y) {
    const auto row = static_cast<std::size_t>(y / scale) * static_cast<std::size_t>(bitmap.width);
    for (int x = 0; x < large.width; ++x) {
      large.pixels.push_back(bitmap.pixels[row + static_cast<std::size_t>(x / scale)]);
    }
  }
  return large;
}

// A bitmap of equal squares. They are drawn, one pixel each, when they are first looked at, and shared by all copies:
// the bitmap is handed on much more often than it is shown. As large as it is, it takes hundreds of kilobytes, and is
// not kept. Used on one thread.
class LazyBitmap {
 public:
  // `draw`: one pixel a square. It is called once at most, and goes afterwards. `scale`: the side of a square in
  // pixels.
  explicit LazyBitmap(std::function<Bitmap()> draw, int scale = 1)
      : picture(std::make_shared<Picture>(Picture{std::move(draw), {}})), scale(scale) {}
  // NOLINTNEXTLINE(google-explicit-constructor): what is drawn already serves wherever a picture is wanted.
  LazyBitmap(Bitmap drawn) : picture(std::make_shared<Picture>(Picture{nullptr, std::move(drawn)})) {}

  [[nodiscard]] const Bitmap& squares() const {
    if (const auto draw = std::exchange(picture->draw, nullptr)) picture->drawn = draw();
    return picture->drawn;
  }
  [[nodiscard]] Bitmap bitmap() const { return scaled(squares(), scale); }

  // Copies are equal without being drawn.
  bool operator==(const LazyBitmap& other) const {
    if (scale != other.scale) return bitmap() == other.bitmap();
    return picture == other.picture || squares() == other.squares();
  }

 private:
  struct Picture {
    std::function<Bitmap()> draw;
    Bitmap drawn;
  };
  std::shared_ptr<Picture> picture;
  int scale = 1;
};

// Drawing steps in points, origin at the BOTTOM left, y growing upwards: the one place that differs from the screen.
struct RoundedRectStep {
  Rect rect;
  double radius = 0;
  double lineWidth = 0;
  bool operator==(const RoundedRectStep&) const = default;
};
struct OvalStep {
  Rect rect;
  double lineWidth = 0;  // 0: filled, not stroked.
  bool operator==(const OvalStep&) const = default;
};
struct PolylineStep {
  std::vector<Point> points;
  double lineWidth = 0;
  bool roundCapsAndJoins = false;
  bool operator==(const PolylineStep&) const = default;
};
struct ArcStep {
  Point center;
  double radius = 0;
  double startDegrees = 0;  // Counter-clockwise from the x axis, to `endDegrees`.
  double endDegrees = 0;
  double lineWidth = 0;
  bool roundCaps = false;
  bool operator==(const ArcStep&) const = default;
};

// A picture in one colour, which the system chooses to suit the bar it stands in.
struct TemplateImage {
  Size size;
  std::vector<std::variant<RoundedRectStep, OvalStep, PolylineStep, ArcStep>> steps;
  bool operator==(const TemplateImage&) const = default;
};

}  // namespace quillard
