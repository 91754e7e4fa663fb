#pragma once

#include "platform/storage/UserDefaults.h"

namespace quillard::macos {

// The preferences of this application and this user, which the system's own daemon keeps and writes. Text that is no
// UTF-8, and values of a foreign kind, cannot be kept: setting them changes nothing.
class MacUserDefaults final : public platform::UserDefaults {
 public:
  [[nodiscard]] std::optional<platform::UserDefaultsValue> object(std::string_view key) const override;
  void set(std::string_view key, platform::UserDefaultsValue value) override;
  void remove(std::string_view key) override;
  [[nodiscard]] std::optional<std::string> synchronize() override;
};

}  // namespace quillard::macos
