#include "relay/RelayRegistrationTask.h"

#include <utility>
#include <variant>

namespace quillard {
namespace {

constexpr Seconds kRetryDelay{3};

using Case = RelayRegistrationError::Case;

bool is(const RelayRegistrationFailure& failure, Case code) {
  const auto* error = std::get_if<RelayRegistrationError>(&failure);
  return error && error->code == code;
}

}  // namespace

RelayRegistrationTask::RelayRegistrationTask(RelayLaunchConfiguration configuration, Secret relaySecret,
                                             platform::HttpSessions& httpSessions, platform::SerialExecutor& mainThread,
                                             RelayRegistrationEvents events, std::optional<Secret> computerKey)
    : configuration(std::move(configuration)),
      relaySecret(std::move(relaySecret)),
      httpSessions(httpSessions),
      mainThread(mainThread),
      computerKey(std::move(computerKey)),
      events(std::move(events)),
      nextAttempt(mainThread.postAfter(Seconds::zero(), [this] { ask(); })) {}

RelayRegistrationTask::~RelayRegistrationTask() { letGoOfSession(); }

void RelayRegistrationTask::ask() {
  nextAttempt.reset();
  session = httpSessions.makeEphemeralSession(mainThread);
  registerRelayAuthToken(
      configuration, relaySecret, *session, mainThread,
      [this, alive = std::weak_ptr(life)](const RelayRegistrationOutcome& outcome) {
        if (!alive.expired()) answered(outcome);
      },
      computerKey);
}

void RelayRegistrationTask::answered(const RelayRegistrationOutcome& outcome) {
  letGoOfSession();
  if (!outcome) {
    const auto tell = events.onRegistered;  // A copy: what is called may end this task.
    tell();
    return;
  }
  // Either way only a new pairing helps, and only if a person wants it.
  if (is(*outcome, Case::pairingRevoked) || is(*outcome, Case::otherComputer)) {
    const auto tell = is(*outcome, Case::pairingRevoked) ? events.onRevoked : events.onOtherComputer;
    tell();
    return;
  }
  if (is(*outcome, Case::computerKeyWanted) && computerKey && computerKey->isEmpty()) {
    const auto tell = events.onComputerKeyWanted;
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
