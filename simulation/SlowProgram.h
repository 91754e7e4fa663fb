#pragma once

#include <memory>
#include <optional>

#include "channel/ChannelClient.h"
#include "platform/process/LocalSockets.h"
#include "questions/QuestionAsker.h"
#include "questions/QuestionRequest.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

// A program that speaks the channel itself: it asks once, is slow to say that it took the answer, and does not look for
// another agent. It acts on an answer only when that was confirmed.
class SlowProgram {
 public:
  // `hesitation`: how long after the answer it says that it took it. `sockets` and `stage` outlive this.
  SlowProgram(Stage& stage, platform::LocalSockets& sockets, const QuestionRequest& request, Seconds hesitation,
              QuestionAskerEvents events);
  ~SlowProgram();
  SlowProgram(const SlowProgram&) = delete;
  SlowProgram& operator=(const SlowProgram&) = delete;

 private:
  void received(const ChannelMessage& message);
  void finish(const AskOutcome& outcome);

  Stage& stage;
  const Seconds hesitation;
  const QuestionAskerEvents events;
  std::optional<AskOutcome> answer;  // Present once it is answered.
  bool isOver = false;
  ChannelClient client;
  const std::shared_ptr<const char> life = std::make_shared<const char>();  // Gone with this.
};

}  // namespace quillard::simulation
