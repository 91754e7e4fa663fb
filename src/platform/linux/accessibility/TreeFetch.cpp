#include "platform/linux/accessibility/TreeFetch.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/linux/accessibility/CachedObjects.h"
#include "platform/linux/accessibility/Interfaces.h"
#include "platform/linux/accessibility/Mapping.h"

namespace quillard::atspi {
namespace {

// Windows of one program. The agent looks at a thousand at most.
constexpr std::size_t kMostWindows = 1024;
// A label lies right inside its button, or next to a picture in a box.
constexpr int kMostInsideButton = 8;

constexpr std::uint32_t kOnScreen = 0;
constexpr std::uint32_t kInWindow = 1;

// An object that has gone since it was listed refuses nothing.
void noteRefusal(Node& node, const BusReply& reply, bool isUsable) {
  if (!isUsable && !reply.isUnknownToProgram()) node.hasRefused = true;
}

bool isWaiting(Progress progress) { return progress == Progress::notAsked; }

}  // namespace

// Goes over the goals of one program and asks what is missing.
class TreeFetch::Round {
 public:
  Round(TreeFetch& fetch, Run& run) : fetch(fetch), run(run), program(*run.program) {}

  void plan() {
    if (isWaiting(program.toolkitProgress)) fetch.askToolkit(run);
    if (beginsWithCache()) return;
    takeCache();
    for (const auto& goal : run.goals) {
      if (goal.isRootItself) {
        needSelf(*program.root, goal);
      } else if (goal.node == program.root) {
        planProgram(goal);
      } else {
        planObject(goal);
      }
    }
  }

 private:
  // True: the list of windows and the cache are asked for now, and everything else follows from the answers.
  bool beginsWithCache() {
    const bool wantsTrees = std::any_of(run.goals.begin(), run.goals.end(), [&](const FetchGoal& goal) {
      return goal.node == program.root && !goal.isRootItself && goal.descendants > 0;
    });
    if (!wantsTrees || program.cacheUse == CacheUse::none || !isWaiting(program.cache)) return false;
    needChildren(*program.root);  // Before the cache, which may keep the program busy.
    fetch.askCache(run);
    return true;
  }

  void takeCache() {
    if (program.cacheUse != CacheUse::take || program.cachedObjects.empty()) return;
    takeCachedObjects(fetch.tree, program, std::exchange(program.cachedObjects, {}));
  }

  void planProgram(const FetchGoal& goal) {
    needChildren(*program.root);
    for (Node* window : program.root->list) {
      FetchGoal inner = goal;
      inner.node = window;
      planObject(inner);
    }
  }

  void planObject(const FetchGoal& goal) {
    Node& node = *goal.node;
    if (node.window) needSelf(*node.window, goal);
    needSelf(node, goal);
    if (node.isUnreadable || goal.descendants <= 0 || node.record.role == Role::pushButton) return;
    needChildren(node);
    walk(goal);
  }

  void needSelf(Node& node, const FetchGoal& goal) {
    if (isWaiting(node.attributes)) fetch.askAttributes(run, node);
    needDetails(node, goal);
    needButtonLabel(node);
  }

  // In the order of the walk, for as long as an object may be among those that are wanted: what stands before it and is
  // not known yet counts as one.
  void walk(const FetchGoal& goal) {
    std::vector<Node*> stack = goal.node->list;
    int left = goal.descendants;
    while (!stack.empty() && left > 0) {
      Node& node = *stack.back();
      stack.pop_back();
      const bool mayDescend = left > 1 && node.depth - goal.node->depth < goal.levels;
      if (!meet(node, goal, mayDescend)) continue;
      --left;
      if (mayDescend) stack.insert(stack.end(), node.list.begin(), node.list.end());
    }
  }

  // False when the object turns out not to be one that is walked.
  bool meet(Node& node, const FetchGoal& goal, bool mayDescend) {
    if (isWaiting(node.attributes)) {
      fetch.askAttributes(run, node);
      if (mayDescend) needChildren(node);
      return true;
    }
    if (node.attributes != Progress::known) return true;
    if (!isOffered(node)) return false;
    needDetails(node, goal);
    needButtonLabel(node);
    if (mayDescend && node.record.role != Role::pushButton) needChildren(node);
    return true;
  }

  void needChildren(Node& node) {
    if (!isWaiting(node.children)) return;
    if (!program.hasLargeContainers || &node == program.root) {
      fetch.askChildren(run, node);
    } else if (isWaiting(node.childCount)) {
      fetch.askChildCount(run, node);
    } else if (node.childCount == Progress::known) {
      if (node.announcedChildren > kLongList) {
        fetch.askLastChildren(run, node);
      } else {
        fetch.askChildren(run, node);
      }
    }
  }

  // Where a place is counted from depends on the toolkit, so that has to be known first.
  void needDetails(Node& node, const FetchGoal& goal) {
    const bool isReady = node.attributes == Progress::known && program.toolkitProgress == Progress::known;
    if (!isReady || node.isUnreadable) return;
    auto needs = mapping::detailNeeds(node.record, program.toolkit, node.isTopLevel());
    needs.extents = (needs.extents || goal.more.extents) && isWaiting(node.place);
    needs.description = (needs.description || goal.more.description) && isWaiting(node.description);
    needs.text = needs.text && isWaiting(node.text);
    fetch.askDetails(run, node, needs);
  }

  void needButtonLabel(Node& node) {
    const bool mayBeDoubled = program.toolkit == Toolkit::gtk4 && program.toolkitProgress == Progress::known;
    if (!mayBeDoubled || node.attributes != Progress::known || node.record.role != Role::pushButton) return;
    needChildren(node);
    std::vector<Node*> stack = node.list;
    for (int left = kMostInsideButton; !stack.empty() && left > 0; --left) {
      Node& inner = *stack.back();
      stack.pop_back();
      if (isWaiting(inner.attributes)) fetch.askAttributes(run, inner);
      if (inner.attributes != Progress::known || inner.record.role == Role::label) continue;
      needChildren(inner);
      stack.insert(stack.end(), inner.list.begin(), inner.list.end());
    }
  }

  TreeFetch& fetch;
  Run& run;
  ProgramNode& program;
};

void TreeFetch::fetch(const std::vector<FetchGoal>& goals) {
  std::unordered_map<ProgramNode*, std::unique_ptr<Run>> runs;
  for (const auto& goal : goals) {
    auto& run = runs[goal.node->program];
    if (!run) run = std::make_unique<Run>(Run{goal.node->program, {}, 0});
    run->goals.push_back(goal);
  }
  for (auto& [program, run] : runs) advance(*run);
  requests.settle();
}

void TreeFetch::advance(Run& run) { Round{*this, run}.plan(); }

void TreeFetch::ask(Run& run, BusCall call, BusRequests::OnReply onReply) {
  ++run.waiting;
  const auto timeout = call.isOptional ? messagingTimeout / 2 : messagingTimeout;
  requests.send(std::move(call), timeout, [this, &run, onReply = std::move(onReply)](const BusReply& reply) {
    onReply(reply);
    if (--run.waiting == 0) advance(run);
  });
}

void TreeFetch::askToolkit(Run& run) {
  ProgramNode& program = *run.program;
  program.toolkitProgress = Progress::asked;
  ask(run, propertyCall(program.root->name, names::kApplication, "ToolkitName"),
      [&program](const BusReply& reply) { program.toolkitName = reply.readTextProperty().value_or(""); });
  ask(run, propertyCall(program.root->name, names::kApplication, "Version"), [&program](const BusReply& reply) {
    program.toolkitVersion = reply.readTextProperty().value_or("");
    program.toolkit = mapping::toolkitOf(program.toolkitName, program.toolkitVersion);
    program.toolkitProgress = Progress::known;
  });
}

void TreeFetch::askCache(Run& run) {
  ProgramNode& program = *run.program;
  program.cache = Progress::asked;
  ask(run,
      {.target = {program.bus, names::kCachePath},
       .interface = names::kCache,
       .member = "GetItems",
       .isOptional = true},
      [&program](const BusReply& reply) {
        program.cache = Progress::known;
        if (reply.outcome() == CallOutcome::timedOut) program.cacheAnswer = CacheAnswer::tooLong;
        auto list = reply.readCachedObjects(kMostCachedObjects);
        if (!list) return;
        program.cacheAnswer = list->isTooLong ? CacheAnswer::tooLong : CacheAnswer::listed;
        program.cachedObjects = std::move(list->objects);
      });
}

void TreeFetch::askAttributes(Run& run, Node& node) {
  node.attributes = Progress::asked;
  const auto method = [&](const char* member) {
    return BusCall{.target = node.name, .interface = names::kAccessible, .member = member};
  };
  ask(run, method("GetRole"), [&node](const BusReply& reply) {
    const auto role = reply.readUnsigned();
    node.isUnreadable = !role;
    noteRefusal(node, reply, role.has_value());
    node.record.role = static_cast<Role>(role.value_or(0));
  });
  ask(run, method("GetState"), [&node](const BusReply& reply) {
    const auto states = reply.readStates();
    noteRefusal(node, reply, states.has_value());
    node.record.states = states.value_or(0);
  });
  ask(run, propertyCall(node.name, names::kAccessible, "Name"), [&node](const BusReply& reply) {
    node.record.name = reply.readTextProperty();
    node.attributes = Progress::known;
  });
}

void TreeFetch::askDetails(Run& run, Node& node, const mapping::DetailNeeds& needs) {
  if (needs.description) {
    node.description = Progress::asked;
    ask(run, propertyCall(node.name, names::kAccessible, "Description"), [&node](const BusReply& reply) {
      node.record.description = reply.readTextProperty();
      node.description = Progress::known;
    });
  }
  if (needs.text) {
    node.text = Progress::asked;
    // One character more than is ever read, so that a text cut off here is too long to be read.
    const auto end = static_cast<std::int32_t>(BusReply::kLongestText + 1);
    ask(run, {.target = node.name, .interface = names::kText, .member = "GetText", .arguments = {std::int32_t{0}, end}},
        [&node](const BusReply& reply) {
          node.record.text = reply.readText();
          node.text = Progress::known;
        });
  }
  if (needs.extents) {
    node.place = Progress::asked;
    // GTK 4 knows no places on the screen, and prints warnings when asked for one.
    const auto origin = run.program->toolkit == Toolkit::gtk4 ? kInWindow : kOnScreen;
    ask(run, {.target = node.name, .interface = names::kComponent, .member = "GetExtents", .arguments = {origin}},
        [&node](const BusReply& reply) {
          node.record.extents = reply.readExtents();
          node.place = Progress::known;
        });
  }
}

void TreeFetch::askChildCount(Run& run, Node& node) {
  node.program->wasAskedForChildren = true;
  node.childCount = Progress::asked;
  ask(run, propertyCall(node.name, names::kAccessible, "ChildCount"), [&node](const BusReply& reply) {
    const auto count = reply.readIntegerProperty();
    node.announcedChildren = count && *count > 0 ? static_cast<std::size_t>(*count) : 0;
    node.childCount = Progress::known;
    if (node.announcedChildren > kLongList) node.program->hasShownLargeContainers = true;
    if (count == 0) node.children = Progress::known;
  });
}

void TreeFetch::askChildren(Run& run, Node& node) {
  if (&node != node.program->root) node.program->wasAskedForChildren = true;
  node.children = Progress::asked;
  ask(run, {.target = node.name, .interface = names::kAccessible, .member = "GetChildren"},
      [this, &node](const BusReply& reply) { takeChildren(node, reply); });
}

void TreeFetch::takeChildren(Node& node, const BusReply& reply) {
  const bool isRoot = &node == node.program->root;
  const auto list = reply.readObjects(isRoot ? kMostWindows : kLongList);
  node.children = Progress::known;
  node.hasUnreadableList = !list;
  noteRefusal(node, reply, list.has_value());
  const bool isLong = reply.outcome() == CallOutcome::timedOut || (!isRoot && list && list->total > kLongList);
  if (isLong) node.program->hasLargeContainers = node.program->hasShownLargeContainers = true;
  if (!list) return;
  tree.setChildren(node, list->objects);
}

void TreeFetch::askLastChildren(Run& run, Node& node) {
  node.children = Progress::asked;
  struct Answers {
    std::vector<ObjectName> names;
    std::size_t missing;
  };
  const auto answers = std::make_shared<Answers>(Answers{std::vector<ObjectName>(kLongList), kLongList});
  for (std::size_t i = 0; i < kLongList; ++i) {
    const auto index = static_cast<std::int32_t>(node.announcedChildren - kLongList + i);
    ask(run, {.target = node.name, .interface = names::kAccessible, .member = "GetChildAtIndex", .arguments = {index}},
        [this, &node, answers, i](const BusReply& reply) {
          if (auto name = reply.readObject()) answers->names[i] = *std::move(name);
          if (--answers->missing > 0) return;
          node.children = Progress::known;
          tree.setChildren(node, answers->names);  // What gave no name belongs to no program, and is left out.
        });
  }
}

}  // namespace quillard::atspi
