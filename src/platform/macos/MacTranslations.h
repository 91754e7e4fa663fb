#pragma once

#include <optional>

#include "platform/desktop/Translations.h"

namespace quillard::macos {

// Knows nothing, and says so: the labels of programs are judged as they stand. Where the system keeps its own
// translations, and what reading them would take, is written in docs/macos.md.
class MacTranslations final : public platform::Translations {
 public:
  [[nodiscard]] std::optional<platform::SourceTexts> sourceTexts(const platform::TranslationRequest&) override {
    return std::nullopt;
  }
};

}  // namespace quillard::macos
