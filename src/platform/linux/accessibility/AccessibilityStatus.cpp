#include "platform/linux/accessibility/AccessibilityStatus.h"

#include <utility>

#include "platform/linux/accessibility/Interfaces.h"

namespace quillard::atspi {
namespace {

constexpr std::chrono::seconds kTimeout{1};
// Starting the service takes a moment.
constexpr std::chrono::seconds kStartTimeout{5};

ObjectName launcher() { return {names::kLauncher, names::kLauncherPath}; }

}  // namespace

AccessibilityStatus::AccessibilityStatus(std::optional<std::string> sessionBusAddress, AccessibilityCounters& counters)
    : isInSession(sessionBusAddress.has_value()),
      session([address = std::move(sessionBusAddress)] { return address; }),
      counters(counters) {}

bool AccessibilityStatus::ask(BusCall call, const BusRequests::OnReply& onReply) {
  const auto connection = session.borrow();
  if (!connection) return false;
  const auto timeout = call.startsService ? kStartTimeout : kTimeout;
  BusRequests requests{**connection, counters};
  requests.send(std::move(call), timeout, onReply);
  requests.settle();
  return (*connection)->isOpen();
}

SwitchState AccessibilityStatus::isEnabled() {
  if (!isInSession) return SwitchState::off;
  SwitchState state = SwitchState::unknown;
  auto call = propertyCall(launcher(), names::kStatus, "IsEnabled");
  call.startsService = false;
  const bool isBusThere = ask(std::move(call), [&](const BusReply& reply) {
    if (reply.outcome() == CallOutcome::timedOut) return;
    state = reply.readBooleanProperty().value_or(false) ? SwitchState::on : SwitchState::off;
  });
  // What came when the bus broke says nothing of the service.
  return isBusThere ? state : SwitchState::unknown;
}

bool AccessibilityStatus::enable() {
  bool isDone = false;
  ask({.target = launcher(),
       .interface = "org.freedesktop.DBus.Properties",
       .member = "Set",
       .arguments = {std::string(names::kStatus), std::string("IsEnabled"), true},
       .wrapsLastArgument = true},
      [&](const BusReply& reply) { isDone = reply.outcome() == CallOutcome::answered; });
  return isDone;
}

std::optional<std::string> AccessibilityStatus::busAddress() {
  std::optional<std::string> address;
  ask({.target = launcher(), .interface = names::kLauncher, .member = "GetAddress", .startsService = false},
      [&](const BusReply& reply) { address = reply.readText(); });
  if (address && address->empty()) return std::nullopt;
  return address;
}

}  // namespace quillard::atspi
