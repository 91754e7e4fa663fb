#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/WindowList.h"
#include "platform/desktop/Workspace.h"
#include "platform/process/Clock.h"
#include "platform/process/Executors.h"
#include "platform/simulated/AXRequest.h"
#include "platform/simulated/DesktopHandles.h"
#include "platform/simulated/DesktopSpecs.h"

namespace quillard::platform::simulated {

class DesktopInternals;

// What becomes of actions that were asked of an application while it hung.
enum class LateActions { lost, performedOnUnhang };

// A desktop in memory: applications, their windows, the elements in these, and who is in front. The agent sees it
// through the three interfaces; a test builds it, changes it between any two of the agent's requests, and asks what the
// agent did.
//
// Everything happens within turns of the executors that it was made with, or outside any while these stand still: one
// thread at a time, no locks. Operations on windows and applications that are gone do nothing.
class SimulatedDesktop {
 public:
  // Both outlive the desktop. Requests to hung and slow applications sleep on `clock`.
  SimulatedDesktop(Clock& clock, Executors& executors);
  ~SimulatedDesktop();
  SimulatedDesktop(const SimulatedDesktop&) = delete;
  SimulatedDesktop& operator=(const SimulatedDesktop&) = delete;

  Accessibility& accessibility();
  Workspace& workspace();
  WindowList& windowList();

  // ---- Applications. Each change is told to the observers of the workspace, on the main thread, in a later turn.
  ApplicationHandle launch(const ApplicationSpec& spec = {});
  // Ends immediately, as in a crash or after a quit: its elements die, and it leaves the list.
  void terminate(ApplicationHandle application);
  // Ends, but stays in the list as terminated, as one does for a moment.
  void terminateButKeepListed(ApplicationHandle application);
  // In front of everything else, with all its windows, its focus being the desktop's.
  void activate(ApplicationHandle application);
  // No application is in front.
  void deactivateAll();
  void hide(ApplicationHandle application);
  void unhide(ApplicationHandle application);
  void changeSpace();
  // Whether it ignores polite requests to quit. At first each quits in the turn after.
  void setRefusesToQuit(ApplicationHandle application, bool refuses);
  // Each request now costs the time-out in force, and answers `cannotComplete`.
  void hang(ApplicationHandle application, LateActions late = LateActions::lost);
  void unhang(ApplicationHandle application);
  // Each request now takes this long; past the time-out it answers `cannotComplete`, and an action that was asked for
  // is performed all the same, late. Zero: not slow.
  void slow(ApplicationHandle application, Seconds latency);
  [[nodiscard]] std::optional<RunningApplication> application(ApplicationHandle application) const;
  // Politely asked to quit, oldest first.
  [[nodiscard]] std::vector<ApplicationHandle> quitRequests() const;
  // Through the workspace, oldest first.
  [[nodiscard]] std::vector<std::string> openedURLs() const;
  [[nodiscard]] std::vector<std::string> openedFolders() const;
  // While set, neither opens, and both say so.
  void setRefusesToOpen(bool refuses);

  // ---- Windows and elements. A new window is in front of all others, and the focused and (except a sheet) the main
  // window of its application; this does not bring the application to the front.
  NodeHandle open(ApplicationHandle application, const DialogSpec& dialog);
  // A dialog of an application "Example" (bundle "com.example.app"), which is launched when it is not running.
  NodeHandle open(const DialogSpec& dialog);
  // A sheet on the window: a child of it, of role AXSheet whatever `dialog` says.
  NodeHandle openSheet(NodeHandle window, DialogSpec dialog);
  NodeHandle addWindow(ApplicationHandle application, const ElementSpec& window);
  NodeHandle addChild(NodeHandle parent, const ElementSpec& child);
  // In no window and no list of elements: only attributes that name it lead to it. Its parent is the application.
  NodeHandle addElement(ApplicationHandle application, const ElementSpec& element);
  // The element and everything below it die: requests on them answer `invalidUIElement`.
  void close(NodeHandle node);
  // `order` holds the children of `parent`, each once.
  void reorderChildren(NodeHandle parent, const std::vector<NodeHandle>& order);
  // In place of what the desktop would answer itself. Any attribute, AXChildren and AXParent included.
  void setAttribute(NodeHandle node, std::string_view name, AXValue value);
  void setAttribute(ApplicationHandle application, std::string_view name, AXValue value);
  void setSystemWideAttribute(std::string_view name, AXValue value);
  // Reading the attribute, and setting it, answers `error`.
  void setAttributeError(NodeHandle node, std::string_view name, AXError error);
  void setAttributeError(ApplicationHandle application, std::string_view name, AXError error);
  void setSystemWideAttributeError(std::string_view name, AXError error);
  // Back to what the desktop answers itself: for AXRole, AXTitle, AXPosition and the like, nothing.
  void removeAttribute(NodeHandle node, std::string_view name);
  void removeAttribute(ApplicationHandle application, std::string_view name);
  void removeSystemWideAttribute(std::string_view name);
  void setActions(NodeHandle node, std::vector<std::string> names);
  // Asking for the names of its actions answers `error`; they can be performed all the same.
  void setActionsError(NodeHandle node, AXError error);
  void setEffect(NodeHandle node, std::string_view action, PressEffect effect);
  void move(NodeHandle window, Rect frame);

  // ---- Focus and stacking.
  // The owner comes to the front, and this is its focused window.
  void focusWindow(NodeHandle window);
  // The same for the element and its window.
  void focusElement(NodeHandle node);
  // Within its application only.
  void setFocusedWindow(NodeHandle window);
  void setFocusedElement(NodeHandle node);
  void setMainWindow(NodeHandle window);
  // In front of all windows of all applications.
  void raise(NodeHandle window);

  // ---- Finding things.
  [[nodiscard]] bool isOpen(NodeHandle node) const;
  // The first, in reading order, of role AXButton with this title (or description, when the title is empty).
  [[nodiscard]] std::optional<NodeHandle> findButton(NodeHandle window, std::string_view label) const;
  [[nodiscard]] std::vector<NodeHandle> windows(ApplicationHandle application) const;
  [[nodiscard]] std::vector<NodeHandle> children(NodeHandle node) const;
  [[nodiscard]] std::optional<NodeHandle> parent(NodeHandle node) const;
  // The window that the node is, or is in: sheets are no windows of their own here.
  [[nodiscard]] std::optional<NodeHandle> windowOf(NodeHandle node) const;
  // The innermost window, sheet or dialog (subrole AXDialog, or modal) that the node is, or is in.
  [[nodiscard]] std::optional<NodeHandle> promptOf(NodeHandle node) const;
  [[nodiscard]] std::optional<ApplicationHandle> owner(NodeHandle node) const;
  [[nodiscard]] std::optional<Rect> frame(NodeHandle node) const;
  // What a live read would answer, at no cost.
  [[nodiscard]] AXResult<AXValue> attribute(NodeHandle node, std::string_view name) const;
  [[nodiscard]] AXResult<AXValue> attribute(ApplicationHandle application, std::string_view name) const;
  [[nodiscard]] AXResult<AXValue> systemWideAttribute(std::string_view name) const;
  // The focused element, or else the focused window, of the application in front.
  [[nodiscard]] std::optional<NodeHandle> focused() const;
  // The same within one application, whether it is in front or not.
  [[nodiscard]] std::optional<NodeHandle> focused(ApplicationHandle application) const;
  // Of the topmost visible window at `point`, the deepest element there.
  [[nodiscard]] std::optional<NodeHandle> nodeAt(Point point) const;
  // The same of the topmost visible window of one application.
  [[nodiscard]] std::optional<NodeHandle> nodeAt(ApplicationHandle application, Point point) const;
  [[nodiscard]] AXUIElement element(NodeHandle node) const;
  [[nodiscard]] AXUIElement element(ApplicationHandle application) const;
  // Absent for application and system-wide elements, and for those of another desktop.
  [[nodiscard]] std::optional<NodeHandle> node(const AXUIElement& element) const;

  // ---- Presses.
  // As the person at the computer would. True when the button was there to be pressed.
  bool pressByHand(NodeHandle button);
  // The label of the newest press in this window, or in a sheet or dialog inside it, that was taken. Absent: none was.
  [[nodiscard]] std::optional<std::string> pressed(NodeHandle window) const;
  // All of them, oldest first; refused ones included. Kept when windows close.
  [[nodiscard]] std::vector<Press> presses() const;

  // ---- Requests.
  // `isNotified`: whether the system says so to those who observe it; sometimes it does not.
  void setTrusted(bool trusted, bool isNotified = true);
  // As a binding is made with. `kMessagingTimeout` at first.
  void setMessagingTimeout(Seconds timeout);
  // How long whoever asks whether this process is trusted waits for the answer. Zero at first.
  void setTrustLatency(Seconds latency);
  // Whether the system does not answer at all, after that wait, when it is asked whether this process is trusted.
  void setTrustSilent(bool silent);
  // While set, no read is answered and each read scope that meets this says so: at once where the service itself is
  // gone, otherwise after one messaging time-out. Actions are carried out but without that service. Empty at first; not
  // for `notPermitted`, which is `setTrusted`.
  void setDesktopFailure(std::optional<DesktopReadFailure> failure);
  // Called before each request that is sent; it may change anything on the desktop, and is not called for requests that
  // it makes itself. Empty: none.
  void setRequestHook(std::function<void(const AXRequest&)> hook);
  // Answers of a hit test in place of the desktop's own; absent from it: the desktop's own after all. Empty: none.
  void setHitTest(std::function<std::optional<AXResult<NodeHandle>>(Point)> answer);
  // Requests that were sent, each one a way to another process and back.
  [[nodiscard]] std::uint64_t roundTrips() const;
  [[nodiscard]] std::uint64_t roundTrips(ApplicationHandle application) const;
  void resetRoundTrips();

  // ---- The window list.
  // Changes what is listed for the window whenever it is listed. Empty: nothing.
  void overrideWindowEntry(NodeHandle window, std::function<void(WindowListEntry&)> change);
  // Listed among all windows only, as on another space; not found by hit tests.
  void setOffScreen(NodeHandle window, bool offScreen);
  // Whether the window list knows it at all. At first it does.
  void setListed(NodeHandle window, bool listed);
  // While not, the window server gives no list. At first it does.
  void setWindowListReadable(bool readable);
  // While not, the list is empty, and windows that come are announced only. At first it does.
  void setListsWindows(bool lists);
  // A window whose owner has no accessibility, in front of all others. `close` removes it.
  NodeHandle addWindowEntry(WindowListEntry entry, bool isOnScreen = true);

  // Runs `turn` after `delay`, as something that happens elsewhere on the desktop. For effects.
  void later(Seconds delay, Turn turn);

 private:
  std::unique_ptr<DesktopInternals> internals;
};

}  // namespace quillard::platform::simulated
