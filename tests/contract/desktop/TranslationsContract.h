#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/desktop/Translations.h"

namespace quillard::test {

// A computer on which programs translate their texts, seen through one binding.
class TranslationsBinding {
 public:
  using Messages = std::vector<std::pair<std::string, std::string>>;  // English text, and what is shown for it.

  TranslationsBinding() = default;
  TranslationsBinding(const TranslationsBinding&) = delete;
  TranslationsBinding& operator=(const TranslationsBinding&) = delete;
  virtual ~TranslationsBinding() = default;

  virtual platform::Translations& translations() = 0;
  // False: this system has no way to tell, and has to say so.
  [[nodiscard]] virtual bool canTell() const { return true; }
  // Of a running program that translates like this, with messages that no program of this user can write.
  [[nodiscard]] virtual std::int32_t processTranslating(const Messages& messages) = 0;
  // Of a program that has ended.
  [[nodiscard]] virtual std::int32_t endedProcess() = 0;
};

struct TranslationsCase {
  std::string name;
  std::unique_ptr<TranslationsBinding> (*make)();
};

// What the agent relies on when it asks for the English texts behind a window.
class TranslationsContract : public testing::TestWithParam<TranslationsCase> {
 protected:
  // What the binding says, where it can tell. Where it cannot, nothing but that: an answer would be made up.
  [[nodiscard]] std::optional<platform::SourceTexts> ask(const platform::TranslationRequest& request) {
    auto texts = binding->translations().sourceTexts(request);
    EXPECT_EQ(texts.has_value(), binding->canTell());
    return texts;
  }

  const std::unique_ptr<TranslationsBinding> binding = GetParam().make();
};

}  // namespace quillard::test
