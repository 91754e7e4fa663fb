#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/system/ReadableEntry.h"

namespace quillard::desktop {
namespace {

std::string entry(const std::string& lines) { return "[Desktop Entry]\nType=Application\nName=X\n" + lines; }

// The copy without its mark, which is the only line that begins with "X-Quillard".
std::string withoutMark(std::string copy) {
  const auto mark = copy.find("X-Quillard-");
  copy.erase(mark, copy.find('\n', mark) + 1 - mark);
  return copy;
}

TEST(ReadableEntry, PutsTheSwitchBehindTheProgram) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"/usr/bin/chromium %U", "/usr/bin/chromium --force-renderer-accessibility %U"},
      {"chat", "chat --force-renderer-accessibility"},
      {"\"/opt/My Chat/chat\" --quiet %u", "\"/opt/My Chat/chat\" --force-renderer-accessibility --quiet %u"},
      {"env A=1 B=2 /opt/chat %u", "env A=1 B=2 /opt/chat --force-renderer-accessibility %u"},
      {" chat %u", " chat --force-renderer-accessibility %u"}};
  for (const auto& [before, after] : cases) {
    const auto copy = ReadableEntry::copyOf(entry("Exec=" + before + "\nIcon=x\n"));
    ASSERT_TRUE(copy) << before;
    EXPECT_EQ(withoutMark(*copy), entry("Exec=" + after + "\nIcon=x\n"));
  }
}

TEST(ReadableEntry, KeepsLineEndsCommentsAndAMissingLastLineEnd) {
  const auto copy = ReadableEntry::copyOf("# one\r\n[Desktop Entry]\r\nExec=chat %u\r\n\r\n# two");
  ASSERT_TRUE(copy);
  EXPECT_EQ(withoutMark(*copy), "# one\r\n[Desktop Entry]\r\nExec=chat --force-renderer-accessibility %u\r\n\r\n# two");
}

TEST(ReadableEntry, ChangesActionsOfTheSameProgramAlone) {
  const auto copy = ReadableEntry::copyOf(entry(
      "Exec=chat\n[Desktop Action new]\nExec=chat --new\n[Desktop Action other]\nExec=other\n[Foreign]\nExec=chat\n"));
  ASSERT_TRUE(copy);
  EXPECT_EQ(withoutMark(*copy),
            entry("Exec=chat --force-renderer-accessibility\n[Desktop Action new]\n"
                  "Exec=chat --force-renderer-accessibility --new\n[Desktop Action other]\nExec=other\n"
                  "[Foreign]\nExec=chat\n"));
}

TEST(ReadableEntry, RefusesWhatItCannotChangeSafely) {
  const std::vector<std::string> texts{"",
                                       "[Desktop Entry]",
                                       "Exec=chat\n",
                                       entry(""),
                                       entry("Exec=\n"),
                                       entry("Exec=env\n"),
                                       entry("Exec=env A=1\n"),
                                       entry("Exec=\"chat\n"),
                                       entry("Exec=\"ch\\\\at\"\n"),
                                       entry("Exec=ch\\sat\n"),
                                       entry("Exec=--flag\n"),
                                       entry("Exec=env A=\"1\" chat\n"),
                                       entry("Exec=python3 /opt/chat.py\n"),
                                       entry("Exec=sh -c \"chat\"\n"),
                                       entry("X-Quillard-Readable=\nExec=chat\n"),
                                       entry("DBusActivatable=true\nExec=chat\n"),
                                       entry("Exec=chat --force-renderer-accessibility\n"),
                                       std::string("\0\xFF[", 3)};
  for (const auto& text : texts) EXPECT_EQ(ReadableEntry::copyOf(text), std::nullopt) << text;
}

TEST(ReadableEntry, KnowsItsCopiesAndWhetherTheyWereChanged) {
  const std::string text = entry("Exec=chat %u\n");
  const auto copy = ReadableEntry::copyOf(text);
  ASSERT_TRUE(copy);
  EXPECT_FALSE(ReadableEntry::isCopy(text));
  EXPECT_TRUE(ReadableEntry::isCopy(*copy));
  EXPECT_TRUE(ReadableEntry::isUnchangedCopy(*copy));
  EXPECT_EQ(ReadableEntry::copyOf(*copy), std::nullopt) << "no copy of a copy";

  const std::string edited = *copy + "Comment=mine\n";
  EXPECT_TRUE(ReadableEntry::isCopy(edited));
  EXPECT_FALSE(ReadableEntry::isUnchangedCopy(edited));
  EXPECT_FALSE(ReadableEntry::isUnchangedCopy(entry("X-Quillard-Readable=00\nExec=chat\n")));
}

}  // namespace
}  // namespace quillard::desktop
