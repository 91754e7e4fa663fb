#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/posix/StandardOutput.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

// A pipe of which the test reads one end.
class OutputPipe {
 public:
  OutputPipe() {
    if (::pipe(ends.data()) != 0) throw std::runtime_error("pipe");
  }
  OutputPipe(const OutputPipe&) = delete;
  OutputPipe& operator=(const OutputPipe&) = delete;
  ~OutputPipe() {
    closeReader();
    ::close(ends[1]);
  }
  [[nodiscard]] int writer() const { return ends[1]; }
  void closeReader() {
    if (ends[0] >= 0) ::close(ends[0]);
    ends[0] = -1;
  }
  // What is in the pipe now.
  std::string take() const {
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    std::string text;
    std::array<char, 4096> bytes{};
    for (ssize_t count = 1; count > 0;) {
      count = ::read(ends[0], bytes.data(), bytes.size());
      if (count > 0) text.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return text;
  }
  void makeSmall() const { ::fcntl(ends[1], F_SETPIPE_SZ, 4096); }
  void makeNonBlocking() const { ::fcntl(ends[1], F_SETFL, O_NONBLOCK); }

 private:
  std::array<int, 2> ends{-1, -1};
};

TEST(StandardOutput, EndsEachLine) {
  const OutputPipe pipe;
  StandardOutput console(pipe.writer());
  console.writeLine("first");
  console.writeLine("");
  console.writeLine("gr\xC3\xBC\xC3\x9F");
  EXPECT_EQ(pipe.take(), "first\n\ngr\xC3\xBC\xC3\x9F\n");
}

TEST(StandardOutput, KeepsTheLinesOfSeveralThreadsApart) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path() + "/lines";
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_APPEND, 0600);
  ASSERT_GE(file, 0);
  constexpr std::size_t kLines = 200;
  {
    StandardOutput console(file);
    std::vector<std::thread> threads;
    for (char letter = 'a'; letter < 'e'; ++letter) {
      threads.emplace_back([&console, letter] {
        for (std::size_t i = 0; i < kLines; ++i) console.writeLine(std::string(5000, letter));
      });
    }
    for (auto& thread : threads) thread.join();
  }
  ::close(file);
  std::ifstream lines(path);
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    ASSERT_EQ(line, std::string(5000, line.empty() ? '?' : line.front())) << "line " << count;
  }
  EXPECT_EQ(count, 4 * kLines);
}

TEST(StandardOutput, SurvivesAReaderThatWentAway) {
  OutputPipe pipe;
  StandardOutput console(pipe.writer());
  pipe.closeReader();
  console.writeLine("nobody reads this");
  console.writeLine("nor this");
}

TEST(StandardOutput, SurvivesAnOutputThatWasNeverThere) {
  StandardOutput console(-1);
  console.writeLine("lost");
}

TEST(StandardOutput, SurvivesAFullDisk) {
  const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  StandardOutput console(full);
  console.writeLine("lost");
  ::close(full);
}

class StalledOutput : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Kinds, StalledOutput, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "NonBlocking" : "Blocking"; });

TEST_P(StalledOutput, LosesLinesButNeverHoldsItsWriterUp) {
  const OutputPipe pipe;
  pipe.makeSmall();
  if (GetParam()) pipe.makeNonBlocking();
  StandardOutput console(pipe.writer());
  const auto start = steady_clock::now();
  for (int i = 0; i < 1000; ++i) console.writeLine("a line that nobody reads, number " + std::to_string(i));
  EXPECT_LT(steady_clock::now() - start, 5s);  // One wait of 100 ms, not a thousand.

  const std::string before = pipe.take();
  EXPECT_EQ(before.rfind("a line that nobody reads, number 0\n", 0), 0U);
  console.writeLine("there is room again");
  EXPECT_EQ(pipe.take(), before.back() == '\n' ? "there is room again\n" : "\nthere is room again\n");
}

TEST_P(StalledOutput, EndsALineOfWhichOnlyAPartCouldBeWritten) {
  const OutputPipe pipe;
  pipe.makeSmall();
  if (GetParam()) pipe.makeNonBlocking();
  StandardOutput console(pipe.writer());
  console.writeLine(std::string(10'000, 'x'));
  const std::string part = pipe.take();
  ASSERT_LT(part.size(), 10'000U);
  ASSERT_FALSE(part.empty());
  console.writeLine("next");
  EXPECT_EQ(pipe.take(), "\nnext\n");
}

TEST(StandardOutput, WaitsForAReaderThatIsOnlySlow) {
  const OutputPipe pipe;
  pipe.makeSmall();
  StandardOutput console(pipe.writer());
  std::thread writer([&console] { console.writeLine(std::string(20'000, 'x')); });
  std::string got;
  const auto end = steady_clock::now() + 10s;
  while (got.size() < 20'001 && steady_clock::now() < end) got += pipe.take();
  writer.join();
  EXPECT_EQ(got, std::string(20'000, 'x') + "\n");
}

}  // namespace
}  // namespace quillard::desktop
