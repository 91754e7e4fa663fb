#pragma once

#include "platform/qt/window/WrappedLabel.h"

namespace quillard::qt {

// A short text on a rounded coloured ground.
class PillView final : public WrappedLabel {
 public:
  explicit PillView(QWidget* parent);

  void setContent(const std::string& text, const QColor& ground, const QColor& ink);

  [[nodiscard]] int naturalWidth() const;
  [[nodiscard]] int heightForWidth(int width) const override;
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QColor ground;
  QColor ink;
};

}  // namespace quillard::qt
