#include "platform/qt/window/DesktopColorScheme.h"

namespace quillard::qt {

std::unique_ptr<DesktopColorScheme> DesktopColorScheme::watch(std::function<void(ColorScheme)> /*onChange*/) {
  return nullptr;
}

}  // namespace quillard::qt
