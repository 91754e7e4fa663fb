#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "questions/Questions.h"

// The words of the channel for how questions end.
namespace quillard::QuestionTexts {

[[nodiscard]] std::string_view name(QuestionEnd end);
// Absent: a newer agent says what this program does not know.
[[nodiscard]] std::optional<QuestionEnd> endOf(std::string_view name);
// For people.
[[nodiscard]] std::string_view description(QuestionEnd end);

[[nodiscard]] std::string_view name(AnsweredBy by);

}  // namespace quillard::QuestionTexts
