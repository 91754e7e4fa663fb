#include "platform/simulated/ElementTree.h"

#include <algorithm>
#include <variant>

namespace quillard::platform::simulated {

namespace {

template <class T>
void put(AttributeMap& attributes, std::string_view name, const std::optional<T>& value) {
  if (value) attributes.insert_or_assign(std::string(name), AXValue{*value});
}

AttributeMap attributesOf(const ElementSpec& spec) {
  AttributeMap attributes;
  put(attributes, ax::kRole, std::optional{spec.role});
  put(attributes, ax::kSubrole, spec.subrole);
  put(attributes, ax::kTitle, spec.title);
  put(attributes, ax::kDescription, spec.description);
  put(attributes, ax::kValue, spec.value);
  put(attributes, ax::kModal, spec.modal);
  if (spec.frame) {
    put(attributes, ax::kPosition, std::optional{Point{spec.frame->x, spec.frame->y}});
    put(attributes, ax::kSize, std::optional{Size{spec.frame->width, spec.frame->height}});
  }
  for (const auto& [name, value] : spec.attributes) attributes.insert_or_assign(name, value);
  for (const auto& [name, error] : spec.errors) attributes.insert_or_assign(name, error);
  return attributes;
}

}  // namespace

bool contains(const Rect& frame, Point point) {
  return point.x >= frame.x && point.x < frame.x + frame.width && point.y >= frame.y &&
         point.y < frame.y + frame.height;
}

NodeHandle ElementTree::add(std::int32_t processIdentifier, std::optional<NodeHandle> parent, const ElementSpec& spec) {
  const NodeHandle handle = makeHandle();
  owners[handle] = processIdentifier;
  nodes[handle] = {.processIdentifier = processIdentifier,
                   .parent = parent,
                   .attributes = attributesOf(spec),
                   .actions = spec.actions,
                   .effects = {spec.effects.begin(), spec.effects.end()}};
  if (parent) nodes[*parent].children.push_back(handle);
  for (const ElementSpec& child : spec.children) add(processIdentifier, handle, child);
  return handle;
}

void ElementTree::remove(NodeHandle handle) {
  const ElementNode* const node = find(handle);
  if (!node) return;
  if (node->parent) std::erase(nodes[*node->parent].children, handle);
  const std::vector<NodeHandle> children = node->children;
  for (const NodeHandle child : children) remove(child);
  nodes.erase(handle);
}

void ElementTree::removeAllOf(std::int32_t processIdentifier) {
  std::erase_if(nodes, [&](const auto& entry) { return entry.second.processIdentifier == processIdentifier; });
}

const ElementNode* ElementTree::find(NodeHandle handle) const {
  const auto found = nodes.find(handle);
  return found == nodes.end() ? nullptr : &found->second;
}

ElementNode* ElementTree::find(NodeHandle handle) {
  const auto found = nodes.find(handle);
  return found == nodes.end() ? nullptr : &found->second;
}

std::optional<std::int32_t> ElementTree::ownerOf(NodeHandle handle) const {
  const auto found = owners.find(handle);
  return found == owners.end() ? std::nullopt : std::optional{found->second};
}

const AXValue* ElementTree::value(NodeHandle handle, std::string_view attribute) const {
  const ElementNode* const node = find(handle);
  if (!node) return nullptr;
  const auto found = node->attributes.find(attribute);
  return found != node->attributes.end() && found->second.hasValue() ? &found->second.value() : nullptr;
}

std::string ElementTree::text(NodeHandle handle, std::string_view attribute) const {
  const AXValue* const content = value(handle, attribute);
  const auto* const text = content ? std::get_if<std::string>(content) : nullptr;
  return text ? *text : std::string();
}

bool ElementTree::isTrue(NodeHandle handle, std::string_view attribute) const {
  const AXValue* const content = value(handle, attribute);
  const auto* const truth = content ? std::get_if<bool>(content) : nullptr;
  return truth && *truth;
}

std::optional<Rect> ElementTree::frame(NodeHandle handle) const {
  const AXValue* const position = value(handle, ax::kPosition);
  const AXValue* const extent = value(handle, ax::kSize);
  const auto* const point = position ? std::get_if<Point>(position) : nullptr;
  const auto* const size = extent ? std::get_if<Size>(extent) : nullptr;
  if (!point || !size) return std::nullopt;
  return Rect{point->x, point->y, size->width, size->height};
}

std::string ElementTree::label(NodeHandle handle) const {
  std::string title = text(handle, ax::kTitle);
  return title.empty() ? text(handle, ax::kDescription) : title;
}

std::optional<NodeHandle> ElementTree::rootOf(NodeHandle handle) const {
  const ElementNode* node = find(handle);
  if (!node) return std::nullopt;
  while (node->parent) {
    handle = *node->parent;
    node = find(handle);
  }
  return handle;
}

std::optional<NodeHandle> ElementTree::promptOf(NodeHandle handle) const {
  for (const ElementNode* node = find(handle); node; node = find(handle)) {
    const std::string role = text(handle, ax::kRole);
    const bool isPrompt = role == ax::kWindowRole || role == ax::kSheetRole ||
                          text(handle, ax::kSubrole) == ax::kDialogSubrole || isTrue(handle, ax::kModal);
    if (isPrompt || !node->parent) return handle;
    handle = *node->parent;
  }
  return std::nullopt;
}

bool ElementTree::isWithin(NodeHandle handle, NodeHandle ancestor) const {
  const ElementNode* node = find(handle);
  while (node && handle != ancestor && node->parent) {
    handle = *node->parent;
    node = find(handle);
  }
  return node && handle == ancestor;
}

std::optional<NodeHandle> ElementTree::findButton(NodeHandle handle, std::string_view wanted) const {
  const ElementNode* const node = find(handle);
  if (!node) return std::nullopt;
  if (text(handle, ax::kRole) == ax::kButtonRole && label(handle) == wanted) return handle;
  for (const NodeHandle child : node->children) {
    if (const auto found = findButton(child, wanted)) return found;
  }
  return std::nullopt;
}

std::optional<NodeHandle> ElementTree::deepestAt(NodeHandle handle, Point point) const {
  const ElementNode* const node = find(handle);
  if (!node) return std::nullopt;
  for (auto child = node->children.rbegin(); child != node->children.rend(); ++child) {
    if (const auto found = deepestAt(*child, point)) return found;
  }
  const auto itsFrame = frame(handle);
  return itsFrame && contains(*itsFrame, point) ? std::optional{handle} : std::nullopt;
}

}  // namespace quillard::platform::simulated
