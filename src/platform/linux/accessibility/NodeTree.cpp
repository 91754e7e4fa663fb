#include "platform/linux/accessibility/NodeTree.h"

#include <algorithm>

#include "platform/linux/accessibility/Mapping.h"

namespace quillard::atspi {

ProgramNode& NodeTree::program(const std::string& bus, std::int32_t processIdentifier, const std::string& rootPath) {
  auto& slot = programs[bus];
  if (!slot) {
    slot = std::make_unique<ProgramNode>();
    slot->bus = bus;
    slot->processIdentifier = processIdentifier;
    slot->root = &add(*slot, rootPath);
  }
  return *slot;
}

ProgramNode* NodeTree::findProgram(const std::string& bus) {
  const auto found = programs.find(bus);
  return found == programs.end() ? nullptr : found->second.get();
}

Node& NodeTree::add(ProgramNode& program, const std::string& path) {
  auto& slot = nodes[ObjectName{program.bus, path}];
  if (!slot) {
    slot = std::make_unique<Node>();
    slot->name = {program.bus, path};
    slot->program = &program;
  }
  return *slot;
}

Node& NodeTree::node(ProgramNode& program, const std::string& path, const std::string& windowPath) {
  Node& node = add(program, path);
  if (!node.window && !windowPath.empty()) {
    Node& window = add(program, windowPath);
    window.window = &window;
    window.parent = program.root;
    node.window = &window;
  }
  return node;
}

bool NodeTree::canAdopt(const Node& parent, const Node& child) const {
  if (&child == child.program->root || child.parent) return child.parent == &parent;
  for (const Node* above = &parent; above; above = above->parent) {
    if (above == &child) return false;
  }
  return true;
}

// Only in a window that the program lists, so that no circle can come of it: nothing below an inner one is its.
bool NodeTree::isKnownInnerWindow(const Node& parent, const Node& child) {
  const ProgramNode& program = *parent.program;
  const bool mayHaveInnerOnes = program.toolkit == Toolkit::shell || program.toolkit == Toolkit::qt;
  const auto& listed = program.root->list;
  return mayHaveInnerOnes && child.isTopLevel() && parent.window && &child != parent.window &&
         std::find(listed.begin(), listed.end(), parent.window) != listed.end() &&
         std::find(listed.begin(), listed.end(), &child) == listed.end();
}

void NodeTree::setChildren(Node& parent, const std::vector<ObjectName>& names) {
  const bool isRoot = &parent == parent.program->root;
  if (parent.depth >= kDeepest) {
    parent.hasUnreadableList = !names.empty();
    return;
  }
  for (const auto& name : names) {
    if (nodes.size() >= kMostNodes) parent.hasUnreadableList = true;
    if (name.bus != parent.program->bus || nodes.size() >= kMostNodes) continue;
    Node& child = add(*parent.program, name.path);
    const bool isKnownWindow = isKnownInnerWindow(parent, child);
    if (!canAdopt(parent, child) && !isKnownWindow) continue;
    if (std::find(parent.list.begin(), parent.list.end(), &child) != parent.list.end()) continue;
    if (isKnownWindow) {
      parent.list.push_back(&child);
      continue;
    }
    child.parent = &parent;
    child.depth = isRoot ? 0 : parent.depth + 1;
    child.window = isRoot ? &child : parent.window;
    parent.list.push_back(&child);
  }
}

namespace {

void takeAsPart(Node& node, Node& window, int depth) {
  node.window = &window;
  node.depth = depth;
  for (Node* child : node.list) {
    if (child->parent == &node) takeAsPart(*child, window, depth + 1);
  }
}

}  // namespace

void becomeWindow(Node& node) {
  takeAsPart(node, node, 0);
  node.parent = node.program->root;
}

bool isOffered(const Node& node) {
  if (node.attributes != Progress::known || node.isUnreadable) return false;
  // Of a list that was cut, the part that was read may be scrolled out of sight; it counts all the same, or a window
  // full of lines would look like one with none.
  const bool isOfCutList = node.parent && node.parent->list.size() >= kLongList;
  const bool windowTells = node.window && node.window->record.is(State::showing) && !isOfCutList;
  return mapping::isShown(node.record, node.program->toolkit, windowTells) &&
         (isOfCutList || !mapping::takesNoRoom(node.record, node.program->toolkit));
}

namespace {

// Whether it is the field in which a notification of Plasma shows once more what it says as its description.
bool repeatsNotification(const Node& child, const Node& parent) {
  const bool isField = child.record.role == Role::text || child.record.role == Role::entry;
  if (!isField || !child.record.is(State::editable)) return false;
  for (const Node* above = &parent; above; above = above->parent) {
    if (isNotificationOfPlasma(*above, above->parent)) return true;
  }
  return false;
}

}  // namespace

std::vector<Node*> offeredChildren(const Node& node) {
  std::vector<Node*> offered;
  // The shell keeps the text of a label once more inside it.
  const bool isLabelOfShell = node.program->toolkit == Toolkit::shell && node.record.role == Role::label;
  if (node.record.role == Role::pushButton || isLabelOfShell) return offered;
  for (Node* child : node.list) {
    if (isOffered(*child) && !repeatsNotification(*child, node)) offered.push_back(child);
  }
  return offered;
}

bool areTreesSmall(const ProgramNode& program) {
  if (program.root->children != Progress::known || program.root->hasUnreadableList) return false;
  std::vector<const Node*> stack(program.root->list.begin(), program.root->list.end());
  for (std::size_t met = 0; !stack.empty(); ++met) {
    const Node& node = *stack.back();
    stack.pop_back();
    if (met >= kMostCachedObjects || node.attributes != Progress::known || node.hasUnreadableList) return false;
    if (!isOffered(node) || node.record.role == Role::pushButton) continue;
    if (node.children != Progress::known || node.list.size() >= kLongList) return false;
    stack.insert(stack.end(), node.list.begin(), node.list.end());
  }
  return true;
}

bool isNotificationOfPlasma(const Node& node, const Node* parent) {
  return node.record.role == Role::notification && node.program->toolkit == Toolkit::qt && parent &&
         parent->isTopLevel();
}

}  // namespace quillard::atspi
