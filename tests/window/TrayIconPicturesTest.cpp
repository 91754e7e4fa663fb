#include <filesystem>

#include <QtGui/QPainter>
#include <gtest/gtest.h>

#include "platform/linux/shell/TemplateImageIcon.h"
#include "platform/linux/shell/TrayInk.h"
#include "platform/qt/window/WindowPalette.h"
#include "status/MenuBarIcon.h"
#include "support/GoldenImage.h"
#include "window/ShownWindow.h"

namespace quillard {
namespace {

struct IconCase {
  int count;
  int scale;
};

// In black on white, as wide as its own image is.
QImage drawn(const IconCase& asked) {
  const auto image = MenuBarIcon::image(asked.count);
  QImage picture{static_cast<int>(image.size.width) * asked.scale, static_cast<int>(image.size.height) * asked.scale,
                 QImage::Format_RGB32};
  picture.fill(Qt::white);
  QPainter painter{&picture};
  desktop::drawTemplateImage(painter, image, picture.rect(), {.color = Qt::black, .halo = {}});
  return picture;
}

// Small pictures without text: every pixel counts, but for rounding.
double meanDifference(const QImage& first, const QImage& second) {
  if (first.size() != second.size() || first.isNull()) return 255;
  double sum = 0;
  for (int y = 0; y < first.height(); ++y) {
    for (int x = 0; x < first.width(); ++x) sum += std::abs(qGray(first.pixel(x, y)) - qGray(second.pixel(x, y)));
  }
  return sum / (first.width() * first.height());
}

class TrayIconPictures : public testing::TestWithParam<IconCase> {};

TEST_P(TrayIconPictures, AreAsTheyWereApproved) {
  const auto [count, scale] = GetParam();
  const std::string name = "icon-" + std::to_string(count) + "-" + std::to_string(scale) + "x.png";
  const QImage picture = drawn(GetParam());
  std::filesystem::create_directories(QUILLARD_PICTURES);
  picture.save(QString::fromStdString(std::string{QUILLARD_PICTURES} + "/" + name), "PNG");
  EXPECT_LE(meanDifference(samples::goldenImage("window/" + name, picture), picture), 1.0) << name;
}

INSTANTIATE_TEST_SUITE_P(Counts, TrayIconPictures,
                         testing::Values(IconCase{0, 1}, IconCase{0, 2}, IconCase{1, 1}, IconCase{1, 2}),
                         [](const auto& tested) {
                           return "Count" + std::to_string(tested.param.count) + "Scale" +
                                  std::to_string(tested.param.scale);
                         });

// Points of the drawing, measured from its bottom left, at twice its size.
int grayAt(const QImage& picture, double x, double y) {
  return qGray(picture.pixel(static_cast<int>(x * 2), picture.height() - 1 - static_cast<int>(y * 2)));
}

TEST(TrayIconDrawing, HasItsOriginAtTheBottomLeft) {
  const QImage picture = drawn({1, 2});
  EXPECT_LT(grayAt(picture, 7.8, 2.2), 60);    // The foot of the stand, near the bottom.
  EXPECT_EQ(grayAt(picture, 7.8, 16.5), 255);  // Nothing near the top.
  EXPECT_LT(grayAt(picture, 24.6, 13.4), 30);  // The middle of the pending dot, above the middle.
  EXPECT_EQ(grayAt(picture, 24.6, 4.0), 255);
}

TEST(TrayIconDrawing, TurnsArcsCounterClockwise) {
  const TemplateImage image{
      .size = {18, 18},
      .steps = {ArcStep{.center = {9, 9}, .radius = 6, .startDegrees = 0, .endDegrees = 90, .lineWidth = 2}}};
  QImage picture{36, 36, QImage::Format_RGB32};
  picture.fill(Qt::white);
  QPainter painter{&picture};
  desktop::drawTemplateImage(painter, image, picture.rect(), {.color = Qt::black, .halo = {}});
  painter.end();
  EXPECT_LT(grayAt(picture, 13.2, 13.2), 30);  // A quarter on the upper right,
  EXPECT_EQ(grayAt(picture, 13.2, 4.7), 255);  // and none of the other three.
  EXPECT_EQ(grayAt(picture, 4.7, 4.7), 255);
  EXPECT_EQ(grayAt(picture, 4.7, 13.2), 255);
}

// How far the drawing stands out from the bar at its strongest.
double strongestContrast(const desktop::IconInk& ink, const QColor& bar) {
  QImage picture{22, 22, QImage::Format_RGB32};
  picture.fill(bar);
  QPainter painter{&picture};
  desktop::templateImageIcon(MenuBarIcon::image(0), ink).paint(&painter, picture.rect());
  painter.end();
  double strongest = 1;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      strongest = std::max(strongest, qt::contrast(picture.pixelColor(x, y), bar));
    }
  }
  return strongest;
}

TEST(TrayInk, CanBeSeenOnLightAndDarkBarsOfEveryDesktop) {
  for (const auto theme : {test::Theme::light, test::Theme::dark}) {
    for (const char* desktop : {"KDE", "GNOME", "ubuntu:GNOME", "XFCE", ""}) {
      const auto ink = desktop::trayInk(desktop, test::desktopPalette(theme));
      for (const QColor& bar : {QColor{Qt::black}, QColor{36, 36, 36}, QColor{235, 235, 235}, QColor{Qt::white}}) {
        EXPECT_GE(strongestContrast(ink, bar), 3.0) << desktop << " " << bar.name().toStdString();
      }
    }
  }
}

TEST(TrayInk, FollowsTheWindowsWhereTheBarDoes) {
  const auto light = test::desktopPalette(test::Theme::light);
  EXPECT_LT(desktop::trayInk("KDE", light).color.lightness(), 80);
  EXPECT_GT(desktop::trayInk("KDE", test::desktopPalette(test::Theme::dark)).color.lightness(), 200);
  EXPECT_GT(desktop::trayInk("GNOME", light).color.lightness(), 200);
}

TEST(TrayIcon, IsSharpAtEverySize) {
  const QIcon icon = desktop::templateImageIcon(MenuBarIcon::image(1), {.color = Qt::black, .halo = {}});
  for (const int side : {16, 22, 44, 96}) EXPECT_EQ(icon.pixmap(QSize{side, side}, 1.0).size(), QSize(side, side));
  EXPECT_TRUE(icon.isMask());
}

}  // namespace
}  // namespace quillard
