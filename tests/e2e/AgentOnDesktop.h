#pragma once

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "approvals/PendingApproval.h"
#include "desktop/PrivateDesktop.h"
#include "e2e/InstalledAgent.h"
#include "e2e/TestRelay.h"

namespace quillard::test {

inline constexpr int kFirstButton = 10;  // The exit code of a sample program whose first button was pressed.

// For what takes a second on an idle machine, and used up by failures only: a busy one starts programs slowly, and the
// agent reads a slow program again and again.
inline constexpr std::chrono::seconds kLongestWait{90};

// The arguments of a sample program that shows a dialog.
[[nodiscard]] inline std::vector<std::string> prompt(const std::string& title, const std::vector<std::string>& buttons,
                                                     const std::vector<std::string>& more = {}) {
  std::vector<std::string> arguments{"--kind", "dialog", "--title", title, "--text", "May it go on?"};
  for (const auto& label : buttons) arguments.insert(arguments.end(), {"--button", label});
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

[[nodiscard]] inline std::optional<PendingApproval> titled(const std::vector<PendingApproval>& approvals,
                                                           const std::string& title) {
  const auto found = std::find_if(approvals.begin(), approvals.end(),
                                  [&](const PendingApproval& approval) { return approval.windowTitle == title; });
  return found == approvals.end() ? std::nullopt : std::optional{*found};
}

// The agent as a user has it, a process of its own, on a real desktop; relay and phones are fakes.
class AgentOnDesktop : public testing::Test {
 protected:
  explicit AgentOnDesktop(const PrivateDesktop::Options& options = {}) : desktop(options) {}

  void startAgent(PrivateDesktop::Variables more = {}) {
    more.insert(more.end(), {{"QUILLARD_RELAY_URL", relay.url()}, {"QUILLARD_PAIRING_ID", "office"}});
    agent.push_back(installed.start(more));
    ASSERT_TRUE(relay.waitForConnection()) << printed();
    relay.pairPhone(installed.endToEndSecret());
  }
  std::string printed() { return agent.back().output() + agent.back().errors(); }

  // What the phone shows of the prompt; a failure when it does not show up there.
  PendingApproval onPhone(const std::string& title) {
    return onPhone(title, [](const PendingApproval&) { return true; });
  }
  // The same, of the next prompt with that title, after one that the phone was shown already.
  PendingApproval onPhoneAfter(const PendingApproval& before) {
    return onPhone(before.windowTitle, [&](const PendingApproval& approval) { return approval.id != before.id; });
  }
  template <typename Condition>
  PendingApproval onPhone(const std::string& title, const Condition& isIt) {
    const auto list = relay.waitForList(
        [&](const auto& approvals) {
          const auto found = titled(approvals, title);
          return found && isIt(*found);
        },
        kLongestWait);
    EXPECT_TRUE(list) << title << "\n" << printed();
    return list ? *titled(*list, title) : PendingApproval{};
  }
  bool isGoneFromPhone(const std::string& title) {
    return relay.waitForList([&](const auto& approvals) { return !titled(approvals, title); }, kLongestWait)
        .has_value();
  }

  PrivateDesktop desktop;
  TestRelay relay;
  InstalledAgent installed{desktop, QUILLARD_PROGRAM, QUILLARD_INFORMATION};
  std::vector<DesktopProgram> agent;  // One at most, the newest last.
};

}  // namespace quillard::test
