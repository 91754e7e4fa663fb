#pragma once

#include <string>

#include <QtWidgets/QLabel>

#include "platform/qt/window/WrappedText.h"

namespace quillard::qt {

// A label that shows all of its text, in as many lines as that takes. Plain text only: names come from phones and other
// programs. Hidden while it has nothing to say.
class WrappedLabel : public QLabel {
 public:
  // `ink`: the palette's role that colours the text.
  WrappedLabel(QWidget* parent, TextStyle style, QPalette::ColorRole ink = QPalette::WindowText);

  void setContent(const std::string& text);
  [[nodiscard]] int naturalWidth() const;
  // Takes up a changed font of the desktop.
  void updateFont();

  [[nodiscard]] bool hasHeightForWidth() const override { return true; }
  [[nodiscard]] int heightForWidth(int width) const override;
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return {1, 1}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void drawText(QPainter& painter, const QRect& box, const QColor& color) const;

 private:
  const TextStyle style;
};

}  // namespace quillard::qt
