#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/accessibility/BusReply.h"
#include "platform/linux/accessibility/CachedObject.h"
#include "platform/linux/accessibility/NodeRecord.h"
#include "platform/linux/accessibility/ObjectName.h"

namespace quillard::atspi {

// How far one kind of question about an object has come. `known` also when the answer was an error.
enum class Progress { notAsked, asked, known };

// What the cache of a program's toolkit is for in one reading: nothing; its objects, as far as they are in no doubt; or
// a comparison with a walk, which is what counts then.
enum class CacheUse { none, take, compare };

// What became of asking a program for its cache. `none`: it was not asked, or gave nothing that can be used. `tooLong`:
// it lists too much, or takes too long.
enum class CacheAnswer { none, listed, tooLong };

struct ProgramNode;

// Of a container with more children than this, only the last ones are read, as many, which a walk meets first: listing
// some thousand stalls a program for a tenth of a second.
inline constexpr std::size_t kLongList = 120;

// One object of a program as far as it has been read. Nodes stay where they are while their tree lives.
struct Node {
  ObjectName name;
  ProgramNode* program = nullptr;
  Node* parent = nullptr;  // Null: the program's root, or not known.
  Node* window = nullptr;  // The top-level object that it lies in, itself included; null when not known.
  int depth = 0;           // Below the window.

  Progress attributes = Progress::notAsked;
  Progress description = Progress::notAsked;
  Progress text = Progress::notAsked;
  Progress place = Progress::notAsked;
  Progress childCount = Progress::notAsked;
  Progress children = Progress::notAsked;
  bool isUnreadable = false;       // It was asked for its attributes and is no usable object.
  bool hasUnreadableList = false;  // It was asked for its children and gave no list, or one beyond the tree's bounds.
  bool hasRefused = false;         // It is there, and gave no usable answer about its role, states or children.
  NodeRecord record;
  std::size_t announcedChildren = 0;  // Once `childCount` is known.
  std::vector<Node*> list;            // Its children, once known: the last ones, when there are very many.

  [[nodiscard]] bool isTopLevel() const { return window == this; }
};

// One program on the bus.
struct ProgramNode {
  std::string bus;
  std::int32_t processIdentifier = 0;
  Node* root = nullptr;
  Progress toolkitProgress = Progress::notAsked;
  std::string toolkitName;
  std::string toolkitVersion;
  Toolkit toolkit = Toolkit::other;
  // May have containers so large that listing them stalls it: it is asked how many there are first.
  bool hasLargeContainers = false;
  // In this reading it did: a list was long, or did not come in time.
  bool hasShownLargeContainers = false;
  bool wasAskedForChildren = false;        // Of any of its objects but the root.
  std::vector<std::string> filledWindows;  // As in `KnownProgram`.
  // What the cache of its toolkit may be asked for about the trees below its windows, and how far that has come.
  CacheUse cacheUse = CacheUse::none;
  Progress cache = Progress::notAsked;
  CacheAnswer cacheAnswer = CacheAnswer::none;
  std::vector<CachedObject> cachedObjects;  // From the answer until they are taken over, or to the end.
};

// The objects that have been met, each once, whatever a program lists twice or in a circle.
class NodeTree {
 public:
  // Deeper objects are left out: no dialog is as deep, but a broken program may be endless.
  static constexpr int kDeepest = 100;
  // As many objects as one reading may meet; further ones are left out.
  static constexpr std::size_t kMostNodes = 200'000;

  NodeTree() = default;
  NodeTree(const NodeTree&) = delete;
  NodeTree& operator=(const NodeTree&) = delete;

  ProgramNode& program(const std::string& bus, std::int32_t processIdentifier, const std::string& rootPath);
  [[nodiscard]] ProgramNode* findProgram(const std::string& bus);

  // The object of that name, added when it is new. `windowPath`: of the window that it lies in; empty when not known.
  Node& node(ProgramNode& program, const std::string& path, const std::string& windowPath);
  // Takes the objects as the children of `parent`. One that already has a parent, that is `parent` or lies above it, or
  // that belongs to another program, is left out.
  void setChildren(Node& parent, const std::vector<ObjectName>& names);

 private:
  Node& add(ProgramNode& program, const std::string& path);
  [[nodiscard]] bool canAdopt(const Node& parent, const Node& child) const;
  // Whether `child` became a window (`becomeWindow`), by an element that was kept, and is now met in the one around it.
  [[nodiscard]] static bool isKnownInnerWindow(const Node& parent, const Node& child);

  std::unordered_map<ObjectName, std::unique_ptr<Node>> nodes;
  std::unordered_map<std::string, std::unique_ptr<ProgramNode>> programs;
};

// From now on the object is a window of its program, and the top-level object of all below it. It lies in a window.
void becomeWindow(Node& node);

// Whether `node` is one of its parent's elements, for those who cannot see what is hidden. Its attributes are known,
// and its details where they matter.
[[nodiscard]] bool isOffered(const Node& node);
// The children of an element that are elements, too. A button holds none: what is in it is its label.
[[nodiscard]] std::vector<Node*> offeredChildren(const Node& node);
// Whether everything that shows in the windows of the program has been read, and is not much.
[[nodiscard]] bool areTreesSmall(const ProgramNode& program);
// Whether it is what Plasma shows a notification as: one right in a window of Qt, which says its text as a description.
// Others give that role to any part of a window, as browsers do to what a page announces. `parent`: its own, or null.
[[nodiscard]] bool isNotificationOfPlasma(const Node& node, const Node* parent);

}  // namespace quillard::atspi
