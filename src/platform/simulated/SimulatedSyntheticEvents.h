#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "platform/desktop/SyntheticEvents.h"
#include "platform/process/Clock.h"
#include "platform/simulated/DesktopHandles.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "values/Time.h"

namespace quillard::platform::simulated {

// What was posted. Either a mouse event or a key.
struct PostedEvent {
  Instant at{};
  std::optional<std::int32_t> processIdentifier{};  // Absent: where the hardware's events enter.
  std::optional<MouseEventType> mouse{};
  Point position{};
  std::optional<KeyCode> key{};
  bool isDown = false;
};

// Input as a simulated desktop takes it.
//
// The mouse presses the button that lies under the point when it goes down and still when it comes up: in the topmost
// visible window of the desktop, or of the process that the event is posted to. A key acts when it goes down, on the
// focus of the application in front, or of that process: space presses the focused button, Return the window's default
// button, Escape its cancel button. A hung application takes nothing.
class SimulatedSyntheticEvents final : public SyntheticEvents {
 public:
  // Both outlive this.
  SimulatedSyntheticEvents(SimulatedDesktop& desktop, const Clock& clock) : desktop(desktop), clock(clock) {}

  // The event that is created as this one from the start, counted from 0, cannot be created.
  void failCreation(std::size_t index) { failing.insert(index); }
  // While set, what is posted is recorded, and nothing comes of it.
  void setLosesEvents(bool loses) { losesEvents = loses; }
  // While not, nothing can be posted to the desktop, as in a Wayland session. At first it can. Whose window it reaches
  // is not checked, as on a Mac.
  void setReachesDesktop(bool reaches) { reachesDesktop = reaches; }
  // While not, nothing can be posted to any process, as to one whose window another one covers. At first it can.
  void setReachesProcesses(bool reaches) { reachesProcesses = reaches; }
  // Whether Return presses the focused button rather than the default one, where a button is focused, as with some
  // toolkits. At first it does not.
  void setReturnPressesFocusedButton(bool presses) { returnPressesFocusedButton = presses; }

  // How many were asked for, failed ones included.
  [[nodiscard]] std::size_t creations() const { return created; }
  // Oldest first.
  [[nodiscard]] const std::vector<PostedEvent>& posted() const { return allPosted; }

  [[nodiscard]] std::unique_ptr<SyntheticEvent> createMouseEvent(MouseEventType type, Point position) override;
  [[nodiscard]] std::unique_ptr<SyntheticEvent> createKeyboardEvent(KeyCode key, bool isDown) override;
  bool postToProcess(std::int32_t processIdentifier, const SyntheticEvent& event) override;
  bool postToDesktop(const SyntheticEvent& event, std::optional<std::int32_t> expectedOwner) override;

 private:
  [[nodiscard]] std::unique_ptr<SyntheticEvent> create(const PostedEvent& event);
  void post(std::optional<std::int32_t> processIdentifier, const SyntheticEvent& event);
  void takeMouse(const PostedEvent& event);
  void takeKey(const PostedEvent& event);
  [[nodiscard]] std::optional<NodeHandle> buttonUnder(const PostedEvent& event) const;
  [[nodiscard]] std::optional<NodeHandle> buttonFor(KeyCode key, NodeHandle focused) const;
  [[nodiscard]] bool isButton(NodeHandle node) const;
  [[nodiscard]] std::optional<NodeHandle> namedButton(NodeHandle window, std::string_view attribute) const;

  SimulatedDesktop& desktop;
  const Clock& clock;
  std::set<std::size_t> failing;
  std::size_t created = 0;
  bool losesEvents = false;
  bool reachesDesktop = true;
  bool reachesProcesses = true;
  bool returnPressesFocusedButton = false;
  std::optional<NodeHandle> heldDown;  // What the mouse went down on.
  std::vector<PostedEvent> allPosted;
};

}  // namespace quillard::platform::simulated
