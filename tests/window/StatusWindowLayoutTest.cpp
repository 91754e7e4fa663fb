#include <QtCore/QProcess>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <gtest/gtest.h>

#include "window/ShownWindow.h"
#include "window/StatusWindowStates.h"

namespace quillard {
namespace {

using test::ShownWindow;

std::vector<QWidget*> visibleTexts(const QWidget& page) {
  std::vector<QWidget*> texts;
  for (auto* widget : page.findChildren<QWidget*>()) {
    const bool isText = qobject_cast<QLabel*>(widget) || qobject_cast<QPushButton*>(widget);
    if (isText && widget->isVisible()) texts.push_back(widget);
  }
  return texts;
}

std::string textOf(const QWidget* widget) {
  const auto* label = qobject_cast<const QLabel*>(widget);
  return (label ? label->text() : qobject_cast<const QPushButton*>(widget)->text()).toStdString();
}

QRect placeOf(const QWidget* widget, const QWidget& page) {
  return {widget->mapTo(&page, QPoint{0, 0}), widget->size()};
}

// Every text has the room that it needs, on its card, and shares it with nothing else.
void expectNothingIsCutOff(ShownWindow& window) {
  const QWidget& page = window.page();
  ASSERT_GE(page.height(), page.heightForWidth(page.width()));
  const auto texts = visibleTexts(page);
  ASSERT_GE(texts.size(), 12U);
  for (const auto* widget : texts) {
    EXPECT_LE(widget->heightForWidth(widget->width()), widget->height()) << textOf(widget);
    EXPECT_TRUE(widget->parentWidget()->rect().contains(widget->geometry())) << textOf(widget);
    for (const auto* other : texts) {
      const bool overlaps = other != widget && placeOf(widget, page).intersects(placeOf(other, page));
      EXPECT_FALSE(overlaps) << textOf(widget) << "\n" << textOf(other);
    }
  }
}

// Cards stay apart and inside the page, too.
void expectCardsStandApart(ShownWindow& window) {
  std::vector<QWidget*> cards;
  for (auto* child : window.page().children()) {
    auto* card = qobject_cast<QWidget*>(child);
    if (card && !card->isHidden()) cards.push_back(card);
  }
  ASSERT_GE(cards.size(), 7U);
  for (const auto* card : cards) {
    EXPECT_TRUE(window.page().rect().contains(card->geometry()));
    for (const auto* other : cards) EXPECT_FALSE(other != card && other->geometry().intersects(card->geometry()));
  }
}

constexpr int kWidths[] = {360, 420, 520, 620, 755, 757, 800, 960, 1024, 1920};

TEST(StatusWindowLayout, CutsNothingOffInAnyStateAtAnyWidth) {
  for (const auto& state : test::statusWindowStates()) {
    ShownWindow window{state.content};
    for (const int width : kWidths) {
      SCOPED_TRACE(state.name + ", " + std::to_string(width) + " wide");
      window.takeWidth(width);
      expectNothingIsCutOff(window);
      expectCardsStandApart(window);
    }
  }
}

TEST(StatusWindowLayout, CutsNothingOffWhenTextsAreLong) {
  ShownWindow window{test::withLongTexts(test::statusWindowStates().at(5).content)};
  for (const int width : kWidths) {
    SCOPED_TRACE(std::to_string(width) + " wide");
    window.takeWidth(width);
    expectNothingIsCutOff(window);
    expectCardsStandApart(window);
  }
}

// The check itself: it sees a text that has too little room.
TEST(StatusWindowLayout, IsMeasuredByWhatTextsNeed) {
  ShownWindow window{test::statusWindowStates().at(5).content};
  auto* label = qobject_cast<QLabel*>(visibleTexts(window.page()).front());
  ASSERT_TRUE(label);
  const int width = label->width();
  EXPECT_LE(label->heightForWidth(width), label->height());
  label->setText(QString(400, 'M'));
  EXPECT_GT(label->heightForWidth(width), label->height());
}

struct Scale {
  const char* variable;
  const char* value;
};

class ScaledStatusWindowLayout : public testing::TestWithParam<Scale> {};

// A scale holds for a whole process, so this program runs again.
TEST_P(ScaledStatusWindowLayout, CutsNothingOff) {
  QProcess again;
  auto environment = QProcessEnvironment::systemEnvironment();
  environment.insert(GetParam().variable, GetParam().value);
  again.setProcessEnvironment(environment);
  again.setProcessChannelMode(QProcess::MergedChannels);
  again.start(QCoreApplication::applicationFilePath(), {"--gtest_filter=StatusWindowLayout.*"});
  ASSERT_TRUE(again.waitForFinished(110'000));
  const auto output = again.readAll().toStdString();
  EXPECT_EQ(again.exitCode(), 0) << output;
  EXPECT_NE(output.find("[  PASSED  ] 3 tests"), std::string::npos) << output;
}

INSTANTIATE_TEST_SUITE_P(Scales, ScaledStatusWindowLayout,
                         testing::Values(Scale{"QT_SCALE_FACTOR", "1.5"}, Scale{"QT_SCALE_FACTOR", "2"},
                                         Scale{"QT_FONT_DPI", "144"}, Scale{"QT_FONT_DPI", "192"}),
                         [](const auto& tested) {
                           std::string name = std::string{tested.param.variable} + tested.param.value;
                           std::erase_if(name, [](char letter) { return !std::isalnum(letter); });
                           return name;
                         });

}  // namespace
}  // namespace quillard
