#pragma once

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

// A bitmap that is drawn when it is first looked at, and shared by all copies: it is handed on much more often than it
// is shown. Used on one thread.
class LazyBitmap {
 public:
  // `draw` is called once at most, and goes afterwards.
  explicit LazyBitmap(std::function<Bitmap()> draw)
      : picture(std::make_shared<Picture>(Picture{std::move(draw), {}})) {}
  // NOLINTNEXTLINE(google-explicit-constructor): what is drawn already serves wherever a picture is wanted.
  LazyBitmap(Bitmap drawn) : picture(std::make_shared<Picture>(Picture{nullptr, std::move(drawn)})) {}

  [[nodiscard]] const Bitmap& bitmap() const {
    if (const auto draw = std::exchange(picture->draw, nullptr)) picture->drawn = draw();
    return picture->drawn;
  }

  // Copies are equal without being drawn.
  bool operator==(const LazyBitmap& other) const { return picture == other.picture || bitmap() == other.bitmap(); }

 private:
  struct Picture {
    std::function<Bitmap()> draw;
    Bitmap drawn;
  };
  std::shared_ptr<Picture> picture;
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
