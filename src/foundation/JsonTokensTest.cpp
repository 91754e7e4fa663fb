#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "foundation/JsonTokens.h"
#include "foundation/StrictJson.h"

namespace quillard {
namespace {

// All tokens of a text, a letter each, with what is written in names and strings.
std::string tokensOf(std::string_view text, JsonLimits limits = {}) {
  JsonTokens tokens(text, limits);
  std::string all;
  while (true) {
    switch (tokens.next()) {
      case JsonToken::beginObject:
        all += "{";
        break;
      case JsonToken::endObject:
        all += "}";
        break;
      case JsonToken::beginList:
        all += "[";
        break;
      case JsonToken::endList:
        all += "]";
        break;
      case JsonToken::name:
        all += std::string(tokens.raw()) + ":";
        break;
      case JsonToken::string:
        all += "'" + std::string(tokens.raw()) + "'";
        break;
      case JsonToken::number:
      case JsonToken::literal:
        all += "<" + std::string(tokens.raw()) + ">";
        break;
      case JsonToken::end:
        return all + ".";
      case JsonToken::failed:
        return all + "!";
    }
  }
}

TEST(JsonTokens, GoesThroughATextFromTokenToToken) {
  EXPECT_EQ(tokensOf(R"( { "a" : [ 1 , true , null , {} , [] ] , "b\n" : "c\"d" } )"),
            "{a:[<1><true><null>{}[]]b\\n:'c\\\"d'}.");
  EXPECT_EQ(tokensOf("-12.5e+3"), "<-12.5e+3>.");
}

TEST(JsonTokens, StaysAtItsEnd) {
  JsonTokens good("1");
  EXPECT_EQ(good.next(), JsonToken::number);
  EXPECT_EQ(good.next(), JsonToken::end);
  EXPECT_EQ(good.next(), JsonToken::end);
  JsonTokens bad("}");
  EXPECT_EQ(bad.next(), JsonToken::failed);
  EXPECT_EQ(bad.next(), JsonToken::failed);
  EXPECT_EQ(bad.failure(), JsonTokens::Failure::malformed);
}

TEST(JsonTokens, KnowsBase64OfAnyLength) {
  for (std::size_t length = 0; length < 200; ++length) {
    const std::string text = "\"" + std::string(length, 'A') + "\"";
    JsonTokens tokens(text);
    ASSERT_EQ(tokens.next(), JsonToken::string);
    EXPECT_TRUE(tokens.isBase64()) << length;
    EXPECT_EQ(tokens.raw().size(), length);
    for (std::size_t i = 0; i < length; ++i) {
      for (const char other : {'-', ' ', '\x7F', '@', '[', '`', '{', ':', '.', ',', '*'}) {
        std::string changed = text;
        changed[i + 1] = other;
        JsonTokens spoilt(changed);
        ASSERT_EQ(spoilt.next(), JsonToken::string);
        ASSERT_FALSE(spoilt.isBase64()) << length << " " << i << " " << other;
      }
    }
  }
}

TEST(JsonTokens, FindsWhatIsNotAllowedWhereverItStandsInALongString) {
  const std::string good = "\"" + std::string(150, 'x') + "\"";
  for (std::size_t i = 1; i + 1 < good.size(); ++i) {
    for (const std::string_view bad : {std::string_view("\0", 1), std::string_view("\x1F"), std::string_view("\xFF"),
                                       std::string_view("\\x"), std::string_view("\x80")}) {
      std::string text = good;
      text.replace(i, 1, bad);
      ASSERT_EQ(tokensOf(text), "!") << i;
    }
  }
}

TEST(JsonTokens, CountsValuesOfTheWholeText) {
  const JsonLimits limits{.values = 5};
  EXPECT_EQ(tokensOf(R"({"a":[1,2,3]})", limits).back(), '.');
  JsonTokens tokens(R"({"a":[1,2,3,4]})", limits);
  while (tokens.next() != JsonToken::failed) {
  }
  EXPECT_EQ(tokens.failure(), JsonTokens::Failure::tooManyValues);
}

TEST(JsonTokens, UndoesEscapes) {
  EXPECT_EQ(unescapedJson(R"(\"\\\/\b\f\n\r\tx)"), "\"\\/\b\f\n\r\tx");
  EXPECT_EQ(unescapedJson(R"(\u0041\u00e4\u20AC\ud83d\ude00)"), "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
}

// A second reader of the same grammar, which shares nothing with this one.
void expectSameVerdict(const std::string& text) {
  const bool isGood = tokensOf(text, {.depth = 100'000}).back() == '.';
  // The library takes a byte of zero for the end, skips a mark and merges members, and refuses endless numbers.
  const bool isSpecial = text.find('\0') != std::string::npos || text.starts_with("\xEF\xBB\xBF");
  if (isSpecial) return RC_ASSERT(!isGood);
  if (isGood != Json::accept(text)) {
    RC_ASSERT(!isGood);
    RC_ASSERT(std::get<JsonError>(parseStrictJson(text)).message == "The member stands twice.");
  }
}

RC_GTEST_PROP(JsonTokens, AgreesWithAnotherReaderOnTextsThatAreNearlyJson, ()) {
  const auto parts = *rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
      "{", "}", "[", "]", ",", ":", "\"a\"", "\"b\"", "\"\\u0061\"", "1", "-0", "0.5", "1e2", "01", "true", "null", " ",
      "\n", "\"\\ud83d\\ude00\"", "\"\\ude00\"", "\"\xC3\xA4\"", "\"\xC3\"", "\"\xED\xA0\x80\"", "\"\xF4\x90\x80\x80\"",
      "\"\x7F\"", "\"\t\"", "\\", std::string(1, '\0'), "'", "nul", "-"));
  std::string text;
  for (const auto& part : parts) text += part;
  expectSameVerdict(text);
}

RC_GTEST_PROP(JsonTokens, UndoesWhatAnotherWriterHasEscaped, ()) {
  const auto characters = *rc::gen::container<std::vector<std::string>>(
      rc::gen::element<std::string>("a", "\n", "\x01", "\x7F", "\"", "\\", "/", "\xC3\xA4", "\xE2\x82\xAC",
                                    "\xED\x9F\xBF", "\xEE\x80\x80", "\xF0\x9F\x98\x80", std::string(1, '\0')));
  std::string text;
  for (const auto& character : characters) text += character;
  const std::string written = Json(text).dump(-1, ' ', /*ensure_ascii=*/true);
  JsonTokens tokens(written);
  RC_ASSERT(tokens.next() == JsonToken::string);
  RC_ASSERT(unescapedJson(tokens.raw()) == text);
}

}  // namespace
}  // namespace quillard
