#include <cstdlib>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/posix/ProcessEnvironment.h"

namespace quillard::desktop {
namespace {

constexpr const char* kName = "QUILLARD_TEST_OF_THE_ENVIRONMENT";

class ProcessEnvironmentTest : public testing::Test {
 protected:
  ~ProcessEnvironmentTest() override { ::unsetenv(kName); }
  ProcessEnvironment environment;
};

TEST_F(ProcessEnvironmentTest, TellsUnsetFromSetToNothing) {
  ::unsetenv(kName);
  EXPECT_EQ(environment.value(kName), std::nullopt);
  ::setenv(kName, "", 1);
  EXPECT_EQ(environment.value(kName), "");
}

TEST_F(ProcessEnvironmentTest, GivesTheValueOfThisMomentByteForByte) {
  ::setenv(kName, " a=b\xFF ", 1);
  EXPECT_EQ(environment.value(kName), " a=b\xFF ");
  ::setenv(kName, "later", 1);
  EXPECT_EQ(environment.value(kName), "later");
}

TEST_F(ProcessEnvironmentTest, FindsNothingUnderNamesThatNoVariableHas) {
  ::setenv(kName, "x=y", 1);
  EXPECT_EQ(environment.value(""), std::nullopt);
  EXPECT_EQ(environment.value(std::string(kName) + "=x"), std::nullopt);
  EXPECT_EQ(environment.value(std::string(kName) + '\0'), std::nullopt);
  EXPECT_EQ(environment.value(std::string_view("QUILLARD_TEST_OF_THE_ENVIRONMENT_AND_MORE", 32)), "x=y");
}

}  // namespace
}  // namespace quillard::desktop
