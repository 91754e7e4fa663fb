#include "platform/linux/accessibility/ShellWindows.h"

#include <algorithm>

namespace quillard::atspi::shell {
namespace {

// A dialog lies four levels below the stage, a notification five; the buttons of a program that does not answer, by
// which its question is known, eight.
constexpr int kStageLevels = 8;
// About a hundred objects of the stage show at once, twice as many while its menus are open.
constexpr int kMostStageNodes = 400;
constexpr int kMostCrowdedNodes = 2000;

int mostNodes(StageExtent extent) { return extent == StageExtent::crowded ? kMostCrowdedNodes : kMostStageNodes; }

bool isWindowOfShell(const Node& node) {
  return node.record.role == Role::dialog || node.record.role == Role::alert || node.record.role == Role::notification;
}

bool holdsButton(const Node& node, int levels) {
  const auto inner = offeredChildren(node);
  return std::any_of(inner.begin(), inner.end(), [&](const Node* child) {
    return child->record.role == Role::pushButton || (levels > 0 && holdsButton(*child, levels - 1));
  });
}

void findIn(const Node& node, int levels, std::vector<Node*>& found) {
  for (Node* child : offeredChildren(node)) {
    if (isWindowOfShell(*child)) {
      found.push_back(child);
    } else if (levels > 0) {
      findIn(*child, levels - 1, found);
    }
  }
}

// The question whether a program that does not answer should be ended is no dialog: it lies among the windows of
// programs, which have no objects of their own there, on the window that it is about.
void findAmongWindows(const Node& windows, std::vector<Node*>& found) {
  for (const Node* window : offeredChildren(windows)) {
    for (Node* child : offeredChildren(*window)) {
      if (!isWindowOfShell(*child) && holdsButton(*child, kStageLevels)) found.push_back(child);
    }
  }
}

// The first child of the first child: the shell puts everything else above the windows.
Node* windowGroup(const Node& stage) {
  Node* const group = stage.list.empty() ? nullptr : stage.list.front();
  return !group || group->list.empty() ? nullptr : group->list.front();
}

// Goes the way that the stage was read: what was not met there any more has no attributes.
bool isWhole(const Node& stage) {
  if (stage.hasRefused || stage.attributes != Progress::known) return false;
  std::vector<const Node*> stack(stage.list.begin(), stage.list.end());
  while (!stack.empty()) {
    const Node& node = *stack.back();
    stack.pop_back();
    if (node.hasRefused || node.attributes != Progress::known) return false;
    const bool mayDescend = isOffered(node) && node.depth - stage.depth < kStageLevels;
    if (mayDescend && node.record.role != Role::pushButton)
      stack.insert(stack.end(), node.list.begin(), node.list.end());
  }
  return true;
}

void becomeWindowOn(const Node& stage, Node& node) {
  becomeWindow(node);
  if (stage.record.is(State::active)) node.record.states |= bit(State::active);
}

}  // namespace

bool isShell(const ProgramNode& program) {
  return program.toolkitProgress == Progress::known && program.toolkit == Toolkit::shell;
}

FetchGoal stageGoal(ProgramNode& program, StageExtent extent) {
  return {.node = program.root, .descendants = mostNodes(extent), .levels = kStageLevels};
}

std::vector<FetchGoal> windowGroupGoals(ProgramNode& program, StageExtent extent) {
  std::vector<FetchGoal> goals;
  for (const Node* stage : program.root->list) {
    Node* const group = windowGroup(*stage);
    if (group) goals.push_back({.node = group, .descendants = mostNodes(extent), .levels = kStageLevels});
  }
  return goals;
}

bool isStageWhole(const ProgramNode& program) {
  const auto& stages = program.root->list;
  return !program.root->hasRefused &&
         std::all_of(stages.begin(), stages.end(), [](const Node* stage) { return isWhole(*stage); });
}

std::vector<Node*> windowsOf(ProgramNode& program) {
  std::vector<Node*> windows;
  for (const Node* stage : program.root->list) {
    std::vector<Node*> found;
    findIn(*stage, kStageLevels, found);
    if (const Node* const group = windowGroup(*stage)) findAmongWindows(*group, found);
    for (Node* window : found) becomeWindowOn(*stage, *window);
    windows.insert(windows.end(), found.begin(), found.end());
  }
  return windows;
}

std::string headingOf(const Node& window) {
  for (const Node* child : offeredChildren(window)) {
    const bool isLabel = child->record.role == Role::label && child->record.name;
    if (auto heading = isLabel ? *child->record.name : headingOf(*child); !heading.empty()) return heading;
  }
  return {};
}

bool isPressableButton(const Node& node) {
  return node.record.role == Role::pushButton && node.record.is(State::sensitive) && node.record.is(State::showing);
}

}  // namespace quillard::atspi::shell
