#include <algorithm>
#include <deque>
#include <initializer_list>
#include <set>
#include <utility>

#include "recording/RecordedDesktopJson.h"
#include "recording/RecordedValueJson.h"

namespace quillard::recording {
namespace {

namespace ax = platform::ax;

using MemberNames = std::initializer_list<std::string_view>;

// A misspelt member would be lost without a word.
void refuseUnknownMembers(const Json& json, JsonReader& reader, MemberNames known) {
  if (!json.is_object()) return;  // The reader has failed on that.
  for (auto member = json.begin(); member != json.end(); ++member) {
    if (std::find(known.begin(), known.end(), member.key()) != known.end()) continue;
    reader.failAt(member.key(), "The member is not known.");
    return;
  }
}

std::optional<std::string> optionalText(JsonReader& reader, std::string_view name) {
  const Json* member = reader.member(name);
  if (!member) return std::nullopt;
  auto text = textOf(*member);
  if (!text) reader.failAt(name, "Expected a text.");
  return text;
}

std::optional<std::int32_t> optionalProcess(JsonReader& reader, std::string_view name) {
  const auto number = reader.optionalInteger(name, INT32_MIN, INT32_MAX);
  return number ? std::optional(static_cast<std::int32_t>(*number)) : std::nullopt;
}

bool flag(JsonReader& reader, std::string_view name, bool otherwise = false) {
  return reader.optionalBoolean(name).value_or(otherwise);
}

class DesktopReader {
 public:
  DesktopReader(const Json& json, const RecordedDesktopLimits& limits) : json(json), limits(limits) {}

  std::variant<RecordedDesktop, JsonError> read() {
    JsonReader reader{json};
    checkFormat(reader);
    refuseUnknownMembers(
        json, reader,
        {"format", "version", "cut", "applications", "focusedWindow", "focusedElement", "windowList", "elements"});
    desktop.isCut = flag(reader, "cut");
    collectIds(reader);
    readEntries(reader, "applications", limits.applications, &DesktopReader::readApplication);
    desktop.focusedWindow = optionalReference(reader, "focusedWindow");
    desktop.focusedElement = optionalReference(reader, "focusedElement");
    readEntries(reader, "windowList", limits.windowListEntries, &DesktopReader::readWindowListEntry);
    readEntries(reader, "elements", limits.elements, &DesktopReader::readElement);
    if (!reader.error()) checkDepth(reader);
    if (reader.error()) return *reader.error();
    return std::move(desktop);
  }

 private:
  static void checkFormat(JsonReader& reader) {
    if (reader.string("format") != kRecordedDesktopFormat) reader.failAt("format", "This is no recorded desktop.");
    const auto version = reader.integer("version", INT64_MIN, INT64_MAX);
    if (version != kRecordedDesktopVersion) reader.failAt("version", "Only version 2 can be read.");
  }

  // Null when it is left out, and when it is no list or too long, which is a failure.
  static const Json* listOf(JsonReader& reader, std::string_view name, std::size_t most) {
    const Json* list = reader.member(name);
    if (list && !list->is_array()) reader.failAt(name, "Expected a list.");
    if (list && list->size() > most) reader.failAt(name, "There are more than " + std::to_string(most) + " entries.");
    return reader.error() ? nullptr : list;
  }

  // Reads every entry of a list that may be left out, until one fails.
  void readEntries(JsonReader& reader, std::string_view name, std::size_t most,
                   void (DesktopReader::*readEntry)(const Json&, JsonReader&)) {
    const Json* list = listOf(reader, name, most);
    for (std::size_t i = 0; list && i < list->size() && !reader.error(); ++i) {
      JsonReader entry{(*list)[i], reader.pathOf(name) + "[" + std::to_string(i) + "]"};
      (this->*readEntry)((*list)[i], entry);
      if (entry.error()) reader.fail(*entry.error());
    }
  }

  // The ids are known first, since references may point forward.
  void collectIds(JsonReader& reader) {
    const Json* list = listOf(reader, "elements", limits.elements);
    if (!list) return;
    for (const auto& element : *list) {
      if (!element.is_object()) continue;
      const auto id = element.find("id");
      if (id != element.end() && id->is_string()) ids.insert(id->get<std::string>());
    }
  }

  void readApplication(const Json& entry, JsonReader& reader) {
    refuseUnknownMembers(entry, reader,
                         {"processIdentifier", "name", "bundleIdentifier", "activationPolicy", "active", "hidden",
                          "terminated", "frontmost", "missedTimeout", "element"});
    const auto process = static_cast<std::int32_t>(reader.integer("processIdentifier", INT32_MIN, INT32_MAX));
    RecordedApplication application{
        .application = {.processIdentifier = process,
                        .localizedName = optionalText(reader, "name"),
                        .bundleIdentifier = optionalText(reader, "bundleIdentifier"),
                        .activationPolicy = readPolicy(reader),
                        .isActive = flag(reader, "active"),
                        .isHidden = flag(reader, "hidden"),
                        .isTerminated = flag(reader, "terminated")},
        .isFrontmost = flag(reader, "frontmost"),
        .missedTimeout = flag(reader, "missedTimeout"),
        .element = reader.string("element"),
    };
    checkReference(application.element, reader.pathOf("element"), reader);
    if (!processes.insert(process).second) {
      reader.failAt("processIdentifier", "The process identifier " + std::to_string(process) + " is there twice.");
    }
    if (application.isFrontmost && std::exchange(hasFrontmost, true)) {
      reader.failAt("frontmost", "Only one application can be frontmost.");
    }
    desktop.applications.push_back(std::move(application));
  }

  static platform::ActivationPolicy readPolicy(JsonReader& reader) {
    const auto name = reader.optionalString("activationPolicy");
    const auto policy = name ? policyOf(*name) : platform::ActivationPolicy::regular;
    if (!policy) reader.failAt("activationPolicy", "Expected \"regular\", \"accessory\" or \"prohibited\".");
    return policy.value_or(platform::ActivationPolicy::regular);
  }

  void readWindowListEntry(const Json& entry, JsonReader& reader) {
    refuseUnknownMembers(entry, reader,
                         {"ownerProcessIdentifier", "ownerName", "windowName", "layer", "alpha", "bounds", "onScreen"});
    RecordedWindowListEntry recorded{
        .entry = {.ownerProcessIdentifier = optionalProcess(reader, "ownerProcessIdentifier"),
                  .ownerName = optionalText(reader, "ownerName"),
                  .windowName = optionalText(reader, "windowName"),
                  .layer = reader.optionalInteger("layer", INT64_MIN, INT64_MAX),
                  .alpha = std::nullopt,
                  .bounds = std::nullopt},
        .isOnScreen = flag(reader, "onScreen", true),
    };
    if (const Json* alpha = reader.member("alpha")) {
      recorded.entry.alpha = numberOf(*alpha);
      if (!recorded.entry.alpha) reader.failAt("alpha", "Expected a number.");
    }
    if (const Json* bounds = reader.member("bounds")) {
      if (const auto n = numbersOf(*bounds, 4)) {
        recorded.entry.bounds = Rect{(*n)[0], (*n)[1], (*n)[2], (*n)[3]};
      } else {
        reader.failAt("bounds", "Expected [x, y, width, height].");
      }
    }
    desktop.windowList.push_back(std::move(recorded));
  }

  void readElement(const Json& entry, JsonReader& reader) {
    refuseUnknownMembers(entry, reader,
                         {"id", "process", "parent", "role", "attributes", "actions", "windows", "children"});
    auto id = reader.string("id");
    if (id.empty()) reader.failAt("id", "An id is not empty.");
    RecordedElement element{.processIdentifier = optionalProcess(reader, "process"),
                            .attributes = readAttributes(reader),
                            .actionNames = readActions(reader)};
    if (auto parent = optionalReference(reader, "parent")) {
      add(element, ax::kParent, ElementReference{std::move(*parent)}, reader);
    }
    if (auto role = optionalText(reader, "role")) add(element, ax::kRole, std::move(*role), reader);
    if (auto windows = optionalReferences(reader, "windows")) {
      add(element, ax::kWindows, std::move(*windows), reader);
    }
    if (auto children = optionalReferences(reader, "children")) {
      add(element, ax::kChildren, std::move(*children), reader);
    }
    if (reader.error()) return;
    if (desktop.elements.contains(id)) reader.failAt("id", "The id \"" + id + "\" is there twice.");
    desktop.elements.emplace(std::move(id), std::move(element));
  }

  static void add(RecordedElement& element, std::string_view name, RecordedValue&& value, JsonReader& reader) {
    const bool isNew = element.attributes.try_emplace(std::string(name), std::move(value)).second;
    if (isNew) return;
    reader.failAt("attributes." + std::string(name), "The attribute is there twice: it has a member of its own.");
  }

  RecordedAttributes readAttributes(JsonReader& reader) const {
    RecordedAttributes attributes;
    const Json* list = reader.member("attributes");
    if (!list) return attributes;
    if (!list->is_object()) {
      reader.failAt("attributes", "Expected an object.");
      return attributes;
    }
    for (auto member = list->begin(); member != list->end() && !reader.error(); ++member) {
      const std::string path = reader.pathOf("attributes") + "." + member.key();
      attributes.emplace(member.key(), readValue(*member, path, reader));
    }
    return attributes;
  }

  RecordedValue readValue(const Json& value, const std::string& path, JsonReader& reader) const {
    auto outcome = valueOf(value);
    if (auto* message = std::get_if<std::string>(&outcome)) {
      reader.fail({path, std::move(*message)});
      return {};
    }
    auto read = std::get<RecordedValue>(std::move(outcome));
    if (const auto* reference = std::get_if<ElementReference>(&read)) checkReference(reference->id, path, reader);
    if (const auto* list = std::get_if<std::vector<ElementId>>(&read)) checkReferences(*list, path, reader);
    return read;
  }

  static std::variant<std::vector<std::string>, platform::AXError> readActions(JsonReader& reader) {
    const Json* actions = reader.member("actions");
    if (!actions) return {};
    if (auto names = textsOf(*actions)) return std::move(*names);
    const auto value = valueOf(*actions);
    const auto* known = std::get_if<RecordedValue>(&value);
    if (const auto* error = known ? std::get_if<platform::AXError>(known) : nullptr) return *error;
    reader.failAt("actions", "Expected a list of names, or an error.");
    return {};
  }

  // ---- References

  std::optional<ElementId> optionalReference(JsonReader& reader, std::string_view name) const {
    auto id = reader.optionalString(name);
    if (id) checkReference(*id, reader.pathOf(name), reader);
    return id;
  }

  std::optional<std::vector<ElementId>> optionalReferences(JsonReader& reader, std::string_view name) const {
    const Json* member = reader.member(name);
    if (!member) return std::nullopt;
    auto list = idsOf(*member);
    if (!list) {
      reader.failAt(name, "Expected a list of ids of elements.");
      return std::nullopt;
    }
    checkReferences(*list, reader.pathOf(name), reader);
    return list;
  }

  void checkReferences(const std::vector<ElementId>& list, const std::string& path, JsonReader& reader) const {
    for (const auto& id : list) checkReference(id, path, reader);
  }

  void checkReference(const ElementId& id, const std::string& path, JsonReader& reader) const {
    if (!ids.contains(id)) reader.fail({path, "No element has the id \"" + id + "\"."});
  }

  // ---- Depth

  using Elements = std::map<ElementId, RecordedElement, ElementIdOrder>;
  using Depths = std::map<std::string_view, std::size_t>;

  // Whoever walks the elements from the top goes no deeper than the limit. An element's depth is that of its shortest
  // way from one that is in no list. Where lists run in circles without such an entry, it counts from the first id.
  void checkDepth(JsonReader& reader) const {
    std::set<std::string_view> listed;
    for (const auto& [id, element] : desktop.elements) {
      forEachInside(element, [&](const ElementId& inside) { listed.insert(inside); });
    }
    std::deque<Elements::const_iterator> ahead;
    Depths depths;
    for (auto element = desktop.elements.begin(); element != desktop.elements.end(); ++element) {
      if (listed.contains(element->first)) continue;
      ahead.push_back(element);
      depths.emplace(element->first, 1);
    }
    walk(ahead, depths, reader);
    for (auto element = desktop.elements.begin(); element != desktop.elements.end(); ++element) {
      if (!depths.emplace(element->first, 1).second) continue;
      ahead.push_back(element);
      walk(ahead, depths, reader);
    }
  }

  void walk(std::deque<Elements::const_iterator>& ahead, Depths& depths, JsonReader& reader) const {
    while (!ahead.empty() && !reader.error()) {
      const auto element = ahead.front();
      ahead.pop_front();
      const std::size_t depth = depths.at(element->first);
      if (depth > limits.elementDepth) {
        reader.failAt("elements", "The element \"" + element->first + "\" lies deeper than " +
                                      std::to_string(limits.elementDepth) + " elements.");
      }
      forEachInside(element->second, [&](const ElementId& id) {
        const auto inside = desktop.elements.find(id);
        if (depths.emplace(inside->first, depth + 1).second) ahead.push_back(inside);
      });
    }
  }

  template <class Visit>
  static void forEachInside(const RecordedElement& element, Visit visit) {
    for (const auto name : {ax::kWindows, ax::kChildren}) {
      const auto found = element.attributes.find(name);
      const auto* list =
          found == element.attributes.end() ? nullptr : std::get_if<std::vector<ElementId>>(&found->second);
      if (!list) continue;
      for (const auto& id : *list) visit(id);
    }
  }

  const Json& json;
  const RecordedDesktopLimits& limits;
  std::set<ElementId, std::less<>> ids;
  RecordedDesktop desktop;
  std::set<std::int32_t> processes;
  bool hasFrontmost = false;
};

}  // namespace

std::variant<RecordedDesktop, JsonError> readRecordedDesktop(std::string_view text,
                                                             const RecordedDesktopLimits& limits) {
  auto parsed = parseStrictJson(text, limits.json);
  if (auto* error = std::get_if<JsonError>(&parsed)) return std::move(*error);
  return DesktopReader{std::get<Json>(parsed), limits}.read();
}

}  // namespace quillard::recording
