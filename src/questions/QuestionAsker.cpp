#include "questions/QuestionAsker.h"

#include <algorithm>
#include <utility>

#include "questions/QuestionTexts.h"

namespace quillard {

using platform::LocalConnectOutcome;

QuestionAsker::QuestionAsker(const QuestionAskerDependencies& dependencies, QuestionRequest given,
                             QuestionAskerEvents events)
    : dependencies(dependencies),
      request(std::move(given)),
      events(std::move(events)),
      deadline(advanced(dependencies.clock.monotonicNow(), request.timeout)) {
  next = dependencies.mainThread.postAfter(Seconds::zero(), [this] { connect(); });
  lateness = dependencies.mainThread.postAfter(request.timeout + kLateness, [this] {
    finish({.kind = AskOutcome::Kind::noAgent, .message = "The agent does not answer."});
  });
}

QuestionAsker::~QuestionAsker() = default;

void QuestionAsker::connect() {
  client = std::make_unique<ChannelClient>(
      dependencies.sockets, ChannelClientEvents{.onMessage = [this](const auto& message) { received(message); },
                                                .onEnd = [this] { lost(); }});
  const auto outcome = client->open();
  if (outcome != LocalConnectOutcome::connected) {
    if (lostAt) return lost();
    return finish({.kind = AskOutcome::Kind::noAgent,
                   .message = outcome == LocalConnectOutcome::absent ? "No agent runs for this user."
                                                                     : "The agent's socket takes no connection."});
  }
  request.timeout = std::max<Seconds>(QuestionRequest::kShortestTimeout, deadline - dependencies.clock.monotonicNow());
  client->send(channelLine("ask", toJson(request)));
}

void QuestionAsker::received(const ChannelMessage& message) {
  JsonReader reader{message.json};
  if (message.type == "asked") {
    lostAt.reset();
  } else if (message.type == "answer" && !answer) {
    answered(reader);
  } else if (message.type == "done" && isConfirming) {
    finish(*answer);
  } else if (message.type == "end") {
    ended(reader);
  } else if (message.type == "error") {
    const auto text = reader.optionalString("message").value_or("");
    if (answer) return notTaken(text);
    finish({.kind = AskOutcome::Kind::refused, .message = text});
  }
}

void QuestionAsker::answered(JsonReader& reader) {
  AskOutcome outcome{.kind = AskOutcome::Kind::answered, .label = reader.string("label"), .by = reader.string("by")};
  outcome.index = static_cast<std::size_t>(
      reader.integer("index", 0, static_cast<std::int64_t>(QuestionRequest::kMostButtons) - 1));
  const bool isOffered =
      outcome.index < request.buttons.size() && request.buttons[outcome.index].label == outcome.label;
  if (reader.error() || !isOffered) return lost();
  answer = std::move(outcome);
  // In a later turn: where this process was stopped, the end of the question came together with the answer.
  next = dependencies.mainThread.postAfter(Seconds::zero(), [this] { take(); });
}

void QuestionAsker::take() {
  if (!events.take(*answer)) return notTaken("The answer could not be handed over.");
  isConfirming = true;
  client->send(channelLine("taken"));
  lateness = dependencies.mainThread.postAfter(kConfirmTimeout,
                                               [this] { notTaken("The agent did not confirm the answer in time."); });
}

void QuestionAsker::ended(JsonReader& reader) {
  const auto end = QuestionTexts::endOf(reader.string("reason"));
  auto text = reader.optionalString("message").value_or("The agent ended the question.");
  if (answer) return notTaken(std::move(text));
  if (end == QuestionEnd::stopping) return lost();
  finish({.kind = end ? AskOutcome::Kind::ended : AskOutcome::Kind::refused,
          .end = end.value_or(QuestionEnd::timedOut),
          .message = std::move(text)});
}

void QuestionAsker::notTaken(std::string message) {
  finish({.kind = AskOutcome::Kind::notTaken, .message = std::move(message)});
}

// The connection has ended. A question that was answered is not asked again.
void QuestionAsker::lost() {
  if (answer) return notTaken("The agent has gone before it confirmed the answer.");
  const Instant now = dependencies.clock.monotonicNow();
  if (!lostAt) lostAt = now;
  if (now - *lostAt >= kAgentTimeout || now >= deadline) {
    return finish({.kind = AskOutcome::Kind::noAgent, .message = "The agent has gone, and none came in its place."});
  }
  // In a turn of its own, since it destroys the client that may be calling.
  next = dependencies.mainThread.postAfter(kRetryInterval, [this] { connect(); });
}

void QuestionAsker::finish(const AskOutcome& outcome) {
  next.reset();
  lateness.reset();
  if (client) client->close();
  const auto told = events.onOutcome;
  told(outcome);
}

}  // namespace quillard
