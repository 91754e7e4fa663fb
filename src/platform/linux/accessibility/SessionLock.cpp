#include "platform/linux/accessibility/SessionLock.h"

#include "platform/linux/accessibility/BusRequests.h"

namespace quillard::atspi {
namespace {

constexpr std::chrono::milliseconds kTimeout{500};
constexpr const char* kLoginManager = "org.freedesktop.login1";
constexpr const char* kSession = "org.freedesktop.login1.Session";
// The session that this process is in, else the one that this user sees.
constexpr const char* kOwnSession = "/org/freedesktop/login1/session/auto";

bool isLocked(const BusReply& reply) {
  switch (reply.outcome()) {
    case CallOutcome::answered:
      return reply.readBooleanProperty().value_or(true);
    case CallOutcome::gone:
      return false;
    case CallOutcome::refused:
      return !reply.isUnknownToProgram();
    case CallOutcome::timedOut:
      break;
  }
  return true;
}

}  // namespace

bool isSessionLocked(const std::optional<std::string>& systemBusAddress, AccessibilityCounters& counters) {
  const auto connection = systemBusAddress ? BusConnection::open(*systemBusAddress, kTimeout) : nullptr;
  if (!connection) return false;
  BusRequests requests(*connection, counters);
  auto question = propertyCall({kLoginManager, kOwnSession}, kSession, "LockedHint");
  question.startsService = false;
  bool isIt = true;
  requests.send(std::move(question), kTimeout, [&](const BusReply& reply) { isIt = isLocked(reply); });
  requests.settle();
  return isIt;
}

}  // namespace quillard::atspi
