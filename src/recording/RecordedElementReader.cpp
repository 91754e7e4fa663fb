#include "recording/RecordedElementReader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "recording/RecordedDesktopMembers.h"
#include "recording/RecordedValueJson.h"

namespace quillard::recording {
namespace {

namespace ax = platform::ax;

constexpr auto kElementMembers =
    std::to_array<std::string_view>({"id", "process", "role", "subrole", "title", "description", "value", "modal",
                                     "frame", "actions", "attributes", "windows", "children"});
constexpr auto kNestingMembers = std::to_array<std::string_view>({"applications", "elements", "windows", "children"});

bool isAmong(std::string_view name, MemberNames names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::optional<std::int32_t> readOwner(const Json& json, JsonReader& reader, std::optional<std::int32_t> expected) {
  if (!json.is_object() || !json.contains("process")) return expected;
  const auto number = reader.optionalInteger("process", INT32_MIN, INT32_MAX);
  return number ? std::optional(static_cast<std::int32_t>(*number)) : std::nullopt;
}

std::variant<std::vector<std::string>, platform::AXError> readActions(const Json& json, JsonReader& reader,
                                                                      const RecordedAttributes& attributes) {
  const auto found = json.find("actions");
  if (found == json.end()) return expectedActions(attributes);
  if (found->is_null()) return {};
  if (auto names = textsOf(*found)) return std::move(*names);
  const auto value = valueOf(*found);
  const auto* known = std::get_if<RecordedValue>(&value);
  if (const auto* error = known ? std::get_if<platform::AXError>(known) : nullptr) return *error;
  reader.failAt("actions", "Expected a list of names, or an error.");
  return {};
}

}  // namespace

void refuseUnknownMembers(const Json& json, JsonReader& reader, MemberNames known, MemberNames more) {
  if (!json.is_object()) return;
  for (auto member = json.begin(); member != json.end(); ++member) {
    if (isAmong(member.key(), known) || isAmong(member.key(), more)) continue;
    reader.failAt(member.key(), "The member is not known.");
    return;
  }
}

RecordedElementReader::RecordedElementReader(const Json& document) { find(document, found); }

// The ids that elements give themselves are known first, so that references can be told from mistakes as they are read.
void RecordedElementReader::find(const Json& json, Found& into) {
  if (!json.is_object()) return;
  for (auto member = json.begin(); member != json.end(); ++member) {
    if (member.key() == "id" && member->is_string()) into.ids.insert(member->get<std::string>());
    if (!member->is_array() || !isAmong(member.key(), kNestingMembers)) continue;
    for (const auto& entry : *member) {
      if (entry.is_object()) ++into.elements;
      find(entry, into);
    }
  }
}

ElementId RecordedElementReader::readElement(const Json& json, JsonReader& reader,
                                             const ElementDependencies& dependencies, MemberNames otherMembers) {
  refuseUnknownMembers(json, reader, kElementMembers, otherMembers);
  ElementId id = readId(reader);
  if (reader.error()) return id;
  const auto owner = readOwner(json, reader, dependencies.processIdentifier);
  elements[id].processIdentifier = owner;
  Attributes attributes = readAttributes(id, json, reader, {dependencies.list, dependencies.container, owner});
  RecordedElement& element = elements[id];
  for (auto& [name, value] : attributes) {
    if (value) element.attributes.emplace(name, std::move(*value));
  }
  element.actionNames = readActions(json, reader, element.attributes);
  return id;
}

ElementId RecordedElementReader::readId(JsonReader& reader) {
  ++count;
  auto given = reader.optionalString("id");
  if (given && given->empty()) reader.failAt("id", "An id is not empty.");
  if (given && elements.contains(*given)) reader.failAt("id", "The id stands twice.");
  if (given) return std::move(*given);
  ElementId id = expectedId(count);
  while (found.ids.contains(id)) id += '\'';
  return id;
}

RecordedElementReader::Attributes RecordedElementReader::readAttributes(const ElementId& id, const Json& json,
                                                                        JsonReader& reader,
                                                                        const ElementDependencies& dependencies) {
  Attributes attributes;
  readOtherAttributes(reader, attributes);
  readAttribute(json, "role", ax::kRole, reader, attributes);
  for (const auto& [member, name] : kEverydayMembers) readAttribute(json, member, name, reader, attributes);
  readFrame(reader, attributes);
  readNested(json, {ElementList::windows, id, dependencies.processIdentifier}, reader, attributes);
  readNested(json, {ElementList::children, id, dependencies.processIdentifier}, reader, attributes);

  attributes.try_emplace(std::string(ax::kRole), std::string(expectedRole(dependencies.list)));
  const bool isApplication = dependencies.list == ElementList::applications;
  attributes.try_emplace(std::string(isApplication ? ax::kWindows : ax::kChildren), std::vector<ElementId>{});
  if (dependencies.container) {
    attributes.try_emplace(std::string(ax::kParent), ElementReference{*dependencies.container});
  }
  return attributes;
}

void RecordedElementReader::readOtherAttributes(JsonReader& reader, Attributes& attributes) const {
  const Json* list = reader.member("attributes");
  if (!list) return;
  if (!list->is_object()) {
    reader.failAt("attributes", "Expected an object.");
    return;
  }
  const JsonReader names{*list, reader.pathOf("attributes")};
  for (auto entry = list->begin(); entry != list->end() && !reader.error(); ++entry) {
    auto& value = attributes[entry.key()];
    if (!entry->is_null()) value = readValue(*entry, names.pathOf(entry.key()), reader);
  }
}

void RecordedElementReader::readAttribute(const Json& json, std::string_view member, std::string_view name,
                                          JsonReader& reader, Attributes& attributes) const {
  const auto entry = json.find(member);
  if (entry == json.end() || reader.error()) return;
  auto [place, isNew] = attributes.try_emplace(std::string(name));
  if (!isNew) reader.failAt(member, "The attribute stands twice.");
  if (!entry->is_null()) place->second = readValue(*entry, reader.pathOf(member), reader);
}

void RecordedElementReader::readFrame(JsonReader& reader, Attributes& attributes) {
  const Json* frame = reader.member("frame");
  if (!frame) return;
  const auto numbers = numbersOf(*frame, 4);
  if (!numbers) {
    reader.failAt("frame", "Expected [x, y, width, height].");
    return;
  }
  const auto& n = *numbers;
  const bool isNew = attributes.try_emplace(std::string(ax::kPosition), Point{n[0], n[1]}).second &&
                     attributes.try_emplace(std::string(ax::kSize), Size{n[2], n[3]}).second;
  if (!isNew) reader.failAt("frame", "The attribute stands twice.");
}

void RecordedElementReader::readNested(const Json& json, const ElementDependencies& inside, JsonReader& reader,
                                       Attributes& attributes) {
  const bool isWindows = inside.list == ElementList::windows;
  const std::string_view member = isWindows ? "windows" : "children";
  const std::string_view name = isWindows ? ax::kWindows : ax::kChildren;
  const auto entry = json.find(member);
  if (entry == json.end() || !entry->is_array()) {
    readAttribute(json, member, name, reader, attributes);
    return;
  }
  auto ids = readList(*entry, reader.pathOf(member), reader, inside);
  if (!attributes.try_emplace(std::string(name), std::move(ids)).second) {
    reader.failAt(member, "The attribute stands twice.");
  }
}

std::vector<ElementId> RecordedElementReader::readList(const Json& list, const std::string& path, JsonReader& reader,
                                                       const ElementDependencies& dependencies) {
  std::vector<ElementId> ids;
  if (!list.is_array()) reader.fail({path, "Expected a list."});
  for (std::size_t i = 0; i < list.size() && !reader.error(); ++i) {
    const std::string entryPath = path + "[" + std::to_string(i) + "]";
    if (list[i].is_string()) {
      ids.push_back(list[i].get<std::string>());
      checkReference(ids.back(), entryPath, reader);
    } else {
      JsonReader entry{list[i], entryPath};
      ids.push_back(readElement(list[i], entry, dependencies));
      if (entry.error()) reader.fail(*entry.error());
    }
  }
  return ids;
}

std::optional<ElementId> RecordedElementReader::readReference(JsonReader& reader, std::string_view name) const {
  auto id = reader.optionalString(name);
  if (id) checkReference(*id, reader.pathOf(name), reader);
  return id;
}

RecordedValue RecordedElementReader::readValue(const Json& json, const std::string& path, JsonReader& reader) const {
  auto outcome = valueOf(json);
  if (const auto* message = std::get_if<std::string>(&outcome)) {
    reader.fail({path, *message});
    return {};
  }
  auto value = std::get<RecordedValue>(std::move(outcome));
  if (const auto* reference = std::get_if<ElementReference>(&value)) checkReference(reference->id, path, reader);
  if (const auto* ids = std::get_if<std::vector<ElementId>>(&value)) {
    for (const auto& id : *ids) checkReference(id, path, reader);
  }
  return value;
}

void RecordedElementReader::checkReference(const ElementId& id, const std::string& path, JsonReader& reader) const {
  if (!found.ids.contains(id)) reader.fail({path, "No element has the id \"" + id + "\"."});
}

}  // namespace quillard::recording
