#include "platform/simulated/DesktopLoader.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quillard::platform::simulated {

namespace {

using recording::ElementId;
using recording::RecordedApplication;
using recording::RecordedElement;
using recording::RecordedValue;
using recording::RecordedWindowListEntry;

// What the desktop answers by itself where a recording may have nothing.
constexpr std::array kAnsweredByNodes{ax::kRole, ax::kChildren, ax::kParent, ax::kFocused, ax::kMain, ax::kMinimized};
constexpr std::array kAnsweredByApplications{ax::kRole,          ax::kTitle,           ax::kWindows,
                                             ax::kChildren,      ax::kFrontmost,       ax::kMainWindow,
                                             ax::kFocusedWindow, ax::kFocusedUIElement};

// The recorded answer where it is the same in every desktop. Absent: it names elements.
std::optional<AXResult<AXValue>> plainAnswer(const RecordedValue& value) {
  using Answer = std::optional<AXResult<AXValue>>;
  return std::visit(
      []<class T>(const T& content) -> Answer {
        if constexpr (std::is_same_v<T, recording::ElementReference> || std::is_same_v<T, std::vector<ElementId>>) {
          return std::nullopt;
        } else if constexpr (std::is_same_v<T, AXError>) {
          return AXResult<AXValue>{content};
        } else {
          return AXResult<AXValue>{AXValue{std::in_place_type<T>, content}};
        }
      },
      value);
}

bool isSame(const AXResult<AXValue>& one, const AXResult<AXValue>& other) {
  if (one.hasValue() != other.hasValue()) return false;
  return one.hasValue() ? one.value() == other.value() : one.error() == other.error();
}

const RecordedValue* find(const RecordedElement& element, std::string_view name) {
  const auto found = element.attributes.find(name);
  return found == element.attributes.end() ? nullptr : &found->second;
}

std::vector<ElementId> listOf(const RecordedElement& element, std::string_view name) {
  const RecordedValue* const value = find(element, name);
  const auto* const list = value ? std::get_if<std::vector<ElementId>>(value) : nullptr;
  return list ? *list : std::vector<ElementId>{};
}

class Loader {
 public:
  Loader(const recording::RecordedDesktop& recorded, SimulatedDesktop& desktop)
      : recorded(recorded), desktop(desktop) {}

  LoadedNodes load() {
    for (const RecordedApplication& application : recorded.applications) launch(application);
    for (const RecordedApplication& application : recorded.applications) addWindows(application);
    for (const auto& [id, element] : recorded.elements) addAlone(id, element);
    for (const RecordedApplication& application : recorded.applications) setFocus(application);
    bringToFront();
    for (const auto& [id, element] : recorded.elements) answerAsRecorded(id, element);
    setSystemWideFocus(ax::kFocusedWindow, recorded.focusedWindow);
    setSystemWideFocus(ax::kFocusedUIElement, recorded.focusedElement);
    loadWindowList();
    for (const RecordedApplication& application : recorded.applications) settle(application);
    return std::move(nodes);
  }

 private:
  // ---- Applications

  void launch(const RecordedApplication& application) {
    const RunningApplication& facts = application.application;
    applications[application.element] = desktop.launch({.name = facts.localizedName,
                                                        .bundleIdentifier = facts.bundleIdentifier,
                                                        .policy = facts.activationPolicy,
                                                        .hidden = facts.isHidden,
                                                        .processIdentifier = facts.processIdentifier});
    processes.insert(facts.processIdentifier);
  }

  // The process of an element that is in no application of the recording: the workspace did not know it.
  ApplicationHandle owner(std::optional<std::int32_t> processIdentifier) {
    if (processIdentifier && processes.contains(*processIdentifier)) return {*processIdentifier};
    const ApplicationHandle launched = desktop.launch({.processIdentifier = processIdentifier, .listed = false});
    processes.insert(launched.processIdentifier);
    return launched;
  }

  void bringToFront() {
    for (const RecordedApplication& application : recorded.applications) {
      if (application.isFrontmost) desktop.activate({application.application.processIdentifier});
    }
  }

  void settle(const RecordedApplication& application) {
    const ApplicationHandle handle{application.application.processIdentifier};
    if (application.missedTimeout) desktop.hang(handle);
    if (application.application.isTerminated) desktop.terminateButKeepListed(handle);
  }

  // ---- Elements

  void addWindows(const RecordedApplication& application) {
    const auto own = recorded.elements.find(application.element);
    if (own == recorded.elements.end()) return;
    for (const ElementId& id : listOf(own->second, ax::kWindows)) {
      if (!isNew(id)) continue;
      nodes[id] = desktop.addWindow({application.application.processIdentifier}, specOf(recorded.elements.at(id)));
      windows.push_back(nodes[id]);
      addChildren(id);
    }
  }

  void addChildren(const ElementId& parent) {
    for (const ElementId& id : listOf(recorded.elements.at(parent), ax::kChildren)) {
      const RecordedElement& child = recorded.elements.at(id);
      const auto owner = desktop.owner(nodes[parent]);
      const bool isForeign = child.processIdentifier && owner && *child.processIdentifier != owner->processIdentifier;
      if (isForeign || !isNew(id)) continue;
      nodes[id] = desktop.addChild(nodes[parent], specOf(child));
      addChildren(id);
    }
  }

  void addAlone(const ElementId& id, const RecordedElement& element) {
    if (!isNew(id)) return;
    nodes[id] = desktop.addElement(owner(element.processIdentifier), specOf(element));
    addChildren(id);
  }

  [[nodiscard]] bool isNew(const ElementId& id) const { return !nodes.contains(id) && !applications.contains(id); }

  static ElementSpec specOf(const RecordedElement& element) {
    ElementSpec spec;
    for (const auto& [name, value] : element.attributes) {
      const auto answer = plainAnswer(value);
      if (answer && answer->hasValue()) spec.attributes.insert_or_assign(name, answer->value());
    }
    if (const auto* const names = std::get_if<std::vector<std::string>>(&element.actionNames)) spec.actions = *names;
    return spec;
  }

  // ---- Attributes

  [[nodiscard]] AXUIElement elementOf(const ElementId& id) const {
    const auto application = applications.find(id);
    return application == applications.end() ? desktop.element(nodes.find(id)->second)
                                             : desktop.element(application->second);
  }

  [[nodiscard]] AXResult<AXValue> answerOf(const RecordedValue& value) const {
    if (const auto plain = plainAnswer(value)) return *plain;
    if (const auto* const reference = std::get_if<recording::ElementReference>(&value)) {
      return AXValue{elementOf(reference->id)};
    }
    std::vector<AXUIElement> elements;
    for (const ElementId& id : std::get<std::vector<ElementId>>(value)) elements.push_back(elementOf(id));
    return AXValue{std::move(elements)};
  }

  void answerAsRecorded(const ElementId& id, const RecordedElement& element) {
    const auto application = applications.find(id);
    if (application != applications.end()) {
      answerAsRecorded(application->second, element, kAnsweredByApplications);
      return;
    }
    answerAsRecorded(nodes[id], element, kAnsweredByNodes);
    const auto* const error = std::get_if<AXError>(&element.actionNames);
    if (error) desktop.setActionsError(nodes[id], *error);
  }

  template <class Handle, class Names>
  void answerAsRecorded(Handle handle, const RecordedElement& element, const Names& answeredAnyway) {
    for (const auto& [name, value] : element.attributes) answer(handle, name, answerOf(value));
    for (const std::string_view name : answeredAnyway) {
      if (!find(element, name)) answer(handle, name, AXError::attributeUnsupported);
    }
  }

  template <class Handle>
  void answer(Handle handle, std::string_view name, const AXResult<AXValue>& wanted) {
    if (isSame(desktop.attribute(handle, name), wanted)) return;
    if (wanted.hasValue()) {
      desktop.setAttribute(handle, name, wanted.value());
    } else {
      desktop.setAttributeError(handle, name, wanted.error());
    }
  }

  // ---- Focus

  void setFocus(const RecordedApplication& application) {
    const auto own = recorded.elements.find(application.element);
    if (own == recorded.elements.end()) return;
    if (const auto node = referenced(own->second, ax::kMainWindow)) desktop.setMainWindow(*node);
    if (const auto node = referenced(own->second, ax::kFocusedUIElement)) desktop.setFocusedElement(*node);
    if (const auto node = referenced(own->second, ax::kFocusedWindow)) desktop.setFocusedWindow(*node);
  }

  [[nodiscard]] std::optional<NodeHandle> referenced(const RecordedElement& element, std::string_view name) const {
    const RecordedValue* const value = find(element, name);
    const auto* const reference = value ? std::get_if<recording::ElementReference>(value) : nullptr;
    const auto node = reference ? nodes.find(reference->id) : nodes.end();
    return node == nodes.end() ? std::nullopt : std::optional{node->second};
  }

  void setSystemWideFocus(std::string_view name, const std::optional<ElementId>& id) {
    const AXResult<AXValue> wanted =
        id ? AXResult<AXValue>{AXValue{elementOf(*id)}} : AXResult<AXValue>{AXError::noValue};
    if (isSame(desktop.systemWideAttribute(name), wanted)) return;
    if (wanted.hasValue()) {
      desktop.setSystemWideAttribute(name, wanted.value());
    } else {
      desktop.setSystemWideAttributeError(name, wanted.error());
    }
  }

  // ---- The window list

  // Back to front, each put in front of those before. Windows that no entry is of are not listed.
  void loadWindowList() {
    std::vector<NodeHandle> unlisted = windows;
    for (auto entry = recorded.windowList.rbegin(); entry != recorded.windowList.rend(); ++entry) {
      const auto window =
          std::find_if(unlisted.begin(), unlisted.end(), [&](NodeHandle candidate) { return isOf(*entry, candidate); });
      if (window == unlisted.end()) {
        desktop.addWindowEntry(entry->entry, entry->isOnScreen);
        continue;
      }
      desktop.raise(*window);
      desktop.setOffScreen(*window, !entry->isOnScreen);
      desktop.overrideWindowEntry(*window, [listed = entry->entry](WindowListEntry& itself) { itself = listed; });
      unlisted.erase(window);
    }
    for (const NodeHandle window : unlisted) desktop.setListed(window, false);
  }

  // An entry says whose it is and where; a window that is not visible by itself can be no entry that is on screen.
  [[nodiscard]] bool isOf(const RecordedWindowListEntry& entry, NodeHandle window) const {
    const auto owner = desktop.owner(window);
    const auto application = owner ? desktop.application(*owner) : std::nullopt;
    if (!application || entry.entry.ownerProcessIdentifier != owner->processIdentifier) return false;
    const auto minimized = desktop.attribute(window, ax::kMinimized);
    const bool isMinimized = minimized.hasValue() && minimized.value() == AXValue{true};
    if (entry.isOnScreen && (application->isHidden || isMinimized)) return false;
    return entry.entry.bounds.has_value() && entry.entry.bounds == desktop.frame(window);
  }

  const recording::RecordedDesktop& recorded;
  SimulatedDesktop& desktop;
  std::map<ElementId, ApplicationHandle, std::less<>> applications;  // By their own elements.
  std::set<std::int32_t> processes;
  LoadedNodes nodes;
  std::vector<NodeHandle> windows;
};

}  // namespace

LoadedNodes loadDesktop(const recording::RecordedDesktop& recorded, SimulatedDesktop& desktop) {
  return Loader{recorded, desktop}.load();
}

}  // namespace quillard::platform::simulated
