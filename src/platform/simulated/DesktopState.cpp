#include "platform/simulated/DesktopState.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include "platform/simulated/DialogLayout.h"

namespace quillard::platform::simulated {

DesktopState::DesktopState(SerialExecutor& mainThread)
    : workspaceObservers(mainThread), windowObservers(mainThread), unlistedObservers(mainThread) {}

// ---- Applications

ApplicationHandle DesktopState::launch(const ApplicationSpec& spec) {
  while (!spec.processIdentifier && find(nextProcessIdentifier)) ++nextProcessIdentifier;
  const std::int32_t processIdentifier = spec.processIdentifier ? *spec.processIdentifier : nextProcessIdentifier++;
  end(processIdentifier, false);
  applications.push_back({.facts = {.processIdentifier = processIdentifier,
                                    .localizedName = spec.name,
                                    .bundleIdentifier = spec.bundleIdentifier,
                                    .activationPolicy = spec.policy,
                                    .isHidden = spec.hidden},
                          .isListed = spec.listed});
  announce(WorkspaceEventKind::didLaunchApplication, applications.back());
  if (spec.active) activate(processIdentifier);
  return {processIdentifier};
}

void DesktopState::end(std::int32_t processIdentifier, bool keepListed) {
  ApplicationState* const application = find(processIdentifier);
  if (!application) return;
  const std::vector<NodeHandle> windows = application->windows;
  for (const NodeHandle window : windows) close(window);
  tree.removeAllOf(processIdentifier);  // What stood alone.
  const bool wasRunning = !std::exchange(application->facts.isTerminated, true);
  application->facts.isActive = false;
  application->waitingActions.clear();
  if (wasRunning) announce(WorkspaceEventKind::didTerminateApplication, *application);
  if (!keepListed) {
    std::erase_if(applications,
                  [&](const ApplicationState& other) { return other.facts.processIdentifier == processIdentifier; });
  }
}

bool DesktopState::activate(std::int32_t processIdentifier) {
  ApplicationState* const application = running(processIdentifier);
  if (!application) return false;
  setHidden(processIdentifier, false);
  std::vector<NodeHandle> backToFront;
  for (const StackedWindow& window : stack.windows()) {
    const ElementNode* const node = tree.find(window.handle);
    if (node && node->processIdentifier == processIdentifier) backToFront.insert(backToFront.begin(), window.handle);
  }
  for (const NodeHandle window : backToFront) stack.raise(window);
  windowCame();
  if (application->facts.isActive) return true;
  for (ApplicationState& other : applications) other.facts.isActive = &other == application;
  announce(WorkspaceEventKind::didActivateApplication, *application);
  return true;
}

void DesktopState::deactivateAll() {
  for (ApplicationState& application : applications) application.facts.isActive = false;
  windowsChanged();
}

bool DesktopState::setHidden(std::int32_t processIdentifier, bool hidden) {
  ApplicationState* const application = running(processIdentifier);
  if (!application) return false;
  if (application->facts.isHidden == hidden) return true;
  application->facts.isHidden = hidden;
  if (hidden) application->facts.isActive = false;
  announce(hidden ? WorkspaceEventKind::didHideApplication : WorkspaceEventKind::didUnhideApplication, *application);
  windowsChanged();
  return true;
}

void DesktopState::changeSpace() {
  workspaceObservers.tell({.kind = WorkspaceEventKind::activeSpaceDidChange, .application = std::nullopt});
}

void DesktopState::announce(WorkspaceEventKind kind, const ApplicationState& application) {
  if (application.isListed) workspaceObservers.tell({.kind = kind, .application = application.facts});
}

ApplicationState* DesktopState::find(std::int32_t processIdentifier) {
  return const_cast<ApplicationState*>(std::as_const(*this).find(processIdentifier));
}

const ApplicationState* DesktopState::find(std::int32_t processIdentifier) const {
  const auto found = std::find_if(applications.begin(), applications.end(), [&](const ApplicationState& application) {
    return application.facts.processIdentifier == processIdentifier;
  });
  return found == applications.end() ? nullptr : &*found;
}

ApplicationState* DesktopState::running(std::int32_t processIdentifier) {
  return const_cast<ApplicationState*>(std::as_const(*this).running(processIdentifier));
}

const ApplicationState* DesktopState::running(std::int32_t processIdentifier) const {
  const ApplicationState* const application = find(processIdentifier);
  return application && !application->facts.isTerminated ? application : nullptr;
}

const ApplicationState* DesktopState::front() const {
  const auto found = std::find_if(applications.begin(), applications.end(),
                                  [](const ApplicationState& application) { return application.facts.isActive; });
  return found == applications.end() ? nullptr : &*found;
}

// ---- Windows and elements

std::optional<NodeHandle> DesktopState::openDialog(std::int32_t processIdentifier, const DialogSpec& dialog) {
  const auto window = addWindow(processIdentifier, dialogWindow(dialog, nextOrigin));
  if (!window) return std::nullopt;
  nextOrigin = {200 + std::fmod(nextOrigin.x - 200 + 24, 480), 120 + std::fmod(nextOrigin.y - 120 + 24, 360)};
  nameDialogButtons(*window, dialog);
  return window;
}

std::optional<NodeHandle> DesktopState::openSheet(NodeHandle window, const DialogSpec& dialog) {
  const Rect around = tree.frame(window).value_or(Rect{nextOrigin.x, nextOrigin.y, 0, 0});
  const auto sheet = addChild(window, dialogWindow(dialog, {around.x + 20, around.y + 28}));
  if (!sheet) return std::nullopt;
  nameDialogButtons(*sheet, dialog);
  setFocusedWindow(*sheet);
  return sheet;
}

void DesktopState::nameDialogButtons(NodeHandle window, const DialogSpec& dialog) {
  const auto name = [&](std::string_view attribute, const std::optional<std::string>& label) {
    const auto button = label ? tree.findButton(window, *label) : std::nullopt;
    if (button) tree.find(window)->attributes.insert_or_assign(std::string(attribute), AXValue{nodeElement(*button)});
  };
  name(ax::kDefaultButton, dialog.defaultButton);
  name(ax::kCancelButton, dialog.cancelButton);
}

std::optional<NodeHandle> DesktopState::addWindow(std::int32_t processIdentifier, const ElementSpec& spec) {
  ApplicationState* const application = running(processIdentifier);
  if (!application) return std::nullopt;
  const NodeHandle window = tree.add(processIdentifier, std::nullopt, spec);
  tree.find(window)->attributes.try_emplace(std::string(ax::kMinimized), AXValue{false});
  stack.add({.handle = window});
  application->windows.push_back(window);
  application->mainWindow = window;
  application->focusedWindow = window;
  application->focusedElement = std::nullopt;
  windowCame();
  return window;
}

std::optional<NodeHandle> DesktopState::addChild(NodeHandle parent, const ElementSpec& spec) {
  const ElementNode* const node = tree.find(parent);
  if (!node) return std::nullopt;
  return tree.add(node->processIdentifier, parent, spec);
}

std::optional<NodeHandle> DesktopState::addElement(std::int32_t processIdentifier, const ElementSpec& spec) {
  if (!running(processIdentifier)) return std::nullopt;
  return tree.add(processIdentifier, std::nullopt, spec);
}

void DesktopState::close(NodeHandle handle) {
  const ElementNode* const node = tree.find(handle);
  stack.remove(handle);
  windowsChanged();
  if (!node) return;
  const std::optional<NodeHandle> parent = node->parent;
  ApplicationState* const application = find(node->processIdentifier);
  tree.remove(handle);
  if (!application) return;
  std::erase(application->windows, handle);
  focusAfterClosing(*application, parent);
}

// What was in `parent` has gone: its prompt is the next to get the focus, else the topmost window that is left.
void DesktopState::focusAfterClosing(ApplicationState& application, std::optional<NodeHandle> parent) {
  const auto isGone = [&](std::optional<NodeHandle> node) { return node && !tree.find(*node); };
  if (isGone(application.focusedElement)) application.focusedElement = std::nullopt;
  if (isGone(application.mainWindow)) application.mainWindow = topmostWindow(application);
  if (!isGone(application.focusedWindow)) return;
  application.focusedWindow = parent ? tree.promptOf(*parent) : topmostWindow(application);
}

std::optional<NodeHandle> DesktopState::topmostWindow(const ApplicationState& application) const {
  for (const StackedWindow& window : stack.windows()) {
    const ElementNode* const node = tree.find(window.handle);
    if (node && node->processIdentifier == application.facts.processIdentifier) return window.handle;
  }
  return std::nullopt;
}

void DesktopState::move(NodeHandle handle, const Rect& frame) {
  ElementNode* const node = tree.find(handle);
  if (!node) return;
  if (const auto before = tree.frame(handle)) shift(handle, {frame.x - before->x, frame.y - before->y});
  node->attributes.insert_or_assign(std::string(ax::kPosition), AXValue{Point{frame.x, frame.y}});
  node->attributes.insert_or_assign(std::string(ax::kSize), AXValue{Size{frame.width, frame.height}});
  windowsChanged();
}

void DesktopState::shift(NodeHandle handle, Point by) {
  ElementNode* const node = tree.find(handle);
  if (const auto frame = tree.frame(handle)) {
    node->attributes.insert_or_assign(std::string(ax::kPosition), AXValue{Point{frame->x + by.x, frame->y + by.y}});
  }
  for (const NodeHandle child : node->children) shift(child, by);
}

void DesktopState::raise(NodeHandle window) {
  stack.raise(window);
  windowCame();
}

void DesktopState::setFocusedWindow(NodeHandle window) {
  const ElementNode* const node = tree.find(window);
  ApplicationState* const application = node ? find(node->processIdentifier) : nullptr;
  if (!application) return;
  if (application->focusedWindow != window) application->focusedElement = std::nullopt;
  application->focusedWindow = window;
  windowsChanged();
}

void DesktopState::setMainWindow(NodeHandle window) {
  const ElementNode* const node = tree.find(window);
  ApplicationState* const application = node ? find(node->processIdentifier) : nullptr;
  if (application) application->mainWindow = window;
}

void DesktopState::focusElement(NodeHandle handle) {
  const ElementNode* const node = tree.find(handle);
  ApplicationState* const application = node ? find(node->processIdentifier) : nullptr;
  if (!application) return;
  if (const auto prompt = tree.promptOf(handle)) setFocusedWindow(*prompt);
  application->focusedElement = handle;
}

void DesktopState::setOffScreen(NodeHandle window, bool offScreen) {
  if (StackedWindow* const stacked = stack.find(window)) stacked->isOffScreen = offScreen;
  windowsChanged();
}

// ---- What can be seen

bool DesktopState::isWindow(NodeHandle handle) const {
  const ElementNode* const node = tree.find(handle);
  const ApplicationState* const owner = node ? find(node->processIdentifier) : nullptr;
  return owner && std::find(owner->windows.begin(), owner->windows.end(), handle) != owner->windows.end();
}

bool DesktopState::isOnScreen(const StackedWindow& window) const {
  if (window.isOffScreen) return false;
  const ElementNode* const node = tree.find(window.handle);
  if (!node) return window.freeStanding.has_value();
  const ApplicationState* const owner = find(node->processIdentifier);
  return owner && !owner->facts.isHidden && !tree.isTrue(window.handle, ax::kMinimized);
}

WindowListEntry DesktopState::entry(const StackedWindow& window) const {
  WindowListEntry entry = window.freeStanding.value_or(WindowListEntry{.layer = 0, .alpha = 1});
  if (const ElementNode* const node = tree.find(window.handle)) {
    const ApplicationState* const owner = find(node->processIdentifier);
    entry.ownerProcessIdentifier = node->processIdentifier;
    if (owner) entry.ownerName = owner->facts.localizedName;
    const std::string title = tree.text(window.handle, ax::kTitle);
    if (!title.empty()) entry.windowName = title;
    entry.bounds = tree.frame(window.handle);
  }
  if (!entry.number) entry.number = static_cast<std::int64_t>(window.handle.id);
  if (window.change) window.change(entry);
  return entry;
}

std::vector<WindowListEntry> DesktopState::windowEntries(WindowListOptions options) const {
  std::vector<WindowListEntry> entries;
  for (const StackedWindow& window : stack.windows()) {
    const bool isWanted = options == WindowListOptions::all || isOnScreen(window);
    if (listsWindows && isWanted && window.isListed) entries.push_back(entry(window));
  }
  return entries;
}

std::optional<NodeHandle> DesktopState::nodeAt(Point point, std::optional<std::int32_t> processIdentifier) const {
  for (const StackedWindow& window : stack.windows()) {
    const ElementNode* const node = tree.find(window.handle);
    if (!node || !isOnScreen(window)) continue;
    if (processIdentifier && node->processIdentifier != *processIdentifier) continue;
    const auto frame = tree.frame(window.handle);
    if (frame && contains(*frame, point)) return tree.deepestAt(window.handle, point);
  }
  return std::nullopt;
}

// ---- Handles

AXUIElement DesktopState::element(const ElementTarget& target) const {
  return AXUIElement{std::make_shared<SimulatedElement>(this, target)};
}

AXUIElement DesktopState::nodeElement(NodeHandle handle) const {
  return element({ElementKind::node, tree.ownerOf(handle).value_or(0), handle});
}

std::optional<ElementTarget> DesktopState::target(const AXUIElement& element) const {
  const auto* const simulated = dynamic_cast<const SimulatedElement*>(&element.get());
  if (!simulated || !simulated->isOf(this)) return std::nullopt;
  return simulated->target();
}

}  // namespace quillard::platform::simulated
