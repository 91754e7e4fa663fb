// What an agent says to a program that asks, and to the tools: any bytes, from whatever listens at the socket.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "channel/ChannelMessage.h"
#include "fuzz/FuzzTarget.h"
#include "platform/simulated/SimulatedWorld.h"
#include "questions/QuestionAsker.h"

namespace {

using namespace quillard;
using platform::simulated::SimulatedLocalSockets;

const QuestionRequest kDeletion{.question = "Delete?", .buttons = {{"Delete"}, {"Cancel"}}, .timeout = Seconds{60}};

// Says the same to whoever connects, at once and in pieces.
struct Impostor {
  Impostor(SimulatedLocalSockets& sockets, std::string_view text)
      : listener(sockets.listen(kChannelName, [this, text](auto connection) {
          connection->start({[](auto) {}, [] {}});
          constexpr std::size_t kPiece = 7;
          for (std::size_t at = 0; at < text.size(); at += kPiece) {
            connection->send(std::string(text.substr(at, kPiece)));
          }
          connections.push_back(std::move(connection));
        })) {}

  std::vector<std::unique_ptr<platform::LocalConnection>> connections;
  std::unique_ptr<platform::LocalListener> listener;
};

void requireTrue(const AskOutcome& outcome, const std::optional<AskOutcome>& taken) {
  if (outcome.kind != AskOutcome::Kind::answered) return;
  fuzz::require(taken.has_value(), "an answer is handed over before it counts");
  fuzz::require(taken->label == outcome.label && taken->index == outcome.index, "what counts was handed over");
  fuzz::require(outcome.index < kDeletion.buttons.size(), "the answer's number is one of the buttons");
  fuzz::require(kDeletion.buttons[outcome.index].label == outcome.label, "the answer's label is that button's");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  platform::simulated::SimulatedWorld world{platform::simulated::Seed{1}};
  SimulatedLocalSockets sockets{world.socketFolder(), world.time().mainThread(), {.process = {.processIdentifier = 1}}};
  const Impostor impostor{sockets, fuzz::textOf(data, size)};
  std::optional<AskOutcome> taken;
  int outcomes = 0;
  std::unique_ptr<QuestionAsker> asker;
  asker = std::make_unique<QuestionAsker>(QuestionAskerDependencies{sockets, world.time().mainThread(), world.time()},
                                          kDeletion,
                                          QuestionAskerEvents{.take =
                                                                  [&](const AskOutcome& outcome) {
                                                                    fuzz::require(!taken, "one answer is handed over");
                                                                    taken = outcome;
                                                                    return true;
                                                                  },
                                                              .onOutcome =
                                                                  [&](const AskOutcome& outcome) {
                                                                    ++outcomes;
                                                                    requireTrue(outcome, taken);
                                                                    asker.reset();
                                                                  }});
  world.advance(kDeletion.timeout + QuestionAsker::kLateness + QuestionAsker::kAgentTimeout);
  fuzz::require(outcomes == 1, "a question ends, once");
  return 0;
}
