#include "platform/linux/shell/TrayInk.h"

#include "platform/qt/window/WindowPalette.h"

namespace quillard::desktop {
namespace {

constexpr QRgb kLight = 0xfff4f7f6;
constexpr QRgb kDark = 0xff171f24;
constexpr int kHaloAlpha = 150;

bool followsWindows(std::string_view currentDesktop) { return currentDesktop.find("KDE") != std::string_view::npos; }

}  // namespace

IconInk trayInk(std::string_view currentDesktop, const QPalette& system) {
  const bool isBarDark = !followsWindows(currentDesktop) || qt::isDark(system);
  QColor halo = QColor::fromRgb(isBarDark ? kDark : kLight);
  halo.setAlpha(kHaloAlpha);
  return {.color = QColor::fromRgb(isBarDark ? kLight : kDark), .halo = halo};
}

}  // namespace quillard::desktop
