#include <algorithm>
#include <set>

#include <QtGui/QPainter>
#include <QtGui/QPixmap>
#include <gtest/gtest.h>

#include "platform/qt/window/CodeView.h"
#include "platform/qt/window/ModuleGrid.h"
#include "platform/qt/window/Symbols.h"
#include "platform/qt/window/WindowPalette.h"
#include "platform/qt/window/WrappedLabel.h"
#include "platform/qt/window/WrappedText.h"

namespace quillard::qt {
namespace {

// "#" is dark; each module is a square of `scale` pixels.
Bitmap bitmapOf(const std::vector<std::string>& rows, int scale) {
  Bitmap bitmap{.width = static_cast<int>(rows.front().size()) * scale,
                .height = static_cast<int>(rows.size()) * scale,
                .pixels = {}};
  for (int y = 0; y < bitmap.height; ++y) {
    for (int x = 0; x < bitmap.width; ++x) {
      const bool isDark = rows[static_cast<std::size_t>(y / scale)][static_cast<std::size_t>(x / scale)] == '#';
      bitmap.pixels.push_back(isDark ? 0 : 255);
    }
  }
  return bitmap;
}

const std::vector<std::string> kModules{"....", ".##.", ".#..", "...."};

TEST(WrappedText, BreaksNoLineBehindTheHyphensOfASwitch) {
  const QFont font = fontFor(TextStyle::body);
  const QString text = QStringLiteral("Use --name");
  // Room for "Use --" or "name", but not for "--name", which has to be broken somewhere else then.
  const int width =
      std::max(naturalWidth(QStringLiteral("Use --"), font), naturalWidth(QStringLiteral("name"), font)) + 1;
  ASSERT_LT(width, naturalWidth(QStringLiteral("--name"), font));
  EXPECT_EQ(withWholeSwitches(text), QStringLiteral("Use --\u2060name"));
  EXPECT_EQ(WrappedText(text, font, width).height(), WrappedText(QStringLiteral("a b c"), font, 1).height());
  for (const char* const plain : {"a -- b", "a--b", "--", "-- b", ""}) {
    EXPECT_EQ(withWholeSwitches(QString::fromUtf8(plain)), QString::fromUtf8(plain));
  }
}

TEST(ModuleGrid, FindsTheModulesOfABitmapWhateverTheirSize) {
  const ModuleGrid expected = moduleGrid(bitmapOf(kModules, 1));
  EXPECT_EQ(expected.width, 4);
  EXPECT_FALSE(expected.isLight[5]);
  EXPECT_TRUE(expected.isLight[10]);
  for (const int scale : {2, 3, 10}) EXPECT_EQ(moduleGrid(bitmapOf(kModules, scale)), expected) << scale;
}

TEST(ModuleGrid, IsEmptyForABitmapThatIsNotAsLongAsItSays) {
  auto bitmap = bitmapOf(kModules, 2);
  bitmap.pixels.pop_back();
  EXPECT_EQ(moduleGrid(bitmap), ModuleGrid{});
  EXPECT_EQ(moduleGrid({}), ModuleGrid{});
  EXPECT_EQ(moduleGrid({.width = -1, .height = -1, .pixels = {0}}), ModuleGrid{});
}

TEST(CodeView, ShowsEveryModuleInBlackOrWhiteAndNothingBetween) {
  for (const double scale : {1.0, 1.5, 2.0}) {
    CodeView view{nullptr};
    const Bitmap code = bitmapOf(kModules, 10);
    view.setContent(&code, "qrcode", "Pairing QR code");
    const int side = view.sideFor(300);
    view.resize(side, side);
    const int pixels = static_cast<int>(side * scale);
    QPixmap picture{pixels, pixels};
    picture.setDevicePixelRatio(scale);
    view.render(&picture);
    const QImage image = picture.toImage();
    std::set<QRgb> colors;
    const int margin = pixels / 10;  // The rounded edge around the code may be soft.
    for (int y = margin; y < pixels - margin; ++y) {
      for (int x = margin; x < pixels - margin; ++x) colors.insert(image.pixel(x, y) | 0xff000000);
    }
    EXPECT_EQ(colors, (std::set<QRgb>{0xff000000, 0xffffffff})) << scale;
  }
}

TEST(CodeView, StandsForItselfWithANameAndHidesWithNothingToShow) {
  CodeView view{nullptr};
  view.setContent(nullptr, "figure.wave.circle.fill", "Accessibility required");
  EXPECT_FALSE(view.isHidden());
  EXPECT_EQ(view.accessibleName(), "Accessibility required");
  view.setContent(nullptr, "", "");
  EXPECT_TRUE(view.isHidden());
}

constexpr const char* kNames[] = {"folder",
                                  "accessibility",
                                  "figure.wave.circle.fill",
                                  "power",
                                  "bell",
                                  "bell.slash",
                                  "qrcode",
                                  "arrow.down.circle",
                                  "arrow.clockwise.circle",
                                  "iphone",
                                  "pause.circle",
                                  "checkmark.circle.fill",
                                  "exclamationmark.circle"};

TEST(Symbols, AreDifferentFromOneAnotherAndStayInTheirSquare) {
  std::vector<QPainterPath> shapes;
  for (const char* name : kNames) {
    const auto shape = symbolShape(name);
    EXPECT_TRUE(QRectF(0, 0, 24, 24).contains(shape.boundingRect())) << name;
    EXPECT_GT(shape.boundingRect().width(), 8) << name;
    for (const auto& other : shapes) EXPECT_NE(other, shape) << name;
    shapes.push_back(shape);
  }
}

TEST(Symbols, HaveAPlainOneForEveryOtherName) {
  EXPECT_FALSE(symbolShape("").isEmpty());
  EXPECT_EQ(symbolShape("no.such.thing"), symbolShape("nor.this"));
}

TEST(WindowPalette, IsDarkWhereTheDesktopIs) {
  const auto light = windowPalette(QPalette{QColor{239, 239, 239}});
  const auto dark = windowPalette(QPalette{QColor{50, 50, 50}});
  EXPECT_FALSE(isDark(light));
  EXPECT_TRUE(isDark(dark));
}

TEST(WindowPalette, LetsEveryTextBeReadOnItsGround) {
  for (const int tone : {0, 50, 239, 255}) {
    const auto palette = windowPalette(QPalette{QColor{tone, tone, tone}});
    const auto contrastOf = [&](QPalette::ColorRole text, QPalette::ColorRole ground) {
      return contrast(palette.color(text), palette.color(ground));
    };
    for (const auto ground : {QPalette::Window, QPalette::Base, QPalette::Midlight}) {
      EXPECT_GE(contrastOf(QPalette::WindowText, ground), 7.0) << tone;
      EXPECT_GE(contrastOf(QPalette::PlaceholderText, ground), 4.5) << tone;
    }
    EXPECT_GE(contrastOf(QPalette::ButtonText, QPalette::Button), 7.0) << tone;
    EXPECT_GE(contrastOf(QPalette::HighlightedText, QPalette::Highlight), 4.5) << tone;
    EXPECT_GE(contrastOf(QPalette::Link, QPalette::Base), 3.0) << tone;
  }
}

TEST(WindowPalette, IsBlackAndWhiteForPeopleWhoChoseThat) {
  QPalette system{Qt::black};
  for (const auto role : {QPalette::WindowText, QPalette::ButtonText}) system.setColor(role, Qt::white);
  for (const auto role : {QPalette::Window, QPalette::Button}) system.setColor(role, Qt::black);
  const auto palette = windowPalette(system);
  EXPECT_EQ(palette.color(QPalette::Base), QColor(Qt::black));
  EXPECT_EQ(palette.color(QPalette::PlaceholderText), QColor(Qt::white));
  EXPECT_EQ(palette.color(QPalette::Mid), QColor(Qt::white));
}

TEST(WrappedLabel, ShowsMarkupOfOtherProgramsAsText) {
  WrappedLabel label{nullptr, TextStyle::body};
  label.setContent("<b>Ann</b> & <img src='x'>");
  EXPECT_EQ(label.text(), "<b>Ann</b> & <img src='x'>");
  EXPECT_EQ(label.textFormat(), Qt::PlainText);
}

TEST(WrappedLabel, BreaksInsideAWordThatIsTooWide) {
  WrappedLabel label{nullptr, TextStyle::body};
  label.setContent(std::string(60, 'W'));
  const int line = label.heightForWidth(label.naturalWidth());
  EXPECT_GE(label.heightForWidth(label.naturalWidth() / 3), 3 * line);
}

TEST(WrappedLabel, HidesWithNothingToSay) {
  WrappedLabel label{nullptr, TextStyle::body};
  label.setContent("");
  EXPECT_TRUE(label.isHidden());
}

}  // namespace
}  // namespace quillard::qt
