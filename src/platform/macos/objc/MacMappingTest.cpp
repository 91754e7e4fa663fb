#include <gtest/gtest.h>

#include "platform/macos/objc/LoginServiceMapping.h"
#include "platform/macos/objc/NotificationGuard.h"
#include "platform/macos/objc/WorkspaceMapping.h"

namespace quillard::macos {
namespace {

using platform::ActivationPolicy;
using platform::LoginServiceStatus;
using platform::WorkspaceEventKind;

TEST(WorkspaceMapping, KnowTheThreePoliciesByTheirNumbers) {
  EXPECT_EQ(activationPolicyFrom(0), ActivationPolicy::regular);
  EXPECT_EQ(activationPolicyFrom(1), ActivationPolicy::accessory);
  EXPECT_EQ(activationPolicyFrom(2), ActivationPolicy::prohibited);
  for (const long number : {0L, 1L, 2L}) EXPECT_EQ(activationPolicyNumber(activationPolicyFrom(number)), number);
}

TEST(WorkspaceMapping, TakeAnUnknownPolicyForOneWithoutWindows) {
  EXPECT_EQ(activationPolicyFrom(3), ActivationPolicy::prohibited);
  EXPECT_EQ(activationPolicyFrom(-1), ActivationPolicy::prohibited);
}

TEST(WorkspaceMapping, KnowTheSixNotificationsOfTheWorkspace) {
  EXPECT_EQ(eventKindFrom("NSWorkspaceDidLaunchApplicationNotification"), WorkspaceEventKind::didLaunchApplication);
  EXPECT_EQ(eventKindFrom("NSWorkspaceDidTerminateApplicationNotification"),
            WorkspaceEventKind::didTerminateApplication);
  EXPECT_EQ(eventKindFrom("NSWorkspaceDidActivateApplicationNotification"), WorkspaceEventKind::didActivateApplication);
  EXPECT_EQ(eventKindFrom("NSWorkspaceDidHideApplicationNotification"), WorkspaceEventKind::didHideApplication);
  EXPECT_EQ(eventKindFrom("NSWorkspaceDidUnhideApplicationNotification"), WorkspaceEventKind::didUnhideApplication);
  EXPECT_EQ(eventKindFrom("NSWorkspaceActiveSpaceDidChangeNotification"), WorkspaceEventKind::activeSpaceDidChange);
}

TEST(WorkspaceMapping, KnowNoOtherNotification) {
  for (const char* name : {"", "NSWorkspaceDidDeactivateApplicationNotification", "NSWorkspaceDidWakeNotification",
                           "nsworkspacedidlaunchapplicationnotification"}) {
    EXPECT_EQ(eventKindFrom(name), std::nullopt) << name;
  }
}

TEST(LoginServiceMapping, KnowTheFourAnswersByTheirNumbers) {
  EXPECT_EQ(loginServiceStatusFrom(0), LoginServiceStatus::notRegistered);
  EXPECT_EQ(loginServiceStatusFrom(1), LoginServiceStatus::enabled);
  EXPECT_EQ(loginServiceStatusFrom(2), LoginServiceStatus::requiresApproval);
  EXPECT_EQ(loginServiceStatusFrom(3), LoginServiceStatus::notFound);
  EXPECT_EQ(loginServiceStatusFrom(4), LoginServiceStatus::unknown);
  EXPECT_EQ(loginServiceStatusFrom(-1), LoginServiceStatus::unknown);
}

TEST(LoginServiceMapping, ReportOnlyWhatWentWrong) {
  EXPECT_EQ(registrationProblem(true, LoginServiceStatus::enabled, std::nullopt), std::nullopt);
  EXPECT_EQ(registrationProblem(true, LoginServiceStatus::requiresApproval, std::nullopt), std::nullopt);
  EXPECT_EQ(registrationProblem(false, LoginServiceStatus::requiresApproval, "Operation not permitted"),
            "Operation not permitted");
  EXPECT_EQ(registrationProblem(false, LoginServiceStatus::notFound, std::nullopt), "The system gave no reason.");
  EXPECT_EQ(registrationProblem(false, LoginServiceStatus::notFound, ""), "The system gave no reason.");
}

TEST(LoginServiceMapping, FindNothingWrongWithAnApplicationThatWasRegisteredBefore) {
  EXPECT_EQ(registrationProblem(false, LoginServiceStatus::enabled, "Service already registered"), std::nullopt);
}

TEST(NotificationGuard, LetsOnlyApplicationsThrough) {
  EXPECT_TRUE(mayUseNotificationCenter("com.quillard.agent", "/Applications/Quillard.app"));
  EXPECT_TRUE(mayUseNotificationCenter("com.quillard.agent", "/Applications/Quillard.app/"));
  EXPECT_FALSE(mayUseNotificationCenter(std::nullopt, "/Applications/Quillard.app"));
  EXPECT_FALSE(mayUseNotificationCenter("", "/Applications/Quillard.app"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", "/Users/someone/build/bin"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", "/Applications/Quillard.app/Contents/Resources"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", "/Applications/.app"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", ".app"));
  EXPECT_FALSE(mayUseNotificationCenter("com.quillard.agent", ""));
}

}  // namespace
}  // namespace quillard::macos
