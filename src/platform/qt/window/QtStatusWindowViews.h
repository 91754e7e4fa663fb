#pragma once

#include "platform/qt/window/DesktopColorScheme.h"
#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// Windows made of Qt's widgets; the application object must be a QApplication, and outlive them.
class QtStatusWindowViews final : public StatusWindowViews {
 public:
  explicit QtStatusWindowViews(WatchColorScheme watchColorScheme = nullptr) : watchColorScheme(watchColorScheme) {}

  [[nodiscard]] std::unique_ptr<StatusWindowView> makeStatusWindowView(StatusWindowEvents events) override;

 private:
  const WatchColorScheme watchColorScheme;
};

}  // namespace quillard::qt
