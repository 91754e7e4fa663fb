#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "app/DoctorExamination.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::app {
namespace {

using platform::HttpOutcome;
using platform::HttpRequest;
using platform::HttpResponse;
using platform::LockOutcome;
using platform::LoginServiceStatus;
using platform::SecretPlace;
using platform::SecretStatusCode;

constexpr const char* kIdentity = R"({"pairingID":"stored-1","relayAuthToken":"tok","e2eSecret":"e2e"})";

class DoctorExaminationTest : public testing::Test {
 protected:
  DoctorExaminationTest() {
    world.environment().set("QUILLARD_RELAY_URL", "wss://relay.example.org/ws");
    world.environment().set("QUILLARD_PAIRING_ID", "office");
  }
  void start() {
    examination = std::make_unique<DoctorExamination>(
        world.platform(), pairing, DoctorTraits{.mayAskForNotifications = mayAskUser, .isAskedAlone = isAskedAlone});
    examination->start([this](const DoctorFacts& found) {
      EXPECT_FALSE(facts.has_value()) << "It is done once.";
      facts = found;
    });
    EXPECT_FALSE(facts.has_value()) << "It is done in a later turn.";
  }
  DoctorFacts examine(Seconds timeout = Seconds{1}) {
    start();
    world.advance(timeout);
    EXPECT_TRUE(facts.has_value());
    return facts.value_or(DoctorFacts{});
  }
  void putIdentity() {
    (void)secretStore.add(SecretPlace::dataProtectionKeychain, "com.quillard.agent", "installation-secrets-v1",
                          Secret{std::string_view{kIdentity}});
  }
  void answer(const HttpOutcome& outcome) {
    httpSessions.setServer([outcome](const HttpRequest&) { return outcome; });
  }

  platform::simulated::SimulatedWorld world{platform::simulated::Seed{5}};
  platform::simulated::SimulatedBundle& bundle = world.bundle();
  platform::simulated::SimulatedHttpSessions& httpSessions = world.httpSessions();
  platform::simulated::SimulatedLockFolder& lockFolder = world.lockFolder();
  platform::simulated::SimulatedLockFiles& lockFiles = world.lockFiles();
  platform::simulated::SimulatedLoginService& loginService = world.loginService();
  platform::simulated::SimulatedSecretStore& secretStore = world.secretStore();
  platform::simulated::SimulatedUserNotifications& notifications = world.userNotifications();
  PairingConfiguration pairing{
      {world.environment(), bundle, secretStore, world.userDefaults(), world.random(), world.console()}};
  bool mayAskUser = true;
  bool isAskedAlone = true;
  std::optional<DoctorFacts> facts;
  std::unique_ptr<DoctorExamination> examination;
};

TEST_F(DoctorExaminationTest, LooksAtTheProgramAndItsDesktop) {
  loginService.setStatus(LoginServiceStatus::enabled);
  world.desktop().addWindowEntry({.ownerProcessIdentifier = 12, .ownerName = "gimp"});
  const auto found = examine();
  EXPECT_EQ(found.programFolder, bundle.path());
  EXPECT_TRUE(found.isInstalled);
  EXPECT_EQ(found.folderForApplications, bundle.applicationDirectories().front());
  EXPECT_EQ(found.windowListLimitation, std::nullopt);
  EXPECT_FALSE(found.isWayland);
  EXPECT_EQ(found.accessibilityTrust, platform::ProcessTrust::granted);
  EXPECT_EQ(found.unreadablePrograms, (std::vector<platform::UnreadableProgram>{{12, "gimp"}}));
  EXPECT_TRUE(found.canBeLoginItem);
  EXPECT_EQ(found.loginItem, LoginServiceStatus::enabled);
  EXPECT_EQ(found.notificationProblem, std::nullopt);
}

TEST_F(DoctorExaminationTest, DoesNotAskWhereTheQuestionWouldReachTheUser) {
  mayAskUser = false;
  isAskedAlone = false;
  notifications.setAuthorizationError("the user was asked");
  const auto found = examine();
  EXPECT_EQ(found.notificationProblem, std::nullopt);
  EXPECT_FALSE(found.isAskedAlone);
}

TEST_F(DoctorExaminationTest, AsksTheRelayForAnIdentityThatOnlyTheSecondPlaceHolds) {
  answer(HttpResponse{.statusCode = 200});
  (void)secretStore.add(SecretPlace::fileKeychain, "com.quillard.agent", "installation-secrets-v1",
                        Secret{std::string_view{kIdentity}});
  EXPECT_EQ(examine().relay, RelayReach::registered);
}

TEST_F(DoctorExaminationTest, FindsAProgramInABuildFolder) {
  bundle.setPath("/build/dev");
  bundle.setIdentifier(std::nullopt);
  const auto found = examine();
  EXPECT_FALSE(found.isInstalled);
  EXPECT_FALSE(found.canBeLoginItem);
}

TEST_F(DoctorExaminationTest, KnowsAWaylandSessionByEitherSign) {
  world.environment().set("WAYLAND_DISPLAY", "");
  EXPECT_FALSE(examine().isWayland);
  facts.reset();
  world.environment().set("XDG_SESSION_TYPE", "wayland");
  EXPECT_TRUE(examine().isWayland);
  facts.reset();
  world.environment().set("XDG_SESSION_TYPE", "x11");
  world.environment().set("WAYLAND_DISPLAY", "wayland-0");
  EXPECT_TRUE(examine().isWayland);
}

TEST_F(DoctorExaminationTest, TellsWhatTheDesktopLacks) {
  const platform::Limitation limitation{"There is no display."};
  world.capabilities().setLimitation(platform::DesktopCapability::windowList, limitation);
  const auto found = examine();
  EXPECT_EQ(found.windowListLimitation, limitation);
  EXPECT_EQ(found.unreadablePrograms, platform::Limitation{"Not known: There is no display."});
}

TEST_F(DoctorExaminationTest, ClaimsNothingOfProgramsWithoutAccessibility) {
  world.desktop().setTrusted(false);
  const auto found = examine();
  EXPECT_EQ(found.accessibilityTrust, platform::ProcessTrust::denied);
  EXPECT_FALSE(found.unreadablePrograms.isKnown());
}

TEST_F(DoctorExaminationTest, SeesTheGtk2Bridge) {
  world.environment().set("GTK_MODULES", "canberra:gail:atk-bridge");
  EXPECT_TRUE(examine().hasGtk2Bridge);
}

TEST_F(DoctorExaminationTest, TellsWhoShowsNotifications) {
  EXPECT_EQ(examine().notificationServer, std::nullopt) << "the system itself";
  facts.reset();
  notifications.setServer(platform::NotificationServer{"dunst", "knopwob"});
  EXPECT_EQ(examine().notificationServer, (platform::NotificationServer{"dunst", "knopwob"}));
}

TEST_F(DoctorExaminationTest, TellsThatNotificationsFail) {
  notifications.setAuthorizationError("There is no session bus.");
  EXPECT_EQ(examine().notificationProblem, "There is no session bus.");
}

TEST_F(DoctorExaminationTest, LeavesTheLockAsItWas) {
  EXPECT_EQ(examine().lock, LockOutcome::acquired);
  EXPECT_EQ(lockFiles.heldCount(), 0U);
  facts.reset();
  platform::simulated::SimulatedLockFiles agent(lockFolder);
  const auto held = agent.acquire("com.quillard.agent.lock");
  ASSERT_EQ(held.outcome, LockOutcome::acquired);
  EXPECT_EQ(examine().lock, LockOutcome::heldElsewhere);
  EXPECT_EQ(agent.heldCount(), 1U);
}

TEST_F(DoctorExaminationTest, NoRelayIsConfigured) {
  world.environment().unset("QUILLARD_RELAY_URL");
  EXPECT_EQ(examine().relay, RelayReach::notConfigured);
  EXPECT_TRUE(httpSessions.requests().empty());
}

TEST_F(DoctorExaminationTest, TheRelaysAddressIsNone) {
  world.environment().set("QUILLARD_RELAY_URL", "not an address");
  EXPECT_EQ(examine().relay, RelayReach::badAddress);
}

TEST_F(DoctorExaminationTest, WithoutAnIdentityItOnlyAsksWhetherTheRelayIsThere) {
  const auto found = examine();
  EXPECT_EQ(found.relay, RelayReach::reachable);
  EXPECT_EQ(found.relayAddress, "https://relay.example.org");
  ASSERT_EQ(httpSessions.requests().size(), 1U);
  EXPECT_EQ(httpSessions.requests().front().method, "GET");
  EXPECT_EQ(httpSessions.requests().front().url, "https://relay.example.org/healthz");
  // Nothing was made.
  EXPECT_EQ(secretStore.stored(SecretPlace::dataProtectionKeychain, "installation-secrets-v1"), std::nullopt);
  EXPECT_EQ(secretStore.stored(SecretPlace::fileKeychain, "installation-secrets-v1"), std::nullopt);
}

TEST_F(DoctorExaminationTest, ARelayThatAnswersInAnyWayIsThere) {
  answer(HttpResponse{404});
  EXPECT_EQ(examine().relay, RelayReach::reachable);
}

TEST_F(DoctorExaminationTest, ARelayThatDoesNotAnswerIsUnreachable) {
  answer(platform::TransportError{"No such host."});
  const auto found = examine();
  EXPECT_EQ(found.relay, RelayReach::unreachable);
  EXPECT_EQ(found.relayText, "No such host.");
}

TEST_F(DoctorExaminationTest, WaitsForASlowRelayEightSeconds) {
  httpSessions.setServer([](const HttpRequest&) { return std::optional<HttpOutcome>(); });
  start();
  world.advance(Seconds{7.9});
  EXPECT_FALSE(facts.has_value());
  world.advance(Seconds{0.2});
  ASSERT_TRUE(facts.has_value());
  EXPECT_EQ(facts->relay, RelayReach::unreachable);
}

TEST_F(DoctorExaminationTest, WithAnIdentityItAsksWhetherTheRelayKnowsIt) {
  putIdentity();
  const auto found = examine();
  EXPECT_EQ(found.relay, RelayReach::registered);
  EXPECT_EQ(found.secretService.code, SecretStatusCode::success);
  ASSERT_EQ(httpSessions.requests().size(), 1U);
  EXPECT_EQ(httpSessions.requests().front().method, "PUT");
}

TEST_F(DoctorExaminationTest, ARelayMayRefuseThisComputer) {
  putIdentity();
  for (const auto& [status, reach] : {std::pair{401, RelayReach::refused}, std::pair{410, RelayReach::revoked}}) {
    facts.reset();
    answer(HttpResponse{status});
    const auto found = examine();
    EXPECT_EQ(found.relay, reach) << status;
    EXPECT_NE(found.relayText, "") << status;
  }
}

TEST_F(DoctorExaminationTest, TouchesNoIdentityThatCannotBeRead) {
  putIdentity();
  secretStore.fail(SecretPlace::dataProtectionKeychain, {SecretStatusCode::interactionNotAllowed, "locked"});
  const auto found = examine();
  EXPECT_EQ(found.secretService.code, SecretStatusCode::interactionNotAllowed);
  EXPECT_EQ(found.relay, RelayReach::reachable);
  EXPECT_EQ(httpSessions.requests().front().method, "GET");
}

TEST_F(DoctorExaminationTest, IsNotHeardOfAfterItHasGone) {
  start();
  examination.reset();
  world.advance(Seconds{20});
  EXPECT_FALSE(facts.has_value());
}

}  // namespace
}  // namespace quillard::app
