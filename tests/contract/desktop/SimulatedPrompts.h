#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "contract/desktop/DesktopBinding.h"
#include "platform/simulated/SimulatedSyntheticEvents.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::test {

// Prompts on a simulated desktop, for every binding that stands on one.
class SimulatedPromptProgram final : public PromptProgram {
 public:
  SimulatedPromptProgram(platform::simulated::SimulatedDesktop& desktop,
                         platform::simulated::ApplicationHandle application, platform::simulated::NodeHandle prompt)
      : desktop(desktop), application(application), shown{prompt} {}
  ~SimulatedPromptProgram() override { desktop.terminate(application); }

  [[nodiscard]] std::int32_t processIdentifier() const override { return application.processIdentifier; }
  [[nodiscard]] std::vector<std::string> presses() override {
    for (const platform::simulated::NodeHandle window : desktop.windows(application)) shown.insert(window);
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
  platform::simulated::SimulatedDesktop& desktop;
  const platform::simulated::ApplicationHandle application;
  std::set<platform::simulated::NodeHandle> shown;  // Windows that were seen of it, also when they are gone.
};

// A window in the window list, of a program that the accessibility interface does not know.
class UnreadableSimulatedProgram final : public PromptProgram {
 public:
  explicit UnreadableSimulatedProgram(platform::simulated::SimulatedDesktop& desktop)
      : desktop(desktop),
        window(desktop.addWindowEntry({.ownerProcessIdentifier = kProcess,
                                       .ownerName = "Old program",
                                       .windowName = "Permission",
                                       .layer = 0,
                                       .alpha = 1.0,
                                       .bounds = Rect{10, 10, 300, 200}})) {}
  ~UnreadableSimulatedProgram() override { desktop.close(window); }

  [[nodiscard]] std::int32_t processIdentifier() const override { return kProcess; }
  [[nodiscard]] std::vector<std::string> presses() override { return {}; }
  void kill() override { desktop.close(window); }
  void stop() override {}
  void goOn() override {}

 private:
  static constexpr std::int32_t kProcess = 40'000;
  platform::simulated::SimulatedDesktop& desktop;
  const platform::simulated::NodeHandle window;
};

[[nodiscard]] inline std::unique_ptr<PromptProgram> showUnreadableWindow(platform::simulated::SimulatedWorld& world) {
  return std::make_unique<UnreadableSimulatedProgram>(world.desktop());
}

[[nodiscard]] inline platform::simulated::DialogSpec dialogFor(const PromptOptions& options) {
  platform::simulated::DialogSpec dialog{.title = options.title, .lines = options.lines, .buttons = options.buttons};
  if (options.at) dialog.frame = Rect{options.at->x, options.at->y, 600, 240};
  if (options.hasSecureTextField) {
    dialog.extra.push_back({.role = "AXTextField", .subrole = "AXSecureTextField", .value = "hunter2"});
  }
  if (options.successor) {
    dialog.effect = platform::simulated::PressEffect::opensNext(
        {.title = *options.successor, .lines = options.lines, .buttons = options.buttons});
  }
  return dialog;
}

[[nodiscard]] inline std::unique_ptr<PromptProgram> showSimulatedPrompt(platform::simulated::SimulatedWorld& world,
                                                                        const PromptOptions& options) {
  const auto application = world.desktop().launch({.name = "Example", .bundleIdentifier = "com.example.app"});
  const auto prompt = world.desktop().open(application, dialogFor(options));
  if (options.disabledButton) {
    const auto button = world.desktop().findButton(prompt, options.buttons.at(*options.disabledButton));
    world.desktop().setAttribute(button.value(), platform::ax::kEnabled, platform::AXValue{false});
  }
  world.desktop().activate(application);
  world.desktop().raise(prompt);
  world.advance(Seconds{0.05});
  return std::make_unique<SimulatedPromptProgram>(world.desktop(), application, prompt);
}

[[nodiscard]] inline bool eventuallyIn(platform::simulated::SimulatedWorld& world,
                                       const std::function<bool()>& condition) {
  for (int i = 0; i < 200; ++i) {
    if (condition()) return true;
    world.advance(Seconds{0.05});
  }
  return condition();
}

}  // namespace quillard::test
