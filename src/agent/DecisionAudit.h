#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "approvals/PendingApproval.h"
#include "approvals/SuppressionList.h"
#include "audit/AuditLog.h"
#include "foundation/Uuid.h"
#include "platform/process/Clock.h"
#include "questions/Questions.h"
#include "relay/RelayCommands.h"

namespace quillard {

// All of it outlives the audit.
struct DecisionAuditDependencies {
  AuditLog& log;
  const platform::Clock& clock;
  // Whether what prompts say is kept; else only a digest of it.
  std::function<bool()> keepsTexts;
};

// Writes down in the log what happens at the agent: each prompt once when it appears and once when it is over, and each
// decision before and after it is carried out.
//
// Who decides is known by the pairing; which phones of that pairing were connected is the relay's word, and their names
// are what they call themselves. A prompt that goes away without a phone was answered at the computer or has closed by
// itself: nobody can know which.
//
// Bounded: of what programs and phones can cause without end, `kMostAsked` prompts, and `kMostRefused` decisions that
// no prompt was there for, are written down in an hour; the others are counted. Main thread.
class DecisionAudit {
 public:
  static constexpr std::int64_t kMostAsked = 300;
  static constexpr std::int64_t kMostRefused = 30;
  static constexpr Seconds kWindow{3600};

  explicit DecisionAudit(DecisionAuditDependencies dependencies) : dependencies(std::move(dependencies)) {}

  // All that waits now.
  void approvalsChanged(const std::vector<PendingApproval>& current);
  // Nothing is known of windows any more: what was on the screen is over without anybody having answered it.
  void lostSight();

  // `approval`: what it is about. Null: there is no such prompt.
  void decisionBegan(const ApprovalRequestEnvelope& decision, const PendingApproval* approval,
                     const std::vector<std::string>& phones);
  void decisionEnded(const ApprovalRequestEnvelope& decision, const ApprovalResultCommand& result,
                     const std::vector<std::string>& phones);
  void questionEnded(const Uuid& id, const std::optional<QuestionAnswer>& answer, bool wasTaken,
                     std::optional<QuestionEnd> end);

  // `byWhom`: "phone", "computer" or "time". To be told before the prompts of that kind go.
  void suppressed(const Uuid& suppressionID, const SuppressedKind& kind, const std::optional<Date>& until,
                  std::string_view byWhom);
  void unsuppressed(const SuppressedKind& kind, std::string_view byWhom);
  // Its phones have no say any more: what they decided and is not over has no outcome.
  void pairingEnded(int pairing);
  // Of the agent itself. `note`: for people.
  void note(std::string_view event, const std::optional<Date>& until = std::nullopt, const std::string& note = {});

 private:
  struct Known {
    Uuid suppressionID;
    std::string program;
    std::string title;
    bool isAsked = false;  // By a program.
  };
  // How many of one sort were written down in the present hour.
  struct Window {
    Instant begin;
    std::int64_t count = 0;
    std::int64_t leftOut = 0;
  };

  [[nodiscard]] bool hasRoom(Window& window, std::int64_t most);
  [[nodiscard]] AuditEntry entryFor(std::string_view event, const Known& known, const Uuid& id) const;
  [[nodiscard]] AuditEntry entryFor(const PendingApproval& approval) const;
  void addTexts(const PendingApproval& approval, AuditEntry& entry) const;
  void add(AuditEntry entry, Window* window = nullptr);

  const DecisionAuditDependencies dependencies;
  std::map<Uuid, Known> known;   // Those that wait, or are being decided.
  std::map<Uuid, int> underWay;  // Being decided, and by which pairing.
  // The pairing by which the decision under way came, when that is not written down.
  std::optional<int> leftOutOf;
  Window asked;
  Window refused;
};

}  // namespace quillard
