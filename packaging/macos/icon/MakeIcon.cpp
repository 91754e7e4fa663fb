// Draws the application's icon and writes it as the system wants it: make-icon Quillard.icns
#include <cstdio>

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include "IcnsFile.h"
#include "platform/qt/window/BrandIcon.h"

namespace {

using quillard::packaging::IcnsPicture;

// How much of each side icons leave empty in the Dock, where they stand beside others.
constexpr double kMargin = 100.0 / 1024;

std::vector<std::uint8_t> drawn(int pixels) {
  QImage image{pixels, pixels, QImage::Format_ARGB32};
  image.fill(Qt::transparent);
  QPainter painter{&image};
  const double margin = pixels * kMargin;
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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return fail("say which file it is to be written to");
  std::vector<IcnsPicture> pictures;
  for (const auto& place : quillard::packaging::kIcnsPlaces) {
    pictures.push_back({place.type, drawn(place.pixels)});
    if (pictures.back().png.empty()) return fail("Qt cannot write PNG pictures here");
  }
  const auto file = quillard::packaging::icnsFile(pictures);
  if (!file) return fail("it is too large");
  QFile output{QString::fromLocal8Bit(argv[1])};
  const auto length = static_cast<qint64>(file->size());
  if (!output.open(QIODevice::WriteOnly) ||
      output.write(reinterpret_cast<const char*>(file->data()), length) != length || !output.flush()) {
    return fail("the file cannot be written");
  }
  return 0;
}
