#pragma once

#include <memory>

#include "approvals/ApprovalStore.h"
#include "channel/ChannelServer.h"
#include "foundation/CallbackScope.h"
#include "questions/Questions.h"

namespace quillard {

// What other programs of this user ask of the questions over the channel: "ask", which is answered when the question
// ends and is taken back with its connection; "questions", the list of those that wait; and "answer", by whoever sits
// at the computer. Main thread.
class QuestionCommands {
 public:
  // Both outlive this, and the server every call of its commands.
  QuestionCommands(Questions& questions, const ApprovalStore& store) : questions(questions), store(store) {}

  // Adds them to `server`, which is stopped before this is destroyed.
  void addTo(ChannelServer& server);

 private:
  void ask(const std::shared_ptr<ChannelSession>& session, JsonReader& reader);
  void list(const std::shared_ptr<ChannelSession>& session);
  void answer(const std::shared_ptr<ChannelSession>& session, JsonReader& reader);

  Questions& questions;
  const ApprovalStore& store;
};

}  // namespace quillard
