#pragma once

#include <string>

#include <QtCore/QString>
#include <QtGui/QFont>
#include <QtGui/QTextLayout>

class QPainter;

namespace quillard::qt {

// Sizes of text, relative to the desktop's own.
enum class TextStyle { headline, cardTitle, rowTitle, body, small, button };
[[nodiscard]] QFont fontFor(TextStyle style);

// A text in as many lines as it needs. Breaks between words, and inside a word where that alone is too wide, so that
// nothing is ever cut off, be it a phone's name without a blank.
class WrappedText {
 public:
  WrappedText(const QString& text, const QFont& font, int width, Qt::Alignment alignment = Qt::AlignLeading);

  [[nodiscard]] int height() const { return totalHeight; }
  void draw(QPainter& painter, const QPointF& topLeft) const;

 private:
  QTextLayout layout;
  int totalHeight = 0;
};

// In which no line ends between the hyphens of a command's switch and its name.
[[nodiscard]] QString withWholeSwitches(QString text);

// A title as toolkits take it, in which "&" would mark a shortcut.
[[nodiscard]] QString plainTitle(const std::string& title);

// What `text` takes in one line (or as many as it has line breaks), rounded up.
[[nodiscard]] int naturalWidth(const QString& text, const QFont& font);

}  // namespace quillard::qt
