#include <gtest/gtest.h>

#include "detection/DialogDiagnostics.h"
#include "support/DetectionWorld.h"

namespace quillard {
namespace {

using samples::DetectionWorld;

class DialogDiagnosticsTest : public testing::Test, protected DetectionWorld {
 protected:
  platform::simulated::ApplicationHandle application =
      world.desktop().launch({.name = "App", .bundleIdentifier = "com.example.app", .processIdentifier = 412});
};

TEST_F(DialogDiagnosticsTest, PrintNothingUnlessSwitchedOnAndChangeNothing) {
  desktop().open(application, {.title = "Erase?", .buttons = {"Erase"}});
  const auto quiet = scanTwice();
  EXPECT_TRUE(world.console().lines().empty());
  world.environment().set("FARROWLIGHT_DIALOG_DIAGNOSTICS", "yes");
  EXPECT_EQ(detector.scan().approvals, quiet);
  EXPECT_EQ(world.console().lines().size(), 1U) << "the switch is read at every scan";
}

TEST_F(DialogDiagnosticsTest, PrintOneLineAWindowWithItsMembersSorted) {
  world.environment().set("QUILLARD_DIALOG_DIAGNOSTICS", "TRUE");
  desktop().open(application,
                 {.title = "Erase?", .lines = {"Are you sure?"}, .buttons = {"Erase"}, .frame = Rect{1, 2, 300, 200}});
  (void)detector.scan();
  EXPECT_EQ(world.console().lines(),
            std::vector<std::string>{
                "Quillard dialog diagnostic: "
                R"({"accepted":true,"appName":"App","bundleIdentifier":"com.example.app","buttonLabels":["Erase"],)"
                R"("isModal":true,"messageLines":["Are you sure?"],"processIdentifier":412,"promptScore":17,)"
                R"("role":"AXWindow","subrole":"AXDialog","title":"Erase?",)"
                R"("windowFrame":{"height":200.0,"width":300.0,"x":1.0,"y":2.0}})"});
}

TEST_F(DialogDiagnosticsTest, PrintRejectedWindowsWithTheirReason) {
  world.environment().set("QUILLARD_DIALOG_DIAGNOSTICS", "1");
  desktop().addWindow(application, {.role = "AXWindow", .title = "Document"});
  (void)detector.scan();
  ASSERT_EQ(world.console().lines().size(), 1U);
  const auto line = world.console().lines().front();
  EXPECT_NE(line.find(R"("accepted":false)"), std::string::npos) << line;
  EXPECT_NE(line.find(R"("rejectionReason":"No actionable buttons exposed through Accessibility.")"),
            std::string::npos);
}

TEST_F(DialogDiagnosticsTest, LeaveTheAgentsOwnWindowsOut) {
  world.environment().set("QUILLARD_DIALOG_DIAGNOSTICS", "1");
  const auto own = desktop().launch({.name = "Quillard", .processIdentifier = kOwnProcess});
  desktop().focusWindow(desktop().open(own, {.title = "Own", .buttons = {"OK"}}));
  (void)detector.scan();
  EXPECT_TRUE(world.console().lines().empty());
}

TEST_F(DialogDiagnosticsTest, WalkFurtherThanDetection) {
  world.environment().set("QUILLARD_DIALOG_DIAGNOSTICS", "1");
  const auto window = desktop().addWindow(application, {.role = "AXWindow", .subrole = "AXDialog"});
  desktop().addChild(window, {.role = "AXButton", .title = "Beyond", .frame = Rect{0, 0, 9, 9}});
  for (int i = 0; i < 119; ++i) desktop().addChild(window, {.role = "AXGroup"});
  (void)detector.scan();
  EXPECT_NE(world.console().lines().at(0).find("Beyond"), std::string::npos);
}

TEST_F(DialogDiagnosticsTest, SkipAnApplicationThatDoesNotAnswer) {
  world.environment().set("QUILLARD_DIALOG_DIAGNOSTICS", "1");
  desktop().open(application, {.title = "Erase?", .buttons = {"Erase"}});
  (void)detector.scan();
  int requests = 0;
  desktop().setRequestHook([&](const platform::simulated::AXRequest&) {
    if (++requests == 4) desktop().hang(application);  // In the midst of the diagnostics.
  });
  (void)detector.scan();
  EXPECT_EQ(world.console().lines().size(), 1U);
}

TEST(WindowDebugSnapshot, LeavesAbsentMembersOutAndDoesNotWriteBrokenText) {
  WindowDebugSnapshot snapshot;
  EXPECT_EQ(sortedJsonText(snapshot),
            R"({"accepted":false,"appName":"","buttonLabels":[],"isModal":false,"messageLines":[],)"
            R"("processIdentifier":0,"promptScore":0,"role":"","subrole":"","title":"",)"
            R"("windowFrame":{"height":0.0,"width":0.0,"x":0.0,"y":0.0}})");
  snapshot.title = "\xFF";
  EXPECT_EQ(sortedJsonText(snapshot), std::nullopt);
}

}  // namespace
}  // namespace quillard
