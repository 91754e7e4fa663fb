#pragma once

#include <string>

#include <QtWidgets/QWidget>

#include "platform/qt/window/ModuleGrid.h"
#include "values/Images.h"

namespace quillard::qt {

// The pairing code, or a symbol in its place. The code is always dark on white, and each of its modules is a square of
// a whole number of screen pixels: cameras read it best so.
class CodeView final : public QWidget {
 public:
  explicit CodeView(QWidget* parent);

  // With neither a code nor a symbol, nothing is shown; a null `bitmap` is no code, and is not kept otherwise. `name`:
  // what assistive programs call the picture.
  void setContent(const Bitmap* bitmap, const std::string& placeholderSymbol, const std::string& name);

  // No side is longer than that.
  void setLargest(int side) { largest = side; }
  // The side of the square that it wants, given so much room.
  [[nodiscard]] int sideFor(int room) const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void drawCode(QPainter& painter) const;
  [[nodiscard]] int pixelsPerModule(int side) const;

  ModuleGrid grid;  // Empty: no code now.
  std::string symbol;
  int largest = 264;
};

}  // namespace quillard::qt
