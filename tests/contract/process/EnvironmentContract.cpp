#include "contract/process/EnvironmentContract.h"

namespace quillard::test {
namespace {

const std::string kName = "QUILLARD_TEST_OF_THE_ENVIRONMENT";

}  // namespace

TEST_P(EnvironmentContract, TellsUnsetFromSetToNothing) {
  EXPECT_EQ(environment.value(kName), std::nullopt);
  binding->set(kName, "");
  EXPECT_EQ(environment.value(kName), "");
  binding->unset(kName);
  EXPECT_EQ(environment.value(kName), std::nullopt);
}

TEST_P(EnvironmentContract, GivesThePresentValueByteForByte) {
  binding->set(kName, " a=b\xFF ");
  EXPECT_EQ(environment.value(kName), " a=b\xFF ");
  binding->set(kName, "later");
  EXPECT_EQ(environment.value(kName), "later");
}

TEST_P(EnvironmentContract, FindsNothingUnderNamesThatNoVariableHas) {
  binding->set(kName, "x=y");
  EXPECT_EQ(environment.value(""), std::nullopt);
  EXPECT_EQ(environment.value(kName + "=x"), std::nullopt);
  EXPECT_EQ(environment.value(kName + '\0'), std::nullopt);
  EXPECT_EQ(environment.value("quillard_test_of_the_environment"), std::nullopt);
  const std::string longer = kName + "_AND_MORE";
  EXPECT_EQ(environment.value(std::string_view(longer).substr(0, kName.size())), "x=y");
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(EnvironmentContract);

}  // namespace quillard::test
