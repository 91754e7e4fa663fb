#include "questions/QuestionTexts.h"

#include <algorithm>
#include <array>

namespace quillard::QuestionTexts {
namespace {

struct Text {
  QuestionEnd end;
  std::string_view name;
  std::string_view description;
};

constexpr std::array kTexts{
    Text{QuestionEnd::timedOut, "timedOut", "Nobody answered in time."},
    Text{QuestionEnd::noPhone, "noPhone", "No phone can be reached."},
    Text{QuestionEnd::paused, "paused", "Alerts are paused."},
    Text{QuestionEnd::muted, "muted", "Questions of this program are muted on the phone."},
    Text{QuestionEnd::tooMany, "tooMany", "Too many questions were asked."},
    Text{QuestionEnd::stopping, "stopping", "The agent ends."},
    Text{QuestionEnd::notTaken, "notTaken", "The answer was not taken in time."},
};

}  // namespace

std::string_view name(QuestionEnd end) {
  return std::find_if(kTexts.begin(), kTexts.end(), [&](const Text& text) { return text.end == end; })->name;
}

std::optional<QuestionEnd> endOf(std::string_view name) {
  const auto* const found =
      std::find_if(kTexts.begin(), kTexts.end(), [&](const Text& text) { return text.name == name; });
  if (found == kTexts.end()) return std::nullopt;
  return found->end;
}

std::string_view description(QuestionEnd end) {
  return std::find_if(kTexts.begin(), kTexts.end(), [&](const Text& text) { return text.end == end; })->description;
}

std::string_view name(AnsweredBy by) {
  switch (by) {
    case AnsweredBy::phone:
      return "phone";
    case AnsweredBy::computer:
      return "computer";
    case AnsweredBy::timeout:
      break;
  }
  return "timeout";
}

}  // namespace quillard::QuestionTexts
