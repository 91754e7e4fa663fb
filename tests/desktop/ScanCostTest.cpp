#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "contract/desktop/PromptAgent.h"
#include "desktop/LinuxDesktopBinding.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "support/LongTests.h"

// What a whole scan costs: applications, windows, texts and verdicts. Times are printed, since they belong to a
// machine; waits for other programs are counted.
namespace quillard::test {
namespace {

using std::chrono::steady_clock;

struct Cost {
  double milliseconds = 0;
  std::uint64_t calls = 0;
  std::uint64_t waits = 0;
};

class Desk {
 public:
  // Brings the dialogs up to so many, each of a program of its own, and waits until scans find them all.
  [[nodiscard]] bool fillTo(std::size_t dialogs) {
    while (programs.size() < dialogs) {
      const std::string number = std::to_string(programs.size());
      programs.push_back(binding.privateDesktop().launch(
          "zenity", {"--question", "--title=Permission " + number, "--text=Allow the example number " + number + "?"}));
    }
    return waitInLoop([&] { return agent.scan().size() == dialogs; }, std::chrono::seconds{90});
  }

  // Of the scan whose time is the median, among those that every program answered in time: on a busy machine one or the
  // other is starved for longer than a scan waits.
  [[nodiscard]] Cost costOfAScan() {
    std::vector<Cost> costs;
    EXPECT_TRUE(waitInLoop([&] { return addACompleteScan(costs) && costs.size() == 11; }, std::chrono::seconds{60}));
    std::sort(costs.begin(), costs.end(), [](const Cost& a, const Cost& b) { return a.milliseconds < b.milliseconds; });
    return costs[costs.size() / 2];
  }

 private:
  // False when a program did not answer in time. Each prompt is then either read or known not to have been.
  bool addACompleteScan(std::vector<Cost>& costs) {
    const auto& counters = binding.accessibilityCounters();
    const Cost before{.calls = counters.calls, .waits = counters.waits};
    const auto begin = steady_clock::now();
    const auto outcome = agent.detector.scan();
    const auto time = steady_clock::now() - begin;
    EXPECT_EQ(outcome.approvals.size() + outcome.unreadProcesses.size(), programs.size());
    if (!outcome.isWhole()) return false;
    costs.push_back({.milliseconds = std::chrono::duration<double, std::milli>(time).count(),
                     .calls = counters.calls - before.calls,
                     .waits = counters.waits - before.waits});
    return true;
  }

  LinuxDesktopBinding binding{""};
  PromptAgent agent{binding, linuxPromptSupplement()};
  std::vector<DesktopProgram> programs;
};

TEST(ScanCost, WaitsAsOftenAsTheTreesAreDeepHoweverManyThereAre) {
  // As deep as a dialog's tree is. Of a program that was once too slow to list what is in it, as many are when so many
  // start together, each level is counted before it is listed.
  constexpr std::uint64_t kLevels = 5;
  Desk desk;
  std::uint64_t waitsForOne = 0;
  for (const int count : {1, rounds(10, 50)}) {
    const auto dialogs = static_cast<std::size_t>(count);
    ASSERT_TRUE(desk.fillTo(dialogs)) << dialogs;
    const Cost cost = desk.costOfAScan();
    std::printf("%zu dialogs: %llu calls, %llu waits, median %.2f ms\n", dialogs,
                static_cast<unsigned long long>(cost.calls), static_cast<unsigned long long>(cost.waits),
                cost.milliseconds);
    if (dialogs == 1) waitsForOne = cost.waits;
    EXPECT_GT(cost.waits, 0U);
    EXPECT_LE(cost.waits, 10U + kLevels);
    EXPECT_LE(cost.waits, waitsForOne + kLevels);
  }
}

}  // namespace
}  // namespace quillard::test
