#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "foundation/StrictJson.h"
#include "support/JsonConformance.h"

namespace quillard {
namespace {

Json parsed(std::string_view text) { return std::get<Json>(parseStrictJson(text)); }

std::string errorOf(std::string_view text, JsonLimits limits = {}) {
  const auto outcome = parseStrictJson(text, limits);
  const auto* error = std::get_if<JsonError>(&outcome);
  return error ? error->description() : "no error";
}

TEST(StrictJson, RefusesWhatIsNoJson) {
  for (const auto* text : {"", " ", "{", "{]", "{\"a\":}", "[1,]", "{'a':1}", "01", "1e999", "NaN", "\"\\ud800\"",
                           "\"\xFF\"", "\"\x01\"", "{} {}", "\xEF\xBB\xBF", "\xEF\xBB\xBF{}", "// x\n1"}) {
    EXPECT_EQ(errorOf(text), "The text is not valid JSON.") << text;
  }
}

TEST(StrictJson, TakesAByteOfZeroForNoEndOfTheText) {
  using namespace std::string_view_literals;
  for (const auto text : {"{}\0"sv, "{}\0rubbish"sv, "\0{}"sv, "{\0}"sv, "\"a\0b\""sv, "1\0"sv}) {
    EXPECT_EQ(errorOf(text), "The text is not valid JSON.");
  }
}

TEST(StrictJson, RefusesDoubledMembersAtAnyDepth) {
  EXPECT_EQ(errorOf(R"({"a":1,"b":2,"a":1})"), "a: The member stands twice.");
  EXPECT_EQ(errorOf(R"({"a":[{"x":1,"\u0078":2}]})"), "x: The member stands twice.");
  EXPECT_EQ(errorOf(R"({"a":{"x":1},"b":{"x":2},"x":3})"), "no error");
}

TEST(StrictJson, RefusesDepthBombsAndLongTextsBeforeBuildingAnything) {
  EXPECT_EQ(errorOf(std::string(500'000, '[')), "The JSON text is nested too deeply.");
  EXPECT_EQ(errorOf("[[1]]", {.bytes = 100, .depth = 1}), "The JSON text is nested too deeply.");
  EXPECT_EQ(errorOf("[\"[[[[\\\"[[\"]", {.bytes = 100, .depth = 1}), "no error");
  EXPECT_EQ(errorOf("[1]", {.bytes = 2, .depth = 1}), "The JSON text is too long.");
}

TEST(StrictJson, RefusesObjectsOfTooManyMembers) {
  const auto objectOf = [](int members) {
    std::string text = "{";
    for (int i = 0; i < members; ++i) text += (i ? ",\"" : "\"") + std::to_string(i) + "\":0";
    return text + "}";
  };
  EXPECT_EQ(errorOf(objectOf(1024)), "no error");
  EXPECT_EQ(errorOf(objectOf(1025)), "An object has too many members.");
  EXPECT_EQ(errorOf("[" + objectOf(1024) + "," + objectOf(1024) + "]"), "no error");
}

TEST(StrictJson, ReadsLongListsOfObjects) {
  std::string text = "[{}";
  for (int i = 0; i < 300'000; ++i) text += ",{}";
  EXPECT_EQ(std::get<Json>(parseStrictJson(text + "]")).size(), 300'001U);
}

TEST(StrictJson, KeepsTheOrderOfMembers) { EXPECT_EQ(jsonText(parsed(R"({"b":1,"a":2})")), R"({"b":1,"a":2})"); }

TEST(StrictJson, DoesNotWriteBrokenText) { EXPECT_FALSE(jsonText(Json{{"a", "\xFF"}}).has_value()); }

TEST(JsonReader, NamesTheMemberThatFailedFirst) {
  const auto json = parsed(R"({"name":"x","list":[{"n":1},{"n":"two"}],"flag":0})");
  JsonReader reader{json};
  EXPECT_EQ(reader.string("name"), "x");
  (void)reader.objects("list", [](JsonReader& entry) { return entry.number("n"); });
  EXPECT_FALSE(reader.boolean("flag"));
  ASSERT_TRUE(reader.error().has_value());
  EXPECT_EQ(reader.error()->description(), "list[1].n: Expected a number.");
}

TEST(JsonReader, TakesNullForAMissingMember) {
  const auto json = parsed(R"({"a":null})");
  JsonReader reader{json};
  EXPECT_FALSE(reader.optionalString("a").has_value());
  EXPECT_FALSE(reader.optionalString("b").has_value());
  EXPECT_FALSE(reader.error().has_value());
  (void)reader.string("a");
  EXPECT_EQ(reader.error()->description(), "a: The member is missing.");
}

TEST(JsonReader, FailsOptionalMembersOfAnotherKind) {
  const auto json = parsed(R"({"a":1})");
  JsonReader reader{json};
  EXPECT_FALSE(reader.optionalString("a").has_value());
  EXPECT_EQ(reader.error()->description(), "a: Expected a text.");
}

TEST(JsonReader, TakesWholeNumbersHoweverTheyAreWritten) {
  const auto json = parsed(R"({"a":412,"b":412.0,"c":4.12e2,"d":-3})");
  JsonReader reader{json};
  for (const auto* name : {"a", "b", "c"}) EXPECT_EQ(reader.integer(name, INT32_MIN, INT32_MAX), 412) << name;
  EXPECT_EQ(reader.integer("d", INT32_MIN, INT32_MAX), -3);
  EXPECT_FALSE(reader.error().has_value());
}

TEST(JsonReader, RefusesNumbersThatAreNotWholeOrNotInRange) {
  for (const auto* number :
       {"412.5", "2147483648", "-2147483649", "1e300", "18446744073709551615", "\"412\"", "true"}) {
    const auto json = parsed(std::string("{\"a\":") + number + "}");
    JsonReader reader{json};
    (void)reader.integer("a", INT32_MIN, INT32_MAX);
    EXPECT_EQ(reader.error()->description(), "a: Expected a whole number in range.") << number;
  }
}

TEST(JsonReader, RefusesAnythingButAnObject) {
  const auto json = parsed("[1]");
  EXPECT_EQ(JsonReader(json).error()->description(), "Expected an object.");
}

TEST(JsonReader, ReadsDatesAndIdentities) {
  const auto json = parsed(R"({"d":"2026-03-01","u":"x"})");
  JsonReader dates{json};
  (void)dates.date("d");
  EXPECT_EQ(dates.error()->description(), "d: Expected ISO-8601 date string.");
  JsonReader identities{json};
  (void)identities.uuid("u");
  EXPECT_EQ(identities.error()->description(), "u: Expected a UUID.");
}

TEST(StrictJson, KeepsEveryRuleOfTheStandard) {
  const auto cases = test::jsonConformance(QUILLARD_GOLDEN_DIRECTORY);
  ASSERT_GT(cases.size(), 150U);
  for (const auto& one : cases) {
    EXPECT_EQ(errorOf(one.text) == "no error", one.isJson) << one.about << ": " << testing::PrintToString(one.text);
  }
}

RC_GTEST_PROP(StrictJson, NeverChokesOnText, (const std::string& text)) { (void)parseStrictJson(text); }

}  // namespace
}  // namespace quillard
