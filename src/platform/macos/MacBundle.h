#pragma once

#include "platform/process/Bundle.h"

namespace quillard::macos {

// The application bundle that this process was started from, by the system's main bundle. The folders for applications
// are /Applications and the one in the user's home.
class MacBundle final : public platform::Bundle {
 public:
  static constexpr std::size_t kLargestResource = std::size_t{4} * 1024 * 1024;  // Bytes.

  // Empty when the system does not know it.
  [[nodiscard]] std::string path() const override;
  [[nodiscard]] std::string resolvedPath() const override;
  [[nodiscard]] std::optional<std::string> identifier() const override;
  [[nodiscard]] std::optional<std::string> informationText(std::string_view key) const override;
  [[nodiscard]] std::optional<std::variant<platform::PropertyListTexts, platform::ResourceError>> propertyList(
      std::string_view name) const override;
  [[nodiscard]] std::vector<std::string> applicationDirectories() const override;
};

}  // namespace quillard::macos
