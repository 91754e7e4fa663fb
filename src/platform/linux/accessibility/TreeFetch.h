#pragma once

#include <chrono>
#include <cstddef>
#include <unordered_map>
#include <vector>

#include "platform/linux/accessibility/BusRequests.h"
#include "platform/linux/accessibility/Mapping.h"
#include "platform/linux/accessibility/NodeTree.h"

namespace quillard::atspi {

// What is about to be read of one object.
struct FetchGoal {
  Node* node = nullptr;
  // How many of its descendants, in the order in which they are walked: each before its own children, the last child of
  // each first. For the root of a program: so many of each of its windows.
  int descendants = 0;
  int levels = NodeTree::kDeepest;  // How deep below the object.
  // What is wanted of each of them besides what reading a prompt needs.
  mapping::DetailNeeds more{};
  // Of the root of a program: what it says of itself, and nothing of its windows.
  bool isRootItself = false;
};

// Reads what goals ask for, in rounds: all that can be asked of a program now goes out together, and when the last
// answer is there, the next round follows from the answers. Every program advances by itself. Each question is asked
// once. Where the cache of a toolkit may be asked for the trees of a program, that is the first round, and whatever it
// does not tell beyond doubt is asked like everything else. A cache that does not come within half the time-out is left
// out, and costs nothing but that time.
class TreeFetch {
 public:
  // Both outlive this. `messagingTimeout`: of each request.
  TreeFetch(BusRequests& requests, NodeTree& tree, std::chrono::microseconds messagingTimeout)
      : requests(requests), tree(tree), messagingTimeout(messagingTimeout) {}

  // Waits until everything that the goals ask for is known, or can no longer be told. Asks nothing when it is known.
  void fetch(const std::vector<FetchGoal>& goals);

 private:
  struct Run {
    ProgramNode* program = nullptr;
    std::vector<FetchGoal> goals;
    std::size_t waiting = 0;
  };
  class Round;

  void advance(Run& run);
  void ask(Run& run, BusCall call, BusRequests::OnReply onReply);
  void askToolkit(Run& run);
  void askCache(Run& run);
  void askAttributes(Run& run, Node& node);
  void askDetails(Run& run, Node& node, const mapping::DetailNeeds& needs);
  void askChildCount(Run& run, Node& node);
  void askChildren(Run& run, Node& node);
  void askLastChildren(Run& run, Node& node);
  void takeChildren(Node& node, const BusReply& reply);

  BusRequests& requests;
  NodeTree& tree;
  const std::chrono::microseconds messagingTimeout;
};

}  // namespace quillard::atspi
