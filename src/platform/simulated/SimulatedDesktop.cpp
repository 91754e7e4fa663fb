#include "platform/simulated/SimulatedDesktop.h"

#include <algorithm>
#include <utility>

#include "platform/simulated/DesktopAnswers.h"
#include "platform/simulated/DesktopInternals.h"

namespace quillard::platform::simulated {

namespace {

constexpr std::string_view kExampleBundle = "com.example.app";

void set(AttributeMap& attributes, std::string_view name, AXResult<AXValue> answer) {
  attributes.insert_or_assign(std::string(name), std::move(answer));
}

void remove(AttributeMap& attributes, std::string_view name) {
  const auto found = attributes.find(name);
  if (found != attributes.end()) attributes.erase(found);
}

}  // namespace

SimulatedDesktop::SimulatedDesktop(Clock& clock, Executors& executors)
    : internals(std::make_unique<DesktopInternals>(*this, clock, executors)) {}

SimulatedDesktop::~SimulatedDesktop() = default;

Accessibility& SimulatedDesktop::accessibility() { return internals->accessibility; }
Workspace& SimulatedDesktop::workspace() { return internals->workspace; }
WindowList& SimulatedDesktop::windowList() { return internals->windowList; }

// ---- Applications

ApplicationHandle SimulatedDesktop::launch(const ApplicationSpec& spec) { return internals->state.launch(spec); }

void SimulatedDesktop::terminate(ApplicationHandle application) {
  internals->state.end(application.processIdentifier, false);
}

void SimulatedDesktop::terminateButKeepListed(ApplicationHandle application) {
  internals->state.end(application.processIdentifier, true);
}

void SimulatedDesktop::activate(ApplicationHandle application) {
  internals->state.activate(application.processIdentifier);
}

void SimulatedDesktop::deactivateAll() { internals->state.deactivateAll(); }

void SimulatedDesktop::hide(ApplicationHandle application) {
  internals->state.setHidden(application.processIdentifier, true);
}

void SimulatedDesktop::unhide(ApplicationHandle application) {
  internals->state.setHidden(application.processIdentifier, false);
}

void SimulatedDesktop::changeSpace() { internals->state.changeSpace(); }

void SimulatedDesktop::setRefusesToQuit(ApplicationHandle application, bool refuses) {
  if (auto* const found = internals->state.find(application.processIdentifier)) found->refusesToQuit = refuses;
}

void SimulatedDesktop::hang(ApplicationHandle application, LateActions late) {
  auto* const found = internals->state.find(application.processIdentifier);
  if (!found) return;
  found->isHung = true;
  found->lateActions = late;
}

void SimulatedDesktop::unhang(ApplicationHandle application) {
  auto* const found = internals->state.find(application.processIdentifier);
  if (!found) return;
  found->isHung = false;
  for (Turn& action : std::exchange(found->waitingActions, {})) later(Seconds::zero(), std::move(action));
}

void SimulatedDesktop::slow(ApplicationHandle application, Seconds latency) {
  if (auto* const found = internals->state.find(application.processIdentifier)) found->latency = latency;
}

std::optional<RunningApplication> SimulatedDesktop::application(ApplicationHandle application) const {
  return internals->workspace.runningApplication(application.processIdentifier);
}

std::vector<ApplicationHandle> SimulatedDesktop::quitRequests() const { return internals->workspace.quitRequests(); }
std::vector<std::string> SimulatedDesktop::openedURLs() const { return internals->workspace.openedURLs(); }
std::vector<std::string> SimulatedDesktop::openedFolders() const { return internals->workspace.openedFolders(); }
void SimulatedDesktop::setRefusesToOpen(bool refuses) { internals->workspace.setRefusesToOpen(refuses); }

// ---- Windows and elements

NodeHandle SimulatedDesktop::open(ApplicationHandle application, const DialogSpec& dialog) {
  return internals->state.openDialog(application.processIdentifier, dialog).value_or(NodeHandle{});
}

NodeHandle SimulatedDesktop::open(const DialogSpec& dialog) {
  for (const ApplicationState& application : internals->state.all()) {
    const bool isExample = application.facts.bundleIdentifier == kExampleBundle;
    if (isExample && !application.facts.isTerminated) return open({application.facts.processIdentifier}, dialog);
  }
  return open(launch({.name = "Example", .bundleIdentifier = std::string(kExampleBundle)}), dialog);
}

NodeHandle SimulatedDesktop::openSheet(NodeHandle window, DialogSpec dialog) {
  dialog.role = ax::kSheetRole;
  return internals->state.openSheet(window, dialog).value_or(NodeHandle{});
}

NodeHandle SimulatedDesktop::addWindow(ApplicationHandle application, const ElementSpec& window) {
  return internals->state.addWindow(application.processIdentifier, window).value_or(NodeHandle{});
}

NodeHandle SimulatedDesktop::addChild(NodeHandle parent, const ElementSpec& child) {
  return internals->state.addChild(parent, child).value_or(NodeHandle{});
}

NodeHandle SimulatedDesktop::addElement(ApplicationHandle application, const ElementSpec& element) {
  return internals->state.addElement(application.processIdentifier, element).value_or(NodeHandle{});
}

void SimulatedDesktop::close(NodeHandle node) { internals->state.close(node); }

void SimulatedDesktop::reorderChildren(NodeHandle parent, const std::vector<NodeHandle>& order) {
  ElementNode* const node = internals->state.tree.find(parent);
  if (node && std::is_permutation(order.begin(), order.end(), node->children.begin(), node->children.end())) {
    node->children = order;
  }
}

void SimulatedDesktop::setAttribute(NodeHandle node, std::string_view name, AXValue value) {
  if (auto* const found = internals->state.tree.find(node)) set(found->attributes, name, std::move(value));
  internals->state.windowsChanged();
}

void SimulatedDesktop::setAttribute(ApplicationHandle application, std::string_view name, AXValue value) {
  auto* const found = internals->state.find(application.processIdentifier);
  if (found) set(found->attributes, name, std::move(value));
}

void SimulatedDesktop::setSystemWideAttribute(std::string_view name, AXValue value) {
  set(internals->state.systemWide, name, std::move(value));
}

void SimulatedDesktop::setAttributeError(NodeHandle node, std::string_view name, AXError error) {
  if (auto* const found = internals->state.tree.find(node)) set(found->attributes, name, error);
  internals->state.windowsChanged();
}

void SimulatedDesktop::setAttributeError(ApplicationHandle application, std::string_view name, AXError error) {
  if (auto* const found = internals->state.find(application.processIdentifier)) set(found->attributes, name, error);
}

void SimulatedDesktop::setSystemWideAttributeError(std::string_view name, AXError error) {
  set(internals->state.systemWide, name, error);
}

void SimulatedDesktop::removeAttribute(NodeHandle node, std::string_view name) {
  if (auto* const found = internals->state.tree.find(node)) remove(found->attributes, name);
  internals->state.windowsChanged();
}

void SimulatedDesktop::removeAttribute(ApplicationHandle application, std::string_view name) {
  if (auto* const found = internals->state.find(application.processIdentifier)) remove(found->attributes, name);
}

void SimulatedDesktop::removeSystemWideAttribute(std::string_view name) { remove(internals->state.systemWide, name); }

void SimulatedDesktop::setActions(NodeHandle node, std::vector<std::string> names) {
  if (auto* const found = internals->state.tree.find(node)) found->actions = std::move(names);
}

void SimulatedDesktop::setActionsError(NodeHandle node, AXError error) {
  if (auto* const found = internals->state.tree.find(node)) found->actionsError = error;
}

void SimulatedDesktop::setEffect(NodeHandle node, std::string_view action, PressEffect effect) {
  if (auto* const found = internals->state.tree.find(node)) {
    found->effects.insert_or_assign(std::string(action), std::move(effect));
  }
}

void SimulatedDesktop::move(NodeHandle window, Rect frame) { internals->state.move(window, frame); }

// ---- Focus and stacking

void SimulatedDesktop::focusWindow(NodeHandle window) {
  internals->state.setFocusedWindow(window);
  if (const auto its = owner(window)) activate(*its);
}

void SimulatedDesktop::focusElement(NodeHandle node) {
  internals->state.focusElement(node);
  if (const auto its = owner(node)) activate(*its);
}

void SimulatedDesktop::setFocusedWindow(NodeHandle window) { internals->state.setFocusedWindow(window); }
void SimulatedDesktop::setFocusedElement(NodeHandle node) { internals->state.focusElement(node); }
void SimulatedDesktop::setMainWindow(NodeHandle window) { internals->state.setMainWindow(window); }
void SimulatedDesktop::raise(NodeHandle window) { internals->state.raise(window); }

// ---- Finding things

bool SimulatedDesktop::isOpen(NodeHandle node) const { return internals->state.tree.find(node) != nullptr; }

std::optional<NodeHandle> SimulatedDesktop::findButton(NodeHandle window, std::string_view label) const {
  return internals->state.tree.findButton(window, label);
}

std::vector<NodeHandle> SimulatedDesktop::windows(ApplicationHandle application) const {
  const auto* const found = internals->state.find(application.processIdentifier);
  return found ? found->windows : std::vector<NodeHandle>{};
}

std::vector<NodeHandle> SimulatedDesktop::children(NodeHandle node) const {
  const auto* const found = internals->state.tree.find(node);
  return found ? found->children : std::vector<NodeHandle>{};
}

std::optional<NodeHandle> SimulatedDesktop::parent(NodeHandle node) const {
  const auto* const found = internals->state.tree.find(node);
  return found ? found->parent : std::nullopt;
}

std::optional<NodeHandle> SimulatedDesktop::windowOf(NodeHandle node) const {
  return internals->state.tree.rootOf(node);
}

std::optional<NodeHandle> SimulatedDesktop::promptOf(NodeHandle node) const {
  return internals->state.tree.promptOf(node);
}

std::optional<ApplicationHandle> SimulatedDesktop::owner(NodeHandle node) const {
  const auto* const found = internals->state.tree.find(node);
  return found ? std::optional{ApplicationHandle{found->processIdentifier}} : std::nullopt;
}

std::optional<Rect> SimulatedDesktop::frame(NodeHandle node) const { return internals->state.tree.frame(node); }

AXResult<AXValue> SimulatedDesktop::attribute(NodeHandle node, std::string_view name) const {
  return attributeAnswer(internals->state, {ElementKind::node, 0, node}, name);
}

AXResult<AXValue> SimulatedDesktop::attribute(ApplicationHandle application, std::string_view name) const {
  return attributeAnswer(internals->state, {ElementKind::application, application.processIdentifier, {}}, name);
}

AXResult<AXValue> SimulatedDesktop::systemWideAttribute(std::string_view name) const {
  return attributeAnswer(internals->state, {}, name);
}

std::optional<NodeHandle> SimulatedDesktop::focused() const {
  const ApplicationState* const front = internals->state.front();
  return front ? focused(ApplicationHandle{front->facts.processIdentifier}) : std::nullopt;
}

std::optional<NodeHandle> SimulatedDesktop::focused(ApplicationHandle application) const {
  const ApplicationState* const found = internals->state.running(application.processIdentifier);
  if (!found) return std::nullopt;
  return found->focusedElement ? found->focusedElement : found->focusedWindow;
}

std::optional<NodeHandle> SimulatedDesktop::nodeAt(Point point) const {
  return internals->state.nodeAt(point, std::nullopt);
}

std::optional<NodeHandle> SimulatedDesktop::nodeAt(ApplicationHandle application, Point point) const {
  return internals->state.nodeAt(point, application.processIdentifier);
}

AXUIElement SimulatedDesktop::element(NodeHandle node) const { return internals->state.nodeElement(node); }

AXUIElement SimulatedDesktop::element(ApplicationHandle application) const {
  return internals->state.element({ElementKind::application, application.processIdentifier, {}});
}

std::optional<NodeHandle> SimulatedDesktop::node(const AXUIElement& element) const {
  const auto target = internals->state.target(element);
  return target && target->kind == ElementKind::node ? std::optional{target->node} : std::nullopt;
}

// ---- Presses and requests

bool SimulatedDesktop::pressByHand(NodeHandle button) {
  const auto* const node = internals->state.tree.find(button);
  const auto* const application = node ? internals->state.find(node->processIdentifier) : nullptr;
  if (!application || application->isHung) return false;
  internals->actions.press(button);
  return true;
}

std::optional<std::string> SimulatedDesktop::pressed(NodeHandle window) const {
  return internals->actions.pressed(window);
}

std::vector<Press> SimulatedDesktop::presses() const { return internals->actions.presses(); }

void SimulatedDesktop::setMessagingTimeout(Seconds timeout) { internals->gate.setMessagingTimeout(timeout); }

void SimulatedDesktop::setTrustLatency(Seconds latency) { internals->gate.setTrustLatency(latency); }

void SimulatedDesktop::setTrustSilent(bool silent) { internals->gate.setTrustSilent(silent); }

void SimulatedDesktop::setDesktopFailure(std::optional<DesktopReadFailure> failure) {
  internals->gate.setDesktopFailure(failure);
}

void SimulatedDesktop::setTrusted(bool trusted, bool isNotified) {
  if (internals->gate.isTrusted() == trusted) return;
  internals->gate.setTrusted(trusted);
  if (isNotified) internals->accessibility.trustChanged();
}

void SimulatedDesktop::setRequestHook(std::function<void(const AXRequest&)> hook) {
  internals->gate.setHook(std::move(hook));
}

void SimulatedDesktop::setHitTest(std::function<std::optional<AXResult<NodeHandle>>(Point)> answer) {
  internals->accessibility.setHitTest(std::move(answer));
}

std::uint64_t SimulatedDesktop::roundTrips() const { return internals->gate.roundTrips(); }

std::uint64_t SimulatedDesktop::roundTrips(ApplicationHandle application) const {
  return internals->gate.roundTrips(application.processIdentifier);
}

void SimulatedDesktop::resetRoundTrips() { internals->gate.resetRoundTrips(); }

// ---- The window list

void SimulatedDesktop::overrideWindowEntry(NodeHandle window, std::function<void(WindowListEntry&)> change) {
  if (auto* const stacked = internals->state.stack.find(window)) stacked->change = std::move(change);
  internals->state.windowsChanged();
}

void SimulatedDesktop::setOffScreen(NodeHandle window, bool offScreen) {
  internals->state.setOffScreen(window, offScreen);
}

void SimulatedDesktop::setListed(NodeHandle window, bool listed) {
  if (auto* const stacked = internals->state.stack.find(window)) stacked->isListed = listed;
  internals->state.windowsChanged();
}

void SimulatedDesktop::setWindowListReadable(bool readable) {
  internals->state.isWindowListReadable = readable;
  internals->state.windowsChanged();
}

void SimulatedDesktop::setListsWindows(bool lists) { internals->state.listsWindows = lists; }

NodeHandle SimulatedDesktop::addWindowEntry(WindowListEntry entry, bool isOnScreen) {
  const NodeHandle handle = internals->state.tree.makeHandle();
  internals->state.stack.add({.handle = handle, .isOffScreen = !isOnScreen, .freeStanding = std::move(entry)});
  internals->state.windowsChanged();
  return handle;
}

void SimulatedDesktop::later(Seconds delay, Turn turn) { internals->later(delay, std::move(turn)); }

}  // namespace quillard::platform::simulated
