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

  // For a process of that program, with these arguments.
  std::optional<StartOffer> offerFor(const std::string& program, const std::vector<std::string>& arguments = {}) {
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return copies.offerFor(program, words);
  }

  const test::TemporaryFolder folder;
  platform::simulated::SimulatedEnvironment environment;
  proc::DesktopEntries entries{environment};
  EntryCopies copies{environment, entries};
};

TEST_F(EntryCopiesTest, OffersTheEntryWhoseScriptStartsTheProgram) {
  EXPECT_EQ(offerFor(at("lib/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
  EXPECT_EQ(offerFor(at("bin/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
  EXPECT_EQ(offerFor(at("lib/other")), std::nullopt);
}

TEST_F(EntryCopiesTest, OffersTheEntryOfAScriptBesideTheProgram) {
  program("opt/chat",
          "\x7F"
          "ELF");
  program("opt/chat-stable", "#!/bin/sh\nexec \"$(dirname \"$0\")/chat\" \"$@\"\n");
  program("opt/helper",
          "\x7F"
          "ELF");
  write("shared/applications/vendor/chat-stable.desktop", entry("Chat", at("opt/chat-stable")));
  EXPECT_EQ(offerFor(at("opt/chat")), (StartOffer{.entry = "vendor-chat-stable", .name = "Chat"}));
}

TEST_F(EntryCopiesTest, OffersOfSeveralTheOneThatIsCalledAsTheProgram) {
  write("shared/applications/browser-app.desktop", entry("App in the browser", at("bin/browser") + " --app=1"));
  EXPECT_EQ(offerFor(at("lib/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
  fs::rename(at("shared/applications/browser.desktop"), at("shared/applications/another.desktop"));
  entries.forget();
  EXPECT_EQ(offerFor(at("lib/browser")), std::nullopt) << "It cannot be told which.";
}

// Beside it, or of its name: what counts is what it starts.
TEST_F(EntryCopiesTest, OffersNoEntryWhoseScriptStartsAnotherProgram) {
  program("opt/chat",
          "\x7F"
          "ELF");
  write("shared/applications/setup.desktop", entry("Setup", at("opt/setup")));
  for (const std::string text : {"#!/bin/sh\nexec ./wizard\n", "#!/bin/sh\nexec ./chat-helper\n",
                                 "#!/bin/sh\nexec /usr/lib/another/chat\n", "#!/bin/sh\nPATH=/usr/bin:/bin setup\n"}) {
    program("opt/setup", text);
    entries.forget();
    EXPECT_EQ(offerFor(at("opt/chat")), std::nullopt) << text;
  }
  program("elsewhere/chat", "#!/bin/sh\nexec /usr/lib/another/chat\n");
  write("shared/applications/setup.desktop", entry("Another", at("elsewhere/chat")));
  entries.forget();
  EXPECT_EQ(offerFor(at("opt/chat")), std::nullopt);
}

TEST_F(EntryCopiesTest, OffersTheEntryOfAScriptThatNamesTheFolderOfTheProgram) {
  program("bin/browser", "#!/bin/sh\nLIBDIR=" + at("lib/own") + "\nexec $LIBDIR/$NAME \"$@\"\n");
  program("lib/own/browser",
          "\x7F"
          "ELF");
  EXPECT_EQ(offerFor(at("lib/own/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
}

// As Debian's Chromium has it.
TEST_F(EntryCopiesTest, OffersTheEntryOfAScriptThatPutsTheProgramTogether) {
  program("lib/own/browser",
          "\x7F"
          "ELF");
  const std::string begin = "#!/bin/sh\nAPPNAME=browser\n";
  for (const std::string& text : {"LIBDIR=" + at("lib") + "/own\nexec $LIBDIR/$APPNAME \"$@\"\n",
                                  "  export LIBDIR=\"" + at("lib/${KIND}") + "\"\nexec \"$LIBDIR/$APPNAME\"\n"}) {
    program("bin/browser", begin + "KIND=own\n" + text);
    entries.forget();
    EXPECT_EQ(offerFor(at("lib/own/browser")), (StartOffer{.entry = "browser", .name = "Browser"})) << text;
  }
  for (const std::string& text : {"LIBDIR=" + at("lib/other") + "\nexec $LIBDIR/$APPNAME\n",
                                  std::string("LIBDIR=$(locate $APPNAME)\nexec $LIBDIR/$APPNAME\n"),
                                  "LIBDIR=" + at("lib") + "\nexec $LIBDIR/${KIND:-own}/$APPNAME\n"}) {
    program("bin/browser", begin + text);
    entries.forget();
    EXPECT_EQ(offerFor(at("lib/own/browser")), std::nullopt) << text;
  }
}

// A runtime that several programs share.
TEST_F(EntryCopiesTest, OffersTheEntryOfARuntimeOnlyForTheProgramThatItNames) {
  program("lib/runtime",
          "\x7F"
          "ELF");
  write("shared/applications/foo.desktop",
        entry("Foo", at("lib/runtime") + " --quiet " + at("lib/foo/app.asar") + " %U"));
  EXPECT_EQ(offerFor(at("lib/runtime"), {"--type=main", at("lib/bar/app.asar")}), std::nullopt);
  EXPECT_EQ(offerFor(at("lib/runtime"), {at("lib/foo/app.asar")}), (StartOffer{.entry = "foo", .name = "Foo"}));
  write("shared/applications/foo.desktop", entry("Runtime", at("lib/runtime") + " %U"));
  entries.forget();
  EXPECT_EQ(offerFor(at("lib/runtime"), {at("lib/bar/app.asar")}), std::nullopt) << "It is another program's start.";
  EXPECT_EQ(offerFor(at("lib/runtime")), (StartOffer{.entry = "foo", .name = "Runtime"}));
}

TEST_F(EntryCopiesTest, MakesTheCopyWhereTheDesktopPrefersIt) {
  EXPECT_EQ(copies.change("browser"), std::nullopt);
  const auto copy = fileContents(at("own/applications/browser.desktop"));
  EXPECT_NE(copy.find("Exec=" + at("bin/browser") + " --force-renderer-accessibility %U\n"), std::string::npos) << copy;
  EXPECT_EQ(fileContents(at("shared/applications/browser.desktop")), entry("Browser", at("bin/browser") + " %U"));
  EXPECT_EQ(offerFor(at("lib/browser")), (StartOffer{.entry = "browser", .name = "Browser", .isChanged = true}));
  const auto count = [&] {
    const fs::directory_iterator files(at("own/applications"));
    return std::distance(begin(files), end(files));
  };
  EXPECT_EQ(count(), 1) << "no draft is left";
  EXPECT_EQ(copies.undo("browser"), std::nullopt);
  EXPECT_EQ(count(), 0);
  EXPECT_EQ(offerFor(at("lib/browser")), (StartOffer{.entry = "browser", .name = "Browser"}));
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
    EXPECT_EQ(offerFor(at("lib/browser")), std::nullopt);
    EXPECT_NE(copies.change("browser").value_or(""), "");
    EXPECT_TRUE(fs::is_symlink(at("own/applications/browser.desktop")));
  }
}

TEST_F(EntryCopiesTest, OffersAndMakesNothingWithoutAFolderForIt) {
  write("own", "a file in the place of the folder");
  EXPECT_NE(copies.change("browser").value_or(""), "");
  EXPECT_EQ(copies.changed().size(), 0U);
}

// As everything else that is kept in a home does. Nothing is made there: the menu has no such entry.
TEST_F(EntryCopiesTest, TakeTheAccountsHomeWhereTheVariableIsEmpty) {
  platform::simulated::SimulatedEnvironment shell;
  shell.set("HOME", "");
  EntryCopies withAccount(shell, entries);
  EXPECT_EQ(withAccount.change("missing"), "There is no entry missing in the menu.");
}

// As the advice has it for a copy that was edited.
TEST_F(EntryCopiesTest, ClaimsNothingOfACopyOutOfWhichTheSwitchWasTaken) {
  EXPECT_EQ(copies.change("browser"), std::nullopt);
  auto copy = fileContents(at("own/applications/browser.desktop"));
  const std::string added = " --force-renderer-accessibility";
  copy.erase(copy.find(added), added.size());
  write("own/applications/browser.desktop", copy + "Comment=mine\n");
  entries.forget();
  EXPECT_EQ(copies.changed().size(), 0U);
  EXPECT_EQ(offerFor(at("lib/browser")), std::nullopt);
  EXPECT_NE(copies.change("browser").value_or(""), "") << "It is the user's own by now.";
}

TEST_F(EntryCopiesTest, DeletesNoCopyOfItsCopyUnderAnotherName) {
  EXPECT_EQ(copies.change("browser"), std::nullopt);
  fs::copy_file(at("own/applications/browser.desktop"), at("own/applications/mine.desktop"));
  const auto problem = copies.undo("mine");
  ASSERT_TRUE(problem);
  EXPECT_NE(problem->find("X-Quillard-Readable"), std::string::npos) << *problem;
  EXPECT_TRUE(fs::exists(at("own/applications/mine.desktop")));
  EXPECT_EQ(copies.undo("browser"), std::nullopt);
}

TEST_F(EntryCopiesTest, UndoesTheCopyOfAProgramThatWasRemoved) {
  EXPECT_EQ(copies.change("browser"), std::nullopt);
  fs::remove(at("shared/applications/browser.desktop"));
  EXPECT_EQ(copies.undo("browser"), std::nullopt);
  EXPECT_FALSE(fs::exists(at("own/applications/browser.desktop")));
}

}  // namespace
}  // namespace quillard::desktop
