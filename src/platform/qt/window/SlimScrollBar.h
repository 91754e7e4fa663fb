#pragma once

#include <QtWidgets/QScrollBar>

namespace quillard::qt {

// A scroll bar that stays in the background: a rounded handle and nothing else.
class SlimScrollBar final : public QScrollBar {
 public:
  explicit SlimScrollBar(Qt::Orientation orientation, QWidget* parent = nullptr);

  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace quillard::qt
