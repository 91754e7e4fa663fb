#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/DecisionAudit.h"
#include "approvals/ApprovalStore.h"
#include "approvals/ApprovalSuppressionStore.h"
#include "approvals/SuppressionList.h"
#include "platform/process/Clock.h"
#include "platform/storage/UserDefaults.h"
#include "questions/Questions.h"
#include "relay/PhoneReports.h"
#include "relay/RelayCommands.h"

namespace quillard {

// All of it outlives this.
struct PromptSuppressionsDependencies {
  ApprovalSuppressionStore& store;
  platform::UserDefaults& userDefaults;
  const platform::Clock& clock;
  ApprovalStore& approvals;
  DecisionAudit& audit;
  std::function<Questions&()> questions;  // Asked for when it is needed first.
};

// What it means for the others. None is empty.
struct PromptSuppressionsCallbacks {
  std::function<void()> onSuppressed;    // Prompts may have left the store.
  std::function<void()> onUnsuppressed;  // Prompts of that kind may be on the screen.
  std::function<void()> onListChanged;   // Phones and the window are to be told.
};

// What phones and people at the computer mute, and for how long. Main thread.
class PromptSuppressions {
 public:
  PromptSuppressions(const PromptSuppressionsDependencies& dependencies, PromptSuppressionsCallbacks callbacks)
      : dependencies(dependencies),
        callbacks(std::move(callbacks)),
        list(dependencies.store, dependencies.userDefaults, dependencies.clock) {}

  // See SuppressionList; the keys of earlier runs under which prompts are to be recognised.
  [[nodiscard]] std::vector<FingerprintKey> open(const FingerprintKey& ownKey);

  // A phone's. One that does not say how long it lasts is of a phone that knows of no end: it lasts until the agent
  // ends, and other phones hear of it with the next list, as they always did.
  void handle(const ApprovalSuppressionCommand& command);
  // Somebody at the computer. False: it is not suppressed.
  bool undo(const Uuid& id);
  bool setEnd(const Uuid& id, const SuppressionEnd& end);
  // To be called every few seconds.
  void endDue();

  [[nodiscard]] std::vector<Suppression> all() const { return list.all(); }
  // For the phones. Absent: there was none in this run.
  [[nodiscard]] std::optional<SuppressionReports> reports() const;
  // Counts the changes that phones have to hear of; see ComputerState.
  [[nodiscard]] std::int64_t revision() const { return changes; }

 private:
  void suppress(const ApprovalSuppressionCommand& command);
  bool unsuppress(const Uuid& id, std::string_view byWhom);
  [[nodiscard]] SuppressedKind kindOf(const Uuid& suppressionID) const;
  [[nodiscard]] std::optional<Suppression> find(const Uuid& id) const;
  void changed();

  const PromptSuppressionsDependencies dependencies;
  const PromptSuppressionsCallbacks callbacks;
  SuppressionList list;
  std::int64_t changes = 0;
};

}  // namespace quillard
