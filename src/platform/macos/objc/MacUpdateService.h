#pragma once

#include "platform/shell/UpdateService.h"

namespace quillard::macos {

// The update framework Sparkle, as it lies in the application's folder for frameworks; a build without it has no
// updates. Feed and key are in the information dictionary. Main thread.
class MacUpdateService final : public platform::UpdateService {
 public:
  [[nodiscard]] std::unique_ptr<platform::UpdateController> makeController(platform::UpdateEvents events) override;
};

}  // namespace quillard::macos
