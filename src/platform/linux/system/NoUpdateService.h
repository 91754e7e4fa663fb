#pragma once

#include "platform/shell/UpdateService.h"

namespace quillard::desktop {

// Programs of this system are updated by whoever installed them: by its package manager, or by hand.
class NoUpdateService final : public platform::UpdateService {
 public:
  [[nodiscard]] std::unique_ptr<platform::UpdateController> makeController(platform::UpdateEvents /*events*/) override {
    return nullptr;
  }
};

}  // namespace quillard::desktop
