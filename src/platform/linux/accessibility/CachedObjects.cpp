#include "platform/linux/accessibility/CachedObjects.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace quillard::atspi {
namespace {

// The objects of one program by their paths, and by those of their parents.
struct CacheIndex {
  std::unordered_map<std::string, const CachedObject*> byPath;
  std::unordered_map<std::string, std::vector<const CachedObject*>> byParent;
};

// Absent: an object is listed twice.
std::optional<CacheIndex> indexOf(const std::string& bus, const std::vector<CachedObject>& objects) {
  CacheIndex index;
  for (const auto& object : objects) {
    if (object.name.bus != bus) continue;
    if (!index.byPath.emplace(object.name.path, &object).second) return std::nullopt;
    if (object.parent.bus == bus) index.byParent[object.parent.path].push_back(&object);
  }
  return index;
}

// Absent: not all of the children are there, or they are too many for the list of a container.
std::optional<std::vector<ObjectName>> childrenOf(const CachedObject& container, const CacheIndex& index) {
  const auto found = index.byParent.find(container.name.path);
  const auto count = found == index.byParent.end() ? 0 : found->second.size();
  if (container.childCount < 0 || count != static_cast<std::size_t>(container.childCount) || count > kLongList) {
    return std::nullopt;
  }
  std::vector<ObjectName> children(count);
  for (std::size_t i = 0; i < count; ++i) {
    const CachedObject& child = *found->second[i];
    const bool isPlace = child.index >= 0 && static_cast<std::size_t>(child.index) < count;
    if (!isPlace || !children[static_cast<std::size_t>(child.index)].path.empty()) return std::nullopt;
    children[static_cast<std::size_t>(child.index)] = child.name;
  }
  return children;
}

void takeAttributes(Node& node, const NodeRecord& record) {
  if (node.attributes != Progress::notAsked) return;
  node.record.role = record.role;
  node.record.states = record.states;
  node.record.name = record.name;
  node.attributes = Progress::known;
  if (node.description != Progress::notAsked) return;
  node.record.description = record.description;
  node.description = Progress::known;
}

}  // namespace

void takeCachedObjects(NodeTree& tree, ProgramNode& program, const std::vector<CachedObject>& objects) {
  const auto index = indexOf(program.bus, objects);
  if (!index) return;
  std::vector<Node*> stack = program.root->list;
  while (!stack.empty()) {
    Node& node = *stack.back();
    stack.pop_back();
    const auto found = index->byPath.find(node.name.path);
    if (found == index->byPath.end() || !node.parent || found->second->parent != node.parent->name) continue;
    takeAttributes(node, found->second->record);
    if (node.children != Progress::notAsked || node.record.role == Role::pushButton) continue;
    const auto children = childrenOf(*found->second, *index);
    if (!children) continue;
    node.children = Progress::known;
    tree.setChildren(node, *children);
    stack.insert(stack.end(), node.list.begin(), node.list.end());
  }
}

namespace {

std::vector<ObjectName> namesOf(const std::vector<Node*>& nodes) {
  std::vector<ObjectName> names;
  for (const Node* node : nodes) names.push_back(node->name);
  return names;
}

bool isSameObject(const Node& walked, const Node& listed) {
  return walked.isUnreadable == listed.isUnreadable && walked.record.role == listed.record.role &&
         walked.record.states == listed.record.states && walked.record.name == listed.record.name;
}

}  // namespace

bool contradictsWalk(const ProgramNode& program, const std::vector<CachedObject>& objects) {
  NodeTree listed;
  ProgramNode& shadow = listed.program(program.bus, program.processIdentifier, program.root->name.path);
  shadow.toolkit = program.toolkit;
  listed.setChildren(*shadow.root, namesOf(program.root->list));
  takeCachedObjects(listed, shadow, objects);
  std::vector<std::pair<const Node*, const Node*>> stack;
  for (std::size_t i = 0; i < shadow.root->list.size(); ++i) {
    stack.emplace_back(program.root->list[i], shadow.root->list[i]);
  }
  while (!stack.empty()) {
    const auto [walkedNode, listedNode] = stack.back();
    stack.pop_back();
    if (walkedNode->attributes != Progress::known || listedNode->attributes != Progress::known) continue;
    if (!isSameObject(*walkedNode, *listedNode)) return true;
    if (walkedNode->children != Progress::known || listedNode->children != Progress::known) continue;
    if (namesOf(walkedNode->list) != namesOf(listedNode->list)) return true;
    for (std::size_t i = 0; i < walkedNode->list.size(); ++i) {
      stack.emplace_back(walkedNode->list[i], listedNode->list[i]);
    }
  }
  return false;
}

}  // namespace quillard::atspi
