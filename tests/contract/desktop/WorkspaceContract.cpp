#include <algorithm>

#include "contract/desktop/DesktopContract.h"

namespace quillard::test {
namespace {

using platform::DesktopCapability;
using platform::RunningApplication;
using platform::WorkspaceEvent;
using platform::WorkspaceEventKind;

bool isListed(platform::Workspace& workspace, std::int32_t processIdentifier) {
  const auto applications = workspace.runningApplications();
  return std::any_of(applications.begin(), applications.end(), [&](const RunningApplication& application) {
    return application.processIdentifier == processIdentifier && !application.isTerminated;
  });
}

TEST_P(WorkspaceContract, AProgramWithAPromptIsARunningApplicationThatMayHaveWindows) {
  const auto program = binding->show({});
  const auto application = binding->workspace().runningApplication(program->processIdentifier());
  ASSERT_TRUE(application);
  EXPECT_EQ(application->processIdentifier, program->processIdentifier());
  EXPECT_FALSE(application->isTerminated);
  EXPECT_NE(application->activationPolicy, platform::ActivationPolicy::prohibited);
  EXPECT_TRUE(application->localizedName && !application->localizedName->empty());
  EXPECT_TRUE(isListed(binding->workspace(), program->processIdentifier()));
}

TEST_P(WorkspaceContract, AProcessThatIsNoneIsNoApplication) {
  EXPECT_FALSE(binding->workspace().runningApplication(0x3FFFFFFF));
  EXPECT_FALSE(binding->workspace().activate(0x3FFFFFFF));
  EXPECT_FALSE(binding->workspace().terminate(0x3FFFFFFF));
}

TEST_P(WorkspaceContract, TheListKeepsItsOrderWhileNothingChanges) {
  const auto first = binding->show({.title = "One"});
  const auto second = binding->show({.title = "Two"});
  const auto once = binding->workspace().runningApplications();
  EXPECT_EQ(binding->workspace().runningApplications(), once);
}

TEST_P(WorkspaceContract, AnActivatedApplicationIsTheFrontmostAndActiveOne) {
  const auto first = binding->show({.title = "One"});
  const auto second = binding->show({.title = "Two"});
  if (lacks(DesktopCapability::frontmostApplication)) {
    EXPECT_FALSE(binding->workspace().activate(first->processIdentifier())) << "Nobody can be asked for that.";
    const auto frontmost = binding->workspace().frontmostApplication();
    const auto is = [&](const auto& program) {
      return frontmost && frontmost->processIdentifier == program->processIdentifier();
    };
    EXPECT_TRUE(!frontmost || is(first) || is(second)) << "What programs say, or nothing.";
    return;
  }
  for (const auto* program : {first.get(), second.get(), first.get()}) {
    EXPECT_TRUE(binding->workspace().activate(program->processIdentifier()));
    EXPECT_TRUE(binding->eventually([&] {
      const auto frontmost = binding->workspace().frontmostApplication();
      return frontmost && frontmost->processIdentifier == program->processIdentifier() && frontmost->isActive;
    }));
  }
}

TEST_P(WorkspaceContract, LaunchActivationAndEndAreToldOnTheMainThreadInTheirOrder) {
  std::vector<std::pair<WorkspaceEventKind, std::int32_t>> events;
  auto subscription = binding->workspace().observe([&](const WorkspaceEvent& event) {
    events.emplace_back(event.kind, event.application ? event.application->processIdentifier : 0);
  });
  const auto program = binding->show({});
  const auto identifier = program->processIdentifier();
  (void)binding->workspace().activate(identifier);
  const auto at = [&](WorkspaceEventKind kind) {
    return std::find(events.begin(), events.end(), std::pair{kind, identifier});
  };
  const bool knowsFront = !lacks(DesktopCapability::frontmostApplication);
  EXPECT_TRUE(binding->eventually([&] { return at(WorkspaceEventKind::didLaunchApplication) != events.end(); }));
  if (knowsFront) {
    EXPECT_TRUE(binding->eventually([&] { return at(WorkspaceEventKind::didActivateApplication) != events.end(); }));
  }
  program->kill();
  EXPECT_TRUE(binding->eventually([&] { return at(WorkspaceEventKind::didTerminateApplication) != events.end(); }));
  EXPECT_LT(at(WorkspaceEventKind::didLaunchApplication), at(WorkspaceEventKind::didTerminateApplication));
  if (knowsFront) {
    EXPECT_LT(at(WorkspaceEventKind::didLaunchApplication), at(WorkspaceEventKind::didActivateApplication));
    EXPECT_LT(at(WorkspaceEventKind::didActivateApplication), at(WorkspaceEventKind::didTerminateApplication));
  }
  EXPECT_FALSE(isListed(binding->workspace(), identifier));
}

TEST_P(WorkspaceContract, NothingIsToldOnceTheSubscriptionIsGone) {
  int events = 0;
  int later = 0;
  auto subscription = binding->workspace().observe([&](const WorkspaceEvent&) { ++events; });
  auto witness = binding->workspace().observe([&](const WorkspaceEvent&) { ++later; });
  subscription.reset();
  const auto program = binding->show({});
  EXPECT_TRUE(binding->eventually([&] { return later > 0; }));
  EXPECT_EQ(events, 0);
}

TEST_P(WorkspaceContract, AProgramThatIsAskedToQuitMayGo) {
  const auto program = binding->show({});
  EXPECT_TRUE(binding->workspace().terminate(program->processIdentifier()));
  EXPECT_TRUE(binding->eventually([&] { return !isListed(binding->workspace(), program->processIdentifier()); }));
}

}  // namespace
}  // namespace quillard::test
