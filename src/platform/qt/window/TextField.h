#pragma once

#include <QtWidgets/QDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

#include "platform/qt/window/ActionButton.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// Asks for one text, above the window that it belongs to and in its colours. Enter takes the text, Escape cancels. It
// deletes itself when it closes.
class TextField final : public QDialog {
 public:
  TextField(QWidget* window, const TextQuestion& question, TakeText take);

  // Colours and fonts may have changed.
  void updateAppearance();

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void takeText();

  const TakeText take;
  QLabel* title;
  QLabel* explanation;
  QLineEdit* text;
  QLabel* problem;  // Hidden until there is one.
  ActionButton* cancelButton;
  ActionButton* acceptButton;
};

}  // namespace quillard::qt
