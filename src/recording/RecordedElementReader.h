#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/StrictJson.h"
#include "recording/RecordedDesktop.h"
#include "recording/RecordedDesktopLayout.h"

namespace quillard::recording {

using MemberNames = std::span<const std::string_view>;

// A misspelt member would silently be lost.
void refuseUnknownMembers(const Json& json, JsonReader& reader, MemberNames known, MemberNames more = {});

// Where an element stands that is being read, and what it takes over from there.
struct ElementDependencies {
  ElementList list = ElementList::elements;
  std::optional<ElementId> container;
  std::optional<std::int32_t> processIdentifier;
};

// Reads the elements of one recording, in the order in which they are written: those without an id are told by their
// position. Failures become those of the reader that was passed in.
class RecordedElementReader {
 public:
  // `document`: the whole recording, since references may point forward.
  explicit RecordedElementReader(const Json& document);

  // How many elements the document holds, read or not.
  [[nodiscard]] std::size_t total() const { return found.elements; }

  // The element that `json` describes, with all that it contains. Members in `otherMembers` are left to the caller.
  ElementId readElement(const Json& json, JsonReader& reader, const ElementDependencies& dependencies,
                        MemberNames otherMembers = {});

  // A list of elements and of ids of elements that are written elsewhere.
  std::vector<ElementId> readList(const Json& list, const std::string& path, JsonReader& reader,
                                  const ElementDependencies& dependencies);

  // An optional member that names an element.
  std::optional<ElementId> readReference(JsonReader& reader, std::string_view name) const;

  // What was read so far.
  std::map<ElementId, RecordedElement, std::less<>> elements;

 private:
  // By name; absent where the element expressly has no such attribute.
  using Attributes = std::map<std::string, std::optional<RecordedValue>, std::less<>>;

  ElementId readId(JsonReader& reader);
  Attributes readAttributes(const ElementId& id, const Json& json, JsonReader& reader,
                            const ElementDependencies& dependencies);
  void readOtherAttributes(JsonReader& reader, Attributes& attributes) const;
  void readAttribute(const Json& json, std::string_view member, std::string_view name, JsonReader& reader,
                     Attributes& attributes) const;
  static void readFrame(JsonReader& reader, Attributes& attributes);
  void readNested(const Json& json, const ElementDependencies& inside, JsonReader& reader, Attributes& attributes);
  RecordedValue readValue(const Json& json, const std::string& path, JsonReader& reader) const;
  void checkReference(const ElementId& id, const std::string& path, JsonReader& reader) const;

  // What the document holds, as far as it can be told without reading it.
  struct Found {
    std::set<ElementId, std::less<>> ids;
    std::size_t elements = 0;
  };
  static void find(const Json& json, Found& into);

  Found found;
  std::size_t count = 0;
};

}  // namespace quillard::recording
