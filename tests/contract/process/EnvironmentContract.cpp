#include "contract/process/EnvironmentContract.h"

namespace quillard::test {
namespace {

const std::string kVariable = "QUILLARD_TEST_OF_THE_ENVIRONMENT";

}  // namespace

TEST_P(EnvironmentContract, TellsUnsetFromSetToNothing) {
  EXPECT_EQ(environment.value(kVariable), std::nullopt);
  binding->set(kVariable, "");
  EXPECT_EQ(environment.value(kVariable), "");
  binding->unset(kVariable);
  EXPECT_EQ(environment.value(kVariable), std::nullopt);
}

TEST_P(EnvironmentContract, GivesThePresentValueByteForByte) {
  binding->set(kVariable, " a=b\xFF ");
  EXPECT_EQ(environment.value(kVariable), " a=b\xFF ");
  binding->set(kVariable, "later");
  EXPECT_EQ(environment.value(kVariable), "later");
}

TEST_P(EnvironmentContract, FindsNothingUnderNamesThatNoVariableHas) {
  binding->set(kVariable, "x=y");
  EXPECT_EQ(environment.value(""), std::nullopt);
  EXPECT_EQ(environment.value(kVariable + "=x"), std::nullopt);
  EXPECT_EQ(environment.value(kVariable + '\0'), std::nullopt);
  EXPECT_EQ(environment.value("quillard_test_of_the_environment"), std::nullopt);
  const std::string longer = kVariable + "_AND_MORE";
  EXPECT_EQ(environment.value(std::string_view(longer).substr(0, kVariable.size())), "x=y");
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(EnvironmentContract);

}  // namespace quillard::test
