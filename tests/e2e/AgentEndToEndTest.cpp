#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "desktop/ClientList.h"
#include "e2e/AgentOnDesktop.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCommands.h"
#include "relay/RelayCrypto.h"
#include "support/MachineLoad.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;
using test::kFirstButton;
using test::prompt;

class AgentEndToEnd : public test::AgentOnDesktop {};

TEST_F(AgentEndToEnd, APhonePressesTheButtonsOfRealDialogs) {
  startAgent();
  const std::vector<std::string> labels{"Don’t Allow", "Don't Allow", "Allow"};
  int round = 0;
  for (const std::string program : {"gtk3_prompt", "gtk4_prompt", "qt_prompt"}) {
    for (std::size_t chosen = 0; chosen < labels.size(); ++chosen) {
      const std::string title = "Question " + std::to_string(++round);
      auto dialog = desktop.launch(program, prompt(title, labels));
      const auto approval = onPhone(title);
      EXPECT_EQ(approval.messageLines, std::vector<std::string>{"May it go on?"});
      const auto decision = relay.decide(approval.id, labels[chosen]);
      EXPECT_EQ(dialog.wait(), kFirstButton + static_cast<int>(chosen)) << program << ", " << labels[chosen];
      const auto result = relay.waitForResult(decision);
      ASSERT_TRUE(result) << printed();
      EXPECT_EQ(result->status, kAcceptedStatus) << result->error.value_or("");
      EXPECT_TRUE(isGoneFromPhone(title));
      EXPECT_EQ(relay.resultCount(decision), 1U);
    }
  }
}

TEST_F(AgentEndToEnd, APasswordPromptCanBeDeniedFromAfarButNotApproved) {
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", prompt("Unlock", {"Cancel", "OK"}, {"--password", "Password"}));
  const auto approval = onPhone("Unlock");
  EXPECT_TRUE(approval.requiresDirectAccess);
  const auto refused = relay.waitForResult(relay.decide(approval.id, "OK"));
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->status, kRequiresDirectAccessStatus);
  EXPECT_TRUE(dialog.isRunning());
  const auto denied = relay.waitForResult(relay.decide(approval.id, "Cancel"));
  ASSERT_TRUE(denied);
  EXPECT_EQ(denied->status, kAcceptedStatus);
  EXPECT_EQ(dialog.wait(), kFirstButton);
}

TEST_F(AgentEndToEnd, APromptThatGoesByItselfLeavesThePhoneAndAnswersNotFound) {
  startAgent();
  auto dialog = desktop.launch("qt_prompt", prompt("Fleeting", {"No", "Yes"}));
  const auto approval = onPhone("Fleeting");
  dialog.kill();
  EXPECT_TRUE(relay.waitForList([](const auto& approvals) { return approvals.empty(); }, 30s));
  const auto result = relay.waitForResult(relay.decide(approval.id, "Yes"));
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, kNotFoundStatus);
}

TEST_F(AgentEndToEnd, ARepeatedDecisionIsAnsweredAgainWithoutASecondPress) {
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", prompt("Once", {"No", "Yes"},
                                                     {"--successor", "Twice", "--successor-text", "Really?",
                                                      "--successor-button", "No", "--successor-button", "Yes"}));
  const auto approval = onPhone("Once");
  const auto decision = relay.decide(approval.id, "Yes");
  ASSERT_TRUE(relay.waitForResult(decision));
  const auto successor = onPhone("Twice");
  relay.decideAgain(decision, approval.id, "Yes");
  EXPECT_TRUE(test::waitFor([&] { return relay.resultCount(decision) == 2; }));
  EXPECT_TRUE(dialog.isRunning());
  const auto last = relay.waitForResult(relay.decide(successor.id, "No"));
  ASSERT_TRUE(last);
  EXPECT_EQ(last->status, kAcceptedStatus) << last->error.value_or("");
  EXPECT_EQ(dialog.wait(), kFirstButton);
}

TEST_F(AgentEndToEnd, ARelayThatForgesAndAltersDecisionsGetsNothingPressed) {
  startAgent();
  auto dialog = desktop.launch("gtk3_prompt", prompt("Kept", {"No", "Yes"}));
  const auto approval = onPhone("Kept");
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{44}};
  const Json wanted = toJson(ApprovalRequestCommand{.approvalID = approval.id, .buttonLabel = "Yes"});
  const Secret ownSecret{std::string_view{"of-the-relay"}};
  relay.deliver({"forged", std::get<EncryptedRelayPayload>(RelayCrypto::seal(wanted, ownSecret, random))});
  auto altered = relay.seal(approval.id, "Yes");
  auto& box = altered.box.ciphertext;
  box.at(box.size() / 2) = box.at(box.size() / 2) == 'A' ? 'B' : 'A';
  relay.deliver(altered);
  relay.deliver({"empty", {}});
  relay.deliver(relay.seal(approval.id, "Yes", 61s));  // Held back for longer than a minute.
  relay.setPhones(8);                                  // Invented.
  const auto last = relay.waitForResult(relay.decide(approval.id, "No"));
  ASSERT_TRUE(last);
  EXPECT_EQ(last->status, kAcceptedStatus) << last->error.value_or("");
  EXPECT_EQ(dialog.wait(), kFirstButton) << "The button of the phone's own decision, and no other.";
  EXPECT_EQ(relay.resultCount("forged") + relay.resultCount("empty"), 0U);
}

TEST_F(AgentEndToEnd, AMutedPromptComesBackWhenItIsWantedAgain) {
  startAgent();
  auto dialog = desktop.launch("gtk4_prompt", prompt("Noise", {"No", "Yes"}));
  const auto approval = onPhone("Noise");
  relay.suppress(approval.suppressionID, kSuppressAction);
  EXPECT_TRUE(isGoneFromPhone("Noise"));
  relay.suppress(approval.suppressionID, kUnsuppressAction);
  EXPECT_EQ(onPhone("Noise").suppressionID, approval.suppressionID);
  EXPECT_TRUE(dialog.isRunning());
}

TEST_F(AgentEndToEnd, AConnectionThatBreaksIsMadeAgainAndThePhoneGetsTheList) {
  startAgent();
  auto dialog = desktop.launch("qt_prompt", prompt("Waiting", {"No", "Yes"}));
  const auto before = onPhone("Waiting");
  relay.dropAgent();
  EXPECT_TRUE(test::waitFor([&] { return relay.connections() == 2; }));
  const auto result = relay.waitForResult(relay.decide(onPhone("Waiting").id, "Yes"));
  ASSERT_TRUE(result);
  EXPECT_EQ(result->status, kAcceptedStatus);
  EXPECT_EQ(dialog.wait(), kFirstButton + 1);
  EXPECT_EQ(before.windowTitle, "Waiting");
}

TEST_F(AgentEndToEnd, QuittingIsPoliteAndQuick) {
  startAgent();
  const auto asked = std::chrono::steady_clock::now();
  agent.back().end();
  EXPECT_EQ(agent.back().wait(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - asked, test::onThisMachine(3s));
}

// What a process shares with no other one, in megabytes.
struct PrivateMemory {
  double written = 0;  // Heap, stacks, data: what is nowhere else.
  double libraries =
      0;  // Mapped files' own copies of pages: mostly addresses that were filled in when they were loaded.
  double unwritten = 0;  // Mapped files as they are on the disk: given up whenever another process needs room.
  [[nodiscard]] double sum() const { return written + libraries + unwritten; }
};

PrivateMemory privateMemory(pid_t process) {
  std::ifstream maps("/proc/" + std::to_string(process) + "/smaps");
  PrivateMemory memory;
  bool isFile = false;
  for (std::string line; std::getline(maps, line);) {
    std::istringstream words(line);
    std::string name;
    double size = 0;
    if (words >> name; name.back() != ':') isFile = line.find(" /") != std::string::npos;
    if (!(words >> size)) continue;
    size /= 1024;
    if (name == "Private_Clean:" || name == "Private_Dirty:") (isFile ? memory.unwritten : memory.written) += size;
    if (name == "Anonymous:" && isFile) {  // Is among the private ones before it.
      memory.libraries += size;
      memory.unwritten -= size;
    }
  }
  return memory;
}

#ifdef NDEBUG
constexpr double kMostMemory = 15;
constexpr auto kLongestStart = 300ms + 1s;  // Half of it, and less, on an idle machine.
#else
constexpr double kMostMemory = 40;
constexpr auto kLongestStart = 5s;
#endif

TEST_F(AgentEndToEnd, LooksAtTheDesktopSoonAfterItsStart) {
  auto dialog = desktop.launch("gtk3_prompt", prompt("Early", {"No", "Yes"}));
  ASSERT_TRUE(dialog.waitForOutput("ready"));
  const auto started = std::chrono::steady_clock::now();
  startAgent({{"QUILLARD_DIALOG_DIAGNOSTICS", "1"}});
  ASSERT_TRUE(agent.back().waitForOutput("Early")) << "The first scan prints every window that it has looked at.";
  const auto scanned = std::chrono::steady_clock::now();
  std::printf("from start to the first scan: %lld ms, of which the agent waits 300 by design\n",
              static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(scanned - started).count()));
  EXPECT_LT(scanned - started, test::onThisMachine(kLongestStart));
  onPhone("Early");
}

TEST_F(AgentEndToEnd, StaysLightOnceItsWindowIsClosed) {
#ifdef QUILLARD_SANITIZED
  GTEST_SKIP() << "Sanitizers keep books of their own in the process.";
#endif
  startAgent();
  test::ClientList list{desktop};
  ASSERT_TRUE(test::waitFor([&] { return !list.windowsOf(agent.back().pid()).empty(); }));
  for (const auto& window : list.windowsOf(agent.back().pid())) list.close(window.id);
  ASSERT_TRUE(test::waitFor([&] { return list.windowsOf(agent.back().pid()).empty(); })) << printed();
  PrivateMemory memory;
  EXPECT_TRUE(test::waitFor([&] {
    memory = privateMemory(agent.back().pid());
    return memory.sum() < kMostMemory;
  }));
  EXPECT_GT(memory.written, 0);
  // A scan, a message to the phone and its answer need some of what was released.
  auto dialog = desktop.launch("gtk3_prompt", prompt("Later", {"No", "Yes"}));
  ASSERT_TRUE(relay.waitForResult(relay.decide(onPhone("Later").id, "Yes"))) << printed();
  memory = privateMemory(agent.back().pid());
  std::printf("private memory: %.1f MB: %.1f written, %.1f of libraries, %.1f unwritten\n", memory.sum(),
              memory.written, memory.libraries, memory.unwritten);
  EXPECT_LT(memory.sum(), kMostMemory);
}

// Between its timers the process sleeps: it may use no more than a trifle of processor time while nothing happens.
TEST_F(AgentEndToEnd, IdleMeansIdle) {
  startAgent();
  const auto used = [&] {
    std::ifstream file("/proc/" + std::to_string(agent.back().pid()) + "/stat");
    std::string field;
    long ticks = 0;
    for (int i = 1; i <= 15 && file >> field; ++i) {
      if (i == 14 || i == 15) ticks += std::stol(field);
    }
    return static_cast<double>(ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
  };
  EXPECT_TRUE(agent.back().waitForOutput("Quillard relay connected."));
  // The first intervals hold the scans that follow the start.
  constexpr auto kInterval = 2s;
  double spent = 0;
  EXPECT_TRUE(test::waitFor([&] {
    const double before = used();
    std::this_thread::sleep_for(kInterval);
    spent = used() - before;
    return spent < 0.1;
  }));
  std::printf("processor time of 2 idle seconds: %.0f ms\n", spent * 1000);
}

}  // namespace
}  // namespace quillard
