#include "platform/qt/window/WindowPalette.h"

#include <algorithm>
#include <cmath>

namespace quillard::qt {
namespace {

struct Tones {
  QRgb page;
  QRgb card;
  QRgb edge;
  QRgb softFill;
  QRgb text;
  QRgb secondaryText;
  QRgb primaryButton;
  QRgb primaryButtonText;
  QRgb button;
  QRgb focusRing;
};

constexpr Tones kLight{.page = 0xfff3f5f4,
                       .card = 0xffffffff,
                       .edge = 0xffe1e6e4,
                       .softFill = 0xffeef1f0,
                       .text = 0xff171f24,
                       .secondaryText = 0xff5a666c,
                       .primaryButton = 0xff0d5f31,
                       .primaryButtonText = 0xffffffff,
                       .button = 0xffe9eeec,
                       .focusRing = 0xff1a8f4c};
constexpr Tones kDark{.page = 0xff12171a,
                      .card = 0xff1c2327,
                      .edge = 0xff2c353a,
                      .softFill = 0xff273035,
                      .text = 0xffeff3f2,
                      .secondaryText = 0xffa3b0b5,
                      .primaryButton = 0xff35c46a,
                      .primaryButtonText = 0xff0c1a12,
                      .button = 0xff303b41,
                      .focusRing = 0xff5fe08f};
// For people who chose black and white: nothing in between but what they must tell apart.
constexpr Tones kHighContrastLight{.page = 0xffffffff,
                                   .card = 0xffffffff,
                                   .edge = 0xff000000,
                                   .softFill = 0xffffffff,
                                   .text = 0xff000000,
                                   .secondaryText = 0xff000000,
                                   .primaryButton = 0xff000000,
                                   .primaryButtonText = 0xffffffff,
                                   .button = 0xffdddddd,
                                   .focusRing = 0xff0000ff};
constexpr Tones kHighContrastDark{.page = 0xff000000,
                                  .card = 0xff000000,
                                  .edge = 0xffffffff,
                                  .softFill = 0xff000000,
                                  .text = 0xffffffff,
                                  .secondaryText = 0xffffffff,
                                  .primaryButton = 0xffffffff,
                                  .primaryButtonText = 0xff000000,
                                  .button = 0xff333333,
                                  .focusRing = 0xffffff00};

// Ordinary themes stay below: theirs are off-white or off-black.
constexpr double kHighContrast = 20.5;

const Tones& tonesFor(const QPalette& system, ColorScheme scheme) {
  const bool isHigh = contrast(system.color(QPalette::Window), system.color(QPalette::WindowText)) >= kHighContrast &&
                      contrast(system.color(QPalette::Button), system.color(QPalette::ButtonText)) >= kHighContrast;
  if (isDark(system) || scheme == ColorScheme::dark) return isHigh ? kHighContrastDark : kDark;
  return isHigh ? kHighContrastLight : kLight;
}

double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

}  // namespace

QPalette windowPalette(const QPalette& system, ColorScheme scheme) {
  const Tones& tones = tonesFor(system, scheme);
  QPalette palette{system};
  const auto set = [&](QPalette::ColorRole role, QRgb tone) { palette.setColor(role, QColor::fromRgb(tone)); };
  set(QPalette::Window, tones.page);
  set(QPalette::Base, tones.card);
  set(QPalette::AlternateBase, tones.card);
  set(QPalette::Mid, tones.edge);
  set(QPalette::Midlight, tones.softFill);
  set(QPalette::WindowText, tones.text);
  set(QPalette::Text, tones.text);
  set(QPalette::PlaceholderText, tones.secondaryText);
  set(QPalette::Highlight, tones.primaryButton);
  set(QPalette::HighlightedText, tones.primaryButtonText);
  set(QPalette::Button, tones.button);
  set(QPalette::ButtonText, tones.text);
  set(QPalette::Link, tones.focusRing);
  return palette;
}

bool isDark(const QPalette& palette) {
  return luminance(palette.color(QPalette::Window)) < luminance(palette.color(QPalette::WindowText));
}

QColor toQColor(const Color& color) {
  const auto part = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
  return QColor::fromRgbF(part(color.red), part(color.green), part(color.blue), part(color.alpha));
}

QColor toQColor(const Tint& tint, const QPalette& palette) {
  return tint.color ? toQColor(*tint.color) : palette.color(QPalette::PlaceholderText);
}

QColor mixed(const QColor& under, const QColor& over, double share) {
  const auto part = [share](float first, float second) {
    return static_cast<float>(first * (1 - share) + second * share);
  };
  return QColor::fromRgbF(part(under.redF(), over.redF()), part(under.greenF(), over.greenF()),
                          part(under.blueF(), over.blueF()));
}

double contrast(const QColor& first, const QColor& second) {
  const double one = luminance(first);
  const double two = luminance(second);
  return (std::max(one, two) + 0.05) / (std::min(one, two) + 0.05);
}

}  // namespace quillard::qt
