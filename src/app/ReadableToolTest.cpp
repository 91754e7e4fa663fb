#include <string>

#include <gtest/gtest.h>

#include "app/ReadableTool.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::app {
namespace {

class ReadableTool : public testing::Test {
 protected:
  ReadableTool() {
    auto& starts = world.readableStarts();
    starts.addEntry("org.example.chat", "Chat");
    world.desktop().addWindowEntry({.ownerProcessIdentifier = 901, .ownerName = "xterm"});
    world.desktop().addWindowEntry({.ownerProcessIdentifier = 900, .ownerName = "Chat"});
  }
  ExitCode run(const MakeReadable& command) {
    printed.clear();
    errorText.clear();
    return makeReadable(command, world.capabilities(), &world.readableStarts(), output);
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{3}};
  std::string printed;
  std::string errorText;
  const Output output{.print = [this](std::string_view text) { printed += text; },
                      .printError = [this](std::string_view text) { errorText += text; }};
};

TEST_F(ReadableTool, ListsWhatCannotBeReadAndWhatWouldMendIt) {
  EXPECT_EQ(run({}), ExitCode::fine);
  EXPECT_EQ(printed,
            "cannot be read  Chat (process 900)\n    or: quillard readable org.example.chat\n"
            "cannot be read  xterm (process 901)\n");
  EXPECT_EQ(world.readableStarts().changed().size(), 0U) << "asking changes nothing";
}

TEST_F(ReadableTool, ChangesAStartByNameOrEntryAndUndoesIt) {
  for (const std::string name : {"chat", "ORG.example.chat"}) {
    EXPECT_EQ(run({.program = name}), ExitCode::fine) << errorText;
    EXPECT_TRUE(world.readableStarts().isReadable("org.example.chat"));
    EXPECT_EQ(run({.program = name}), ExitCode::fine) << "It is so already.";
    EXPECT_EQ(run({}), ExitCode::fine);
    EXPECT_NE(printed.find("starts readable  Chat\n    to undo it: quillard readable --undo org.example.chat\n"),
              std::string::npos)
        << printed;
    EXPECT_EQ(run({.program = name, .undoes = true}), ExitCode::fine) << errorText;
    EXPECT_FALSE(world.readableStarts().isReadable("org.example.chat"));
  }
}

TEST_F(ReadableTool, SaysWhatItCannotDo) {
  EXPECT_EQ(run({.program = "xterm"}), ExitCode::problemFound) << "Nothing is known to mend it.";
  EXPECT_NE(errorText, "");
  EXPECT_EQ(run({.program = "chat", .undoes = true}), ExitCode::problemFound) << "It was not changed.";
  EXPECT_EQ(errorText, "Nothing was changed here for chat.\n");
  EXPECT_EQ(run({.program = "chat"}), ExitCode::fine);
  world.readableStarts().editByUser("org.example.chat");
  EXPECT_EQ(run({.program = "chat", .undoes = true}), ExitCode::problemFound);
  EXPECT_EQ(errorText, "The entry of Chat was changed since.\n");
}

TEST_F(ReadableTool, SaysOfAProgramThatItDidNotFindThatOthersMayBeMissing) {
  world.capabilities().setLimitation(platform::DesktopCapability::windowList,
                                     platform::Limitation{.reason = "Some are not seen.", .isPartial = true});
  EXPECT_EQ(run({.program = "mail"}), ExitCode::problemFound);
  EXPECT_TRUE(errorText.ends_with("Some are not seen.\n")) << errorText;
}

TEST_F(ReadableTool, MendsWhatWasFoundWhereOthersMayBeMissing) {
  world.capabilities().setLimitation(platform::DesktopCapability::windowList,
                                     platform::Limitation{.reason = "Some are not seen.", .isPartial = true});
  EXPECT_EQ(run({}), ExitCode::fine);
  EXPECT_NE(printed.find("cannot be read  Chat (process 900)\n"), std::string::npos) << printed;
  EXPECT_TRUE(printed.ends_with("Some are not seen.\n")) << printed;
  EXPECT_EQ(run({.program = "chat"}), ExitCode::fine) << errorText;
  EXPECT_TRUE(world.readableStarts().isReadable("org.example.chat"));
}

TEST_F(ReadableTool, ClaimsNothingWhereItIsNotKnownWhatCanBeRead) {
  world.capabilities().setLimitation(platform::DesktopCapability::windowList, platform::Limitation{"No display."});
  EXPECT_EQ(run({}), ExitCode::cannotDoHere);
  EXPECT_EQ(printed, "Not known: No display.\n");
  EXPECT_EQ(run({.program = "chat"}), ExitCode::cannotDoHere);
  EXPECT_EQ(errorText, "Not known: No display.\n") << "And not that there is no such program.";
}

TEST_F(ReadableTool, IsNothingForASystemThatNeedsNoSuchThing) {
  EXPECT_EQ(makeReadable({}, world.capabilities(), nullptr, output), ExitCode::cannotDoHere);
  EXPECT_NE(errorText, "");
}

}  // namespace
}  // namespace quillard::app
