#pragma once

#include <vector>

#include <QtCore/QRect>

#include "platform/qt/window/ActionButton.h"

namespace quillard::qt {

// Where to put things, or only to find out how high they come.
enum class Placing { measure, place };

// Buttons side by side, and below one another where the line is too narrow. Hidden ones take no room.
class ButtonFlow {
 public:
  explicit ButtonFlow(std::vector<ActionButton*> buttons) : buttons(std::move(buttons)) {}

  [[nodiscard]] bool isEmpty() const;
  // Of all in one line.
  [[nodiscard]] int naturalWidth() const;
  // Fills lines from `topLeft` on, up to `width`; returns the height of all lines.
  int arrange(QPoint topLeft, int width, Qt::Alignment alignment, Placing placing) const;

 private:
  struct Line {
    std::vector<ActionButton*> buttons;
    int width = 0;
    int height = 0;
  };
  [[nodiscard]] std::vector<Line> lines(int width) const;
  static void placeLine(const Line& line, QPoint topLeft, int width);

  std::vector<ActionButton*> buttons;
};

}  // namespace quillard::qt
