#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedBundle.h"
#include "platform/simulated/SimulatedLoginService.h"
#include "platform/simulated/SimulatedWorld.h"
#include "system/LoginItemManager.h"

namespace quillard {
namespace {

using platform::LoginServiceStatus;
using platform::simulated::Seed;
using testing::ElementsAre;
using testing::IsEmpty;

class LoginItemManagerTest : public testing::Test {
 protected:
  platform::simulated::SimulatedWorld world{Seed{1}};
  platform::simulated::SimulatedBundle bundle;
  platform::simulated::SimulatedLoginService service;
  LoginItemManager manager{bundle, service, world.workspace(), world.console()};
  const LoginItemStatus noBundle = LoginItemStatus::unavailable("Run the built app bundle to enable launch at login.");
};

TEST_F(LoginItemManagerTest, TellsWhatTheSystemTells) {
  const std::vector<std::pair<LoginServiceStatus, LoginItemStatus>> table{
      {LoginServiceStatus::notRegistered, {LoginItemState::disabled, ""}},
      {LoginServiceStatus::enabled, {LoginItemState::enabled, ""}},
      {LoginServiceStatus::requiresApproval, {LoginItemState::requiresApproval, ""}},
      {LoginServiceStatus::notFound,
       LoginItemStatus::unavailable("macOS could not find this app bundle as a login item.")},
      {LoginServiceStatus::unknown, LoginItemStatus::unavailable("macOS returned an unknown Login Items status.")},
      // A newer system may know more.
      {static_cast<LoginServiceStatus>(99),
       LoginItemStatus::unavailable("macOS returned an unknown Login Items status.")},
  };
  for (const auto& [told, expected] : table) {
    service.setStatus(told);
    EXPECT_EQ(manager.status(), expected) << static_cast<int>(told);
  }
}

TEST_F(LoginItemManagerTest, IsUnavailableAndAsksNothingOutsideABuiltApplication) {
  service.setStatus(LoginServiceStatus::enabled);
  for (const auto* path :
       {"/Users/someone/build/Quillard", "/Users/someone/build/Quillard.APP", "/app", "/.app",
        "/Applications/Quillard.app/Contents", "/Applications/Quillard.app.old", "/Quillard.", "", "/"}) {
    bundle.setPath(path);
    EXPECT_EQ(manager.status(), noBundle) << path;
    EXPECT_EQ(manager.registerApplication(), noBundle) << path;
  }
  EXPECT_EQ(service.registrationCount(), 0);
  EXPECT_THAT(world.console().lines(), IsEmpty());
  for (const auto* path : {"/Users/someone/build/Quillard.app", "/Quillard.app/", "Quillard.app", "/a.b/My.Own.app"}) {
    bundle.setPath(path);
    EXPECT_EQ(manager.status().state, LoginItemState::enabled) << path;
  }
}

TEST_F(LoginItemManagerTest, RegistersAndTellsWhatCameOfIt) {
  EXPECT_EQ(manager.registerApplication().state, LoginItemState::enabled);
  EXPECT_EQ(service.registrationCount(), 1);
  service.setStatusAfterRegistration(LoginServiceStatus::requiresApproval);
  EXPECT_EQ(manager.registerApplication().state, LoginItemState::requiresApproval);
  EXPECT_THAT(world.console().lines(), IsEmpty());
}

TEST_F(LoginItemManagerTest, PrintsAFailureAndTellsTheStatusThatFollows) {
  service.setRegistrationError("Operation not permitted");
  EXPECT_EQ(manager.registerApplication().state, LoginItemState::disabled);
  EXPECT_THAT(world.console().lines(),
              ElementsAre("Unable to register Quillard as a login item: Operation not permitted"));
}

TEST_F(LoginItemManagerTest, ReasonsTellUnavailableStatusesApart) {
  EXPECT_EQ(LoginItemStatus::unavailable("a"), LoginItemStatus::unavailable("a"));
  EXPECT_NE(LoginItemStatus::unavailable("a"), LoginItemStatus::unavailable("b"));
  EXPECT_NE(LoginItemStatus::unavailable(""), (LoginItemStatus{LoginItemState::enabled, ""}));
}

TEST_F(LoginItemManagerTest, OpensTheSystemsPageOfLoginItems) {
  manager.openSettings();
  EXPECT_THAT(world.desktop().openedURLs(),
              ElementsAre("x-apple.systempreferences:com.apple.LoginItems-Settings.extension"));
}

}  // namespace
}  // namespace quillard
