#include <set>

#include "contract/desktop/DesktopContract.h"
#include "platform/simulated/SimulatedSyntheticEvents.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::test {
namespace {

using platform::simulated::ApplicationHandle;
using platform::simulated::DialogSpec;
using platform::simulated::ElementSpec;
using platform::simulated::NodeHandle;
using platform::simulated::PressEffect;
using platform::simulated::Seed;
using platform::simulated::SimulatedDesktop;
using platform::simulated::SimulatedWorld;

class SimulatedPromptProgram final : public PromptProgram {
 public:
  SimulatedPromptProgram(SimulatedDesktop& desktop, ApplicationHandle application, NodeHandle prompt)
      : desktop(desktop), application(application), shown{prompt} {}
  ~SimulatedPromptProgram() override { desktop.terminate(application); }

  [[nodiscard]] std::int32_t processIdentifier() const override { return application.processIdentifier; }
  [[nodiscard]] std::vector<std::string> presses() override {
    for (const NodeHandle window : desktop.windows(application)) shown.insert(window);
    std::vector<std::string> labels;
    for (const auto& press : desktop.presses()) {
      if (shown.contains(press.root) && press.isTaken) labels.push_back(press.label);
    }
    return labels;
  }
  void kill() override { desktop.terminate(application); }
  void stop() override { desktop.hang(application); }
  void goOn() override { desktop.unhang(application); }

 private:
  SimulatedDesktop& desktop;
  const ApplicationHandle application;
  std::set<NodeHandle> shown;  // Windows that were seen of it, also when they are gone.
};

class SimulatedDesktopBinding final : public DesktopBinding {
 public:
  platform::Accessibility& accessibility() override { return world.accessibility(); }
  platform::Workspace& workspace() override { return world.workspace(); }
  platform::WindowList& windowList() override { return world.windowList(); }
  platform::SyntheticEvents& syntheticEvents() override { return events; }
  platform::Clock& clock() override { return world.time(); }
  platform::Console& console() override { return world.console(); }
  const platform::Environment& environment() override { return world.environment(); }
  platform::Random& random() override { return world.random(); }
  platform::UserDefaults& userDefaults() override { return world.userDefaults(); }

  std::unique_ptr<PromptProgram> show(const PromptWish& wish) override {
    const auto application = world.desktop().launch({.name = "Example", .bundleIdentifier = "com.example.app"});
    const NodeHandle prompt = world.desktop().open(application, dialogFor(wish));
    world.desktop().activate(application);
    world.desktop().raise(prompt);
    world.advance(platform::Seconds{0.05});
    return std::make_unique<SimulatedPromptProgram>(world.desktop(), application, prompt);
  }

  bool eventually(const std::function<bool()>& condition) override {
    for (int i = 0; i < 200; ++i) {
      if (condition()) return true;
      world.advance(platform::Seconds{0.05});
    }
    return condition();
  }

 private:
  static DialogSpec dialogFor(const PromptWish& wish) {
    DialogSpec dialog{.title = wish.title, .lines = wish.lines, .buttons = wish.buttons};
    if (wish.at) dialog.frame = platform::Rect{wish.at->x, wish.at->y, 600, 240};
    if (wish.hasSecureTextField) {
      dialog.extra.push_back({.role = "AXTextField", .subrole = "AXSecureTextField", .value = "hunter2"});
    }
    if (wish.successor) {
      dialog.effect = PressEffect::opensNext({.title = *wish.successor, .lines = wish.lines, .buttons = wish.buttons});
    }
    return dialog;
  }

  SimulatedWorld world{Seed{7}};
  platform::simulated::SimulatedSyntheticEvents events{world.desktop(), world.time()};
};

const DesktopCase kSimulated{
    "Simulated", []() -> std::unique_ptr<DesktopBinding> { return std::make_unique<SimulatedDesktopBinding>(); }};

QUILLARD_DESKTOP_CONTRACT(Simulated, testing::Values(kSimulated));

}  // namespace
}  // namespace quillard::test
