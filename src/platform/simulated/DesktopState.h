#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Executors.h"
#include "platform/simulated/DesktopHandles.h"
#include "platform/simulated/DesktopSpecs.h"
#include "platform/simulated/ElementTree.h"
#include "platform/simulated/Observers.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "platform/simulated/SimulatedElement.h"
#include "platform/simulated/WindowStack.h"

namespace quillard::platform::simulated {

struct ApplicationState {
  RunningApplication facts{};
  bool isListed = true;               // In the workspace.
  std::vector<NodeHandle> windows{};  // In the order in which they were opened.
  std::optional<NodeHandle> mainWindow{};
  std::optional<NodeHandle> focusedWindow{};
  std::optional<NodeHandle> focusedElement{};
  AttributeMap attributes{};  // In place of what it would answer itself.
  bool refusesToQuit = false;
  bool isHung = false;
  LateActions lateActions = LateActions::lost;
  std::vector<Turn> waitingActions{};  // Asked for while it hung.
  Seconds latency{0};
};

// What is on the desktop, and the changes that keep it consistent: whoever holds the focus exists, closed windows are
// in no list, and everybody who observes the workspace or the window list is told. Knows no requests and no presses.
class DesktopState {
 public:
  explicit DesktopState(SerialExecutor& mainThread);

  // ---- Applications
  ApplicationHandle launch(const ApplicationSpec& spec);
  void end(std::int32_t processIdentifier, bool keepListed);
  // False, like all that follow, when no such application runs.
  bool activate(std::int32_t processIdentifier);
  void deactivateAll();
  bool setHidden(std::int32_t processIdentifier, bool hidden);
  void changeSpace();
  // Null when it is not in the list. `running`: also when it is listed as terminated.
  [[nodiscard]] ApplicationState* find(std::int32_t processIdentifier);
  [[nodiscard]] const ApplicationState* find(std::int32_t processIdentifier) const;
  [[nodiscard]] ApplicationState* running(std::int32_t processIdentifier);
  [[nodiscard]] const ApplicationState* running(std::int32_t processIdentifier) const;
  [[nodiscard]] const ApplicationState* front() const;
  [[nodiscard]] const std::vector<ApplicationState>& all() const { return applications; }

  // ---- Windows and elements
  std::optional<NodeHandle> openDialog(std::int32_t processIdentifier, const DialogSpec& dialog);
  std::optional<NodeHandle> openSheet(NodeHandle window, const DialogSpec& dialog);
  std::optional<NodeHandle> addWindow(std::int32_t processIdentifier, const ElementSpec& spec);
  std::optional<NodeHandle> addChild(NodeHandle parent, const ElementSpec& spec);
  // In no window and no list: only attributes lead to it.
  std::optional<NodeHandle> addElement(std::int32_t processIdentifier, const ElementSpec& spec);
  void close(NodeHandle node);
  void move(NodeHandle node, const Rect& frame);
  void raise(NodeHandle window);
  void setFocusedWindow(NodeHandle window);
  void setMainWindow(NodeHandle window);
  void focusElement(NodeHandle node);
  void setOffScreen(NodeHandle window, bool offScreen);
  void windowsChanged() {
    if (listsWindows) windowObservers.hint();
  }
  // A window came, or came to the front: where they are not listed, that is all that is told of them.
  void windowCame() {
    windowsChanged();
    if (!listsWindows) unlistedObservers.hint();
  }

  // ---- What can be seen
  // Whether it is one of the windows of an application, not a sheet or something else in one.
  [[nodiscard]] bool isWindow(NodeHandle node) const;
  [[nodiscard]] std::vector<WindowListEntry> windowEntries(WindowListOptions options) const;
  // `processIdentifier` absent: of any application.
  [[nodiscard]] std::optional<NodeHandle> nodeAt(Point point, std::optional<std::int32_t> processIdentifier) const;

  // ---- Handles
  [[nodiscard]] AXUIElement element(const ElementTarget& target) const;
  [[nodiscard]] AXUIElement nodeElement(NodeHandle node) const;
  // Absent for elements of other desktops.
  [[nodiscard]] std::optional<ElementTarget> target(const AXUIElement& element) const;

  ElementTree tree;
  WindowStack stack;
  bool isWindowListReadable = true;
  bool listsWindows = true;
  AttributeMap systemWide;  // In place of what the system-wide element would answer itself.
  Observers<WorkspaceEvent> workspaceObservers;
  Observers<> windowObservers;
  Observers<> unlistedObservers;

 private:
  void announce(WorkspaceEventKind kind, const ApplicationState& application);
  void nameDialogButtons(NodeHandle window, const DialogSpec& dialog);
  void focusAfterClosing(ApplicationState& application, std::optional<NodeHandle> parent);
  void shift(NodeHandle node, Point by);
  [[nodiscard]] std::optional<NodeHandle> topmostWindow(const ApplicationState& application) const;
  [[nodiscard]] bool isOnScreen(const StackedWindow& window) const;
  [[nodiscard]] WindowListEntry entry(const StackedWindow& window) const;

  std::vector<ApplicationState> applications;  // In the order of their launch.
  std::int32_t nextProcessIdentifier = 1001;
  Point nextOrigin{200, 120};
};

}  // namespace quillard::platform::simulated
