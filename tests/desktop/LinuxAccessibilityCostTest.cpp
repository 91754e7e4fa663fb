#include <algorithm>
#include <chrono>
#include <cstdio>

#include <gtest/gtest.h>

#include "desktop/LinuxAccessibilityWorld.h"
#include "detection/PromptReader.h"
#include "support/LongTests.h"

// What a scan of real dialogs costs. Times are printed, since they belong to a machine; waits are counted.
namespace quillard::test {
namespace {

using std::chrono::steady_clock;

struct Cost {
  double milliseconds = 0;
  std::uint64_t calls = 0;
  std::uint64_t waits = 0;
  std::size_t prompts = 0;
};

// A desktop with dialogs, each of a program of its own.
class Desk {
 public:
  // Brings the dialogs up to so many, and waits until a scan reads them all.
  [[nodiscard]] bool fillTo(int dialogs) {
    for (int i = static_cast<int>(programs.size()); i < dialogs; ++i) {
      programs.push_back(
          world.desktop.launch("zenity", {"--question", "--title=Permission " + std::to_string(i),
                                          "--text=Allow the example number " + std::to_string(i) + "?"}));
      applications.push_back(world.accessibility.createApplication(programs.back().pid()));
    }
    return waitFor([&] { return scan().prompts == programs.size(); }, std::chrono::seconds{60});
  }

  // Reads every prompt, as a scan does.
  Cost scan() {
    const auto& counters = world.accessibility.counters();
    const Cost before{.calls = counters.calls, .waits = counters.waits};
    const auto begin = steady_clock::now();
    Cost cost;
    {
      const auto scope = world.accessibility.beginReadScope();
      scope->prepareApplications(applications, 80);
      for (std::size_t i = 0; i < applications.size(); ++i) {
        for (const auto& window : AXHelpers::windows(*scope, applications[i])) {
          const auto reading = PromptReader::readPrompt(*scope, {.window = window, .appName = "zenity"}, 80);
          if (reading.buttons.size() == 2 && reading.evidence.messageLines.size() == 1) ++cost.prompts;
        }
      }
    }
    cost.milliseconds = std::chrono::duration<double, std::milli>(steady_clock::now() - begin).count();
    cost.calls = counters.calls - before.calls;
    cost.waits = counters.waits - before.waits;
    return cost;
  }

 private:
  LinuxAccessibilityWorld world;
  std::vector<DesktopProgram> programs;
  std::vector<platform::AXUIElement> applications;
};

void expectFewWaits(Desk& desk, int dialogs) {
  ASSERT_TRUE(desk.fillTo(dialogs)) << dialogs;
  std::vector<Cost> costs(11);
  for (auto& cost : costs) cost = desk.scan();
  std::sort(costs.begin(), costs.end(), [](const Cost& a, const Cost& b) { return a.milliseconds < b.milliseconds; });
  const Cost& median = costs[costs.size() / 2];
  std::printf("%d dialogs: %llu calls, %llu waits, median %.2f ms\n", dialogs,
              static_cast<unsigned long long>(median.calls), static_cast<unsigned long long>(median.waits),
              median.milliseconds);
  // The list of programs; their windows; these; four levels below them; where the lowest are. (Who they are, and which
  // toolkit they use, is known since the first scan.)
  EXPECT_LE(median.waits, 8U);
  EXPECT_LE(median.calls, static_cast<std::uint64_t>(1 + 46 * dialogs));
}

TEST(ScanOfDialogs, WaitsAsOftenAsTheTreesAreDeepHoweverManyThereAre) {
  Desk desk;
  for (const int dialogs : {1, rounds(10, 50)}) expectFewWaits(desk, dialogs);
}

}  // namespace
}  // namespace quillard::test
