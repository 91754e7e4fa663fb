#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "relay/InstallationSecrets.h"
#include "simulation/AgentProcess.h"
#include "simulation/AskingPrograms.h"
#include "simulation/DesktopLife.h"
#include "simulation/Identities.h"
#include "simulation/Ledger.h"
#include "simulation/OpenedLists.h"
#include "simulation/Phone.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

// What must hold whatever happens. It goes by what really happened on the desktop, by what persons decided and by what
// the agent sent, and never asks the agent. Each breach is reported to the stage, with what broke.
//
// - A button is pressed only when a genuine decision for that appearance named it, which reached the agent before, not
//   later than a minute after the tap where the phone could tell; and nothing more is pressed once it was answered,
//   nor while an earlier press may still take effect.
// - A prompt that requires direct access is dismissed at most, never approved.
// - All answers to one decision are the same. "Accepted": that appearance has gone, and a button of it was pressed.
//   "Not found", "requires direct access": nothing was pressed for it; "not found": and it was not on the screen all
//   the time. "Failed": not when it was plain to see that the press worked, even when its program has fallen silent
//   since.
// - A list names what is on the screen; a prompt that stays keeps its place and identity, and an identity that has
//   ended never comes back and never stands for another appearance. A list that is too long says so, and sheds the
//   huge ones only.
// - A phone that stays connected ends with exactly what is on the screen.
// - No secret and no text of a prompt leaves in clear.
class Judge {
 public:
  Judge(Stage& stage, const DesktopLife& life, const AgentProcess& process, const Identities& identities,
        Ledger& ledger, OpenedLists& lists);
  // Where programs ask, who judges of their questions; it outlives this. None do otherwise.
  void setAskingPrograms(AskingPrograms& asking) { programs = &asking; }
  Judge(const Judge&) = delete;
  Judge& operator=(const Judge&) = delete;

  // ---- What happens, as it happens.
  void agentSent(const std::string& frame, const InstallationSecrets& secrets);
  void unknownAgentSent(const std::string& frame) { expectNoSecrets(frame, "a frame"); }
  void agentAsked(const platform::HttpRequest& request);
  void pressed(const AgentPress& press);
  // What may make the list differ from the screen for a while.
  void kindWasMuted(const Uuid& suppressionID) {
    mutedKinds.insert(suppressionID);
    if (programs) programs->kindWasMuted(suppressionID);
  }
  void kindsAreUnmuted() { mutedKinds.clear(); }
  [[nodiscard]] const std::set<Uuid>& mutedKindsEver() const { return mutedKinds; }
  // The agent could not see the desktop until now, which does not excuse a list without what is on it.
  void viewWasDisturbed() { disturbedAt = stage.now(); }
  // The agent had to forget the list: without the permission it may not show anything.
  void listWasForgotten() {
    viewWasDisturbed();
    forgottenAt = stage.now();
  }
  void agentStarted();
  // What it answers from now on may reach nobody, until the phone asks again.
  void agentWasCutOff() {
    cutOffAt = stage.now();
    if (programs) programs->agentWasCutOff();
  }
  // A decision that the agent's process answered before it died is not known to the next one.
  void consoleLines(const std::vector<std::string>& lines);

  // ---- At the end of a quiet time, in which nothing went wrong and everybody is connected.
  void expectConvergence(const Phone& phone);

  // Decisions that are under way: delivered and not answered yet.
  [[nodiscard]] std::vector<std::size_t> underWay() const;
  // The appearance that an identity stands for. Absent: not known yet.
  [[nodiscard]] std::optional<std::size_t> appearanceOf(const Uuid& approvalID) const;
  // What the world saw happen, to show that it was no idle one.
  [[nodiscard]] const std::map<std::string, std::size_t>& outcomes() const { return answersByStatus; }
  [[nodiscard]] std::size_t presses() const { return pressCount; }
  // Lists that said that they are not whole.
  [[nodiscard]] std::size_t incompleteLists() const { return incompleteCount; }

 private:
  struct Identity {
    std::vector<std::size_t> candidates;  // Appearances that it may stand for; fewer and fewer, one most often.
    Uuid suppressionID;
    std::string title;
    Seconds lastListed{0};
    bool isHuge = false;  // Too large for a list that names others of its size as well.
    bool isListed = true;
    std::optional<Seconds> left{};
    bool mayComeBack = false;  // It left for a reason that has nothing to do with the prompt.
  };

  void takeSnapshot(const Json& frame, const InstallationSecrets& secrets);
  void takeResult(const Json& frame, const InstallationSecrets& secrets);
  void listed(const PendingApproval& approval);
  void expectWholeUnlessMarked(const std::set<Uuid>& present, bool isIncomplete);
  void expectSameAppearance(const Identity& identity, const PendingApproval& approval);
  void left(const Uuid& id, Identity& identity);
  [[nodiscard]] bool mayStillBeListed(const Appearance& gone) const;
  [[nodiscard]] std::vector<std::size_t> candidatesOf(const PendingApproval& approval) const;
  void judgePress(const AgentPress& press);
  // What the agent may have meant, as it stands now and as it stood when a mouse went down or a request left.
  [[nodiscard]] std::vector<AgentPress> meaningsOf(const AgentPress& press) const;
  [[nodiscard]] bool wasUnderWay(const AgentPress& press, Seconds change) const;
  // Those that the agent may be carrying out, in the order in which it takes them.
  [[nodiscard]] std::vector<TapDecision*> openDecisionsFor(const AgentPress& press) const;
  // Of these, the ones that it may have come to: the first, and each after one whose answer may have been lost.
  [[nodiscard]] std::vector<TapDecision*> begunOf(const std::vector<TapDecision*>& open) const;
  [[nodiscard]] bool fits(const TapDecision& decision, const AgentPress& press) const;
  struct PressConditions {
    bool isAlone = false;    // No other decision is open for what was pressed.
    bool wasPrompt = false;  // The program answered in time.
  };
  void takePress(TapDecision& decision, const AgentPress& press, const PressConditions& conditions);
  void judgeAnswer(const TapDecision& decision, const std::string& status, const std::string& error);
  void judgeNotPressed(const TapDecision& decision, const std::string& status);
  [[nodiscard]] bool isPlainlyThere(const TapDecision& decision) const;
  void expectNoSecrets(const std::string& text, const char* where);
  [[nodiscard]] bool viewWasClearSince(Seconds time) const { return !disturbedAt || *disturbedAt < time; }

  Stage& stage;
  const DesktopLife& life;
  const AgentProcess& process;
  const Identities& identities;
  Ledger& ledger;
  OpenedLists& lists;
  AskingPrograms* programs = nullptr;
  std::map<Uuid, Identity> byID;
  std::set<Uuid> mutedKinds;
  std::optional<Seconds> disturbedAt;
  std::optional<Seconds> forgottenAt;
  std::optional<Seconds> cutOffAt;
  std::map<std::size_t, std::vector<AgentPress>> pressesByAppearance;
  std::map<std::string, std::size_t> answersByStatus;
  std::size_t pressCount = 0;
  std::size_t incompleteCount = 0;
  std::size_t linesPrinted = 0;
};

}  // namespace quillard::simulation
