#pragma once

#include "platform/process/Environment.h"

namespace quillard::desktop {

// The variables of this process, which is not changed once threads run.
class ProcessEnvironment final : public platform::Environment {
 public:
  // A name that no variable can have is not set.
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const override;
};

}  // namespace quillard::desktop
