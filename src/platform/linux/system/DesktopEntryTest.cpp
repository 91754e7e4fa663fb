#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "platform/linux/system/DesktopEntry.h"

namespace quillard::desktop::DesktopEntry {
namespace {

TEST(DesktopEntry, ReadsTheMainGroupAlone) {
  const auto values = mainGroup(
      "# a comment\n"
      "Exec=/before/any/group\n"
      "[Desktop Entry]\n"
      "  Name = Quillard  \r\n"
      "\n"
      "#Hidden=true\n"
      "Exec=/usr/bin/x=y\n"
      "no entry at all\n"
      "[Desktop Action new]\n"
      "Name=Another\n");
  EXPECT_EQ(values, (Values{{"Name", "Quillard"}, {"Exec", "/usr/bin/x=y"}}));
}

TEST(DesktopEntry, HasNoValuesWithoutAMainGroup) {
  EXPECT_TRUE(mainGroup("").empty());
  EXPECT_TRUE(mainGroup("[Other]\nExec=/x\n").empty());
  EXPECT_TRUE(mainGroup("[Desktop Entry").empty());
}

TEST(DesktopEntry, TheLastOfTwoValuesCounts) {
  EXPECT_EQ(mainGroup("[Desktop Entry]\nHidden=true\nHidden=false").at("Hidden"), "false");
}

TEST(DesktopEntry, UndoesTheFilesEscapesAndLeavesOtherBackslashes) {
  EXPECT_EQ(unescaped(R"(a\sb\tc\nd\re\\f)"), "a b\tc\nd\re\\f");
  EXPECT_EQ(unescaped(R"(a\"b\)"), R"(a\"b\)");
}

struct Quoting {
  const char* path;
  const char* value;
};
class ProgramPath : public testing::TestWithParam<Quoting> {};
INSTANTIATE_TEST_SUITE_P(All, ProgramPath,
                         testing::Values(Quoting{"/usr/bin/quillard", R"("/usr/bin/quillard")"},
                                         Quoting{"/a b/quillard", R"("/a b/quillard")"},
                                         Quoting{"/100%/quillard", R"("/100%%/quillard")"},
                                         Quoting{R"(/a"b/q)", R"("/a\\"b/q")"},
                                         Quoting{"/$HOME/`ls`/q", R"("/\\$HOME/\\`ls\\`/q")"},
                                         Quoting{R"(/a\b)", R"("/a\\\\b")"}, Quoting{"/it's/;rm/q", R"("/it's/;rm/q")"},
                                         Quoting{"/gr\xC3\xBC\xC3\x9F", "\"/gr\xC3\xBC\xC3\x9F\""}));

TEST_P(ProgramPath, IsQuotedAsTheFormatDemands) { EXPECT_EQ(execValue(GetParam().path), GetParam().value); }

TEST_P(ProgramPath, ReadsBackAsItWas) { EXPECT_EQ(programOf(execValue(GetParam().path)), GetParam().path); }

RC_GTEST_PROP(DesktopEntry, AnyPathSurvivesTheFile, ()) {
  std::string path = "/" + *rc::gen::string<std::string>();
  std::erase(path, '\0');
  const auto values = mainGroup("[Desktop Entry]\nExec=" + execValue(path) + "\n");
  RC_ASSERT(programOf(values.at("Exec")) == path);
}

RC_GTEST_PROP(DesktopEntry, AnyTextSurvivesTheFile, (const std::string& text)) {
  const auto values = mainGroup("[Desktop Entry]\nTryExec=" + escaped(text) + "\n");
  RC_ASSERT(unescaped(values.at("TryExec")) == text);
}

TEST(DesktopEntry, EscapesABlankWhereItWouldGetLostOnly) { EXPECT_EQ(escaped(" a b "), "\\sa b\\s"); }

TEST(DesktopEntry, TheProgramIsTheFirstArgument) {
  EXPECT_EQ(programOf("/usr/bin/quillard --flag %u"), "/usr/bin/quillard");
  EXPECT_EQ(programOf(R"("/usr/local bin/quillard" --flag)"), "/usr/local bin/quillard");
  EXPECT_EQ(programOf("quillard"), "quillard");
}

TEST(DesktopEntry, SomeValuesStartNoProgram) {
  EXPECT_EQ(programOf(""), std::nullopt);
  EXPECT_EQ(programOf("   "), std::nullopt);
  EXPECT_EQ(programOf(R"("/not/closed)"), std::nullopt);
  EXPECT_EQ(programOf(R"("")"), std::nullopt);
  EXPECT_EQ(programOf("%f"), std::nullopt);
  EXPECT_EQ(programOf("/usr/bin/100%"), std::nullopt);
}

}  // namespace
}  // namespace quillard::desktop::DesktopEntry
