#include "platform/qt/window/TextField.h"

#include <utility>

#include <QtCore/QPointer>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QVBoxLayout>

#include "platform/qt/window/WindowPalette.h"
#include "platform/qt/window/WrappedText.h"

namespace quillard::qt {
namespace {

constexpr int kWidth = 420;
constexpr int kMargin = 20;

QLabel* label(QWidget* parent, const std::string& text) {
  auto* const made = new QLabel(QString::fromStdString(text), parent);
  made->setTextFormat(Qt::PlainText);
  made->setWordWrap(true);
  return made;
}

}  // namespace

TextField::TextField(QWidget* window, const TextQuestion& question, TakeText given)
    : QDialog(window),
      take(std::move(given)),
      title(label(this, question.title)),
      explanation(label(this, question.explanation)),
      text(new QLineEdit(QString::fromStdString(question.text), this)),
      problem(label(this, "")),
      cancelButton(new ActionButton(this, Prominence::secondary, StatusWindowButton::none)),
      acceptButton(new ActionButton(this, Prominence::primary, StatusWindowButton::none)) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(title->text());
  text->setAccessibleName(title->text());
  text->setAccessibleDescription(explanation->text());
  text->selectAll();
  problem->hide();
  cancelButton->setContent(ButtonContent{question.cancel}, question.title);
  acceptButton->setContent(ButtonContent{question.accept}, question.title);
  connect(cancelButton, &QPushButton::clicked, this, [this] { reject(); });
  connect(acceptButton, &QPushButton::clicked, this, [this] { takeText(); });
  auto* const buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cancelButton);
  buttons->addWidget(acceptButton);
  auto* const all = new QVBoxLayout(this);
  all->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  for (QWidget* const part : {static_cast<QWidget*>(title), static_cast<QWidget*>(explanation),
                              static_cast<QWidget*>(text), static_cast<QWidget*>(problem)}) {
    all->addWidget(part);
  }
  all->addLayout(buttons);
  setFixedWidth(kWidth);
  updateAppearance();
  text->setFocus();
}

void TextField::updateAppearance() {
  setPalette(parentWidget()->palette());
  title->setFont(fontFor(TextStyle::rowTitle));
  for (auto* const part : {explanation, problem}) part->setFont(fontFor(TextStyle::body));
  text->setFont(fontFor(TextStyle::body));
  acceptButton->updateFont();
  cancelButton->updateFont();
}

void TextField::takeText() {
  const QPointer<TextField> alive(this);
  const auto refusal = take(text->text().trimmed().toStdString());
  if (!alive) return;
  if (!refusal) return accept();
  problem->setText(QString::fromStdString(*refusal));
  problem->show();
  text->setAccessibleDescription(problem->text());
  text->setFocus();
  adjustSize();
}

// A button that has the keyboard takes Enter itself.
void TextField::keyPressEvent(QKeyEvent* event) {
  const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (isEnter) {
    takeText();
  } else {
    QDialog::keyPressEvent(event);
  }
}

}  // namespace quillard::qt
