#include <gtest/gtest.h>

#include "channel/ChannelLines.h"

namespace quillard {
namespace {

std::vector<std::string> linesOf(ChannelLines& lines) {
  std::vector<std::string> all;
  while (const auto line = lines.next()) all.push_back(*line);
  return all;
}

TEST(ChannelLines, CutsHoweverTheBytesCome) {
  const std::string text = "one\n\ntwo three\n";
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    ChannelLines lines;
    lines.add(text.substr(0, cut));
    auto all = linesOf(lines);
    lines.add(text.substr(cut));
    for (auto& line : linesOf(lines)) all.push_back(line);
    EXPECT_EQ(all, (std::vector<std::string>{"one", "", "two three"})) << cut;
  }
}

TEST(ChannelLines, KeepsWhatIsNoWholeLineYet) {
  ChannelLines lines;
  lines.add("half");
  EXPECT_EQ(linesOf(lines), std::vector<std::string>{});
  lines.add(" a line\nnext");
  EXPECT_EQ(linesOf(lines), std::vector<std::string>{"half a line"});
}

TEST(ChannelLines, ALineMayBeSoLongAndNoLonger) {
  ChannelLines longest;
  longest.add(std::string(ChannelLines::kLongest, 'x') + "\n");
  EXPECT_EQ(linesOf(longest).size(), 1U);
  EXPECT_FALSE(longest.isBroken());
  for (const char* const end : {"", "\n"}) {
    ChannelLines longer;
    longer.add(std::string(ChannelLines::kLongest + 1, 'x') + end);
    EXPECT_EQ(linesOf(longer).size(), 0U);
    EXPECT_TRUE(longer.isBroken());
    longer.add("\nfine\n");
    EXPECT_EQ(linesOf(longer).size(), 0U) << "for good";
  }
}

}  // namespace
}  // namespace quillard
