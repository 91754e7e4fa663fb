#include "contract/process/ConsoleContract.h"

#include <sstream>
#include <thread>
#include <vector>

namespace quillard::test {

TEST_P(ConsoleContract, EndsEachLine) {
  EXPECT_EQ(binding->written(), "");
  console.writeLine("first");
  console.writeLine("");
  console.writeLine("gr\xC3\xBC\xC3\x9F");
  EXPECT_EQ(binding->written(), "first\n\ngr\xC3\xBC\xC3\x9F\n");
}

TEST_P(ConsoleContract, KeepsTheLinesOfSeveralThreadsApart) {
  constexpr std::size_t kLines = 200;
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter < 'e'; ++letter) {
    threads.emplace_back([this, letter] {
      for (std::size_t i = 0; i < kLines; ++i) console.writeLine(std::string(5000, letter));
    });
  }
  for (auto& thread : threads) thread.join();
  std::istringstream lines(binding->written());
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    ASSERT_EQ(line, std::string(5000, line.empty() ? '?' : line.front())) << "line " << count;
  }
  EXPECT_EQ(count, 4 * kLines);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ConsoleContract);

}  // namespace quillard::test
