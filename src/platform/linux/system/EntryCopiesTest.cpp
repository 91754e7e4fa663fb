#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/linux/system/EntryCopies.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "private-desktop/FileContents.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;
using privatedesktop::fileContents;

// A browser that a script of its name starts from another folder, as Debian's does.
class EntryCopiesTest : public testing::Test {
 protected:
  EntryCopiesTest() {
    environment.set("XDG_DATA_HOME", at("own"));
    environment.set("XDG_DATA_DIRS", at("shared"));
    program("bin/browser", "#!/bin/sh\nexec " + at("lib/browser") + " \"$@\"\n");
    program("lib/browser",
            "\x7F"
            "ELF");
    write("shared/applications/browser.desktop", entry("Browser", at("bin/browser") + " %U"));
  }
  [[nodiscard]] std::string at(const std::string& path) const { return folder.path() + "/" + path; }
  void write(const std::string& path, const std::string& text) const {
    fs::create_directories(fs::path(at(path)).parent_path());
    std::ofstream(at(path), std::ios::trunc) << text;
  }
  void program(const std::string& path, const std::string& text) const {
    write(path, text);
    fs::permissions(at(path), fs::perms::owner_all);
  }
  static std::string entry(const std::string& name, const std::string& command) {
    return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + command + "\n";
  }

  const test::TemporaryFolder folder;
  platform::simulated::SimulatedEnvironment environment;
  x11::DesktopEntries entries{environment};
  EntryCopies copies{environment, entries};
};

TEST_F(EntryCopiesTest, OffersTheEntryWhoseScriptStartsTheProgram) {
  EXPECT_EQ(copies.offerFor(at("lib/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
  EXPECT_EQ(copies.offerFor(at("bin/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
  EXPECT_EQ(copies.offerFor(at("lib/other")), std::nullopt);
}

TEST_F(EntryCopiesTest, OffersTheEntryOfAScriptBesideTheProgram) {
  program("opt/chat",
          "\x7F"
          "ELF");
  program("opt/chat-stable", "#!/bin/sh\n");
  program("opt/helper",
          "\x7F"
          "ELF");
  write("shared/applications/vendor/chat-stable.desktop", entry("Chat", at("opt/chat-stable")));
  EXPECT_EQ(copies.offerFor(at("opt/chat")), (StartOffer{.entry = "vendor-chat-stable", .name = "Chat"}));
}

TEST_F(EntryCopiesTest, OffersOfSeveralTheOneThatIsCalledAsTheProgram) {
  write("shared/applications/browser-app.desktop", entry("App in the browser", at("bin/browser") + " --app=1"));
  EXPECT_EQ(copies.offerFor(at("lib/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
  fs::rename(at("shared/applications/browser.desktop"), at("shared/applications/another.desktop"));
  entries.forget();
  EXPECT_EQ(copies.offerFor(at("lib/browser")), std::nullopt) << "It cannot be told which.";
}

TEST_F(EntryCopiesTest, MakesTheCopyWhereTheDesktopPrefersIt) {
  EXPECT_EQ(copies.change("browser"), std::nullopt);
  const auto copy = fileContents(at("own/applications/browser.desktop"));
  EXPECT_NE(copy.find("Exec=" + at("bin/browser") + " --force-renderer-accessibility %U\n"), std::string::npos) << copy;
  EXPECT_EQ(fileContents(at("shared/applications/browser.desktop")), entry("Browser", at("bin/browser") + " %U"));
  EXPECT_EQ(copies.offerFor(at("lib/browser")), (StartOffer{.entry = "browser", .name = "Browser", .isChanged = true}));
  const auto count = [&] {
    const fs::directory_iterator files(at("own/applications"));
    return std::distance(begin(files), end(files));
  };
  EXPECT_EQ(count(), 1) << "no draft is left";
  EXPECT_EQ(copies.undo("browser"), std::nullopt);
  EXPECT_EQ(count(), 0);
  EXPECT_EQ(copies.offerFor(at("lib/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
}

TEST_F(EntryCopiesTest, KeepsTheFolderOfAnEntryBelowOthers) {
  write("shared/applications/vendor/chat.desktop", entry("Chat", at("bin/browser")));
  EXPECT_EQ(copies.change("vendor-chat"), std::nullopt);
  EXPECT_TRUE(fs::exists(at("own/applications/vendor/chat.desktop")));
  ASSERT_EQ(copies.changed().size(), 1U);
  EXPECT_EQ(copies.changed().front(), (platform::ReadableStart{.entry = "vendor-chat", .name = "Chat"}));
  EXPECT_EQ(copies.undo("vendor-chat"), std::nullopt);
  EXPECT_EQ(copies.changed().size(), 0U);
}

TEST_F(EntryCopiesTest, LeavesALinkOfTheUsersAlone) {
  fs::create_directories(at("own/applications"));
  for (const auto& target : {at("shared/applications/browser.desktop"), at("nowhere")}) {
    fs::remove(at("own/applications/browser.desktop"));
    fs::create_symlink(target, at("own/applications/browser.desktop"));
    EXPECT_EQ(copies.offerFor(at("lib/browser")), std::nullopt);
    EXPECT_NE(copies.change("browser").value_or(""), "");
    EXPECT_TRUE(fs::is_symlink(at("own/applications/browser.desktop")));
  }
}

TEST_F(EntryCopiesTest, OffersAndMakesNothingWithoutAFolderForIt) {
  write("own", "a file in the place of the folder");
  EXPECT_NE(copies.change("browser").value_or(""), "");
  EXPECT_EQ(copies.changed().size(), 0U);

  platform::simulated::SimulatedEnvironment homeless;
  homeless.set("XDG_DATA_DIRS", at("shared"));
  EntryCopies none(homeless, entries);
  EXPECT_EQ(none.offerFor(at("lib/browser")), std::nullopt);
  EXPECT_EQ(none.change("browser"), "This user has no home folder.");
  EXPECT_EQ(none.changed().size(), 0U);
}

TEST_F(EntryCopiesTest, UndoesTheCopyOfAProgramThatWasRemoved) {
  EXPECT_EQ(copies.change("browser"), std::nullopt);
  fs::remove(at("shared/applications/browser.desktop"));
  EXPECT_EQ(copies.undo("browser"), std::nullopt);
  EXPECT_FALSE(fs::exists(at("own/applications/browser.desktop")));
}

}  // namespace
}  // namespace quillard::desktop
