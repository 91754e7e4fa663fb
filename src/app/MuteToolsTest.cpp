#include <gtest/gtest.h>

#include "app/MuteTools.h"

namespace quillard::app {
namespace {

constexpr const char* kMuted =
    R"({"version":1,"type":"muted","muted":[
      {"id":"ABCD1234-0000-4000-8000-000000000001","program":"Installer","title":"Install?","since":"2026-03-01T12:00:00Z",
       "until":"2026-03-02T12:00:00Z"},
      {"id":"ABCE1234-0000-4000-8000-000000000002","program":"","title":"","since":"2026-03-01T12:00:00Z","endsWithRun":true},
      {"id":"FFFF1234-0000-4000-8000-000000000003","program":"Ba\u0007d","title":"\u202eX","since":"2026-03-01T12:00:00Z"}],
      "leftOut":7})";

ChannelMessage message(std::string_view text) { return std::get<ChannelMessage>(readChannelMessage(text)); }
ListedMutes listed() { return *readMutes(message(kMuted)); }

TEST(MuteTools, PrintWhatIsMutedAndUntilWhen) {
  const auto text = mutesText(listed());
  EXPECT_TRUE(
      text.starts_with("ABCD1234  Installer: Install?, until 2026-03-02T12:00:00Z\n"
                       "ABCE1234  ?: ?, until the agent ends\n"
                       "FFFF1234  "))
      << text;
  EXPECT_TRUE(text.ends_with(", until it is undone\n(7 more)\n")) << text;
  EXPECT_EQ(text.find('\a'), std::string::npos);
  EXPECT_EQ(mutesText({}), "Nothing is muted.\n");
}

TEST(MuteTools, AnAnswerThatIsNoListIsNotUnderstood) {
  for (const char* const members : {R"("muted":1)", R"("muted":[{}])", R"("x":1)", R"("muted":[],"leftOut":-1)"}) {
    EXPECT_FALSE(readMutes(message(std::string(R"({"version":1,"type":"muted",)") + members + "}"))) << members;
  }
}

TEST(MuteTools, UndoTheOneThatIsMeant) {
  EXPECT_EQ(planUnmuting({.id = "abcd"}, listed()).line,
            channelLine("unmute", {{"id", "ABCD1234-0000-4000-8000-000000000001"}}));
  EXPECT_EQ(planUnmuting({.all = true}, listed()).line, channelLine("unmute", {{"all", true}}));
  for (const char* const id : {"abc", "ab", "", "0000"}) {
    const auto plan = planUnmuting({.id = id}, listed());
    EXPECT_EQ(plan.line, "") << id;
    EXPECT_NE(plan.problem, "") << id;
  }
  EXPECT_EQ(planUnmuting({.all = true}, {}).problem, "Nothing is muted.");
}

TEST(MuteTools, ChangeWhenItEnds) {
  const auto lineFor = [](const char* duration) { return planMuting({"ffff", duration}, listed()).line; };
  const char* const id = "FFFF1234-0000-4000-8000-000000000003";
  EXPECT_EQ(lineFor("day"), channelLine("mute", {{"id", id}, {"lasts", 86400}}));
  EXPECT_EQ(lineFor("week"), channelLine("mute", {{"id", id}, {"lasts", 604800}}));
  EXPECT_EQ(lineFor("forever"), channelLine("mute", {{"id", id}, {"lasts", 0}}));
  EXPECT_NE(planMuting({"1111", "day"}, listed()).problem, "");
}

}  // namespace
}  // namespace quillard::app
