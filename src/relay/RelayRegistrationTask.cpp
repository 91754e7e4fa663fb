#include "relay/RelayRegistrationTask.h"

#include <utility>
#include <variant>

namespace quillard {
namespace {

constexpr Seconds kRetryDelay{3};

bool isRevoked(const RelayRegistrationFailure& failure) {
  const auto* error = std::get_if<RelayRegistrationError>(&failure);
  return error && error->code == RelayRegistrationError::Case::pairingRevoked;
}

}  // namespace

RelayRegistrationTask::RelayRegistrationTask(RelayLaunchConfiguration configuration, Secret relaySecret,
                                             platform::HttpSessions& httpSessions, platform::SerialExecutor& mainThread,
                                             RelayRegistrationEvents events)
    : configuration(std::move(configuration)),
      relaySecret(std::move(relaySecret)),
      httpSessions(httpSessions),
      mainThread(mainThread),
      events(std::move(events)),
      nextAttempt(mainThread.postAfter(Seconds::zero(), [this] { ask(); })) {}

RelayRegistrationTask::~RelayRegistrationTask() { letGoOfSession(); }

void RelayRegistrationTask::ask() {
  nextAttempt.reset();
  session = httpSessions.makeEphemeralSession(mainThread);
  registerRelayAuthToken(configuration, relaySecret, *session, mainThread,
                         [this, alive = std::weak_ptr(life)](const RelayRegistrationOutcome& outcome) {
                           if (!alive.expired()) answered(outcome);
                         });
}

void RelayRegistrationTask::answered(const RelayRegistrationOutcome& outcome) {
  letGoOfSession();
  if (!outcome) {
    const auto tell = events.onRegistered;  // A copy: what is called may end this task.
    tell();
    return;
  }
  if (isRevoked(*outcome)) {
    const auto tell = events.onRevoked;
    tell();
    return;
  }
  nextAttempt = mainThread.postAfter(kRetryDelay, [this] { ask(); });
  const auto tell = events.onFailure;
  tell(description(*outcome));
}

// It may be in the middle of telling us its answer, so it goes in a turn of its own.
void RelayRegistrationTask::letGoOfSession() {
  if (session) mainThread.post([last = std::shared_ptr<platform::HttpSession>(std::move(session))] {});
}

}  // namespace quillard
