#include "contract/storage/UserDefaultsContract.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quillard::test {
namespace {

using platform::UserDefaultsValue;
using Texts = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

std::vector<std::pair<std::string, UserDefaultsValue>> oneOfEachKind() {
  return {{"yes", true},
          {"no", false},
          {"zero", 0.0},
          {"one", 1.0},
          {"fraction", 0.1},
          {"huge", std::numeric_limits<double>::max()},
          {"never", std::numeric_limits<double>::infinity()},
          {"always", -std::numeric_limits<double>::infinity()},
          {"text", std::string("Grüße \"\\\n\x01")},
          {"nothing", std::string()},
          {"with zero", std::string("a\0b", 3)},
          {"texts", Texts{"a", "", "b"}},
          {"no texts", Texts{}},
          {"date", Date{std::chrono::microseconds{1772368496123456}}},
          {"bytes", Bytes{0, 255, 10}},
          {"no bytes", Bytes{}}};
}

}  // namespace

TEST_P(UserDefaultsContract, KeepsEveryKindFromRunToRun) {
  for (const auto& [key, value] : oneOfEachKind()) binding->defaults().set(key, value);
  for (const auto& [key, value] : oneOfEachKind()) EXPECT_EQ(binding->defaults().object(key), value) << key;
  binding->reopen();
  for (const auto& [key, value] : oneOfEachKind()) EXPECT_EQ(binding->defaults().object(key), value) << key;
  EXPECT_EQ(binding->defaults().object("never set"), std::nullopt);
}

TEST_P(UserDefaultsContract, KeepsANumberThatIsNone) {
  binding->defaults().set("nan", std::numeric_limits<double>::quiet_NaN());
  binding->reopen();
  const auto read = binding->defaults().object("nan");
  ASSERT_TRUE(read && std::holds_alternative<double>(*read));
  EXPECT_TRUE(std::isnan(std::get<double>(*read)));
}

TEST_P(UserDefaultsContract, KeepsTheNewestValueWhateverItsKind) {
  binding->defaults().set("a", true);
  binding->defaults().set("a", std::string("text"));
  EXPECT_EQ(binding->defaults().object("a"), UserDefaultsValue(std::string("text")));
  binding->defaults().set("a", Texts{"b"});
  binding->reopen();
  EXPECT_EQ(binding->defaults().object("a"), UserDefaultsValue(Texts{"b"}));
}

TEST_P(UserDefaultsContract, ForgetsWhatIsRemoved) {
  binding->defaults().set("a", true);
  binding->defaults().set("b", true);
  binding->reopen();
  binding->defaults().remove("a");
  binding->defaults().remove("never set");
  EXPECT_EQ(binding->defaults().object("a"), std::nullopt);
  binding->reopen();
  EXPECT_EQ(binding->defaults().object("a"), std::nullopt);
  EXPECT_EQ(binding->defaults().object("b"), UserDefaultsValue(true));
}

TEST_P(UserDefaultsContract, AnotherProcessReadsWhatWasSetOnceBothHaveSynchronized) {
  binding->defaults().set("a", true);
  ASSERT_EQ(binding->defaults().synchronize(), std::nullopt);
  const auto other = binding->openAnother();
  EXPECT_EQ(other->object("a"), UserDefaultsValue(true));
  binding->defaults().set("a", 2.0);
  binding->defaults().set("b", true);
  ASSERT_EQ(binding->defaults().synchronize(), std::nullopt);
  EXPECT_EQ(other->object("a"), UserDefaultsValue(true)) << "not behind its back";
  ASSERT_EQ(other->synchronize(), std::nullopt);
  EXPECT_EQ(other->object("a"), UserDefaultsValue(2.0));
  EXPECT_EQ(other->object("b"), UserDefaultsValue(true));
}

TEST_P(UserDefaultsContract, WritesNothingButWhatItHasSetItself) {
  binding->defaults().set("theirs", std::string("old"));
  binding->defaults().set("removed", true);
  ASSERT_EQ(binding->defaults().synchronize(), std::nullopt);
  auto other = binding->openAnother();
  other->set("theirs", std::string("new"));
  other->remove("removed");
  ASSERT_EQ(other->synchronize(), std::nullopt);
  other.reset();
  binding->defaults().set("ours", true);  // And knows nothing of these changes.
  binding->reopen();
  EXPECT_EQ(binding->defaults().object("ours"), UserDefaultsValue(true));
  EXPECT_EQ(binding->defaults().object("theirs"), UserDefaultsValue(std::string("new")));
  EXPECT_EQ(binding->defaults().object("removed"), std::nullopt);
}

TEST_P(UserDefaultsContract, SaysWhenNothingCanBeWrittenAndWritesItLater) {
  binding->defaults().set("first", true);
  ASSERT_EQ(binding->defaults().synchronize(), std::nullopt);
  binding->setDiskFull(true);
  binding->defaults().set("second", true);
  EXPECT_NE(binding->defaults().synchronize(), std::nullopt);
  EXPECT_NE(binding->defaults().synchronize(), std::nullopt) << "nor the next time";
  EXPECT_EQ(binding->defaults().object("second"), UserDefaultsValue(true));
  EXPECT_EQ(binding->openAnother()->object("second"), std::nullopt);
  binding->setDiskFull(false);
  EXPECT_EQ(binding->defaults().synchronize(), std::nullopt);
  EXPECT_EQ(binding->openAnother()->object("second"), UserDefaultsValue(true));
  EXPECT_EQ(binding->openAnother()->object("first"), UserDefaultsValue(true));
}

TEST_P(UserDefaultsContract, ReadsWhatOthersHaveWrittenAlsoWhereItCannotWrite) {
  auto other = binding->openAnother();
  other->set("theirs", true);
  ASSERT_EQ(other->synchronize(), std::nullopt);
  other.reset();
  binding->setDiskFull(true);
  binding->defaults().set("ours", true);
  EXPECT_NE(binding->defaults().synchronize(), std::nullopt);
  EXPECT_EQ(binding->defaults().object("theirs"), UserDefaultsValue(true));
  EXPECT_EQ(binding->defaults().object("ours"), UserDefaultsValue(true));
  binding->setDiskFull(false);
}

TEST_P(UserDefaultsContract, MayBeUsedByManyThreads) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this, key = std::to_string(thread)] {
      for (int i = 0; i <= 200; ++i) {
        binding->defaults().set(key, double(i));
        EXPECT_EQ(binding->defaults().object(key), UserDefaultsValue(double(i)));
        if (i % 50 == 0) {
          EXPECT_EQ(binding->defaults().synchronize(), std::nullopt);
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  binding->reopen();
  for (int thread = 0; thread < 4; ++thread) {
    EXPECT_EQ(binding->defaults().object(std::to_string(thread)), UserDefaultsValue(200.0));
  }
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(UserDefaultsContract);

}  // namespace quillard::test
