#pragma once

namespace quillard {

// Global screen coordinates everywhere: points, origin at the top left of the main display, y growing downwards.
struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};

struct Size {
  double width = 0;
  double height = 0;
  bool operator==(const Size&) const = default;
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  bool operator==(const Rect&) const = default;
};

}  // namespace quillard
