#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "contract/desktop/PromptAgent.h"
#include "desktop/LinuxDesktopBinding.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"
#include "support/LongTests.h"

// Presses in a row on real dialogs: each is read, found again, pressed and proved to have gone. Each program reports by
// its exit status which of its buttons was pressed.
namespace quillard::test {
namespace {

using std::chrono::steady_clock;

constexpr int kParts = 4;           // Tests of their own, so that they run side by side.
constexpr int kPressesOfAPart = 6;  // Together more than the 21 pairs of a toolkit and a list of labels.
constexpr int kManyPressesOfAPart = 50;
constexpr std::size_t kReady = 6;  // Programs on the screen at a time: starting one takes longer than pressing.
constexpr int kFirstButton = 10;   // The exit status for it; the others follow.

struct Press {
  std::string sample;
  std::vector<std::string> labels;
  std::size_t chosen = 0;
  bool isModal = false;
  std::string kind;
};

// A different one for each number: toolkit, labels, choice, kind and modality cycle with different periods.
Press pressNumber(int number) {
  static const std::vector<std::string> samples{"gtk3_prompt", "gtk4_prompt", "qt_prompt"};
  static const std::vector<std::vector<std::string>> labels{{"Don't Allow", "Allow"},
                                                            {"Allow", "Always Allow", "Deny"},
                                                            {"Don’t Allow", "Don't Allow", "Allow"},
                                                            {"Cancel", "Delete", "Delete All"},
                                                            {"Always Allow", "Allow", "Don’t Allow", "Don't Allow"},
                                                            {"No", "Yes"},
                                                            {"Not Now", "Install", "Install and Relaunch", "Later"}};
  const auto index = static_cast<std::size_t>(number);
  const auto& own = labels[index % labels.size()];
  return {.sample = samples[index % samples.size()],
          .labels = own,
          .chosen = (index / labels.size()) % own.size(),
          .isModal = index % 5 == 2,
          .kind = index % 4 == 1 ? "message-box" : "dialog"};
}

class Row {
 public:
  // Starts a program that shows what `press` says.
  void show(const Press& press) {
    std::vector<std::string> arguments{"--kind", press.kind, "--title", "Decide", "--text", "May it go on?"};
    for (const auto& label : press.labels) arguments.insert(arguments.end(), {"--button", label});
    if (press.isModal) arguments.emplace_back("--modal");
    waiting.emplace_back(press, binding.privateDesktop().launch(press.sample, arguments));
  }

  [[nodiscard]] std::size_t size() const { return waiting.size(); }

  // Presses the oldest one; false when any step went wrong. Prompts that look the same differ by process.
  [[nodiscard]] bool pressNext() {
    auto [press, program] = std::move(waiting.front());
    waiting.pop_front();
    const auto approval = approvalOf(program.pid(), press.labels.size());
    const std::string& label = press.labels[press.chosen];
    if (!approval) {
      ADD_FAILURE() << "not detected: " << press.sample << " " << label << program.errors();
      return false;
    }
    const auto begin = steady_clock::now();
    const auto error = agent.press(*approval, label);
    milliseconds.push_back(std::chrono::duration<double, std::milli>(steady_clock::now() - begin).count());
    EXPECT_EQ(error, std::nullopt) << press.sample << " " << label;
    const auto status = program.wait();
    EXPECT_EQ(status, kFirstButton + static_cast<int>(press.chosen)) << press.sample << " " << label;
    EXPECT_EQ(program.output(), "ready\npressed: " + label + "\n") << press.sample;
    return !error && status == kFirstButton + static_cast<int>(press.chosen);
  }

  [[nodiscard]] double medianMilliseconds() {
    std::sort(milliseconds.begin(), milliseconds.end());
    return milliseconds.empty() ? 0 : milliseconds[milliseconds.size() / 2];
  }

 private:
  std::optional<PendingApproval> approvalOf(std::int32_t process, std::size_t buttons) {
    std::optional<PendingApproval> found;
    (void)binding.eventually([&] {
      for (auto& approval : agent.scan()) {
        if (approval.processIdentifier == process && approval.buttons.size() == buttons) found = std::move(approval);
      }
      return found.has_value();
    });
    return found;
  }

  LinuxDesktopBinding binding{""};
  PromptAgent agent{binding, linuxPromptSupplement()};
  std::deque<std::pair<Press, DesktopProgram>> waiting;
  std::vector<double> milliseconds;
};

class PressesInARow : public testing::TestWithParam<int> {};

TEST_P(PressesInARow, PressTheRightButton) {
  const int presses = rounds(kPressesOfAPart, kManyPressesOfAPart);
  Row row;
  int right = 0;
  int shown = 0;
  for (int pressed = 0; pressed < presses; ++pressed) {
    for (; row.size() < kReady && shown < presses; ++shown) {
      row.show(pressNumber(GetParam() * presses + shown));
    }
    if (row.pressNext()) ++right;
  }
  std::printf("%d of %d presses were right, median %.0f ms\n", right, presses, row.medianMilliseconds());
  EXPECT_EQ(right, presses);
}

INSTANTIATE_TEST_SUITE_P(Part, PressesInARow, testing::Range(0, kParts));

}  // namespace
}  // namespace quillard::test
