#include "recording/RecordedDesktopLayout.h"

#include <utility>

namespace quillard::recording {
namespace {

namespace ax = platform::ax;

constexpr std::int32_t kFirstProcessIdentifier = 1001;

std::string_view attributeOf(ElementList list) { return list == ElementList::windows ? ax::kWindows : ax::kChildren; }

// Null when the attribute is no list of elements.
const std::vector<ElementId>* listOf(const RecordedElement& element, std::string_view name) {
  const auto found = element.attributes.find(name);
  return found == element.attributes.end() ? nullptr : std::get_if<std::vector<ElementId>>(&found->second);
}

}  // namespace

std::string_view expectedRole(ElementList list) {
  switch (list) {
    case ElementList::applications:
      return ax::kApplicationRole;
    case ElementList::windows:
      return ax::kWindowRole;
    case ElementList::children:
    case ElementList::elements:
      break;
  }
  return ax::kGroupRole;
}

std::vector<std::string> expectedActions(const RecordedAttributes& attributes) {
  const auto found = attributes.find(ax::kRole);
  const auto* role = found == attributes.end() ? nullptr : std::get_if<std::string>(&found->second);
  if (!role) return {};
  if (*role == ax::kButtonRole) return {std::string(ax::kPressAction)};
  if (*role == ax::kWindowRole || *role == ax::kSheetRole) return {std::string(ax::kRaiseAction)};
  return {};
}

ElementId expectedId(std::size_t position) { return "#" + std::to_string(position); }

std::int32_t expectedProcessIdentifier(std::size_t index) {
  return kFirstProcessIdentifier + static_cast<std::int32_t>(index);
}

RecordedDesktopLayout::RecordedDesktopLayout(const RecordedDesktop& desktop, int deepest)
    : desktop(desktop), deepest(deepest) {
  placeApplications();
  placeOthers();
  findReferences();
}

bool RecordedDesktopLayout::isPlacedAt(const ElementId& id, ElementList list, const ElementId& container,
                                       std::size_t index) const {
  const auto found = places.find(id);
  if (found == places.end()) return false;
  const ElementPlace& place = found->second;
  return place.list == list && place.container == container && place.index == index;
}

void RecordedDesktopLayout::placeApplications() {
  for (std::size_t i = 0; i < desktop.applications.size(); ++i) {
    placeTree(desktop.applications[i].element, {.list = ElementList::applications, .index = i}, 1);
  }
}

// What was cut off comes first and in order, so that a deep tree reads from top to bottom.
void RecordedDesktopLayout::placeOthers() {
  for (std::size_t i = 0; i < tooDeep.size(); ++i) placeOther(ElementId(tooDeep[i]));
  if (desktop.focusedWindow) placeOther(*desktop.focusedWindow);
  for (const auto& entry : desktop.elements) placeOther(entry.first);
}

void RecordedDesktopLayout::placeOther(const ElementId& id) {
  if (places.contains(id) || !desktop.elements.contains(id)) return;
  others.push_back(id);
  placeTree(id, {.list = ElementList::elements, .index = others.size() - 1}, 1);
}

void RecordedDesktopLayout::placeTree(const ElementId& id, ElementPlace place, int depth) {
  if (places.contains(id) || !desktop.elements.contains(id)) return;
  if (depth > deepest) {
    tooDeep.push_back(id);
    return;
  }
  place.position = places.size() + 1;
  places.emplace(id, std::move(place));
  placeList(id, ElementList::windows, depth + 1);
  placeList(id, ElementList::children, depth + 1);
}

void RecordedDesktopLayout::placeList(const ElementId& container, ElementList list, int depth) {
  const auto* ids = listOf(desktop.elements.find(container)->second, attributeOf(list));
  if (!ids) return;
  for (std::size_t i = 0; i < ids->size(); ++i) {
    placeTree((*ids)[i], {.list = list, .container = container, .index = i}, depth);
  }
}

void RecordedDesktopLayout::findReferences() {
  if (desktop.focusedWindow) referred.insert(*desktop.focusedWindow);
  if (desktop.focusedElement) referred.insert(*desktop.focusedElement);
  for (std::size_t i = 0; i < desktop.applications.size(); ++i) {
    const auto& id = desktop.applications[i].element;
    if (!isPlacedAt(id, ElementList::applications, {}, i)) referred.insert(id);
  }
  for (const auto& [id, element] : desktop.elements) findReferences(id, element);
}

void RecordedDesktopLayout::findReferences(const ElementId& id, const RecordedElement& element) {
  for (const auto& [name, value] : element.attributes) {
    if (const auto* reference = std::get_if<ElementReference>(&value)) {
      const bool isExpected = name == ax::kParent && reference->id == place(id).container;
      if (!isExpected) referred.insert(reference->id);
    } else if (const auto* ids = std::get_if<std::vector<ElementId>>(&value)) {
      findReferences(id, name, *ids);
    }
  }
}

void RecordedDesktopLayout::findReferences(const ElementId& container, std::string_view name,
                                           const std::vector<ElementId>& ids) {
  const bool isNesting = name == ax::kWindows || name == ax::kChildren;
  const auto list = name == ax::kWindows ? ElementList::windows : ElementList::children;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    if (!isNesting || !isPlacedAt(ids[i], list, container, i)) referred.insert(ids[i]);
  }
}

}  // namespace quillard::recording
