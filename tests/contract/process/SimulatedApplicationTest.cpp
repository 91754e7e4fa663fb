#include "contract/process/ApplicationContract.h"
#include "platform/simulated/SimulatedApplication.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::test {
namespace {

class SimulatedBinding final : public ApplicationBinding {
 public:
  platform::Application& application() override { return simulated; }
  platform::SerialExecutor& mainThread() override { return time.mainThread(); }
  void runTurns() override { time.runUntilIdle(); }
  bool runToEnd() override {
    time.runUntilIdle();
    return simulated.hasTerminated();
  }
  void choose(std::string_view title) override { (void)simulated.chooseMenuItem(title); }
  bool reopen(bool hasVisibleWindows) override {
    simulated.reopen(hasVisibleWindows);
    return true;
  }

 private:
  platform::simulated::VirtualTime time{platform::simulated::Seed{1}};
  platform::simulated::SimulatedApplication simulated{time};
};

std::unique_ptr<ApplicationBinding> makeSimulated() { return std::make_unique<SimulatedBinding>(); }

INSTANTIATE_TEST_SUITE_P(Simulated, ApplicationContract,
                         testing::Values(ApplicationCase{"InVirtualTime", makeSimulated}),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace quillard::test
