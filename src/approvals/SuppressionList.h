#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "approvals/ApprovalSuppressionStore.h"
#include "foundation/Uuid.h"
#include "platform/process/Clock.h"
#include "platform/storage/UserDefaults.h"
#include "values/Time.h"

namespace quillard {

// The key of the fingerprints of one run, see StableIDs.
using FingerprintKey = std::array<std::uint8_t, 16>;

// What is known of a kind of prompt that is suppressed. Empty texts: nothing.
struct SuppressedKind {
  std::string appName;
  std::string windowTitle;
  std::string program{};  // The executable that asked, of a question; such a kind has no fingerprint.
  bool operator==(const SuppressedKind&) const = default;
};

struct Suppression {
  Uuid id;
  SuppressedKind kind;
  Date since;
  std::optional<Date> until{};  // Absent: until it is undone, or until the agent ends.
  bool endsWithRun = false;
  bool operator==(const Suppression&) const = default;
};

// How long a suppression is to last.
struct SuppressionEnd {
  std::optional<Seconds> after{};
  bool withRun = false;  // Without `after`: until the agent ends. Neither: until it is undone.

  static SuppressionEnd never() { return {}; }
  static SuppressionEnd afterTime(Seconds time) { return {.after = time}; }
  static SuppressionEnd whenTheAgentEnds() { return {.withRun = true}; }
};

// What people are told of the kinds of prompts that are suppressed, and when these end: kept from run to run, beside
// the identifiers in ApprovalSuppressionStore, which is what detection goes by.
//
// Identifiers are fingerprints under the key of the run in which they were made. So that a suppression holds in the
// next run, that key is kept with it, and prompts are compared under it as well.
//
// One with an end goes by itself: when the wall clock shows that moment, or earlier when so much time has passed by the
// clock that counts the computer's sleep, as it was to last when its end was chosen. So a clock that is set back does
// not keep a prompt from being shown, and each run of the agent counts anew; one that is set forth shows it early.
//
// Bounded as the store: of more than its `kMost`, the oldest goes; and of more than `kMostKeys` earlier runs, those of
// the oldest. Main thread.
class SuppressionList {
 public:
  static constexpr std::string_view key = "quillard.suppressions";
  static constexpr std::size_t kMostKeys = 64;

  // All of it outlives this.
  SuppressionList(ApprovalSuppressionStore& store, platform::UserDefaults& defaults, const platform::Clock& clock)
      : store(store), defaults(defaults), clock(clock) {}

  // Takes over what earlier runs left and has not ended; `ownKey`: of this run. Once, by an agent that is the only one.
  void open(const FingerprintKey& ownKey);

  // One that is suppressed already begins anew.
  void suppress(const Uuid& id, const SuppressedKind& kind, const SuppressionEnd& end);
  // False: it is not suppressed.
  bool unsuppress(const Uuid& id);
  // False: it is not suppressed.
  bool setEnd(const Uuid& id, const SuppressionEnd& end);
  // To be called every few seconds. Those that have ended.
  std::vector<Suppression> takeEnded();

  // Newest first.
  [[nodiscard]] std::vector<Suppression> all() const;
  // Whether there was any in this run.
  [[nodiscard]] bool wasUsed() const { return hasBeenUsed; }
  // Each once, newest first.
  [[nodiscard]] std::vector<FingerprintKey> earlierKeys() const;

 private:
  struct Entry {
    Suppression suppression;
    std::optional<FingerprintKey> fingerprints;       // Absent: of a question.
    std::optional<Date> endSince;                     // When its end was chosen; absent in what older builds stored.
    std::optional<std::chrono::milliseconds> endsAt;  // By the continuous clock.
  };

  [[nodiscard]] std::optional<Entry> readEntry(std::string_view text) const;
  void apply(Entry& entry, const SuppressionEnd& end) const;
  [[nodiscard]] bool hasEnded(const Entry& entry) const;
  void forgetOldestKeys();
  void save() const;

  ApprovalSuppressionStore& store;
  platform::UserDefaults& defaults;
  const platform::Clock& clock;
  FingerprintKey ownKey{};
  std::vector<Entry> entries;  // Oldest first.
  bool hasBeenUsed = false;
};

}  // namespace quillard
