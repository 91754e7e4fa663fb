#pragma once

#include <optional>
#include <vector>

#include "platform/linux/accessibility/NodeTree.h"
#include "platform/linux/accessibility/TreeFetch.h"

// LXQt shows all notifications in one window, one below the other, without a role or a name that would set them apart.
// Here each of them becomes a window of its own, as its user sees it, so that one that comes, moves or goes leaves the
// others what they were.
namespace quillard::atspi::bubbles {

// Whether the window may be that one, by what is known once the windows of its program are.
[[nodiscard]] bool mayBeArea(const Node& window);

// What has to be read of it before its notifications can be told.
[[nodiscard]] std::vector<FetchGoal> areaGoals(Node& window);

struct Area {
  std::vector<Node*> bubbles;  // At least one; in the order of the screen.
  bool isWhole = true;         // False: others may be there.
};

// Once these goals were read: what it shows. From now on each of them is the top-level object of all below it. Absent:
// it is another window, or shows none.
[[nodiscard]] std::optional<Area> areaOf(Node& window);

}  // namespace quillard::atspi::bubbles
