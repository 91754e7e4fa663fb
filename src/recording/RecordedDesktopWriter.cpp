#include <utility>

#include "recording/RecordedDesktopJson.h"
#include "recording/RecordedValueJson.h"

namespace quillard::recording {
namespace {

namespace ax = platform::ax;

// On one line. Ids and attribute names are UTF-8 by contract; a broken one becomes replacement characters.
std::string lineOf(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

// The members of the whole, one after another.
class DesktopText {
 public:
  void addMember(std::string_view name, const Json& value) { begin(name) += lineOf(value); }

  template <class Range, class ToJson>
  void addList(std::string_view name, const Range& range, ToJson toJson) {
    auto& list = begin(name);
    const char* separator = "[\n    ";
    for (const auto& entry : range) {
      list += separator + lineOf(toJson(entry));
      separator = ",\n    ";
    }
    list += range.empty() ? "[]" : "\n  ]";
  }

  [[nodiscard]] std::string finish() && { return std::move(text) + "\n}\n"; }

 private:
  std::string& begin(std::string_view name) {
    text += text.empty() ? "{\n  " : ",\n  ";
    return text += lineOf(Json(name)) + ": ";
  }

  std::string text;
};

Json applicationJson(const RecordedApplication& recorded) {
  const auto& application = recorded.application;
  Json json{{"processIdentifier", application.processIdentifier}};
  if (application.localizedName) json["name"] = textJson(*application.localizedName);
  if (application.bundleIdentifier) json["bundleIdentifier"] = textJson(*application.bundleIdentifier);
  json["activationPolicy"] = policyName(application.activationPolicy);
  if (application.isActive) json["active"] = true;
  if (application.isHidden) json["hidden"] = true;
  if (application.isTerminated) json["terminated"] = true;
  if (recorded.isFrontmost) json["frontmost"] = true;
  if (recorded.missedTimeout) json["missedTimeout"] = true;
  json["element"] = recorded.element;
  return json;
}

Json windowListEntryJson(const RecordedWindowListEntry& recorded) {
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

template <class T>
const T* attributeOf(const RecordedElement& element, std::string_view name) {
  const auto found = element.attributes.find(name);
  return found == element.attributes.end() ? nullptr : std::get_if<T>(&found->second);
}

Json elementJson(const std::pair<const ElementId, RecordedElement>& entry) {
  const auto& [id, element] = entry;
  const auto* parent = attributeOf<ElementReference>(element, ax::kParent);
  const auto* role = attributeOf<std::string>(element, ax::kRole);
  const auto* windows = attributeOf<std::vector<ElementId>>(element, ax::kWindows);
  const auto* children = attributeOf<std::vector<ElementId>>(element, ax::kChildren);
  const auto hasOwnMember = [&](std::string_view name) {
    return (parent && name == ax::kParent) || (role && name == ax::kRole) || (windows && name == ax::kWindows) ||
           (children && name == ax::kChildren);
  };

  Json json{{"id", id}};
  if (element.processIdentifier) json["process"] = *element.processIdentifier;
  if (parent) json["parent"] = parent->id;
  if (role) json["role"] = textJson(*role);
  Json attributes = Json::object();
  for (const auto& [name, value] : element.attributes) {
    if (!hasOwnMember(name)) attributes[name] = valueJson(value);
  }
  if (!attributes.empty()) json["attributes"] = std::move(attributes);
  const auto* names = std::get_if<std::vector<std::string>>(&element.actionNames);
  if (!names) {
    json["actions"] = errorJson(std::get<platform::AXError>(element.actionNames));
  } else if (!names->empty()) {
    json["actions"] = textsJson(*names);
  }
  if (windows) json["windows"] = *windows;
  if (children) json["children"] = *children;
  return json;
}

}  // namespace

std::string recordedDesktopText(const RecordedDesktop& desktop) {
  DesktopText text;
  text.addMember("format", kRecordedDesktopFormat);
  text.addMember("version", kRecordedDesktopVersion);
  if (desktop.isCut) text.addMember("cut", true);
  text.addList("applications", desktop.applications, applicationJson);
  if (desktop.focusedWindow) text.addMember("focusedWindow", *desktop.focusedWindow);
  if (desktop.focusedElement) text.addMember("focusedElement", *desktop.focusedElement);
  text.addList("windowList", desktop.windowList, windowListEntryJson);
  text.addList("elements", desktop.elements, elementJson);
  return std::move(text).finish();
}

}  // namespace quillard::recording
