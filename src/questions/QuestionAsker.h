#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "channel/ChannelClient.h"
#include "platform/process/Clock.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"
#include "questions/QuestionRequest.h"
#include "questions/Questions.h"

namespace quillard {

// What came of asking.
struct AskOutcome {
  enum class Kind {
    answered,  // And the agent confirmed that the answer was taken.
    notTaken,  // There was an answer, but it could not be handed over, or the agent did not confirm it. It counts not.
    ended,     // The agent says why: `end`.
    noAgent,   // None runs, or it went away and none came in its place.
    refused,   // The agent did not understand: `message`.
  };
  Kind kind = Kind::noAgent;
  std::string label;      // When answered.
  std::size_t index = 0;  // Of that label among the buttons.
  std::string by;         // When answered: "phone", "computer" or "timeout".
  QuestionEnd end{};
  std::string message;  // For people; empty when answered.
};

// What an asker reports. Neither is empty.
struct QuestionAskerEvents {
  // The answer, before the agent learns that it was taken, and which counts only when the outcome says so, too. False:
  // it cannot be taken, and the question ends as if the program had gone.
  std::function<bool(const AskOutcome&)> take;
  // Once, in a turn of its own; it may destroy the asker.
  std::function<void(const AskOutcome&)> onOutcome;
};

// What an asker acts through. All of it outlives the asker.
struct QuestionAskerDependencies {
  platform::LocalSockets& sockets;
  platform::SerialExecutor& mainThread;
  const platform::Clock& clock;
};

// Asks the agent one question and waits for what comes of it. An agent that goes away meanwhile is waited for, for
// `kAgentTimeout`, and the one that takes its place is asked anew, for the time that is left. An agent that is silent
// past the end of the question counts as gone.
//
// An answer counts when the agent has confirmed, with "done", that it was taken: one that this process reads too late,
// since it was stopped meanwhile, was reported as failed to whoever gave it.
//
// States: asking -> answered -> confirming; it ends in each of them.
//
// Destroying it takes the question back. Main thread.
class QuestionAsker {
 public:
  static constexpr Seconds kAgentTimeout{10};
  static constexpr Seconds kRetryInterval{0.25};
  // An answer that nobody gave comes from the agent, which may need a moment.
  static constexpr Seconds kLateness{15};
  // How long the agent may take to confirm.
  static constexpr Seconds kConfirmTimeout{5};

  QuestionAsker(const QuestionAskerDependencies& dependencies, QuestionRequest request, QuestionAskerEvents events);
  ~QuestionAsker();
  QuestionAsker(const QuestionAsker&) = delete;
  QuestionAsker& operator=(const QuestionAsker&) = delete;

 private:
  void connect();
  void received(const ChannelMessage& message);
  void answered(JsonReader& reader);
  void take();
  void ended(JsonReader& reader);
  void notTaken(std::string message);
  void lost();
  void finish(const AskOutcome& outcome);

  const QuestionAskerDependencies dependencies;
  QuestionRequest request;
  const QuestionAskerEvents events;
  const Instant deadline;
  std::optional<Instant> lostAt;     // Present while an agent is waited for that was there before.
  std::optional<AskOutcome> answer;  // Present once it is answered.
  bool isConfirming = false;         // It was handed over.
  std::unique_ptr<ChannelClient> client;
  platform::TaskHandle next;  // The next step.
  platform::TaskHandle lateness;
};

}  // namespace quillard
