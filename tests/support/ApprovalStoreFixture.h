#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/ApprovalStore.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/VirtualTime.h"
#include "support/SampleApprovals.h"

namespace quillard::test {

// A store whose prompts are kept for eight seconds.
class ApprovalStoreFixture : public testing::Test {
 protected:
  // A record as a scan at this moment would give it.
  PendingApproval scanned(std::uint64_t fingerprint) {
    auto record = samples::approval(fingerprint);
    record.detectedAt = time.now();
    return record;
  }
  PendingApproval only() {
    const auto all = store.all();
    EXPECT_EQ(all.size(), 1U);
    return all.empty() ? PendingApproval{} : all.front();
  }

  platform::simulated::VirtualTime time{platform::simulated::Seed{7}};
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{7}};
  ApprovalStore store{Seconds{8}, time, random};
};

struct NumberedWindow final : platform::AXElementReference {
  explicit NumberedWindow(int number) : number(number) {}
  [[nodiscard]] bool isEqual(const AXElementReference& other) const override {
    return dynamic_cast<const NumberedWindow&>(other).number == number;
  }
  [[nodiscard]] std::size_t hashValue() const override { return static_cast<std::size_t>(number); }
  const int number;
};

// The same, with windows and processes.
class ApprovalStoreWindowFixture : public ApprovalStoreFixture {
 protected:
  static constexpr std::int32_t kProcess = 412;

  PendingApproval shownIn(int window, std::uint64_t fingerprint = 1, std::int32_t process = kProcess) {
    auto record = scanned(fingerprint);
    record.window = platform::AXUIElement{std::make_shared<NumberedWindow>(window)};
    record.processIdentifier = process;
    return record;
  }
  static ScanOutcome unread(std::vector<std::int32_t> processes, std::vector<PendingApproval> approvals = {}) {
    ScanOutcome outcome;
    outcome.approvals = std::move(approvals);
    outcome.unreadProcesses = std::move(processes);
    return outcome;
  }
  static ScanOutcome unseen() {
    ScanOutcome outcome;
    outcome.failure = platform::DesktopReadFailure::applicationList;
    return outcome;
  }
  void passAnHour(const ScanOutcome& outcome) {
    for (int i = 0; i < 360; ++i) {
      time.advance(Seconds{10});
      (void)store.merge(outcome);
    }
  }
};

}  // namespace quillard::test
