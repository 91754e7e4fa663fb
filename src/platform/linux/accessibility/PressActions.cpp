#include "platform/linux/accessibility/PressActions.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Text.h"
#include "platform/linux/accessibility/Interfaces.h"
#include "platform/linux/accessibility/ShellWindows.h"

namespace quillard::atspi {
namespace {

constexpr std::int32_t kMostActions = 16;

bool isPressName(std::string_view name) {
  const std::string lower = text::lowercased(name);
  return lower == "click" || lower == "press" || lower == "activate" || lower == "toggle";
}

}  // namespace

std::optional<std::int32_t> pressAction(DesktopReading& reading, const Node& node) {
  auto& requests = reading.direct();
  const auto timeout = reading.messagingTimeout();
  std::int32_t count = 0;
  requests.send(propertyCall(node.name, names::kAction, "NActions"), timeout,
                [&](const BusReply& reply) { count = reply.readIntegerProperty().value_or(0); });
  requests.settle();
  // Only numbers that exist: not every toolkit checks them.
  count = std::clamp(count, 0, kMostActions);
  std::vector<std::string> actions(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    requests.send(
        {.target = node.name, .interface = names::kAction, .member = "GetName", .arguments = {i}}, timeout,
        [&actions, i](const BusReply& reply) { actions[static_cast<std::size_t>(i)] = reply.readText().value_or(""); });
  }
  requests.settle();
  const auto press = std::find_if(actions.begin(), actions.end(), [](const auto& name) { return isPressName(name); });
  if (press != actions.end()) return static_cast<std::int32_t>(press - actions.begin());
  return std::nullopt;
}

bool isPressable(DesktopReading& reading, const Node& node) {
  return shell::isShell(*node.program) ? shell::isPressableButton(node) : pressAction(reading, node).has_value();
}

}  // namespace quillard::atspi
