#include <cmath>
#include <functional>
#include <limits>

#include <gtest/gtest.h>

#include "questions/QuestionRequest.h"

namespace quillard {
namespace {

QuestionRequest usual() {
  return {.question = "Delete the old backups?", .lines = {"214 GB"}, .buttons = {{"Delete"}, {"Cancel"}}};
}

std::optional<QuestionRequest> read(const Json& json) {
  JsonReader reader{json};
  auto request = readQuestionRequest(reader);
  if (reader.error()) return std::nullopt;
  return request;
}

TEST(QuestionRequest, IsReadAsItWasWritten) {
  EXPECT_EQ(read(toJson(usual())), usual());
  auto all = usual();
  all.buttons[1].dismisses = true;
  all.recommended = "Cancel";
  all.answerOnTimeout = "Cancel";
  all.timeout = Seconds{90};
  all.needsComputer = true;
  EXPECT_EQ(read(toJson(all)), all);
}

TEST(QuestionRequest, NeedsAQuestionAndAButton) {
  const auto request = read({{"question", "Go on?"}, {"buttons", Json::array({{{"label", "Ja"}}})}});
  ASSERT_TRUE(request.has_value());
  EXPECT_EQ(request->timeout, QuestionRequest::kUsualTimeout);
  EXPECT_FALSE(request->needsComputer);
  EXPECT_TRUE(request->lines.empty());
}

TEST(QuestionRequest, LabelsAreOfAnyLanguage) {
  auto request = usual();
  request.buttons = {{"löschen"}, {"取消"}, {"إلغاء"}, {"Удалить"}};
  EXPECT_EQ(problemOf(request), std::nullopt);
}

TEST(QuestionRequest, HasBounds) {
  const std::vector<std::pair<const char*, std::function<void(QuestionRequest&)>>> table{
      {"no question", [](auto& r) { r.question = ""; }},
      {"a blank question", [](auto& r) { r.question = " \n"; }},
      {"a long question", [](auto& r) { r.question.assign(QuestionRequest::kLongestQuestion + 1, 'x'); }},
      {"a question of two lines", [](auto& r) { r.question = "Delete?\nCancel?"; }},
      {"a question with a control character", [](auto& r) { r.question = "Delete?\x1b[2J"; }},
      {"a question that is no UTF-8", [](auto& r) { r.question = "Delete \xff?"; }},
      {"many lines", [](auto& r) { r.lines.assign(QuestionRequest::kMostLines + 1, ""); }},
      {"a long text", [](auto& r) { r.lines = {std::string(QuestionRequest::kLongestText + 1, 'x')}; }},
      {"no button", [](auto& r) { r.buttons.clear(); }},
      {"many buttons",
       [](auto& r) {
         for (int i = 0; i < 7; ++i) r.buttons.push_back({std::to_string(i)});
       }},
      {"an empty label", [](auto& r) { r.buttons[0].label = ""; }},
      {"a blank label", [](auto& r) { r.buttons[0].label = " "; }},
      {"a label of two lines", [](auto& r) { r.buttons[0].label = "Delete\nCancel"; }},
      {"a label with a control character", [](auto& r) { r.buttons[0].label = "Delete\x08"; }},
      {"a label that is no UTF-8", [](auto& r) { r.buttons[0].label = "L\xf6schen"; }},
      {"a long label", [](auto& r) { r.buttons[0].label.assign(QuestionRequest::kLongestLabel + 1, 'x'); }},
      {"the same label twice", [](auto& r) { r.buttons[1].label = "Delete"; }},
      {"another label recommended", [](auto& r) { r.recommended = "delete"; }},
      {"another label on time-out", [](auto& r) { r.answerOnTimeout = "No"; }},
      {"no time", [](auto& r) { r.timeout = Seconds{0.5}; }},
      {"more than a day", [](auto& r) { r.timeout = QuestionRequest::kLongestTimeout + Seconds{1}; }},
      {"for ever", [](auto& r) { r.timeout = Seconds{std::numeric_limits<double>::infinity()}; }},
  };
  EXPECT_EQ(problemOf(usual()), std::nullopt);
  for (const auto& [what, change] : table) {
    auto request = usual();
    change(request);
    EXPECT_TRUE(problemOf(request).has_value()) << what;
    if (std::isfinite(request.timeout.count())) {
      EXPECT_FALSE(read(toJson(request)).has_value()) << what;
    }
  }
}

TEST(QuestionRequest, RefusesMembersOfAnotherKind) {
  for (const char* const change :
       {R"({"question":5})", R"({"lines":"text"})", R"({"lines":[1]})", R"({"buttons":{}})",
        R"({"buttons":["Delete"]})", R"({"buttons":[{"label":1}]})",
        R"({"buttons":[{"label":"Delete","dismisses":1}]})", R"({"recommended":1})", R"({"answerOnTimeout":false})",
        R"({"timeoutSeconds":"10m"})", R"({"needsComputer":"yes"})"}) {
    Json json = toJson(usual());
    json.update(Json::parse(change));
    EXPECT_FALSE(read(json).has_value()) << change;
  }
}

}  // namespace
}  // namespace quillard
