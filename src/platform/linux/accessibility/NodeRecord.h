#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/accessibility/Roles.h"
#include "values/Geometry.h"

namespace quillard::atspi {

// The kinds of toolkit that tell things differently. `shell` is GNOME Shell's own, `other` everything that is not known
// to be peculiar.
enum class Toolkit { gtk3, gtk4, qt, shell, other };

// What an object says of itself. Absent: it was not asked, gave no answer, or one that cannot be used. A text may be
// `BusReply::kUnreadableText`.
struct NodeRecord {
  Role role{};
  std::uint64_t states = 0;
  std::optional<std::string> name;
  std::optional<std::string> description;
  std::optional<std::string> text;
  // GTK 4: within its window. Otherwise on the screen, as far as there is one.
  std::optional<Rect> extents;

  [[nodiscard]] bool is(State state) const { return has(states, state); }
  bool operator==(const NodeRecord&) const = default;
};

}  // namespace quillard::atspi
