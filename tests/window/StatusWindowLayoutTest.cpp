#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <QtCore/QCoreApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <gtest/gtest.h>

#include "support/LongTests.h"
#include "support/Shell.h"
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

template <class Widget>
bool fitsInOneLine(Widget& probe, int width) {
  constexpr int kEndless = 100'000;
  return probe.heightForWidth(width) == probe.heightForWidth(kEndless);
}

// Whether `word` stands unbroken in a line of `widget`.
bool hasRoomFor(const std::string& word, const QWidget* widget) {
  if (qobject_cast<const QPushButton*>(widget)) {
    qt::ActionButton probe{nullptr, qt::Prominence::primary, StatusWindowButton::none};
    probe.setContent(ButtonContent{word}, "");
    return fitsInOneLine(probe, widget->width());
  }
  if (dynamic_cast<const qt::PillView*>(widget)) {
    qt::PillView probe{nullptr};
    probe.setContent(word, Qt::black, Qt::white);
    return fitsInOneLine(probe, widget->width());
  }
  qt::WrappedLabel probe{nullptr, qt::TextStyle::body};
  probe.setContent(word);
  probe.setFont(widget->font());
  return fitsInOneLine(probe, widget->width());
}

void expectNoWordIsBroken(const QWidget& page) {
  for (const auto* widget : visibleTexts(page)) {
    std::istringstream words{textOf(widget)};
    for (std::string word; words >> word;) {
      EXPECT_TRUE(hasRoomFor(word, widget)) << word << " of: " << textOf(widget);
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

// What a screen of 1366 by 768 leaves beside a panel and a frame.
constexpr QSize kSmallScreen{1366, 768 - 32 - 38};

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

qt::StatusPage& pageOf(ShownWindow& window) { return dynamic_cast<qt::StatusPage&>(window.page()); }

// What people see on a small screen: all of it, without scrolling.
TEST(StatusWindowLayout, ShowsEveryStateWholeAtTheWindowsOwnSize) {
  for (const auto& state : test::allStatusWindowStates()) {
    SCOPED_TRACE(state.name);
    ShownWindow window{state.content};
    const auto own = pageOf(window).sizeFor(kSmallScreen);
    EXPECT_LE(own.width(), kSmallScreen.width());
    EXPECT_LE(own.height(), kSmallScreen.height());
  }
}

TEST(StatusWindowLayout, CutsNothingOffOnAComputerInAnyLanguage) {
  for (const auto language : {Language::english, Language::german}) {
    for (const auto& state : test::statusWindowStatesOn(language)) {
      ShownWindow window{state.content};
      for (const int width : {360, 960, 1306}) {
        SCOPED_TRACE(state.name + ", " + std::to_string(width) + " wide");
        window.takeWidth(width);
        expectNothingIsCutOff(window);
        expectCardsStandApart(window);
      }
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

bool isOfEnglishRow(const std::string& text) {
  constexpr std::size_t kShortest = 12;  // Shorter ones may be names, or the same in both languages.
  return std::any_of(std::begin(kTextRows), std::end(kTextRows), [&](const TextRow& row) {
    const auto english = row.computer.empty() ? row.mac : row.computer;
    return english.size() >= kShortest && english != row.german && text.find(english) != std::string::npos;
  });
}

TEST(StatusWindowLayout, SaysNothingInEnglishOnAGermanComputer) {
  EXPECT_TRUE(isOfEnglishRow("Chat: Start it with --force-renderer-accessibility.")) << "the check itself";
  for (const auto& state : test::statusWindowStatesOn(Language::german)) {
    SCOPED_TRACE(state.name);
    ShownWindow window{state.content};
    for (const auto* widget : visibleTexts(window.page()))
      EXPECT_FALSE(isOfEnglishRow(textOf(widget))) << textOf(widget);
  }
}

// The window as it opens on a screen with room for `room`.
void takeOwnSize(ShownWindow& window, QSize room) {
  window->resize(pageOf(window).sizeFor(room).boundedTo(room).expandedTo(window->minimumSize()));
  ShownWindow::settle();
}

// What is higher than the window is there to be scrolled to, and nothing lies beside it.
void expectAllCanBeScrolledTo(ShownWindow& window) {
  const auto& area = *window->findChild<QScrollArea*>();
  const auto& page = window.page();
  EXPECT_LE(page.width(), area.viewport()->width());
  EXPECT_EQ(area.verticalScrollBar()->maximum() + area.viewport()->height(), page.height());
  EXPECT_EQ(area.horizontalScrollBar()->maximum(), 0);
  expectNothingIsCutOff(window);
  expectCardsStandApart(window);
  expectNoWordIsBroken(page);
}

// The same screen when its user has chosen a scale of 1, 1.5 and 2.
constexpr QSize kRooms[] = {kSmallScreen, {910, 512 - 32 - 38}, {683, 384 - 32 - 38}};

TEST(StatusWindowLayout, StaysOnASmallScreenAtEveryScaleInEveryLanguageAndTheme) {
  for (const auto& state : test::allStatusWindowStates()) {
    for (const auto theme : {test::Theme::light, test::Theme::dark}) {
      ShownWindow window{state.content, theme};
      for (const QSize room : kRooms) {
        SCOPED_TRACE(state.name + ", " + std::to_string(room.width()) + " by " + std::to_string(room.height()));
        takeOwnSize(window, room);
        EXPECT_LE(window->width(), room.width());
        EXPECT_LE(window->height(), room.height());
        expectAllCanBeScrolledTo(window);
      }
    }
  }
}

// The check itself: it sees a word that has too little room.
TEST(StatusWindowLayout, IsMeasuredByWhatWordsNeed) {
  ShownWindow window{test::statusWindowStates().at(5).content};
  for (const auto* widget : visibleTexts(window.page())) {
    EXPECT_FALSE(hasRoomFor(std::string(120, 'M'), widget)) << textOf(widget);
    EXPECT_TRUE(hasRoomFor("M", widget)) << textOf(widget);
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

// A scale holds for a whole process, so this program runs again. Small screens take it four times as long as all the
// rest; what a scale does to them is their size, which they are tested with at the scale of one, too.
TEST_P(ScaledStatusWindowLayout, CutsNothingOff) {
  const std::string leftOut = test::rounds(0, 1) == 1 ? "*OwnSize" : "*OwnSize:*StaysOnASmallScreen*";
  const auto scale = std::string(GetParam().variable) + "=" + GetParam().value;
  // Not by Qt's own processes: the thread sanitizer does not survive how they begin.
  const auto [exitCode, output] = test::shell(scale + " '" + QCoreApplication::applicationFilePath().toStdString() +
                                              "' --gtest_filter='StatusWindowLayout.*-" + leftOut + "'");
  EXPECT_EQ(exitCode, 0) << output;
  const std::string expected = "[  PASSED  ] " + std::to_string(test::rounds(6, 7)) + " tests";
  EXPECT_NE(output.find(expected), std::string::npos) << output;
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
