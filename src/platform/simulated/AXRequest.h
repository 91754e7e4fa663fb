#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/desktop/Accessibility.h"
#include "platform/simulated/DesktopHandles.h"
#include "values/Time.h"

namespace quillard::platform::simulated {

// `readAttributes`: all attributes of one element at once, as a read scope asks.
enum class AXRequestKind { readAttribute, readAttributes, readActionNames, setAttribute, performAction, hitTest };

// One request to an application, just before it is sent.
struct AXRequest {
  std::uint64_t index = 0;  // The first request to the desktop has 0.
  AXRequestKind kind = AXRequestKind::readAttribute;
  std::int32_t processIdentifier = 0;  // Of the application that will answer. 0: the system itself.
  std::optional<NodeHandle> node{};    // Absent: an application's own element, or the system-wide one.
  std::string name{};                  // Of the attribute or the action. Empty for other kinds.
};

// One press of a button: by request or by hand, accepted or refused.
struct Press {
  Instant at{};
  NodeHandle window{};  // The innermost window, sheet or dialog that the button was part of.
  NodeHandle button{};
  NodeHandle root{};    // The top-level window around that. Most often the same.
  std::string label{};  // The title, or the description when that is empty.
  AXError answer = AXError::success;
  bool isTaken = true;  // False: refused, nothing came of it.
};

}  // namespace quillard::platform::simulated
