#include "contract/desktop/DesktopContract.h"
#include "contract/desktop/SimulatedPrompts.h"

namespace quillard::test {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

using platform::DesktopCapability;

// `missing`: what the desktop cannot do.
class SimulatedDesktopBinding final : public DesktopBinding {
 public:
  explicit SimulatedDesktopBinding(std::set<DesktopCapability> missing = {}) : lacking(std::move(missing)) {
    for (const auto capability : lacking) world.capabilities().setLimitation(capability, {{"It is a simulation."}});
    if (lacking.contains(DesktopCapability::screenCoordinates)) {
      world.desktop().setHitTest([](Point) { return platform::AXError::notImplemented; });
    }
    if (lacking.contains(DesktopCapability::syntheticInput)) {
      events.setReachesDesktop(false);
      events.setLosesEvents(true);
    }
  }

  [[nodiscard]] std::set<DesktopCapability> missing() const override { return lacking; }
  platform::Accessibility& accessibility() override { return world.accessibility(); }
  platform::Workspace& workspace() override { return world.workspace(); }
  platform::WindowList& windowList() override { return world.windowList(); }
  platform::SyntheticEvents& syntheticEvents() override { return events; }
  platform::DesktopCapabilities& capabilities() override { return world.capabilities(); }
  platform::Clock& clock() override { return world.time(); }
  platform::Console& console() override { return world.console(); }
  const platform::Environment& environment() override { return world.environment(); }
  platform::Random& random() override { return world.random(); }
  platform::UserDefaults& userDefaults() override { return world.userDefaults(); }

  std::unique_ptr<PromptProgram> show(const PromptOptions& options) override {
    return showSimulatedPrompt(world, options);
  }

  std::unique_ptr<PromptProgram> showUnreadable() override { return showUnreadableWindow(world); }

  void loseDesktop() override { world.desktop().setDesktopFailure(platform::DesktopReadFailure::applicationList); }
  bool eventually(const std::function<bool()>& condition) override { return eventuallyIn(world, condition); }

 private:
  const std::set<DesktopCapability> lacking;
  SimulatedWorld world{Seed{7}};
  platform::simulated::SimulatedSyntheticEvents events{world.desktop(), world.time()};
};

const DesktopCase kSimulated{
    "Simulated", []() -> std::unique_ptr<DesktopBinding> { return std::make_unique<SimulatedDesktopBinding>(); }};
const DesktopCase kWithoutPlaces{"WithoutPlacesAndInput", []() -> std::unique_ptr<DesktopBinding> {
                                   return std::make_unique<SimulatedDesktopBinding>(std::set{
                                       DesktopCapability::screenCoordinates, DesktopCapability::syntheticInput});
                                 }};

QUILLARD_DESKTOP_CONTRACT(Simulated, testing::Values(kSimulated, kWithoutPlaces));

}  // namespace
}  // namespace quillard::test
