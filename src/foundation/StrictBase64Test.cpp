#include <cctype>
#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "foundation/StrictBase64.h"

namespace quillard {
namespace {

std::vector<std::uint8_t> bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

TEST(StrictBase64, WritesAndReadsTheWellKnownExamples) {
  const std::vector<std::pair<std::string, std::string>> examples{{"", ""},
                                                                  {"f", "Zg=="},
                                                                  {"fo", "Zm8="},
                                                                  {"foo", "Zm9v"},
                                                                  {"foob", "Zm9vYg=="},
                                                                  {"fooba", "Zm9vYmE="},
                                                                  {"foobar", "Zm9vYmFy"},
                                                                  {"\xFB\xFF\xFE", "+//+"}};
  for (const auto& [plain, text] : examples) {
    EXPECT_EQ(base64Text(bytesOf(plain)), text);
    EXPECT_EQ(base64Bytes(text), bytesOf(plain)) << text;
  }
}

TEST(StrictBase64, RefusesWhiteSpaceAnywhere) {
  for (const auto* text : {" Zm9v", "Zm9v ", "Zm9v\n", "Zm\n9v", "Zm9vYg==\r\n", "Zm 9", "    "}) {
    EXPECT_FALSE(base64Bytes(text).has_value()) << text;
  }
}

TEST(StrictBase64, RefusesMissingMisplacedAndSuperfluousPadding) {
  for (const auto* text : {"Z", "Zg", "Zg=", "Zm8", "=", "==", "===", "====", "Z===", "Zg==Zg==", "Zg=a",
                           "=Zg=", "Zm9v====", "Zm9v=", "Zg==="}) {
    EXPECT_FALSE(base64Bytes(text).has_value()) << text;
  }
}

TEST(StrictBase64, RefusesBitsBeyondTheLastByte) {
  for (const auto* text : {"Zh==", "Zv==", "Z/==", "Zm9=", "Zm+=", "Zm9vYh==", "AB==", "AAB="}) {
    EXPECT_FALSE(base64Bytes(text).has_value()) << text;
  }
}

TEST(StrictBase64, RefusesOtherAlphabets) {
  EXPECT_FALSE(base64Bytes("-__-").has_value());
  for (int c = 0; c < 256; ++c) {
    const bool isDigit = std::isalnum(c) != 0 || c == '+' || c == '/';
    const std::string text = std::string("Zm9") + static_cast<char>(c);
    const bool isPadding = c == '=';  // Which then leaves stray bits.
    EXPECT_EQ(base64Bytes(text).has_value(), isDigit && !isPadding) << c;
  }
}

RC_GTEST_PROP(StrictBase64, ReadsWhatItWrites, (const std::vector<std::uint8_t>& bytes)) {
  RC_ASSERT(base64Bytes(base64Text(bytes)) == bytes);
}

RC_GTEST_PROP(StrictBase64, AcceptsNoSecondTextForTheSameBytes, ()) {
  const auto text = *rc::gen::container<std::string>(rc::gen::elementOf(std::string("AQgwZ09+/= \n")));
  const auto bytes = base64Bytes(text);
  if (bytes) RC_ASSERT(base64Text(*bytes) == text);
}

TEST(StrictBase64, ForUrlsHasTwoOtherDigitsAndNoPadding) {
  const std::vector<std::pair<std::string, std::string>> examples{
      {"", ""}, {"f", "Zg"}, {"fo", "Zm8"}, {"foo", "Zm9v"}, {"\xFB\xFF\xFE", "-__-"}};
  for (const auto& [plain, text] : examples) {
    EXPECT_EQ(base64UrlText(bytesOf(plain)), text);
    EXPECT_EQ(base64UrlBytes(text), bytesOf(plain)) << text;
  }
  for (const auto* text : {"Z", "Zg==", "Zg=", "+//+", "-_/-", "Zh", "Zm9v Zg", "Zm9\n"}) {
    EXPECT_FALSE(base64UrlBytes(text).has_value()) << text;
  }
}

RC_GTEST_PROP(StrictBase64, ForUrlsReadsWhatItWritesAndNothingElse, (const std::vector<std::uint8_t>& bytes)) {
  RC_ASSERT(base64UrlBytes(base64UrlText(bytes)) == bytes);
  const auto text = *rc::gen::container<std::string>(rc::gen::elementOf(std::string("AQgwZ09-_=+")));
  const auto read = base64UrlBytes(text);
  if (read) RC_ASSERT(base64UrlText(*read) == text);
}

}  // namespace
}  // namespace quillard
