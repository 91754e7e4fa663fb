// Draws the application's icon and writes it as the system wants it:
//
//   make-icon Quillard.icns        for macOS
//   make-icon --theme FOLDER NAME  for Linux: FOLDER/hicolor/48x48/apps/NAME.png, and the other sizes
#include <array>
#include <cstdio>
#include <string_view>

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include "IcnsFile.h"
#include "platform/qt/window/BrandIcon.h"

namespace {

using quillard::packaging::IcnsPicture;

// How much of each side icons leave empty in the Dock, where they stand beside others.
constexpr double kMargin = 100.0 / 1024;

// As menus, docks and software centres ask for them.
constexpr std::array kThemeSizes{16, 22, 24, 32, 48, 64, 96, 128, 256, 512};

std::vector<std::uint8_t> drawn(int pixels, double marginOfSide) {
  QImage image{pixels, pixels, QImage::Format_ARGB32};
  image.fill(Qt::transparent);
  QPainter painter{&image};
  const double margin = pixels * marginOfSide;
  quillard::qt::drawBrandIcon(painter, QRectF{margin, margin, pixels - 2 * margin, pixels - 2 * margin});
  painter.end();
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  if (!image.save(&buffer, "PNG")) return {};
  return {buffer.data().begin(), buffer.data().end()};
}

int fail(const char* reason) {
  std::fprintf(stderr, "No icon was made: %s\n", reason);
  return 1;
}

bool write(const QString& path, const std::vector<std::uint8_t>& bytes) {
  QFile output{path};
  const auto length = static_cast<qint64>(bytes.size());
  return output.open(QIODevice::WriteOnly) &&
         output.write(reinterpret_cast<const char*>(bytes.data()), length) == length && output.flush();
}

int writeIcns(const QString& path) {
  std::vector<IcnsPicture> pictures;
  for (const auto& place : quillard::packaging::kIcnsPlaces) {
    pictures.push_back({place.type, drawn(place.pixels, kMargin)});
    if (pictures.back().png.empty()) return fail("Qt cannot write PNG pictures here");
  }
  const auto file = quillard::packaging::icnsFile(pictures);
  if (!file) return fail("it is too large");
  return write(path, *file) ? 0 : fail("the file cannot be written");
}

int writeTheme(const QString& folder, const QString& name) {
  for (const int pixels : kThemeSizes) {
    const auto place = QString{"%1/hicolor/%2x%2/apps"}.arg(folder).arg(pixels);
    const auto png = drawn(pixels, 0);
    if (png.empty()) return fail("Qt cannot write PNG pictures here");
    if (!QDir{}.mkpath(place) || !write(place + "/" + name + ".png", png)) return fail("a file cannot be written");
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2) return writeIcns(QString::fromLocal8Bit(argv[1]));
  if (argc == 4 && std::string_view{argv[1]} == "--theme") {
    return writeTheme(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
  }
  return fail("say which file it is to be written to");
}
