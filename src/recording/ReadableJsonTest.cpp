#include <gtest/gtest.h>

#include "recording/ReadableJson.h"

namespace quillard::recording {
namespace {

std::string readable(std::string_view text) { return readableJson(std::get<Json>(parseStrictJson(text))); }

TEST(ReadableJson, PutsSmallValuesOnOneLine) {
  EXPECT_EQ(readable("[]"), "[]\n");
  EXPECT_EQ(readable(R"("ä\n")"), "\"ä\\n\"\n");
  EXPECT_EQ(readable(R"({"role":"AXButton","frame":[1,2,3,4.5]})"), R"({"role": "AXButton", "frame": [1, 2, 3, 4.5]})"
                                                                    "\n");
}

TEST(ReadableJson, IndentsWhatHoldsMoreThanItsOwnFacts) {
  EXPECT_EQ(readable(R"({"title":"A","children":[{"title":"B","frame":[1,2]},{"title":"C"}],"empty":{}})"),
            "{\n"
            "  \"title\": \"A\",\n"
            "  \"children\": [\n"
            "    {\"title\": \"B\", \"frame\": [1, 2]},\n"
            "    {\"title\": \"C\"}\n"
            "  ],\n"
            "  \"empty\": {}\n"
            "}\n");
}

TEST(ReadableJson, FillsALineUpTo120CharactersAndNoFurther) {
  const std::string fits(116, 'x');  // With brackets and quotation marks: 120, less one for a comma.
  EXPECT_EQ(readable("[\"" + fits.substr(1) + "\"]"), "[\"" + fits.substr(1) + "\"]\n");
  EXPECT_EQ(readable("[\"" + fits + "\"]"), "[\n  \"" + fits + "\"\n]\n");
}

TEST(ReadableJson, ReplacesBytesThatAreNoText) { EXPECT_EQ(readableJson(Json("a\xFF")), "\"a\xEF\xBF\xBD\"\n"); }

}  // namespace
}  // namespace quillard::recording
