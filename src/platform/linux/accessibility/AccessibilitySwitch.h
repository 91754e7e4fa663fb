#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace quillard::atspi {

enum class SwitchOnOutcome {
  wasOn,
  // Programs that look at the switch only when they start (Qt's do) stay unseen until they are started anew.
  switchedOn,
  failed,
};

// By their processes.
struct HollowPrograms {
  std::vector<std::int32_t> hollow;
  std::vector<std::int32_t> silent;  // They missed the time-out, so that it is not known what their windows hold.
};

// The desktop's own switch for accessibility. Waits for the bus: not for a thread that must stay responsive.
class AccessibilitySwitch {
 public:
  virtual ~AccessibilitySwitch() = default;

  virtual SwitchOnOutcome switchOn() = 0;

  // The processes that have windows on the X server, but are not on the accessibility bus: their prompts cannot be
  // read. In the order of their windows, from the bottom; this process is left out. Absent: one of the two cannot be
  // reached, so that it is not known.
  [[nodiscard]] virtual std::optional<std::vector<std::int32_t>> unseenProcesses() = 0;

  // The processes that are on the accessibility bus, and of whose windows none holds anything that could be read: no
  // text, no button, no picture; and those that did not answer. One that gives no list of what its window holds is not
  // among them, nor one without windows. Absent: the bus cannot be reached, or gave no list of programs. Asks nothing
  // of the display.
  [[nodiscard]] virtual std::optional<HollowPrograms> hollowPrograms() = 0;
};

}  // namespace quillard::atspi
