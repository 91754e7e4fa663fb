#pragma once

#include "platform/shell/StatusWindowView.h"

namespace quillard::qt {

// Windows made of Qt's widgets; the application object must be a QApplication, and outlive them.
class QtStatusWindowViews final : public platform::StatusWindowViews {
 public:
  [[nodiscard]] std::unique_ptr<platform::StatusWindowView> makeStatusWindowView(
      platform::StatusWindowEvents events) override;
};

}  // namespace quillard::qt
