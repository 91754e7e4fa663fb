#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/LogTool.h"
#include "foundation/IsoDate.h"
#include "platform/simulated/SimulatedAppendOnlyFile.h"

namespace quillard::app {
namespace {

using namespace std::chrono_literals;
using platform::FileCode;
using testing::HasSubstr;

const Date kNow{std::chrono::sys_days{std::chrono::year{2026} / 3 / 10}};

class LogToolTest : public testing::Test {
 protected:
  void add(AuditEntry entry, std::chrono::hours before = 1h) {
    entry.at = kNow - before;
    bytes += nextAuditLine(entry, head);
    file.setContents(bytes);
  }
  ExitCode run(const ShowLog& command) { return LogTool(command, file, kNow, output).print(); }

  platform::simulated::SimulatedAppendOnlyFile file;
  std::string bytes;
  AuditHead head;
  std::string printed;
  std::string errors;
  const Output output{.print = [this](std::string_view text) { printed += text; },
                      .printError = [this](std::string_view text) { errors += text; },
                      .couldPrint = [] { return true; }};
};

TEST_F(LogToolTest, SaysOfEachEntryWhatHappened) {
  add({.event = "started"});
  add({.event = "asked", .program = "Installer", .title = "Install?", .buttons = {"Install", "Cancel"}});
  add({.event = "decided",
       .program = "Installer",
       .title = "Install?",
       .label = "Install",
       .pairing = 2,
       .phones = {"Ana"}});
  add({.event = "outcome",
       .program = "Installer",
       .label = "Install",
       .status = "failed",
       .error = "Gone.",
       .pairing = 2});
  add({.event = "answered", .program = "backup", .label = "Go", .how = "computer"});
  add({.event = "gone", .program = "Disk\a", .how = "notByPhone", .leftOut = 3});
  add({.event = "muted", .program = "Installer", .how = "phone", .until = kNow});
  add({.event = "mended", .how = "torn", .note = "The last line was not finished."});
  add({.event = "paused"});
  EXPECT_EQ(run({}), ExitCode::fine);
  EXPECT_EQ(printed,
            "2026-03-09T23:00:00Z  started\n"
            "2026-03-09T23:00:00Z  asked     Installer: Install? [Install] [Cancel]\n"
            "2026-03-09T23:00:00Z  decided   \"Install\", Ana, pairing 2. Installer: Install?\n"
            "2026-03-09T23:00:00Z  outcome   \"Install\" failed (Gone.), a phone, pairing 2. Installer\n"
            "2026-03-09T23:00:00Z  answered  \"Go\" by computer. backup\n"
            "2026-03-09T23:00:00Z  gone      Disk?, notByPhone (3 before it were not written down)\n"
            "2026-03-09T23:00:00Z  muted     Installer, until 2026-03-10T00:00:00Z, by phone\n"
            "2026-03-09T23:00:00Z  mended    torn. The last line was not finished.\n"
            "2026-03-09T23:00:00Z  paused\n");
  EXPECT_EQ(errors, "");
}

TEST_F(LogToolTest, PrintsJsonThatProgramsCanCheck) {
  add({.event = "asked", .title = "A"});
  EXPECT_EQ(run({.asJson = true}), ExitCode::fine);
  const auto json = Json::parse(printed);
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["sequence"], 1);
  EXPECT_EQ(json["title"], "A");
  EXPECT_EQ(json["digest"], head.digest);
}

TEST_F(LogToolTest, PrintsOnlyWhatCameSince) {
  add({.event = "asked", .title = "old"}, 72h);
  add({.event = "asked", .title = "new"}, 1h);
  for (const char* const since : {"2h", "7200s", "120m", "1d", "2026-03-09", "2026-03-09T00:00:00Z"}) {
    printed.clear();
    EXPECT_EQ(run({.since = since}), ExitCode::fine) << since;
    EXPECT_THAT(printed, HasSubstr("new")) << since;
    EXPECT_THAT(printed, testing::Not(HasSubstr("old"))) << since;
  }
  for (const char* const since : {"", "h", "1", "-1h", "1w", "yesterday", "2026-13-01", "99999999999h"}) {
    EXPECT_EQ(run({.since = since}), ExitCode::wrongUsage) << since;
  }
}

TEST_F(LogToolTest, PrintsEachEntryOnceWhereItIsFollowed) {
  add({.event = "asked", .title = "A"});
  LogTool tool({.follows = true}, file, kNow, output);
  EXPECT_EQ(tool.print(), ExitCode::fine);
  EXPECT_EQ(tool.print(), ExitCode::fine);
  add({.event = "asked", .title = "B"});
  file.setContents(bytes + "{\"vers");  // The agent is writing.
  printed.clear();
  EXPECT_EQ(tool.print(), ExitCode::fine);
  EXPECT_THAT(printed, HasSubstr("B"));
  EXPECT_THAT(printed, testing::Not(HasSubstr(" A")));
}

TEST_F(LogToolTest, SaysWhatIsWrongAfterWhatCouldBeRead) {
  add({.event = "asked", .title = "A"});
  file.setContents(bytes + "rubbish\n");
  EXPECT_EQ(run({}), ExitCode::problemFound);
  EXPECT_THAT(printed, HasSubstr("A"));
  EXPECT_THAT(errors, HasSubstr("not whole. Line 2"));
}

TEST_F(LogToolTest, VerifiesTheChain) {
  add({.event = "asked", .title = "A"});
  add({.event = "asked", .title = "B"});
  EXPECT_EQ(run({.verifies = true}), ExitCode::fine);
  EXPECT_EQ(printed, "Entries 1 to 2 are whole. The last one is " + head.digest + ".\n");
  bytes[bytes.find("\"A\"") + 1] = 'Z';
  file.setContents(bytes);
  EXPECT_EQ(run({.verifies = true}), ExitCode::problemFound);
  printed.clear();
  EXPECT_EQ(run({.asJson = true, .verifies = true}), ExitCode::problemFound);
  EXPECT_EQ(Json::parse(printed)["whole"], false);
}

TEST_F(LogToolTest, WithoutALogThereIsNothingToPrint) {
  EXPECT_EQ(run({}), ExitCode::fine);
  EXPECT_EQ(errors, "quillard log: Nothing was written down yet.\n");
}

TEST_F(LogToolTest, ALogThatCannotBeReadIsNoEmptyOne) {
  add({.event = "asked"});
  file.failWith(FileCode::unsafe, /*forReading=*/true);
  EXPECT_EQ(run({}), ExitCode::cannotDoHere);
  EXPECT_THAT(errors, HasSubstr("cannot be read"));
}

}  // namespace
}  // namespace quillard::app
