#pragma once

#include "agent/AgentCommands.h"
#include "agent/PhoneCommands.h"
#include "agent/SuppressionCommands.h"
#include "approvals/ApprovalStore.h"
#include "channel/ChannelServer.h"
#include "platform/process/Console.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"
#include "questions/QuestionCommands.h"
#include "questions/Questions.h"

namespace quillard {

// All of it outlives the channel.
struct AgentChannelDependencies {
  platform::LocalSockets& localSockets;
  platform::SerialExecutor& mainThread;
  platform::Console& console;
  const ApprovalStore& store;
};

// How other programs of this user speak to the agent: what they may ask of it, and what they want to ask its user. A
// new command is a class with `addTo`, and a member here. Main thread.
class AgentChannel {
 public:
  AgentChannel(const AgentChannelDependencies& dependencies, const QuestionsDependencies& questionsDependencies,
               QuestionsCallbacks questionsCallbacks, AgentCommandActions actions, PhoneCommandActions phoneActions,
               SuppressionCommandActions suppressionActions);
  ~AgentChannel();
  AgentChannel(const AgentChannel&) = delete;
  AgentChannel& operator=(const AgentChannel&) = delete;

  // While this agent is the only one. Where it is not possible, a line says so, and the agent does without.
  void start();
  // Whoever waits is told that the agent ends.
  void stop();

  [[nodiscard]] Questions& questions() { return openQuestions; }
  [[nodiscard]] PhoneCommands& phones() { return phoneCommands; }

 private:
  platform::Console& console;
  Questions openQuestions;
  QuestionCommands questionCommands;
  AgentCommands agentCommands;
  PhoneCommands phoneCommands;
  SuppressionCommands suppressionCommands;
  ChannelServer server;  // Last: its sessions refer to the commands.
};

}  // namespace quillard
