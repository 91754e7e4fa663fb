#include "agent/AgentChannel.h"

#include <utility>

namespace quillard {

AgentChannel::AgentChannel(const AgentChannelDependencies& dependencies,
                           const QuestionsDependencies& questionsDependencies, QuestionsCallbacks questionsCallbacks,
                           AgentCommandActions actions, PhoneCommandActions phoneActions,
                           SuppressionCommandActions suppressionActions)
    : console(dependencies.console),
      openQuestions(questionsDependencies, std::move(questionsCallbacks)),
      questionCommands(openQuestions, dependencies.store),
      agentCommands(std::move(actions), dependencies.mainThread),
      phoneCommands(std::move(phoneActions), dependencies.mainThread),
      suppressionCommands(std::move(suppressionActions)),
      server(dependencies.localSockets, dependencies.mainThread) {
  questionCommands.addTo(server);
  agentCommands.addTo(server);
  phoneCommands.addTo(server);
  suppressionCommands.addTo(server);
}

AgentChannel::~AgentChannel() = default;

void AgentChannel::start() {
  if (server.start()) return;
  console.writeLine("No program can ask here: the socket for it cannot be made.");
}

void AgentChannel::stop() {
  openQuestions.stop();
  server.stop();
}

}  // namespace quillard
