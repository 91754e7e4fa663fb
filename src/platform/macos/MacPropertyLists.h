#pragma once

#include "platform/storage/PropertyLists.h"

namespace quillard::macos {

// Property lists by CoreFoundation. Bytes that are too large, too deep or unfold to too much are refused before it sees
// them (see foundation/PropertyListShape.h).
class MacPropertyLists final : public platform::PropertyLists {
 public:
  [[nodiscard]] std::variant<platform::PropertyListTexts, platform::PropertyListError> readTexts(
      std::span<const std::uint8_t> bytes) override;
};

}  // namespace quillard::macos
