#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/posix/StandardOutput.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::size_t kMoreThanAPipeTakes = 400'000;  // Bytes. 64 KiB is what the larger ones take.

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
  void makeNonBlocking() const { ::fcntl(ends[1], F_SETFL, O_NONBLOCK); }

 private:
  std::array<int, 2> ends{-1, -1};
};

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

TEST(StandardOutput, SurvivesAFileThatMayNotGrow) {
  const test::TemporaryFolder folder;
  const int file = ::open((folder.path() + "/lines").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_GE(file, 0);
  rlimit former{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &former), 0);
  auto* const formerHandler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit nothing{0, former.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &nothing), 0);
  StandardOutput console(file);
  console.writeLine("lost");
  ::setrlimit(RLIMIT_FSIZE, &former);
  std::signal(SIGXFSZ, formerHandler);
  EXPECT_EQ(::lseek(file, 0, SEEK_END), 0);
  console.writeLine("kept");
  EXPECT_EQ(::lseek(file, 0, SEEK_END), 5);
  ::close(file);
}

class StalledOutput : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Kinds, StalledOutput, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "NonBlocking" : "Blocking"; });

TEST_P(StalledOutput, LosesLinesButNeverHoldsItsWriterUp) {
  const OutputPipe pipe;
  if (GetParam()) pipe.makeNonBlocking();
  StandardOutput console(pipe.writer());
  const auto start = steady_clock::now();
  for (int i = 0; i < 10'000; ++i) console.writeLine("a line that nobody reads, number " + std::to_string(i));
  EXPECT_LT(steady_clock::now() - start, 5s);  // One wait of 100 ms, not ten thousand.

  const std::string before = pipe.take();
  EXPECT_EQ(before.rfind("a line that nobody reads, number 0\n", 0), 0U);
  console.writeLine("there is room again");
  EXPECT_EQ(pipe.take(), before.back() == '\n' ? "there is room again\n" : "\nthere is room again\n");
}

TEST_P(StalledOutput, EndsALineOfWhichOnlyAPartCouldBeWritten) {
  const OutputPipe pipe;
  if (GetParam()) pipe.makeNonBlocking();
  StandardOutput console(pipe.writer());
  console.writeLine(std::string(kMoreThanAPipeTakes, 'x'));
  const std::string part = pipe.take();
  ASSERT_LT(part.size(), kMoreThanAPipeTakes);
  ASSERT_FALSE(part.empty());
  console.writeLine("next");
  EXPECT_EQ(pipe.take(), "\nnext\n");
}

TEST(StandardOutput, WaitsForAReaderThatIsOnlySlow) {
  const OutputPipe pipe;
  StandardOutput console(pipe.writer());
  std::thread writer([&console] { console.writeLine(std::string(kMoreThanAPipeTakes, 'x')); });
  std::string got;
  const auto end = steady_clock::now() + 10s;
  while (got.size() <= kMoreThanAPipeTakes && steady_clock::now() < end) got += pipe.take();
  writer.join();
  EXPECT_EQ(got, std::string(kMoreThanAPipeTakes, 'x') + "\n");
}

}  // namespace
}  // namespace quillard::desktop
