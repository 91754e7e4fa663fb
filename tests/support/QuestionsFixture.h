#pragma once

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "channel/ChannelClient.h"
#include "questions/QuestionAsker.h"
#include "support/AgentWorld.h"

// An agent, and a program of the same user that speaks to it over the channel.
namespace quillard {

inline QuestionRequest deletion() {
  return {.question = "Delete the old backups?", .lines = {"214 GB"}, .buttons = {{"Delete"}, {"Cancel"}}};
}

// A program of the same user that asks.
class AskingProgram {
 public:
  explicit AskingProgram(samples::AgentWorld& agent, const std::string& name = "backup")
      : agent(agent),
        sockets(agent.world.socketFolder(), agent.world.time().mainThread(),
                {.process = {.processIdentifier = 4242,
                             .executable = "/usr/bin/" + name,
                             .programName = name,
                             .workingFolder = "/srv"}}) {}

  void ask(const QuestionRequest& request = deletion()) {
    asker = std::make_unique<QuestionAsker>(
        QuestionAskerDependencies{sockets, agent.world.time().mainThread(), agent.world.time()}, request,
        QuestionAskerEvents{.take = [](const AskOutcome&) { return true; },
                            .onOutcome = [this](const AskOutcome& given) { outcome = given; }});
    agent.advance(0.5);
  }
  void end() { asker.reset(); }
  // The answers to one line.
  std::string request(const std::string& line) {
    ChannelClient client(sockets, {.onMessage = [this](const auto& message) { received += message.json.dump() + "\n"; },
                                   .onEnd = [] {}});
    (void)client.open();
    received.clear();
    client.send(line);
    agent.advance(0.5);
    return received;
  }

  std::optional<AskOutcome> outcome;

 private:
  samples::AgentWorld& agent;
  platform::simulated::SimulatedLocalSockets sockets;
  std::string received;
  std::unique_ptr<QuestionAsker> asker;
};

class AppDelegateQuestions : public testing::Test {
 protected:
  samples::AgentWorld agent;
  AskingProgram program{agent};
};

}  // namespace quillard
