#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/desktop/Accessibility.h"
#include "platform/process/Executors.h"

namespace quillard::platform {

// What a binding of `Accessibility` knows of the permission: the newest answer of its system, and how a fresh one is
// fetched while nothing waits for it. Each binding owns one, so that its three operations mean the same everywhere.
//
// An answer to an earlier question never replaces the answer to a later one, whichever comes first, and `unknown`
// replaces none: it is kept only to know that the system was asked.
class TrustAnswers {
 public:
  using OnAnswer = std::function<void(ProcessTrust trust)>;

  // `question` asks the system, and may wait for it; called from any thread, by several at a time. What it uses and
  // `executors` outlive this, which is destroyed on the main thread.
  TrustAnswers(std::function<ProcessTrust()> question, Executors& executors)
      : question(std::move(question)), executors(executors) {}

  // Waits. Any thread.
  ProcessTrust ask() {
    const std::uint64_t number = ++questions;
    const ProcessTrust trust = question();
    wasAnswered = true;
    if (trust == ProcessTrust::unknown) return trust;
    const std::uint64_t answer = number * 2 + (trust == ProcessTrust::granted ? 1 : 0);
    std::uint64_t known = newest.load();
    while (known < answer && !newest.compare_exchange_weak(known, answer)) {
    }
    return trust;
  }

  // Waits only when the system was never asked. Any thread.
  [[nodiscard]] ProcessTrust lastKnown() {
    if (!wasAnswered) return ask();
    const std::uint64_t known = newest.load();
    if (known == 0) return ProcessTrust::unknown;
    return known % 2 == 1 ? ProcessTrust::granted : ProcessTrust::denied;
  }

  // Main thread, and so is `onAnswer`, in a later turn; it never comes when this is destroyed first. At most one
  // question is under way: those who ask meanwhile share the one after it, so that a system that does not answer
  // collects no queue.
  void refresh(OnAnswer onAnswer) {
    refreshes->waiting.push_back(std::move(onAnswer));
    if (refreshes->asking.empty()) start();
  }

 private:
  struct Refreshes {  // Main thread only.
    std::vector<OnAnswer> asking;
    std::vector<OnAnswer> waiting;
  };

  void start() {
    refreshes->asking = std::exchange(refreshes->waiting, {});
    if (!queue) queue = executors.makeSerialQueue("quillard.accessibility-trust", QualityOfService::standard);
    queue->post([this, weak = std::weak_ptr(refreshes)] {
      const ProcessTrust trust = ask();
      executors.mainThread().post([this, weak, trust] {
        if (weak.lock()) finish(trust);
      });
    });
  }

  void finish(ProcessTrust trust) {
    const auto answered = std::exchange(refreshes->asking, {});
    if (!refreshes->waiting.empty()) start();
    for (const OnAnswer& onAnswer : answered) onAnswer(trust);
  }

  const std::function<ProcessTrust()> question;
  Executors& executors;
  std::atomic<std::uint64_t> questions{0};
  std::atomic<bool> wasAnswered{false};  // By anything, `unknown` included.
  std::atomic<std::uint64_t> newest{0};  // Twice the question's number, plus one for granted. 0: none but `unknown`.
  const std::shared_ptr<Refreshes> refreshes = std::make_shared<Refreshes>();
  std::unique_ptr<SerialExecutor> queue;  // Last, since its turn uses the rest. Made by the first refresh.
};

}  // namespace quillard::platform
