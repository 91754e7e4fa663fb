#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "approvals/PendingApproval.h"
#include "channel/ChannelClient.h"
#include "platform/simulated/SimulatedLocalSockets.h"
#include "questions/QuestionAsker.h"
#include "simulation/AgentProcess.h"
#include "simulation/Chance.h"
#include "simulation/Ledger.h"
#include "simulation/SlowProgram.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

// How questions ended, and how often.
using QuestionCounts = std::map<std::string, std::size_t>;

// Programs without a window that ask over the channel as `quillard ask` does, or are slow to take their answers, are
// killed while they wait, and ask far too much at a time; and the person at the computer, who answers some of them
// there. What must hold of their questions, whatever happens to the agent meanwhile, is judged here:
//
// - Every question of a program that lives ends, once, and no later than its time and that of the rules allow.
// - What a program is told was decided: on a phone, by a tap for that very question, under the identity that it has,
//   that reached the agent; at the computer; or by nobody, when its time was over. It is told once.
// - A phone is told "accepted" only of what its program took, and of one label of a question at the most; and a program
//   that acts on what one tap chose means that this tap was not told "failed".
// - Why a question ended is true: its time was over, alerts were paused, its program was muted, too much was asked, no
//   phone could be told when it was asked or until its time was over, or the agent was gone.
// - No list names more questions of a program, or altogether, than the rules allow, nor one question twice; and what is
//   over, or is taken back by the end of its program, leaves the list soon.
//
// It draws from a stream of its own.
class AskingPrograms {
 public:
  // All of it outlives this.
  AskingPrograms(Stage& stage, Ledger& ledger, const AgentProcess& process, std::uint64_t seed);
  ~AskingPrograms();
  AskingPrograms(const AskingPrograms&) = delete;
  AskingPrograms& operator=(const AskingPrograms&) = delete;

  // Something may happen; to be called often, from outside any turn. `isConnected`: the agent has a connection over
  // which it can say what has changed.
  void tick(bool isConnected);
  // Nothing more is asked from now on.
  void calmDown() { isCalm = true; }
  // After a quiet time that is longer than every question.
  void expectAllEnded();

  // ---- What the judge has read of what the agent sends.
  // Whether an approval stands for a question, by what it shows.
  [[nodiscard]] static bool isQuestion(const PendingApproval& approval);
  void listed(const std::vector<PendingApproval>& approvals);
  // The newest list counts no more: there is another connection, or none.
  void agentWasCutOff() { onList.clear(); }
  // The agent has to be asked anew, under other identities.
  void agentStarted() { agentWasCutOff(); }
  void kindWasMuted(const Uuid& suppressionID) { mutedKinds.insert(suppressionID); }
  // Whether a decision is about a question that was listed.
  [[nodiscard]] bool isAbout(const TapDecision& decision) const { return questionOf.contains(decision.approvalID); }
  void judgeAnswer(const TapDecision& decision, const std::string& status);

  [[nodiscard]] const QuestionCounts& ends() const { return counts; }

 private:
  struct Asked;

  void ask(std::size_t program);
  void killOne();
  void answerAtComputer();
  void answerOneOf(const ChannelMessage& list);
  [[nodiscard]] bool took(std::size_t number, const AskOutcome& outcome);
  void ended(std::size_t number, const AskOutcome& outcome);
  void judgeOutcome(const Asked& asked, const AskOutcome& outcome);
  [[nodiscard]] bool wasTapped(std::size_t number, const std::string& label) const;
  void judgeEnd(const Asked& asked, const AskOutcome& outcome);
  // Once both are known, in whichever order.
  void expectAgreement(std::size_t number, const TapDecision& decision, const std::string& status);
  [[nodiscard]] bool mayEndWithoutPhone(const Asked& asked) const;
  [[nodiscard]] bool mayBeTooMany(const Asked& asked) const;
  [[nodiscard]] bool mayBeMuted(const Asked& asked) const;
  void expectEndsInTime();
  void expectNothingThatIsOver();

  Stage& stage;
  Ledger& ledger;
  const AgentProcess& process;
  Chance chance;
  std::vector<std::unique_ptr<Asked>> questions;
  std::set<std::size_t> waiting;                // Numbers of those that have not ended.
  std::map<Uuid, std::size_t> questionOf;       // By the identities under which they were listed.
  std::map<std::size_t, Uuid> identityOf;       // The newest of these, by question.
  std::set<std::size_t> onList;                 // The newest list that reached the relay.
  std::set<Uuid> mutedKinds;                    // Ever.
  std::map<Uuid, std::size_t> programOfKind;    // As lists have said.
  Seconds pausedAt{-1};                         // When alerts were last seen to be paused. Negative: never.
  std::map<std::size_t, std::string> accepted;  // The label that a phone was told of, by question.
  platform::simulated::SimulatedLocalSockets personsSockets;
  std::unique_ptr<ChannelClient> person;  // What the person does at the computer now.
  QuestionCounts counts;
  Seconds nextAt{0};
  bool isCalm = false;
};

}  // namespace quillard::simulation
