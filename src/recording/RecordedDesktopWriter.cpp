#include <array>
#include <utility>

#include "recording/ReadableJson.h"
#include "recording/RecordedDesktopJson.h"
#include "recording/RecordedDesktopLayout.h"
#include "recording/RecordedDesktopMembers.h"
#include "recording/RecordedValueJson.h"

namespace quillard::recording {
namespace {

namespace ax = platform::ax;

// Each takes two levels, the whole and its lists some more, and the values of the deepest element three.
constexpr int kDeepestElement = 240;
static_assert(2 * kDeepestElement + 8 <= static_cast<int>(kRecordedDesktopLimits.depth));

// The attributes of one element that are not written yet.
class Remaining {
 public:
  explicit Remaining(const RecordedAttributes& attributes) {
    for (const auto& [name, value] : attributes) left.emplace(name, &value);
  }

  // Null when there is none, or it was taken.
  const RecordedValue* take(std::string_view name) {
    const auto found = left.find(name);
    if (found == left.end()) return nullptr;
    const auto* value = found->second;
    left.erase(found);
    return value;
  }
  template <class T>
  const T* peek(std::string_view name) const {
    const auto found = left.find(name);
    return found == left.end() ? nullptr : std::get_if<T>(found->second);
  }
  [[nodiscard]] const std::map<std::string_view, const RecordedValue*>& all() const { return left; }

 private:
  std::map<std::string_view, const RecordedValue*> left;
};

class DesktopWriter {
 public:
  explicit DesktopWriter(const RecordedDesktop& desktop) : desktop(desktop), layout(desktop, kDeepestElement) {}

  [[nodiscard]] Json write() const {
    Json json{{"format", kRecordedDesktopFormat}, {"version", kRecordedDesktopVersion}};
    if (desktop.isCut) json["cut"] = true;
    json["applications"] = applicationsJson();
    if (!layout.elementsOfTheWhole().empty()) {
      json["elements"] = listJson(layout.elementsOfTheWhole(), ElementList::elements, {});
    }
    if (desktop.focusedWindow) json["focusedWindow"] = *desktop.focusedWindow;
    if (desktop.focusedElement) json["focusedElement"] = *desktop.focusedElement;
    json["windowList"] = Json::array();
    for (const auto& entry : desktop.windowList) json["windowList"].push_back(windowListEntryJson(entry));
    return json;
  }

 private:
  [[nodiscard]] Json applicationsJson() const {
    Json list = Json::array();
    for (std::size_t i = 0; i < desktop.applications.size(); ++i) {
      const auto& application = desktop.applications[i];
      Json json = factsJson(application);
      if (layout.isPlacedAt(application.element, ElementList::applications, {}, i)) {
        writeElement(application.element, application.application.processIdentifier, json);
      } else {
        json["element"] = application.element;
      }
      list.push_back(std::move(json));
    }
    return list;
  }

  // What the workspace says of the application.
  static Json factsJson(const RecordedApplication& recorded) {
    const auto& application = recorded.application;
    Json json{{"processIdentifier", application.processIdentifier}};
    if (application.localizedName) json["name"] = textJson(*application.localizedName);
    if (application.bundleIdentifier) json["bundleIdentifier"] = textJson(*application.bundleIdentifier);
    for (const auto& [policy, name] : kActivationPolicies) {
      if (policy == application.activationPolicy) json["activationPolicy"] = name;
    }
    if (application.isActive) json["active"] = true;
    if (application.isHidden) json["hidden"] = true;
    if (application.isTerminated) json["terminated"] = true;
    if (recorded.isFrontmost) json["frontmost"] = true;
    if (recorded.missedTimeout) json["missedTimeout"] = true;
    return json;
  }

  static Json windowListEntryJson(const RecordedWindowListEntry& recorded) {
    const auto& entry = recorded.entry;
    Json json = Json::object();
    if (entry.ownerProcessIdentifier) json["ownerProcessIdentifier"] = *entry.ownerProcessIdentifier;
    if (entry.ownerName) json["ownerName"] = textJson(*entry.ownerName);
    if (entry.windowName) json["windowName"] = textJson(*entry.windowName);
    if (entry.layer) json["layer"] = *entry.layer;
    if (entry.alpha) json["alpha"] = numberJson(*entry.alpha);
    if (const auto& bounds = entry.bounds) {
      json["bounds"] = numbersJson({bounds->x, bounds->y, bounds->width, bounds->height});
    }
    if (!recorded.isOnScreen) json["onScreen"] = false;
    return json;
  }

  // Adds the element's members to `json`. `owner`: the process that the reader will take for its owner.
  void writeElement(const ElementId& id, std::optional<std::int32_t> owner, Json& json) const {
    const auto& element = desktop.elements.find(id)->second;
    const auto& place = layout.place(id);
    if (id != expectedId(place.position) || layout.isReferredTo(id)) json["id"] = id;
    if (element.processIdentifier != owner) {
      json["process"] = element.processIdentifier ? Json(*element.processIdentifier) : Json();
    }
    Remaining remaining{element.attributes};
    const RecordedValue role{std::string(expectedRole(place.list))};
    writeAttribute("role", remaining.take(ax::kRole), &role, json);
    for (const auto& [member, name] : kEverydayMembers) writeAttribute(member, remaining.take(name), nullptr, json);
    writeFrame(remaining, json);
    writeActions(element, json);
    const auto* windows = remaining.take(ax::kWindows);
    const auto* children = remaining.take(ax::kChildren);
    writeOtherAttributes(place, remaining, json);
    const bool isApplication = place.list == ElementList::applications;
    writeList("windows", {id, ElementList::windows}, windows, isApplication, json);
    writeList("children", {id, ElementList::children}, children, !isApplication, json);
  }

  // `expected` may be null: nothing is expected then.
  static void writeAttribute(const char* member, const RecordedValue* value, const RecordedValue* expected,
                             Json& json) {
    if (value && (!expected || *value != *expected)) json[member] = valueJson(*value);
    if (!value && expected) json[member] = nullptr;
  }

  static void writeFrame(Remaining& remaining, Json& json) {
    const auto* position = remaining.peek<Point>(ax::kPosition);
    const auto* size = remaining.peek<Size>(ax::kSize);
    if (!position || !size) return;
    json["frame"] = numbersJson({position->x, position->y, size->width, size->height});
    remaining.take(ax::kPosition);
    remaining.take(ax::kSize);
  }

  static void writeActions(const RecordedElement& element, Json& json) {
    if (const auto* error = std::get_if<platform::AXError>(&element.actionNames)) {
      json["actions"] = errorJson(*error);
      return;
    }
    const auto& names = std::get<0>(element.actionNames);
    if (names != expectedActions(element.attributes)) json["actions"] = textsJson(names);
  }

  static void writeOtherAttributes(const ElementPlace& place, Remaining& remaining, Json& json) {
    Json attributes = Json::object();
    const RecordedValue container{ElementReference{place.container}};
    writeAttribute(ax::kParent.data(), remaining.take(ax::kParent), place.container.empty() ? nullptr : &container,
                   attributes);
    for (const auto& [name, value] : remaining.all()) attributes[std::string(name)] = valueJson(*value);
    if (!attributes.empty()) json["attributes"] = std::move(attributes);
  }

  // `isExpected`: an empty list is what the reader assumes.
  void writeList(const char* member, const std::pair<const ElementId&, ElementList>& of, const RecordedValue* value,
                 bool isExpected, Json& json) const {
    const auto* ids = value ? std::get_if<std::vector<ElementId>>(value) : nullptr;
    if (!ids) {
      const RecordedValue expected{std::vector<ElementId>{}};
      writeAttribute(member, value, isExpected ? &expected : nullptr, json);
    } else if (!ids->empty() || !isExpected) {
      json[member] = listJson(*ids, of.second, of.first);
    }
  }

  [[nodiscard]] Json listJson(const std::vector<ElementId>& ids, ElementList list, const ElementId& container) const {
    const auto owner = container.empty() ? std::nullopt : desktop.elements.find(container)->second.processIdentifier;
    Json json = Json::array();
    for (std::size_t i = 0; i < ids.size(); ++i) {
      Json entry = ids[i];
      if (layout.isPlacedAt(ids[i], list, container, i)) {
        entry = Json::object();
        writeElement(ids[i], owner, entry);
      }
      json.push_back(std::move(entry));
    }
    return json;
  }

  const RecordedDesktop& desktop;
  const RecordedDesktopLayout layout;
};

}  // namespace

std::string recordedDesktopText(const RecordedDesktop& desktop) { return readableJson(DesktopWriter{desktop}.write()); }

}  // namespace quillard::recording
