#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "foundation/StrictJson.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/ClockStamp.h"
#include "relay/InstallationSecrets.h"
#include "simulation/Chance.h"
#include "simulation/HostileRelay.h"
#include "simulation/Ledger.h"
#include "simulation/OpenedLists.h"
#include "simulation/Stage.h"

namespace quillard::simulation {

enum class PhoneKind {
  older,  // Seals what is to be pressed alone, and anew for each delivery.
  newer,  // Seals the decision's identifier and age with it, once, and sends the same box again.
};

// A phone and the person who holds it: genuine, but careless. It pairs with the computer, shows the newest list that
// reached it, and decides. Its own clock knows the world's time only by differences.
class Phone final : public PhoneLine {
 public:
  Phone(Stage& stage, HostileRelay& relay, Ledger& ledger, OpenedLists& lists, std::uint64_t seed, std::size_t number,
        PhoneKind kind);
  ~Phone() override;

  // Scans the code: another pairing begins, and all that was known of the earlier one goes.
  void pair(const InstallationSecrets& secrets);
  // Comes back by itself after it lost the connection, until told otherwise.
  void goOnline();
  void goOffline();
  // The page begins anew: what was shown and measured goes, open decisions stay with older phones alone.
  void reloadPage();

  // ---- What the person does. Nothing when nothing is shown.
  void decide();
  // Between the tap and the sending, this long.
  void decideLate(Seconds delay);
  void decideForWhatIsGone();
  void decideUnknownLabel();
  void decideAgain();
  // Another label than before, on a prompt that was decided already.
  void decideAgainst(const Uuid& approvalID, const std::string& label);
  void mute();
  void unmute();
  // These, whoever muted them.
  void unmuteAll(const std::set<Uuid>& kinds);
  // Presses something of this prompt.
  void decideFor(const PendingApproval& approval, const std::string& label);

  [[nodiscard]] bool isConnected() const { return connected; }
  [[nodiscard]] bool isPairedWith(const InstallationSecrets& with) const { return secrets && *secrets == with; }
  [[nodiscard]] const std::vector<PendingApproval>& shown() const { return list; }
  [[nodiscard]] bool hasList() const { return hasSnapshot; }
  [[nodiscard]] const std::string& name() const { return deviceID; }
  [[nodiscard]] PhoneKind kind() const { return itsKind; }
  // The newest decision that was sent, for whoever wants to disturb it. Absent: none.
  [[nodiscard]] std::optional<std::string> newestDecision() const;
  [[nodiscard]] const std::set<Uuid>& mutedKinds() const { return muted; }

  // A few times a second: reconnects, sends what is open, ends what is too old.
  void tick();

  void frameArrived(const std::string& frame) override;
  void lineEnded() override;

 private:
  struct Open {
    std::string decisionID;
    Uuid approvalID;
    std::string label;
    Seconds tappedAt{0};
    Json sealed;  // Of newer phones: the one box.
    Seconds sendAt{0};
    bool wasSentHere = false;  // Over the connection that is open.
  };
  // The agent's clock, as far as it is known here.
  struct AgentClock {
    Uuid epoch;
    double offset = 0;  // Milliseconds: the agent's clock less this phone's.
  };

  [[nodiscard]] Json sealed(const Json& content);
  [[nodiscard]] std::optional<std::string> opened(const Json& payload) const;
  void add(const Uuid& approvalID, const std::string& label, Seconds sendAfter);
  void sendOpen(Open& open);
  void sendSuppression(const char* action, const Uuid& kind);
  void learnClock(const ClockStamp& stamp);
  void learnClockOf(const Json& payload);
  void takeSnapshot(const Json& frame);
  void takeResult(const Json& frame);

  Stage& stage;
  HostileRelay& relay;
  Ledger& ledger;
  OpenedLists& lists;
  Chance chance;
  const std::string deviceID;
  const PhoneKind itsKind;
  platform::simulated::SimulatedRandom random;
  std::optional<InstallationSecrets> secrets;
  bool wantsToBeOnline = false;
  bool connected = false;
  Seconds reconnectAt{0};
  std::vector<PendingApproval> list;
  std::vector<PendingApproval> earlier;  // Shown once; bounded.
  bool hasSnapshot = false;
  std::optional<AgentClock> agentClock;
  std::vector<Open> openDecisions;
  std::set<Uuid> muted;
  int decisionCount = 0;
};

}  // namespace quillard::simulation
