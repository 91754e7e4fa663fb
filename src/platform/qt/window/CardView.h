#pragma once

#include <QtWidgets/QWidget>

#include "platform/qt/window/ButtonFlow.h"

namespace quillard::qt {

// A part of the window that places its own children. Its owner asks for its height, then gives it a rectangle.
class ArrangedView : public QWidget {
 public:
  using QWidget::QWidget;

  [[nodiscard]] int heightFor(int width) { return arrange({width, 0}, Placing::measure); }
  void place(const QRect& rect) {
    setGeometry(rect);
    arrange(rect.size(), Placing::place);
  }

 protected:
  // The height that `size.width()` asks for. When placing, `size` is all the room there is: at least that height.
  virtual int arrange(QSize size, Placing placing) = 0;
};

// A rounded panel, and to assistive programs a group of what is on it.
class CardView : public ArrangedView {
 public:
  using ArrangedView::ArrangedView;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace quillard::qt
