#include "platform/linux/accessibility/SessionLock.h"

#include <utility>

#include "platform/linux/accessibility/BusRequests.h"

namespace quillard::atspi {
namespace {

constexpr std::chrono::milliseconds kTimeout{500};
constexpr const char* kLoginManager = "org.freedesktop.login1";
constexpr const char* kSession = "org.freedesktop.login1.Session";
constexpr const char* kUser = "org.freedesktop.login1.User";
// The session that this process is in, which need not be one that anybody sees.
constexpr const char* kOwnSession = "/org/freedesktop/login1/session/auto";
constexpr const char* kOwnUser = "/org/freedesktop/login1/user/self";
constexpr const char* kNoObject = "/";

// The questions of one check, and what is known by now.
class LockQuestions {
 public:
  LockQuestions(BusConnection& connection, AccessibilityCounters& counters) : requests(connection, counters) {}

  [[nodiscard]] bool isLocked() {
    ask(kOwnSession, kSession, "LockedHint", [&](const BusReply& reply) { takeHint(reply); });
    ask(kOwnUser, kUser, "Display", [&](const BusReply& reply) { takeDisplay(reply); });
    requests.settle();
    if (isWithoutManager) return false;
    if (isIt || display == kNoObject) return isIt;
    ask(display, kSession, "LockedHint", [&](const BusReply& reply) { takeHint(reply); });
    requests.settle();
    return isIt;
  }

 private:
  void ask(const std::string& object, const char* interface, const char* property, BusRequests::OnReply onReply) {
    auto question = propertyCall({kLoginManager, object}, interface, property);
    question.startsService = false;
    requests.send(std::move(question), kTimeout, std::move(onReply));
  }

  void takeHint(const BusReply& reply) {
    if (isWithoutAnswer(reply)) return;
    if (reply.readBooleanProperty().value_or(true)) isIt = true;
  }

  void takeDisplay(const BusReply& reply) {
    if (isWithoutAnswer(reply)) return;
    if (const auto session = reply.readObjectProperty()) {
      display = session->path;
    } else {
      isIt = true;
    }
  }

  // There is no login manager, or no such session.
  bool isWithoutAnswer(const BusReply& reply) {
    isWithoutManager = isWithoutManager || reply.isNameUnknown();
    return reply.isNameUnknown() || reply.isUnknownToProgram();
  }

  BusRequests requests;
  std::string display = kNoObject;
  bool isWithoutManager = false;
  bool isIt = false;
};

}  // namespace

bool isSessionLocked(const std::optional<std::string>& systemBusAddress, AccessibilityCounters& counters) {
  if (!systemBusAddress) return false;
  auto absence = BusConnection::Absence::none;
  const auto connection = BusConnection::open(*systemBusAddress, kTimeout, &absence);
  if (!connection) return absence != BusConnection::Absence::noServer;
  return LockQuestions(*connection, counters).isLocked();
}

}  // namespace quillard::atspi
