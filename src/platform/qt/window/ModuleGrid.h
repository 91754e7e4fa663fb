#pragma once

#include <vector>

#include "values/Images.h"

namespace quillard::qt {

// A two-dimensional code as its modules, one bit each, found in a bitmap that shows each as a square of several pixels.
// Drawn at any whole number of screen pixels a module, it stays as sharp as the original.
struct ModuleGrid {
  int width = 0;
  int height = 0;
  std::vector<bool> isLight;  // Rows from the top.
  bool operator==(const ModuleGrid&) const = default;
};

// The largest modules that the bitmap can be made of. Empty for a bitmap that is not as long as it says.
[[nodiscard]] ModuleGrid moduleGrid(const Bitmap& bitmap);

}  // namespace quillard::qt
