#pragma once

#include "status/view/StatusWindowView.h"

namespace quillard::qt {

// Windows made of Qt's widgets; the application object must be a QApplication, and outlive them.
class QtStatusWindowViews final : public StatusWindowViews {
 public:
  [[nodiscard]] std::unique_ptr<StatusWindowView> makeStatusWindowView(StatusWindowEvents events) override;
};

}  // namespace quillard::qt
