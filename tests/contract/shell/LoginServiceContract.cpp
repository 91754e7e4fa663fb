#include "contract/shell/LoginServiceContract.h"

namespace quillard::test {

using platform::LoginServiceStatus;

TEST_P(LoginServiceContract, IsNotRegisteredAtFirst) {
  EXPECT_EQ(service.status(), LoginServiceStatus::notRegistered);
  EXPECT_EQ(service.status(), LoginServiceStatus::notRegistered) << "asking registers nothing";
}

TEST_P(LoginServiceContract, RegisteringEnablesItHoweverOften) {
  EXPECT_EQ(service.registerMainApplication(), std::nullopt);
  EXPECT_EQ(service.status(), LoginServiceStatus::enabled);
  EXPECT_EQ(service.registerMainApplication(), std::nullopt);
  EXPECT_EQ(service.status(), LoginServiceStatus::enabled);
}

TEST_P(LoginServiceContract, WhatTheUserSwitchedOffStaysOffHoweverOftenItRegisters) {
  ASSERT_EQ(service.registerMainApplication(), std::nullopt);
  binding->switchOff();
  EXPECT_EQ(service.status(), LoginServiceStatus::requiresApproval);
  EXPECT_EQ(service.registerMainApplication(), std::nullopt);
  EXPECT_EQ(service.status(), LoginServiceStatus::requiresApproval);
  binding->switchOn();
  EXPECT_EQ(service.status(), LoginServiceStatus::enabled);
}

TEST_P(LoginServiceContract, AFailureIsDescribedAndChangesNothing) {
  binding->breakRegistration();
  const auto error = service.registerMainApplication();
  ASSERT_TRUE(error.has_value());
  EXPECT_NE(*error, "");
  EXPECT_EQ(service.status(), LoginServiceStatus::notRegistered);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LoginServiceContract);

}  // namespace quillard::test
