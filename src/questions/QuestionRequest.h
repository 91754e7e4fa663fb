#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "foundation/StrictJson.h"
#include "values/Time.h"

namespace quillard {

// One answer that a program offers.
struct QuestionButton {
  std::string label;  // In any language. Not empty, and no two of a question are the same.
  // Grants nothing, as the program says: it may be chosen from afar even where the question has to be answered at the
  // computer.
  bool dismisses = false;

  bool operator==(const QuestionButton&) const = default;
};

// What a program asks. A plain value; nothing in it says who asks, which the system knows.
struct QuestionRequest {
  static constexpr std::size_t kLongestQuestion = 1024;  // Bytes, as all lengths here.
  static constexpr std::size_t kMostLines = 200;
  static constexpr std::size_t kLongestText = 64 * 1024;  // Of all lines together.
  static constexpr std::size_t kMostButtons = 8;
  static constexpr std::size_t kLongestLabel = 200;
  static constexpr Seconds kShortestTimeout{1};
  static constexpr Seconds kLongestTimeout{24 * 60 * 60};
  static constexpr Seconds kUsualTimeout{10 * 60};

  std::string question;  // One line of UTF-8, as each label.
  std::vector<std::string> lines;
  std::vector<QuestionButton> buttons;         // The first is the one that grants, if any does.
  std::optional<std::string> recommended;      // A label. Absent: none is.
  std::optional<std::string> answerOnTimeout;  // A label. Absent: a question that is not answered has no answer.
  Seconds timeout = kUsualTimeout;
  // What grants may be chosen at the computer only.
  bool needsComputer = false;

  [[nodiscard]] bool hasButton(std::string_view label) const;
  bool operator==(const QuestionRequest&) const = default;
};

// What is wrong with a request that a person wrote. Absent: nothing.
[[nodiscard]] std::optional<std::string> problemOf(const QuestionRequest& request);

// The members of a request "ask". What is read is as `problemOf` wants it, or the reader has failed.
[[nodiscard]] Json toJson(const QuestionRequest& request);
[[nodiscard]] QuestionRequest readQuestionRequest(JsonReader& reader);

}  // namespace quillard
