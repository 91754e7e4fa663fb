#include <string>

#include <gtest/gtest.h>

#include "platform/linux/accessibility/UnreadableRemedy.h"

namespace quillard::atspi {
namespace {

std::string mapped(const std::string& file) {
  return "7f00-7f01 r-xp 00000000 08:01 1 /usr/lib/x86_64-linux-gnu/libc.so.6\n7f02-7f03 r--p 00000000 08:01 2 " +
         file + "\n";
}

TEST(UnreadableRemedy, IsTheSwitchForProgramsBuiltOnChromium) {
  const auto maps = mapped("/usr/lib/chromium/v8_context_snapshot.bin");
  EXPECT_EQ(remedyFor(maps, /*isOnBus=*/true), "Start it with --force-renderer-accessibility.");
  EXPECT_EQ(remedyFor(maps + mapped("/usr/lib/libQt5Gui.so.5"), true), remedyFor(maps, true))
      << "Qt draws its frame at most.";
}

TEST(UnreadableRemedy, IsAnotherStartForQtAndABridgeForGtk2) {
  EXPECT_NE(remedyFor(mapped("/usr/lib/libQt6Gui.so.6.4.2"), false).find("start it again"), std::string::npos);
  EXPECT_NE(remedyFor(mapped("/usr/lib/libQt5Gui.so.5.15.8"), false).find("start it again"), std::string::npos);
  EXPECT_NE(remedyFor(mapped("/usr/lib/libgtk-x11-2.0.so.0"), false).find("gail:atk-bridge"), std::string::npos);
}

TEST(UnreadableRemedy, ClaimsNothingOfOthers) {
  EXPECT_EQ(remedyFor(mapped("/usr/lib/libSDL2.so"), false), "");
  EXPECT_EQ(remedyFor(mapped("/usr/lib/libQt6Gui.so.6.4.2"), true),
            "It is on the accessibility bus: look in its settings for screen readers.")
      << "It need not start anew.";
  EXPECT_EQ(remedyFor("", false), "");
}

}  // namespace
}  // namespace quillard::atspi
