#pragma once

#include <variant>
#include <vector>

#include "values/Images.h"

namespace quillard::macos {

// One path to draw and how: what a canvas has to be told, in its order. Points, origin at the bottom left.
struct PathPlan {
  struct RoundedRect {
    Rect rect;
    double radius = 0;
    bool operator==(const RoundedRect&) const = default;
  };
  struct Oval {
    Rect rect;
    bool operator==(const Oval&) const = default;
  };
  struct Lines {
    std::vector<Point> points;  // Two at the least.
    bool operator==(const Lines&) const = default;
  };
  struct Arc {  // Counter-clockwise, in degrees from the x axis.
    Point center;
    double radius = 0;
    double startDegrees = 0;
    double endDegrees = 0;
    bool operator==(const Arc&) const = default;
  };
  std::variant<RoundedRect, Oval, Lines, Arc> shape;
  double lineWidth = 0;  // 0: filled, not stroked.
  bool hasRoundCaps = false;
  bool hasRoundJoins = false;
  bool operator==(const PathPlan&) const = default;
};

// Steps that leave no mark are left out: lines of fewer than two points, and strokes without a width, which a canvas
// would draw as thin as it can.
[[nodiscard]] std::vector<PathPlan> pathPlans(const TemplateImage& image);

}  // namespace quillard::macos
