#pragma once

#include <functional>

#include "platform/desktop/Accessibility.h"
#include "platform/simulated/DesktopHandles.h"
#include "values/Time.h"

namespace quillard::platform::simulated {

class SimulatedDesktop;
struct DialogSpec;

// What a button does when it is pressed, and what the one who pressed it is told. "The window" is what
// `SimulatedDesktop::promptOf` gives for the button at that moment.
class PressEffect {
 public:
  using Act = std::function<void(SimulatedDesktop&, NodeHandle)>;

  PressEffect() : PressEffect(closes()) {}

  // The window closes immediately.
  [[nodiscard]] static PressEffect closes();
  // Accepted, and nothing comes of it.
  [[nodiscard]] static PressEffect doesNothing();
  // Accepted; the window closes later.
  [[nodiscard]] static PressEffect closesAfter(Seconds delay);
  // The window closes and a successor of the same application opens with the same top left corner (unless `successor`
  // says where).
  [[nodiscard]] static PressEffect opensNext(DialogSpec successor);
  // Refused with `error`; nothing comes of it.
  [[nodiscard]] static PressEffect fails(AXError error);
  // Answers `error`, and closes the window all the same.
  [[nodiscard]] static PressEffect failsButCloses(AXError error);
  // The button's element goes, the rest of the window stays.
  [[nodiscard]] static PressEffect disappears();
  // Does `act` with the desktop and the element acted on, then answers `answer`.
  [[nodiscard]] static PressEffect runs(Act act, AXError answer = AXError::success);

  [[nodiscard]] AXError answer() const { return answered; }
  // False: the application refused, as if there had been no press.
  [[nodiscard]] bool isTaken() const { return taken; }
  void act(SimulatedDesktop& desktop, NodeHandle node) const;

 private:
  PressEffect(AXError answered, bool taken, Act action);

  AXError answered;
  bool taken;
  Act action;  // Empty: nothing.
};

}  // namespace quillard::platform::simulated
