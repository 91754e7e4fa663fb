#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/accessibility/NodeRecord.h"
#include "platform/linux/accessibility/ObjectName.h"

namespace quillard::atspi {

// A program with more objects is walked: its cache lists all of them, shown or hidden, and stalls it for that.
inline constexpr std::size_t kMostCachedObjects = 256;

// One object of a program as the cache of its toolkit lists it.
struct CachedObject {
  ObjectName name;
  ObjectName parent;
  std::int32_t index = 0;       // Among the children of its parent.
  std::int32_t childCount = 0;  // Negative: not told.
  NodeRecord record;            // Role, states, name and description.
};

// What a program answered when it was asked for its cache: all of its objects, or none.
struct CachedList {
  std::vector<CachedObject> objects;
  bool isTooLong = false;  // There are more than were asked for; none is here then.
};

}  // namespace quillard::atspi
