#include "recording/DesktopRecorder.h"

#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <span>
#include <unordered_map>
#include <utility>

#include "foundation/Text.h"
#include "recording/RecordingRedaction.h"

namespace quillard::recording {
namespace {

namespace ax = platform::ax;
using platform::AXError;
using platform::AXUIElement;
using platform::AXValue;
using Names = std::span<const std::string_view>;

// The attributes that say something of an element of each kind, besides role, subrole, value and lists. Not the
// children of an application: they are its windows again, and all of its menus.
constexpr std::array kApplicationAttributes{ax::kTitle,      ax::kParent,        ax::kFrontmost,
                                            ax::kMainWindow, ax::kFocusedWindow, ax::kFocusedUIElement};
constexpr std::array kElementAttributes{ax::kTitle, ax::kDescription, ax::kModal,  ax::kPosition,
                                        ax::kSize,  ax::kParent,      ax::kFocused};
constexpr std::array kWindowAttributes{ax::kMinimized, ax::kMain, ax::kDefaultButton, ax::kCancelButton,
                                       ax::kRoleDescription};

bool isWindow(std::string_view role) { return role == ax::kWindowRole || role == ax::kSheetRole; }

std::string_view textOf(const RecordedElement& element, std::string_view name) {
  const auto found = element.attributes.find(name);
  const auto* text = found == element.attributes.end() ? nullptr : std::get_if<std::string>(&found->second);
  return text ? std::string_view(*text) : std::string_view();
}

// Whether the text of the element may be asked for. Not when it is secret, nor when that could not be told.
bool mayReadValue(const RecordedElement& element) {
  const auto found = element.attributes.find(ax::kSubrole);
  if (found == element.attributes.end()) return true;
  if (const auto* error = std::get_if<AXError>(&found->second)) return *error == AXError::noValue;
  return textOf(element, ax::kSubrole) != ax::kSecureTextFieldSubrole;
}

// An attribute whose value is elements, until it is known which of them are recorded.
struct PendingReference {
  ElementId holder;
  std::string_view name;
  std::vector<AXUIElement> targets;
  bool isList = false;
};

// How much more may be recorded below one window, and of which process.
struct TreeBudget {
  int elementsLeft = 0;
  std::optional<std::int32_t> processIdentifier;
};

class Recorder {
 public:
  Recorder(platform::Accessibility& accessibility, const std::vector<platform::RunningApplication>& applications,
           const RecordingLimits& limits, const RecordingPrivacy& privacy)
      : accessibility(accessibility),
        scope(accessibility.beginReadScope()),
        limits(limits),
        redaction(privacy, applications),
        treesLeft(limits.windowsPerApplication) {
    std::vector<AXUIElement> elements;
    for (const auto& application : applications) {
      elements.push_back(accessibility.createApplication(application.processIdentifier));
    }
    scope->prepareApplications(elements, limits.elementsPerWindow);
    for (std::size_t i = 0; i < elements.size(); ++i) recordApplication(applications[i], elements[i]);
  }

  // Elements that stand in no list of windows or children are recorded when something refers to them.
  void recordFocus() {
    const auto systemWide = accessibility.createSystemWide();
    const auto window = focused(systemWide, ax::kFocusedWindow);
    const auto element = focused(systemWide, ax::kFocusedUIElement);
    if (window && isRecorded(accessibility.processIdentifier(*window))) desktop.focusedWindow = recordedId(*window);
    if (element && isRecorded(accessibility.processIdentifier(*element))) desktop.focusedElement = recordedId(*element);
    resolveReferences();
  }

  void recordWindowList(platform::WindowList& windowList) {
    const auto onScreen = windowList.copyWindowInfo(platform::WindowListOptions::onScreenOnly);
    auto hidden = windowList.copyWindowInfo(platform::WindowListOptions::all);
    for (const auto& entry : onScreen) {
      addWindowListEntry(entry, true);
      const auto same = std::find(hidden.begin(), hidden.end(), entry);
      if (same != hidden.end()) hidden.erase(same);
    }
    for (const auto& entry : hidden) addWindowListEntry(entry, false);
  }

  void markFrontmost(std::int32_t processIdentifier) {
    for (auto& application : desktop.applications) {
      application.isFrontmost = application.application.processIdentifier == processIdentifier;
    }
  }

  RecordedDesktop result() && {
    desktop.failure = scope->desktopFailure();
    return std::move(desktop);
  }

 private:
  // Whether what belongs to the process is part of the recording.
  [[nodiscard]] bool isRecorded(std::optional<std::int32_t> processIdentifier) const {
    if (limits.program.empty()) return true;
    return std::any_of(desktop.applications.begin(), desktop.applications.end(), [&](const auto& application) {
      return application.application.processIdentifier == processIdentifier;
    });
  }

  void recordApplication(const platform::RunningApplication& application, const AXUIElement& element) {
    const ElementId id = newElement(element, application.processIdentifier);
    readAttribute(element, id, ax::kRole);
    readAttribute(element, id, ax::kSubrole);
    for (const auto name : kApplicationAttributes) readAttribute(element, id, name);
    recordWindows(element, id);
    desktop.applications.push_back(
        {.application = application, .missedTimeout = scope->missedTimeout(element), .element = id});
  }

  void recordWindows(const AXUIElement& application, const ElementId& id) {
    const auto list = listOf(application, id, ax::kWindows);
    if (!list) return;
    std::vector<ElementId> windows;
    for (const auto& window : *list) {
      if (scope->missedTimeout(application)) break;
      if (static_cast<int>(windows.size()) >= limits.windowsPerApplication) {
        desktop.isCut = true;
        break;
      }
      if (auto recorded = recordTree(window)) windows.push_back(std::move(*recorded));
    }
    elementOf(id).attributes.insert_or_assign(std::string(ax::kWindows), std::move(windows));
  }

  // A window, or what else stands alone, with everything in it.
  std::optional<ElementId> recordTree(const AXUIElement& root) {
    TreeBudget budget{limits.elementsPerWindow, accessibility.processIdentifier(root)};
    return recordElement(root, budget, 1);
  }

  // Absent when a limit forbids it.
  std::optional<ElementId> recordElement(const AXUIElement& element, TreeBudget& budget, int depth) {
    if (const auto known = ids.find(element); known != ids.end()) return known->second;
    if (budget.elementsLeft <= 0 || depth > limits.depth) {
      desktop.isCut = true;
      return std::nullopt;
    }
    --budget.elementsLeft;
    ElementId id = newElement(element, budget.processIdentifier);
    readAttribute(element, id, ax::kRole);
    readAttribute(element, id, ax::kSubrole);
    const std::string role(textOf(elementOf(id), ax::kRole));
    for (const auto name : kElementAttributes) readAttribute(element, id, name);
    if (isWindow(role)) {
      for (const auto name : kWindowAttributes) readAttribute(element, id, name);
    }
    if (role == ax::kButtonRole) readAttribute(element, id, ax::kEnabled);
    if (isWindow(role) || role == ax::kButtonRole) readActions(element, id);
    if (mayReadValue(elementOf(id))) {
      readAttribute(element, id, ax::kValue);
      recordChildren(element, id, budget, depth);
    }
    return id;
  }

  void recordChildren(const AXUIElement& element, const ElementId& id, TreeBudget& budget, int depth) {
    const auto list = listOf(element, id, ax::kChildren);
    if (!list) return;
    std::vector<ElementId> children;
    for (const auto& child : *list) {
      if (scope->missedTimeout(element)) break;
      if (auto recorded = recordElement(child, budget, depth + 1)) children.push_back(std::move(*recorded));
    }
    elementOf(id).attributes.insert_or_assign(std::string(ax::kChildren), std::move(children));
  }

  // Absent when the attribute is no list of elements; it is recorded as what it is then.
  std::optional<std::vector<AXUIElement>> listOf(const AXUIElement& element, const ElementId& id,
                                                 std::string_view name) {
    auto answer = scope->copyAttributeValue(element, name);
    if (answer.hasValue() && std::holds_alternative<std::vector<AXUIElement>>(answer.value())) {
      return std::get<std::vector<AXUIElement>>(std::move(answer).value());
    }
    keep(id, name, answer);
    return std::nullopt;
  }

  void readAttribute(const AXUIElement& element, const ElementId& id, std::string_view name) {
    keep(id, name, scope->copyAttributeValue(element, name));
  }

  void keep(const ElementId& id, std::string_view name, const platform::AXResult<AXValue>& answer) {
    if (!answer.hasValue()) {
      if (answer.error() != AXError::attributeUnsupported) put(id, name, reason(answer.error()));
    } else if (const auto* element = std::get_if<AXUIElement>(&answer.value())) {
      pending.push_back({id, name, {*element}});
    } else if (const auto* elements = std::get_if<std::vector<AXUIElement>>(&answer.value())) {
      pending.push_back({id, name, *elements, /*isList=*/true});
    } else {
      put(id, name, redaction.value(textOf(elementOf(id), ax::kRole), name, plainValue(answer.value())));
    }
  }

  static AXError reason(AXError error) { return error == AXError::success ? AXError::failure : error; }

  // Of a value that is not made of elements.
  static RecordedValue plainValue(const AXValue& value) {
    return std::visit(
        []<class T>(const T& content) -> RecordedValue {
          if constexpr (std::is_constructible_v<RecordedValue, std::in_place_type_t<T>, const T&>) {
            return RecordedValue{std::in_place_type<T>, content};
          } else {
            return platform::AXForeignValue{};
          }
        },
        value);
  }

  void readActions(const AXUIElement& element, const ElementId& id) {
    const auto answer = scope->copyActionNames(element);
    if (!answer.hasValue()) {
      elementOf(id).actionNames = reason(answer.error());
      return;
    }
    std::vector<std::string> names;
    for (const auto& name : answer.value()) names.push_back(redaction.actionName(name));
    elementOf(id).actionNames = std::move(names);
  }

  std::optional<AXUIElement> focused(const AXUIElement& systemWide, std::string_view name) {
    const auto answer = scope->copyAttributeValue(systemWide, name);
    const auto* element = answer.hasValue() ? std::get_if<AXUIElement>(&answer.value()) : nullptr;
    return element ? std::optional(*element) : std::nullopt;
  }

  void resolveReferences() {
    // Recording what is referred to may bring further references.
    while (!pending.empty()) {
      const PendingReference reference = std::move(pending.front());
      pending.pop_front();
      std::vector<ElementId> targets;
      for (const auto& target : reference.targets) {
        if (auto id = recordedId(target)) targets.push_back(std::move(*id));
      }
      if (reference.isList) {
        put(reference.holder, reference.name, std::move(targets));
      } else if (targets.empty()) {
        put(reference.holder, reference.name, AXError::noValue);
      } else {
        put(reference.holder, reference.name, ElementReference{std::move(targets.front())});
      }
    }
  }

  // Of an element that may stand outside all windows. Absent when there are too many of those.
  std::optional<ElementId> recordedId(const AXUIElement& element) {
    if (const auto known = ids.find(element); known != ids.end()) return known->second;
    if (treesLeft <= 0) {
      desktop.isCut = true;
      return std::nullopt;
    }
    --treesLeft;
    return recordTree(element);
  }

  void addWindowListEntry(platform::WindowListEntry entry, bool isOnScreen) {
    if (!isRecorded(entry.ownerProcessIdentifier)) return;
    if (entry.ownerName) entry.ownerName = redaction.text(*entry.ownerName);
    if (entry.windowName) entry.windowName = redaction.text(*entry.windowName);
    desktop.windowList.push_back({.entry = std::move(entry), .isOnScreen = isOnScreen});
  }

  ElementId newElement(const AXUIElement& element, std::optional<std::int32_t> processIdentifier) {
    ElementId id = "#" + std::to_string(ids.size() + 1);
    ids.emplace(element, id);
    desktop.elements[id].processIdentifier = processIdentifier;
    return id;
  }
  RecordedElement& elementOf(const ElementId& id) { return desktop.elements.find(id)->second; }
  void put(const ElementId& id, std::string_view name, RecordedValue value) {
    elementOf(id).attributes.insert_or_assign(std::string(name), std::move(value));
  }

  platform::Accessibility& accessibility;
  const std::unique_ptr<platform::AXReadScope> scope;
  const RecordingLimits& limits;
  const RecordingRedaction redaction;
  int treesLeft;  // Outside all windows.
  RecordedDesktop desktop;
  std::unordered_map<AXUIElement, ElementId> ids;
  std::deque<PendingReference> pending;
};

// All that run, and the one in front even when it is not listed among them.
std::vector<platform::RunningApplication> applicationsToRecord(
    platform::Workspace& workspace, const std::optional<platform::RunningApplication>& frontmost,
    const std::string& program) {
  const std::string wanted = text::lowercased(program);
  std::vector<platform::RunningApplication> applications;
  std::set<std::int32_t> processes;
  auto running = workspace.runningApplications();
  if (frontmost) running.push_back(*frontmost);
  for (auto& application : running) {
    if (application.isTerminated || !processes.insert(application.processIdentifier).second) continue;
    if (text::lowercased(application.localizedName.value_or("")).find(wanted) == std::string::npos) continue;
    applications.push_back(std::move(application));
  }
  return applications;
}

}  // namespace

RecordedDesktop recordDesktop(platform::Accessibility& accessibility, platform::Workspace& workspace,
                              platform::WindowList& windowList, const RecordingLimits& limits,
                              const RecordingPrivacy& privacy) {
  const auto frontmost = workspace.frontmostApplication();
  const auto applications = applicationsToRecord(workspace, frontmost, limits.program);
  Recorder recorder{accessibility, applications, limits, privacy};
  if (frontmost) recorder.markFrontmost(frontmost->processIdentifier);
  recorder.recordFocus();
  recorder.recordWindowList(windowList);
  return std::move(recorder).result();
}

}  // namespace quillard::recording
