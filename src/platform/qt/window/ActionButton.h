#pragma once

#include <optional>
#include <string>

#include <QtWidgets/QPushButton>

#include "status/view/StatusWindowView.h"

namespace quillard::qt {

enum class Prominence { primary, secondary };

// A button of the window. Its title wraps where there is no room for it in one line. Space and Enter press it; a ring
// shows that it has the keyboard. The widget is `kRing` wider than the button on each side: room for that ring.
class ActionButton final : public QPushButton {
 public:
  static constexpr int kRing = 3;

  ActionButton(QWidget* parent, Prominence prominence, StatusWindowButton identity);

  const StatusWindowButton identity;

  // Absent: hidden. `context`: what the button is about, for people who hear it instead of seeing where it stands.
  void setContent(const std::optional<ButtonContent>& content, const std::string& context);
  [[nodiscard]] int naturalWidth() const;
  void updateFont();

  [[nodiscard]] bool hasHeightForWidth() const override { return true; }
  [[nodiscard]] int heightForWidth(int width) const override;
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return {1, 1}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  [[nodiscard]] QColor groundColor() const;
  void drawRing(QPainter& painter) const;

  const Prominence prominence;
  QString title;
  bool showsRing = false;
};

}  // namespace quillard::qt
