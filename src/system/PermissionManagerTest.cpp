#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedWorld.h"
#include "system/PermissionManager.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

TEST(PermissionManager, OpensThePrivacyPageAtTheAnchor) {
  SimulatedWorld world{Seed{1}};
  PermissionManager{world.workspace()}.openPrivacySettings(PermissionManager::accessibilityAnchor);
  EXPECT_THAT(world.desktop().openedURLs(),
              testing::ElementsAre("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
}

TEST(PermissionManager, OpensNothingForAnAnchorThatMakesNoAddress) {
  SimulatedWorld world{Seed{1}};
  PermissionManager permissions{world.workspace()};
  for (const auto* anchor : {"Privacy Accessibility", "a\nb", "100%", "Zugriff\xC3\xA4"}) {
    permissions.openPrivacySettings(anchor);
  }
  EXPECT_THAT(world.desktop().openedURLs(), testing::IsEmpty());
}

TEST(PermissionManager, BearsWithADesktopThatOpensNothing) {
  SimulatedWorld world{Seed{1}};
  world.desktop().setRefusesToOpen(true);
  PermissionManager{world.workspace()}.openPrivacySettings(PermissionManager::accessibilityAnchor);
  EXPECT_THAT(world.desktop().openedURLs(), testing::IsEmpty());
}

}  // namespace
}  // namespace quillard
