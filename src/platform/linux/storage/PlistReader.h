#pragma once

#include "platform/storage/PropertyLists.h"

namespace quillard::xdg {

// Property lists by libplist, XML and binary. Bytes that are large (256 KiB), deep (32 levels of a binary list, 256
// containers of an XML one) or that unfold to much (20,000 objects) are refused before it sees them.
class PlistReader final : public platform::PropertyLists {
 public:
  [[nodiscard]] std::variant<platform::PropertyListTexts, platform::PropertyListError> readTexts(
      std::span<const std::uint8_t> bytes) override;
};

}  // namespace quillard::xdg
