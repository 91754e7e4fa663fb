#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "approvals/ApprovalStore.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/VirtualTime.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;

constexpr int kGrace = 8;  // Seconds.

// What the store promises, said of one fingerprint at a time: whole seconds, and identities numbered as they are given.
struct PromptModel {
  enum class State { current, retained, gone };
  State state = State::gone;
  int identity = 0;
  int detectedAt = 0;
  int lastSeen = 0;
  int retainedUntil = 0;
};

struct StoreModel {
  int now = 0;
  int identitiesGiven = 0;
  std::map<std::uint64_t, PromptModel> prompts;

  void lapse() {
    for (auto& [fingerprint, prompt] : prompts) {
      if (prompt.state == PromptModel::State::retained && prompt.retainedUntil <= now) {
        prompt.state = PromptModel::State::gone;
      }
    }
  }

  void see(std::uint64_t fingerprint) {
    auto& prompt = prompts[fingerprint];
    if (prompt.state == PromptModel::State::gone) prompt.identity = ++identitiesGiven;
    if (prompt.state != PromptModel::State::current) prompt.detectedAt = now;
    prompt.state = PromptModel::State::current;
    prompt.lastSeen = now;
  }

  void sweep() {
    for (auto& [fingerprint, prompt] : prompts) {
      if (prompt.state == PromptModel::State::current && now - prompt.lastSeen > kGrace) {
        prompt.state = PromptModel::State::gone;
      }
    }
  }
};

// The store beside the model, and the identities that they have agreed on so far.
class Pair {
 public:
  void advance(int seconds) {
    time.advance(Seconds{static_cast<double>(seconds)});
    model.now += seconds;
  }

  void replace(const std::vector<std::uint64_t>& fingerprints) {
    std::vector<PendingApproval> records;
    for (const auto fingerprint : fingerprints) {
      records.push_back(samples::approval(fingerprint));
      records.back().detectedAt = time.now();
      records.back().suppressionID = samples::uuid(fingerprint % 3);
      records.back().windowFrame.x = static_cast<double>(fingerprint);
    }
    store.replace(records);
    model.lapse();
    for (const auto fingerprint : fingerprints) model.see(fingerprint);
    model.sweep();
  }

  void remove(std::uint64_t fingerprint, std::optional<int> retention) {
    auto& prompt = model.prompts[fingerprint];
    if (prompt.state != PromptModel::State::current) return;
    store.remove(identities.at(prompt.identity),
                 retention ? std::optional{Seconds{static_cast<double>(*retention)}} : std::nullopt);
    const int period = retention.value_or(kGrace);
    prompt.state = period > 0 ? PromptModel::State::retained : PromptModel::State::gone;
    prompt.retainedUntil = model.now + period;
  }

  void removeSuppressed(std::uint64_t suppression) {
    store.removeSuppressed(samples::uuid(suppression));
    for (auto& [fingerprint, prompt] : model.prompts) {
      if (prompt.state == PromptModel::State::current && fingerprint % 3 == suppression) {
        prompt.state = PromptModel::State::gone;
      }
    }
  }

  void compare() {
    const auto all = store.all();
    RC_ASSERT(std::is_sorted(all.begin(), all.end(),
                             [](const auto& a, const auto& b) { return a.detectedAt < b.detectedAt; }));
    std::map<std::uint64_t, PendingApproval> byFingerprint;
    for (const auto& approval : all) byFingerprint[fingerprintOf(approval)] = approval;
    std::size_t current = 0;
    for (const auto& [fingerprint, prompt] : model.prompts) {
      if (prompt.state != PromptModel::State::current) continue;
      ++current;
      RC_ASSERT(byFingerprint.count(fingerprint) == 1U);
      const auto& approval = byFingerprint[fingerprint];
      const auto [known, isNew] = identities.emplace(prompt.identity, approval.id);
      RC_ASSERT(known->second == approval.id);
      if (isNew) RC_ASSERT(given.insert(approval.id).second);
      RC_ASSERT(approval.detectedAt == advanced(start, Seconds{static_cast<double>(prompt.detectedAt)}));
      RC_ASSERT(store.approval(approval.id) == approval);
    }
    RC_ASSERT(all.size() == current);
  }

 private:
  // The records say by their place which fingerprint they came under, since the store hides it.
  static std::uint64_t fingerprintOf(const PendingApproval& approval) {
    return static_cast<std::uint64_t>(approval.windowFrame.x);
  }

  platform::simulated::VirtualTime time{Seed{3}};
  platform::simulated::SimulatedRandom random{Seed{3}};
  ApprovalStore store{Seconds{kGrace}, time, random};
  Date start = time.now();
  StoreModel model;
  std::map<int, Uuid> identities;
  std::set<Uuid> given;
};

RC_GTEST_PROP(ApprovalStoreModel, AgreesWithAPlainModelOverRandomHistories, ()) {
  Pair pair;
  const auto steps = *rc::gen::inRange(1, 60);
  for (int step = 0; step < steps; ++step) {
    switch (*rc::gen::inRange(0, 6)) {
      case 0:
        pair.advance(*rc::gen::inRange(0, 12));
        break;
      case 1:
        pair.remove(*rc::gen::inRange<std::uint64_t>(0, 6), std::nullopt);
        break;
      case 2:
        pair.remove(*rc::gen::inRange<std::uint64_t>(0, 6), *rc::gen::inRange(-1, 12));
        break;
      case 3:
        pair.removeSuppressed(*rc::gen::inRange<std::uint64_t>(0, 3));
        break;
      default:
        pair.replace(*rc::gen::container<std::vector<std::uint64_t>>(rc::gen::inRange<std::uint64_t>(0, 6)));
    }
    pair.compare();
  }
}

}  // namespace
}  // namespace quillard
