// The binding for macOS over fakes for the system's C functions, which stand on the simulated desktop. Its own code
// are all of these: accessibility, the workspace, the window list and synthetic events.

#include "contract/desktop/DesktopContract.h"
#include "contract/desktop/SimulatedPrompts.h"
#include "macos/fakes/MacSystem.h"
#include "platform/macos/MacAccessibility.h"
#include "platform/macos/MacDesktopCapabilities.h"
#include "platform/macos/MacSyntheticEvents.h"
#include "platform/macos/MacWindowList.h"
#include "platform/macos/objc/MacWorkspace.h"

namespace quillard::test {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

// Every object that the calls of a test were given is released in the end, exactly once.
struct Balance {
  Balance() = default;
  Balance(const Balance&) = delete;
  Balance& operator=(const Balance&) = delete;
  ~Balance() { EXPECT_EQ(fakes::liveObjects(), 0) << "objects that were not released"; }
};

class MacDesktopBinding final : public DesktopBinding {
 public:
  platform::Accessibility& accessibility() override { return macAccessibility; }
  platform::Workspace& workspace() override { return macWorkspace; }
  platform::WindowList& windowList() override { return macWindowList; }
  platform::SyntheticEvents& syntheticEvents() override { return macEvents; }
  platform::DesktopCapabilities& capabilities() override { return macCapabilities; }
  platform::Clock& clock() override { return world.time(); }
  platform::Console& console() override { return world.console(); }
  const platform::Environment& environment() override { return world.environment(); }
  platform::Random& random() override { return world.random(); }
  platform::UserDefaults& userDefaults() override { return world.userDefaults(); }

  std::unique_ptr<PromptProgram> show(const PromptOptions& options) override {
    return showSimulatedPrompt(world, options);
  }
  std::unique_ptr<PromptProgram> showUnreadable() override { return showUnreadableWindow(world); }
  [[nodiscard]] bool namesWindows() const override { return false; }  // Without the permission to record the screen.
  void loseDesktop() override { world.desktop().setTrusted(false); }
  bool eventually(const std::function<bool()>& condition) override { return eventuallyIn(world, condition); }

 private:
  Balance balance;  // First, so that it looks last.
  SimulatedWorld world{Seed{7}};
  platform::simulated::SimulatedSyntheticEvents events{world.desktop(), world.time()};
  const fakes::MacSystem system{world.desktop(), events};
  macos::MacWorkspace macWorkspace{world.time().mainThread()};
  macos::MacAccessibility macAccessibility{macos::AXCalls{},
                                           [this] {
                                             const auto front = macWorkspace.frontmostApplication();
                                             return front ? std::optional(front->processIdentifier) : std::nullopt;
                                           },
                                           world.time()};
  macos::MacWindowList macWindowList{macWorkspace};
  macos::MacSyntheticEvents macEvents;
  macos::MacDesktopCapabilities macCapabilities;
};

const DesktopCase kMac{"Mac",
                       []() -> std::unique_ptr<DesktopBinding> { return std::make_unique<MacDesktopBinding>(); }};

QUILLARD_DESKTOP_CONTRACT(Mac, testing::Values(kMac));

}  // namespace
}  // namespace quillard::test
