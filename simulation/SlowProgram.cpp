#include "simulation/SlowProgram.h"

#include <utility>

#include "questions/QuestionTexts.h"

namespace quillard::simulation {

SlowProgram::SlowProgram(Stage& stage, platform::LocalSockets& sockets, const QuestionRequest& request,
                         Seconds hesitation, QuestionAskerEvents events)
    : stage(stage),
      hesitation(hesitation),
      events(std::move(events)),
      client(sockets,
             {.onMessage = [this](const ChannelMessage& message) { received(message); },
              .onEnd = [this] { finish({.kind = answer ? AskOutcome::Kind::notTaken : AskOutcome::Kind::noAgent}); }}) {
  stage.later(Seconds::zero(), [this, request, alive = std::weak_ptr(life)] {
    if (alive.expired()) return;
    if (client.open() != platform::LocalConnectOutcome::connected) return finish({});
    client.send(channelLine("ask", toJson(request)));
  });
}

SlowProgram::~SlowProgram() = default;

void SlowProgram::received(const ChannelMessage& message) {
  JsonReader reader{message.json};
  if (message.type == "answer") {
    if (answer)
      return stage.fail("A program was answered \"", reader.string("label"), "\" after \"", answer->label, "\".");
    answer = AskOutcome{.kind = AskOutcome::Kind::answered, .label = reader.string("label"), .by = reader.string("by")};
    stage.later(hesitation, [this, alive = std::weak_ptr(life)] {
      if (alive.expired() || isOver || !events.take(*answer)) return;
      client.send(channelLine("taken"));
    });
  } else if (message.type == "done") {
    if (!answer) return stage.fail("What a program had not taken was confirmed.");
    finish(*answer);
  } else if (message.type == "end") {
    const auto end = QuestionTexts::endOf(reader.string("reason"));
    if (!end) return stage.fail("A question ended for no known reason.");
    finish({.kind = AskOutcome::Kind::ended, .end = *end});
  } else if (message.type == "error") {
    finish({.kind = answer ? AskOutcome::Kind::notTaken : AskOutcome::Kind::refused,
            .message = reader.optionalString("message").value_or("")});
  }
}

void SlowProgram::finish(const AskOutcome& outcome) {
  if (std::exchange(isOver, true)) return;
  const auto told = events.onOutcome;
  told(outcome);
}

}  // namespace quillard::simulation
