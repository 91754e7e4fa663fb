#include "questions/QuestionRequest.h"

#include <algorithm>
#include <cmath>

#include "foundation/Text.h"

namespace quillard {
namespace {

bool isBlank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

// In UTF-8 and without control characters, but for the tab. What is no UTF-8 would be repaired on its way, and no
// answer would name it.
bool isOneLine(std::string_view line) {
  return text::isValidUtf8(line) && std::none_of(line.begin(), line.end(), [](char character) {
           return character != '\t' && static_cast<unsigned char>(character) < ' ';
         });
}

bool isLabel(const std::string& label) {
  return !isBlank(label) && label.size() <= QuestionRequest::kLongestLabel && isOneLine(label);
}

std::size_t textSize(const std::vector<std::string>& lines) {
  std::size_t size = 0;
  for (const auto& line : lines) size += line.size();
  return size;
}

bool hasEqualLabels(const std::vector<QuestionButton>& buttons) {
  for (auto one = buttons.begin(); one != buttons.end(); ++one) {
    const auto same = [&](const QuestionButton& other) { return other.label == one->label; };
    if (std::any_of(std::next(one), buttons.end(), same)) return true;
  }
  return false;
}

std::optional<std::string> problemOfButtons(const QuestionRequest& request) {
  if (request.buttons.empty()) return "A question needs at least one button.";
  if (request.buttons.size() > QuestionRequest::kMostButtons) return "A question may have 8 buttons at the most.";
  for (const auto& button : request.buttons) {
    if (!isLabel(button.label)) return "A label is one line of 1 to 200 bytes in UTF-8.";
  }
  if (hasEqualLabels(request.buttons)) return "Two buttons have the same label.";
  if (request.recommended && !request.hasButton(*request.recommended)) return "No button has the recommended label.";
  if (request.answerOnTimeout && !request.hasButton(*request.answerOnTimeout)) {
    return "No button has the label for the time-out.";
  }
  return std::nullopt;
}

}  // namespace

bool QuestionRequest::hasButton(std::string_view label) const {
  return std::any_of(buttons.begin(), buttons.end(), [&](const auto& button) { return button.label == label; });
}

std::optional<std::string> problemOf(const QuestionRequest& request) {
  if (isBlank(request.question)) return "The question is empty.";
  if (request.question.size() > QuestionRequest::kLongestQuestion) return "The question is longer than 1024 bytes.";
  if (!isOneLine(request.question)) return "The question is not one line in UTF-8.";
  if (request.lines.size() > QuestionRequest::kMostLines) return "The text has more than 200 lines.";
  if (textSize(request.lines) > QuestionRequest::kLongestText) return "The text is longer than 64 KiB.";
  const double timeout = request.timeout.count();
  if (!std::isfinite(timeout) || request.timeout < QuestionRequest::kShortestTimeout ||
      request.timeout > QuestionRequest::kLongestTimeout) {
    return "The time-out is not between a second and a day.";
  }
  return problemOfButtons(request);
}

Json toJson(const QuestionRequest& request) {
  Json json = {{"question", request.question}, {"lines", request.lines}, {"buttons", Json::array()}};
  for (const auto& button : request.buttons) {
    Json one = {{"label", button.label}};
    if (button.dismisses) one["dismisses"] = true;
    json["buttons"].push_back(std::move(one));
  }
  if (request.recommended) json["recommended"] = *request.recommended;
  if (request.answerOnTimeout) json["answerOnTimeout"] = *request.answerOnTimeout;
  json["timeoutSeconds"] = request.timeout.count();
  if (request.needsComputer) json["needsComputer"] = true;
  return json;
}

QuestionRequest readQuestionRequest(JsonReader& reader) {
  QuestionRequest request;
  request.question = reader.string("question");
  if (reader.member("lines")) request.lines = reader.strings("lines");
  request.buttons = reader.objects("buttons", [](JsonReader& button) {
    return QuestionButton{.label = button.string("label"),
                          .dismisses = button.optionalBoolean("dismisses").value_or(false)};
  });
  request.recommended = reader.optionalString("recommended");
  request.answerOnTimeout = reader.optionalString("answerOnTimeout");
  request.timeout = Seconds{reader.optionalNumber("timeoutSeconds").value_or(QuestionRequest::kUsualTimeout.count())};
  request.needsComputer = reader.optionalBoolean("needsComputer").value_or(false);
  if (reader.error()) return request;
  if (const auto problem = problemOf(request)) reader.fail({"", *problem});
  return request;
}

}  // namespace quillard
