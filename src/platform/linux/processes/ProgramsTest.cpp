#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/processes/Interpreters.h"
#include "platform/linux/processes/Programs.h"
#include "support/TemporaryFolder.h"

namespace quillard::proc {
namespace {

namespace fs = std::filesystem;

class Variables final : public platform::Environment {
 public:
  std::map<std::string, std::string, std::less<>> values;
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const override {
    const auto found = values.find(name);
    return found == values.end() ? std::nullopt : std::optional{found->second};
  }
};

// Programs and desktop entries of a user, in a folder that is all that is searched.
class Programs : public testing::Test {
 protected:
  Programs() {
    variables.values = {{"XDG_DATA_HOME", root / "own"},
                        {"XDG_DATA_DIRS", (root / "shared").string() + ":not/absolute"},
                        {"PATH", root / "bin"},
                        {"LANG", "de_AT.UTF-8"}};
    for (const char* const name : {"own/applications", "shared/applications/kde", "bin", "lib"}) {
      fs::create_directories(root / name);
    }
  }

  std::string program(const std::string& name) {
    const fs::path path = root / name;
    std::ofstream(path) << "#!/bin/sh\n";
    fs::permissions(path, fs::perms::owner_all);
    return fs::canonical(path);
  }
  void entry(const std::string& name, const std::string& keys) {
    std::ofstream(root / name) << "[Desktop Entry]\nType=Application\n" << keys;
  }
  ProgramIdentity identity(const ProcessFacts& process, const std::string& windowClass = "") {
    return identify(process, windowClass, entries);
  }

  test::TemporaryFolder folder;
  const fs::path root{folder.path()};
  Variables variables;
  DesktopEntries entries{variables};
};

TEST_F(Programs, WithoutAnEntryAreKnownByTheirPath) {
  EXPECT_EQ(identity({.executable = "/usr/bin/a-program-with-a-long-name", .shortName = "a-program-with-"}),
            (ProgramIdentity{"/usr/bin/a-program-with-a-long-name", "a-program-with-a-long-name"}));
}

TEST_F(Programs, AreKnownByTheEntryThatStartsThem) {
  const auto path = program("bin/editor");
  entry("shared/applications/org.example.Editor.desktop", "Name=Editor\nName[de]=Texteditor\nExec=editor %U\n");
  EXPECT_EQ(identity({.executable = path}, "whatever"), (ProgramIdentity{"org.example.Editor", "Texteditor"}));
}

TEST_F(Programs, OfAnotherFolderAreNotMistakenForTheInstalledOne) {
  program("bin/editor");
  entry("shared/applications/org.example.Editor.desktop", "Name=Editor\nExec=editor %U\n");
  EXPECT_EQ(identity({.executable = "/elsewhere/editor"}).identifier, "/elsewhere/editor");
}

TEST_F(Programs, OfSeveralEntriesTheOneOfTheWindowClassCounts) {
  const auto path = program("lib/office");
  for (const char* const part : {"calc", "writer"}) {
    entry("shared/applications/office-" + std::string{part} + ".desktop",
          "Name=" + std::string{part} + "\nStartupWMClass=Office-" + part + "\nExec=" + path + " --" + part + "\n");
  }
  EXPECT_EQ(identity({.executable = path}, "office-Writer").identifier, "office-writer");
  EXPECT_EQ(identity({.executable = path}, "other").identifier, "office-calc");
  EXPECT_EQ(identity({.executable = path}).identifier, "office-calc");
}

TEST_F(Programs, AreKnownByTheirWindowClassWhereNoEntryNamesTheProgram) {
  entry("shared/applications/browser.desktop", "Name=Browser\nExec=launcher browser\nStartupWMClass=Web\n");
  entry("shared/applications/web.desktop", "Name=Something else\nExec=no-such-program\n");
  EXPECT_EQ(identity({.executable = "/lib/browser.bin"}, "wEB").identifier, "browser");
  EXPECT_EQ(identity({.executable = "/lib/browser.bin"}, "Browser").identifier, "browser");
  EXPECT_EQ(identity({.executable = "/lib/browser.bin"}, "").identifier, "/lib/browser.bin");
}

TEST_F(Programs, TheUsersOwnEntriesComeFirst) {
  const auto path = program("bin/editor");
  entry("shared/applications/editor.desktop", "Name=Shared\nExec=editor\n");
  entry("own/applications/editor.desktop", "Name=Own\nExec=editor\n");
  EXPECT_EQ(identity({.executable = path}).name, "Own");
}

TEST_F(Programs, AnEntryThatTheUserHidesIsNotThere) {
  const auto path = program("bin/editor");
  entry("shared/applications/editor.desktop", "Name=Shared\nExec=editor\n");
  entry("own/applications/editor.desktop", "Name=Own\nExec=editor\nHidden=true\n");
  EXPECT_EQ(identity({.executable = path}).identifier, path);
}

TEST_F(Programs, FoldersBecomePartOfTheId) {
  entry("shared/applications/kde/viewer.desktop", "Name=Viewer\nExec=no-such-program\n");
  EXPECT_EQ(identity({.executable = "/x"}, "kde-viewer").identifier, "kde-viewer");
}

TEST_F(Programs, ScriptsAreKnownByTheirScript) {
  const auto path = program("bin/assistant");
  entry("shared/applications/assistant.desktop", "Name=Assistant\nExec=assistant\n");
  EXPECT_EQ(identity({.executable = "/usr/bin/python3.11", .arguments = {"python3", "-u", path, "x"}}),
            (ProgramIdentity{"assistant", "Assistant"}));
  EXPECT_EQ(identity({.executable = "/usr/bin/python3.11", .arguments = {"python3", "/opt/a/tool.py"}}),
            (ProgramIdentity{"/opt/a/tool.py", "tool.py"}));
}

TEST_F(Programs, TheAgentIsKnownByItsOwnName) {
  const std::string agent = "/opt/Quillard.app/quillard";
  EXPECT_EQ(identity({.executable = agent, .arguments = {agent}}).identifier, "com.quillard.agent");
  EXPECT_EQ(identity({.executable = agent, .arguments = {agent, "scan"}}).identifier, agent);
}

TEST_F(Programs, EntriesThatAreNoneAreLeftOut) {
  entry("shared/applications/big.desktop", "Name=Big\nComment=" + std::string(300'000, 'x') + "\n");
  entry("shared/applications/latin.desktop",
        "Name=Stra\xDF"
        "e\n");
  fs::create_directory(root / "shared/applications/folder.desktop");
  fs::create_symlink("/nowhere", root / "shared/applications/dangling.desktop");
  std::ofstream(root / "shared/applications/empty.desktop").flush();
  for (const char* const name : {"big", "latin", "folder", "dangling", "empty"}) {
    EXPECT_EQ(identity({.executable = "/x"}, name).identifier, "/x") << name;
  }
}

TEST(ProgramOf, IsTheExecutableOrItsScript) {
  struct Case {
    const char* what;
    ProcessFacts process;
    std::string program;
  };
  const std::string python = "/usr/bin/python3.11";
  const std::vector<Case> cases{
      {"executable", {1, "/usr/bin/zenity", {"zenity", "x"}, "zenity"}, "/usr/bin/zenity"},
      {"absolute script", {1, python, {"python3", "/opt/tool.py"}, "python3"}, "/opt/tool.py"},
      {"relative script", {1, python, {"python3", "../tool.py"}, "python3"}, "tool.py"},
      {"module", {1, python, {"python3", "-m", "http.server"}, "python3"}, "http.server"},
      {"text of its own", {1, python, {"python3", "-c", "import x"}, "python3"}, python},
      {"options with values", {1, python, {"python3", "-W", "ignore", "/opt/tool.py"}, "python3"}, "/opt/tool.py"},
      {"interactive", {1, python, {"python3"}, "python3"}, python},
      {"no UTF-8", {1, python, {"python3", "/opt/\xFF"}, "python3"}, python},
      {"not readable", {1, "", {"/usr/bin/keyring", "-d"}, "keyring"}, "/usr/bin/keyring"},
      {"not readable, relative", {1, "", {"./keyring"}, "keyring"}, "keyring"},
      {"nothing but the short name", {1, "", {}, "keyring"}, "keyring"},
      {"nothing", {1, "", {}, ""}, ""},
  };
  for (const auto& entry : cases) EXPECT_EQ(programOf(entry.process), entry.program) << entry.what;
}

TEST(Interpreters, AreKnownInEveryVersion) {
  for (const char* const name : {"python", "python3", "python3.11", "bash", "gjs-console", "lua5.4", "node"}) {
    EXPECT_TRUE(isInterpreter(name)) << name;
  }
  for (const char* const name : {"", "3", "zenity", "pythonista", "firefox"}) EXPECT_FALSE(isInterpreter(name)) << name;
}

TEST(ProgramOfCommand, LooksBehindWhatOnlyStartsPrograms) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"firefox %u", "firefox"},
      {"/usr/bin/firefox --new-window %u", "/usr/bin/firefox"},
      {"env LANG=C -i gimp %U", "gimp"},
      {"\"/opt/My Program/run\" --flag", "/opt/My Program/run"},
      {"\"/opt/a\\\"b/run\"", "/opt/a\"b/run"},
      {"python3 /usr/share/tool/tool.py", "/usr/share/tool/tool.py"},
      {"sh -c \"exec something\"", ""},
      {"", ""},
      {"env", ""},
      {"   ", ""},
  };
  for (const auto& [command, program] : cases) EXPECT_EQ(programOfCommand(command), program) << command;
}

TEST(LocaleVariants, GoFromTheMostFittingToTheLeast) {
  using Names = std::vector<std::string>;
  EXPECT_EQ(localeVariants("sr_RS.UTF-8@latin"), (Names{"sr_RS@latin", "sr_RS", "sr@latin", "sr"}));
  EXPECT_EQ(localeVariants("de_AT.UTF-8"), (Names{"de_AT", "de"}));
  EXPECT_EQ(localeVariants("de"), (Names{"de"}));
  EXPECT_EQ(localeVariants("C.UTF-8"), Names{});
  EXPECT_EQ(localeVariants("POSIX"), Names{});
  EXPECT_EQ(localeVariants(""), Names{});
}

TEST(ParseDesktopEntry, ReadsTheGroupOfTheEntryAlone) {
  const auto entry = parseDesktopEntry("id",
                                       "# comment\n[Other]\nName=No\n[Desktop Entry]\r\nType = Application\n"
                                       "Name=Plain\nName[de]=Deutsch\nName[de_AT]=Wienerisch\nExec=run %f\n"
                                       "StartupWMClass=Cls\n[Desktop Action new]\nName=Action\nExec=other\n",
                                       {"de_AT", "de"});
  EXPECT_EQ(entry, (DesktopEntry{.id = "id", .name = "Wienerisch", .windowClass = "Cls", .command = "run"}));
}

TEST(ParseDesktopEntry, WantsAnApplicationWithAName) {
  EXPECT_EQ(parseDesktopEntry("id", "[Desktop Entry]\nType=Link\nName=X\n", {}), std::nullopt);
  EXPECT_EQ(parseDesktopEntry("id", "[Desktop Entry]\nType=Application\n", {}), std::nullopt);
  EXPECT_EQ(parseDesktopEntry("id", "Type=Application\nName=X\n", {}), std::nullopt);
  EXPECT_EQ(parseDesktopEntry("id", "", {}), std::nullopt);
}

}  // namespace
}  // namespace quillard::proc
