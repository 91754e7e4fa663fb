#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <QtCore/QString>
#include <QtGui/QImage>

namespace quillard::samples {

inline constexpr double kLargestMeanDifference = 1.5;  // Of 255, over all pixels.
inline constexpr double kLargestPatchDifference = 40;  // Of 255, in any patch of 16 by 16.

// Fonts are rendered a little differently from one machine to the next: what is compared is how bright and how coloured
// each patch of the picture is, not each pixel.
inline QImage inPatches(const QImage& image) {
  constexpr int kPatch = 16;
  return image.convertToFormat(QImage::Format_ARGB32)
      .scaled(std::max(1, image.width() / kPatch), std::max(1, image.height() / kPatch), Qt::IgnoreAspectRatio,
              Qt::SmoothTransformation);
}

struct ImageDifference {
  bool isSameSize = false;
  double mean = 255;
  double patch = 255;
  [[nodiscard]] bool isSmall() const {
    return isSameSize && mean <= kLargestMeanDifference && patch <= kLargestPatchDifference;
  }
};

inline ImageDifference difference(const QImage& first, const QImage& second) {
  if (first.size() != second.size() || first.isNull()) return {};
  const QImage one = inPatches(first);
  const QImage two = inPatches(second);
  double sum = 0;
  int largest = 0;
  for (int y = 0; y < one.height(); ++y) {
    for (int x = 0; x < one.width(); ++x) {
      const QRgb a = one.pixel(x, y);
      const QRgb b = two.pixel(x, y);
      const int apart = std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                                  std::abs(qBlue(a) - qBlue(b)), std::abs(qAlpha(a) - qAlpha(b))});
      sum += apart;
      largest = std::max(largest, apart);
    }
  }
  return {.isSameSize = true, .mean = sum / (one.width() * one.height()), .patch = double(largest)};
}

// The same with no more than 256 colours, the most frequent ones, which makes files of a third the size.
inline QImage withFewColors(const QImage& image) {
  std::map<QRgb, int> counts;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) ++counts[image.pixel(x, y)];
  }
  std::vector<std::pair<int, QRgb>> frequent;
  for (const auto& [color, count] : counts) frequent.emplace_back(-count, color);
  std::sort(frequent.begin(), frequent.end());
  frequent.resize(std::min<std::size_t>(frequent.size(), 256));
  QList<QRgb> table;
  for (const auto& [count, color] : frequent) table.append(color);
  return image.convertToFormat(QImage::Format_Indexed8, table, Qt::ThresholdDither | Qt::AvoidDither);
}

// The picture tests/golden/`name`; null when there is none. With QUILLARD_UPDATE_GOLDEN set in the environment it is
// first written as `current`: look at it before you keep it.
inline QImage goldenImage(const std::string& name, const QImage& current) {
  const std::filesystem::path path = std::filesystem::path(QUILLARD_GOLDEN_DIRECTORY) / name;
  if (std::getenv("QUILLARD_UPDATE_GOLDEN")) {
    std::filesystem::create_directories(path.parent_path());
    withFewColors(current).save(QString::fromStdString(path.string()), "PNG", 0);
  }
  return QImage{QString::fromStdString(path.string())};
}

}  // namespace quillard::samples
