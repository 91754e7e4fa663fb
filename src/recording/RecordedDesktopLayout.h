#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "recording/RecordedDesktop.h"

namespace quillard::recording {

// The lists of a written desktop that an element can stand in, and the role that it is expected to have there.
enum class ElementList { applications, windows, children, elements };

[[nodiscard]] std::string_view expectedRole(ElementList list);
// Of an element with this role.
[[nodiscard]] std::vector<std::string> expectedActions(const RecordedAttributes& attributes);
// Of an element that is the `position`th to be written, the first being 1, when it says none.
[[nodiscard]] ElementId expectedId(std::size_t position);
// Of the `index`th application, the first being 0.
[[nodiscard]] std::int32_t expectedProcessIdentifier(std::size_t index);

// Where an element is written out; everywhere else it is referred to.
struct ElementPlace {
  ElementList list = ElementList::elements;
  ElementId container;  // Whose windows or children these are. Empty: the list is the whole desktop's.
  std::size_t index = 0;
  std::size_t position = 0;  // Among all elements, as they are written; the first is 1.
};

// Decides where each element of a desktop is written: in the first list that leads to it from its application, windows
// before children, unless that is too deep; else among the elements of the whole.
class RecordedDesktopLayout {
 public:
  // `desktop` outlives the layout. `deepest`: how many elements may stand inside one another.
  RecordedDesktopLayout(const RecordedDesktop& desktop, int deepest);

  [[nodiscard]] const ElementPlace& place(const ElementId& id) const { return places.at(id); }
  // Whether `id` is written out as the `index`th of this list.
  [[nodiscard]] bool isPlacedAt(const ElementId& id, ElementList list, const ElementId& container,
                                std::size_t index) const;
  // Whether something besides its place refers to the element.
  [[nodiscard]] bool isReferredTo(const ElementId& id) const { return referred.contains(id); }
  // What stands in no other list.
  [[nodiscard]] const std::vector<ElementId>& elementsOfTheWhole() const { return others; }

 private:
  void placeApplications();
  void placeOthers();
  void placeOther(const ElementId& id);
  void placeTree(const ElementId& id, ElementPlace place, int depth);
  void placeList(const ElementId& container, ElementList list, int depth);
  void findReferences();
  void findReferences(const ElementId& id, const RecordedElement& element);
  void findReferences(const ElementId& container, std::string_view name, const std::vector<ElementId>& ids);

  const RecordedDesktop& desktop;
  const int deepest;
  std::map<ElementId, ElementPlace, std::less<>> places;
  std::vector<ElementId> tooDeep;  // In the order of their meeting.
  std::vector<ElementId> others;
  std::set<ElementId, std::less<>> referred;
};

}  // namespace quillard::recording
