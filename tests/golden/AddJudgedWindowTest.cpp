// The one command that makes a test of a misjudged window, from its recording to the printed table.

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "private-desktop/FileContents.h"
#include "private-desktop/TemporaryFolder.h"
#include "support/ChildProcess.h"

namespace quillard::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const std::string kTrees = QUILLARD_GOLDEN_DIRECTORY "/trees";
// What the script starts; named here so that a change of either runs this test again.
const std::vector<std::string> kPrograms{RECORDED_TREES_TEST, PROMPT_TABLE};

class AddJudgedWindow : public testing::Test {
 protected:
  // A folder with a few of the recorded windows, and the verdicts on them.
  AddJudgedWindow() {
    fs::create_directories(trees());
    std::string verdicts;
    for (const std::string name : {"thunar-delete", "zenity-info"}) {
      for (const std::string ending : {".json", ".txt", ".linux.txt"}) {
        fs::copy_file(kTrees + "/" + name + ending, trees() + "/" + name + ending);
      }
      verdicts += name + (name == "zenity-info" ? " information []\n" : " prompt [Delete]\n");
    }
    write(trees() + "/verdicts.txt", verdicts);
    before = filesOfTrees();
  }

  [[nodiscard]] std::string trees() const { return folder.path() + "/golden/trees"; }
  [[nodiscard]] std::string verdicts() const { return privatedesktop::fileContents(trees() + "/verdicts.txt"); }
  [[nodiscard]] std::map<std::string, std::string> filesOfTrees() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(trees())) {
      files[entry.path().filename()] = privatedesktop::fileContents(entry.path());
    }
    return files;
  }
  static void write(const std::string& path, const std::string& text) { std::ofstream{path, std::ios::binary} << text; }

  // Its exit code; what it prints is in `printed`.
  int run(std::vector<std::string> arguments) {
    ChildProcess::Start start{.command = {"bash", "-c", "exec \"$@\" 2>&1", "bash",
                                          std::string(PROJECT_FOLDER) + "/scripts/add-judged-window.sh"},
                              .environment = presentEnvironment(),
                              .input = ""};
    start.command.insert(start.command.end(), arguments.begin(), arguments.end());
    start.environment.push_back("QUILLARD_BUILD_FOLDER=" BUILD_FOLDER);
    start.environment.push_back("QUILLARD_GOLDEN_FOLDER=" + folder.path() + "/golden");
    ChildProcess script{start};
    printed.clear();
    while (const auto line = script.readLine()) printed += *line + "\n";
    return script.wait().value_or(-1);
  }

  // It said why, and left everything as it was.
  void expectRefusal(const std::vector<std::string>& arguments, const std::string& reason) {
    EXPECT_NE(run(arguments), 0) << printed;
    EXPECT_THAT(printed, HasSubstr(reason));
    EXPECT_EQ(filesOfTrees(), before) << reason;
  }

  const privatedesktop::TemporaryFolder folder;
  std::map<std::string, std::string> before;
  std::string printed;
};

const std::string kRecording = kTrees + "/mousepad-saveas-replace.json";

TEST_F(AddJudgedWindow, AddsTheRecordingAndAPersonsVerdictAndPrintsWhatTheDetectorMakesOfIt) {
  for (const auto& program : kPrograms) ASSERT_TRUE(fs::exists(program));
  ASSERT_EQ(run({kRecording, "new-window", "prompt", "Replace"}), 0) << printed;
  EXPECT_THAT(verdicts(), ::testing::EndsWith("\nnew-window prompt [Replace]\n"));
  auto added = filesOfTrees();
  EXPECT_EQ(added["new-window.json"], privatedesktop::fileContents(kRecording));
  for (const std::string ending : {".txt", ".linux.txt"}) {
    EXPECT_EQ(added["new-window" + ending], privatedesktop::fileContents(kTrees + "/mousepad-saveas-replace" + ending));
  }
  EXPECT_THAT(printed, HasSubstr("Verdict: a prompt.\n"));
  EXPECT_THAT(printed, HasSubstr("Rule: conflict\n"));
  EXPECT_THAT(printed, HasSubstr("  prompt, held back               1        1        0"));
  EXPECT_THAT(printed, HasSubstr("A person's verdict: prompt."));
}

TEST_F(AddJudgedWindow, PrintsThatTheDetectorJudgesOtherwise) {
  ASSERT_EQ(run({kRecording, "new-window", "form", ""}), 0) << printed;
  EXPECT_THAT(printed, HasSubstr("  wrongly taken: new-window (conflict)\n"));
}

TEST_F(AddJudgedWindow, AddsNothingWhereSomethingIsWrong) {
  expectRefusal({kRecording, "new-window", "prompt"}, "scripts/add-judged-window.sh FILE NAME KIND HAZARDS");
  expectRefusal({kRecording, "new-window", "question", ""}, "No such kind: question");
  expectRefusal({kRecording, "../new", "prompt", ""}, "A name is of small letters");
  expectRefusal({kRecording, "zenity-info", "prompt", ""}, "There is a window of that name");
  expectRefusal({folder.path() + "/none.json", "new-window", "prompt", ""}, "There is no such recording");
  expectRefusal({kRecording, "new-window", "prompt", "Replace|Delete"}, "The window has no button \"Delete\".");
  expectRefusal({kRecording, "new-window", "prompt", "Re]place"}, "cannot be written down");
  write(folder.path() + "/broken.json", "{}");
  expectRefusal({folder.path() + "/broken.json", "new-window", "prompt", ""}, "This is no recording that can be read");
}

}  // namespace
}  // namespace quillard::test
