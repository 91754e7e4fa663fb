#pragma once

#include <vector>

#include "platform/linux/accessibility/CachedObject.h"
#include "platform/linux/accessibility/NodeTree.h"

namespace quillard::atspi {

// Takes over what the list says of the objects below the windows of `program`, whose own list is known. The walk is the
// truth, so this takes only what the walk would have been told, too: the list of a container's children when they are
// all there, each at its own place. Whatever is in doubt is left as it was, to be asked for. A list that names an
// object twice is not used at all; objects of other programs are in none.
void takeCachedObjects(NodeTree& tree, ProgramNode& program, const std::vector<CachedObject>& objects);

// Whether the list says something else than the walk of `program` about an object that both know: its role, states or
// name, or what is in it.
[[nodiscard]] bool contradictsWalk(const ProgramNode& program, const std::vector<CachedObject>& objects);

}  // namespace quillard::atspi
