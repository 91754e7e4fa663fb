#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/system/ReadableEntry.h"

namespace quillard::desktop {
namespace {

constexpr const char* kId = "vendor-chat";

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
    const auto copy = ReadableEntry::copyOf(entry("Exec=" + before + "\nIcon=x\n"), kId);
    ASSERT_TRUE(copy) << before;
    EXPECT_EQ(withoutMark(*copy), entry("Exec=" + after + "\nIcon=x\n"));
  }
}

TEST(ReadableEntry, KeepsLineEndsCommentsAndAMissingLastLineEnd) {
  const auto copy = ReadableEntry::copyOf("# one\r\n[Desktop Entry]\r\nExec=chat %u\r\n\r\n# two", kId);
  ASSERT_TRUE(copy);
  EXPECT_EQ(withoutMark(*copy), "# one\r\n[Desktop Entry]\r\nExec=chat --force-renderer-accessibility %u\r\n\r\n# two");
}

TEST(ReadableEntry, ChangesActionsOfTheSameProgramAlone) {
  const auto copy = ReadableEntry::copyOf(entry("Exec=chat\n[Desktop Action new]\nExec=chat --new\n[Desktop Action "
                                                "other]\nExec=other\n[Foreign]\nExec=chat\n"),
                                          kId);
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
  for (const auto& text : texts) EXPECT_EQ(ReadableEntry::copyOf(text, kId), std::nullopt) << text;
}

// Which would take the switch for one of its own.
TEST(ReadableEntry, RefusesWhatStartsTheProgramByAnotherOne) {
  for (const std::string command :
       {"/usr/bin/flatpak run --branch=stable org.example.Chat %u", "snap run chat", "bwrap --dev-bind / / chat",
        "nice -n 5 chat", "pkexec chat", "env A=1 nice chat", "\"/usr/bin/nice\" chat", "systemd-run --user chat",
        "gtk-launch chat", "firejail chat"}) {
    EXPECT_EQ(ReadableEntry::copyOf(entry("Exec=" + command + "\n"), kId), std::nullopt) << command;
  }
  for (const std::string command : {"/snap/bin/chat %u", "nicer", "/opt/flatpak/chat", "env A=nice chat"}) {
    EXPECT_NE(ReadableEntry::copyOf(entry("Exec=" + command + "\n"), kId), std::nullopt) << command;
  }
}

TEST(ReadableEntry, KnowsItsCopiesAndWhetherTheyWereChanged) {
  const std::string text = entry("Exec=chat %u\n");
  const auto copy = ReadableEntry::copyOf(text, kId);
  ASSERT_TRUE(copy);
  EXPECT_FALSE(ReadableEntry::isCopy(text));
  EXPECT_TRUE(ReadableEntry::isCopy(*copy));
  EXPECT_TRUE(ReadableEntry::isUnchangedCopy(*copy, kId));
  EXPECT_EQ(ReadableEntry::copyOf(*copy, kId), std::nullopt) << "no copy of a copy";

  EXPECT_FALSE(ReadableEntry::isUnchangedCopy(*copy, "another")) << "Its user has copied it.";
  EXPECT_EQ(ReadableEntry::copyOf(text, "two\nlines"), std::nullopt);

  std::string plain = *copy;
  const std::string added = " --force-renderer-accessibility";
  plain.erase(plain.find(added), added.size());
  EXPECT_FALSE(ReadableEntry::isCopy(plain)) << "It no longer does what a copy is for.";

  const std::string edited = *copy + "Comment=mine\n";
  EXPECT_TRUE(ReadableEntry::isCopy(edited));
  EXPECT_FALSE(ReadableEntry::isUnchangedCopy(edited, kId));
  EXPECT_FALSE(ReadableEntry::isUnchangedCopy(entry("X-Quillard-Readable=00\nExec=chat\n"), kId));
}

}  // namespace
}  // namespace quillard::desktop
