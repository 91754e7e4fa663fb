#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/accessibility/Roles.h"
#include "support/FakeAccessibilityBus.h"

namespace quillard::test {

// An object of a fake program that is on the screen. A button takes presses.
inline FakeObject shownObject(atspi::Role role, const std::string& name, std::vector<std::string> children = {}) {
  FakeObject object{.role = static_cast<std::uint32_t>(role), .states = bit(atspi::State::showing), .name = name};
  object.extents = Rect{10, 10, 100, 20};
  object.children = std::move(children);
  if (role == atspi::Role::pushButton) object.actions = {"click"};
  return object;
}

}  // namespace quillard::test
