#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "e2e/AgentAtRelay.h"
#include "foundation/StrictJson.h"

// What somebody can do who has a pairing's code: against the agent and the relay as they were built.
namespace quillard {
namespace {

using test::kFirstButton;
using test::prompt;
using test::RelayWire;
using test::WirePhone;

const std::string kHome = "192.0.2.1";
const std::string kElsewhere = "198.51.100.7";
constexpr int kPlaces = 8;

class HostilePhone : public test::AgentAtRelay {
 protected:
  HostilePhone() : AgentAtRelay({"--behind-proxy", "--registration-burst", "1000", "--handshake-burst", "1000"}) {}

  // The status of who claims to be the computer; `key`: empty for none.
  int poseAsTheComputer(const std::string& key) {
    auto headers = phone.headers(kElsewhere);
    if (!key.empty()) headers.emplace_back("Quillard-Computer-Key", key);
    RelayWire wire(relay.port());
    return wire.upgrade("role=mac&pairing=" + phone.pairingID(), headers).status;
  }
  int registerAsTheComputer(const std::string& key) {
    auto headers = phone.headers(kElsewhere);
    headers.emplace_back("Quillard-Computer-Key", key);
    RelayWire wire(relay.port());
    return wire
        .ask("PUT", "/api/pairings/" + phone.pairingID() + "/relay-token", headers, R"({"client":"mac","version":1})")
        .status;
  }
  // What only a computer sends, sealed well, with a list that says nothing waits.
  static std::vector<Json> messagesOfAComputer(WirePhone& from) {
    const auto box = toJson(from.sealed(Json::array()));
    return {{{"type", "mac.snapshot"},
             {"observedAt", "2026-03-01T12:34:56Z"},
             {"accessibilityTrusted", true},
             {"encryptedApprovals", box},
             {"approvalCount", 0},
             {"snapshotID", "false"}},
            {{"type", "approval.result"}, {"decisionID", "decision-1"}, {"encryptedResult", box}},
            {{"type", "mac.clock"}, {"encryptedClock", box}},
            {{"type", "phone.unpair"}, {"issuedAt", "2026-03-01T12:34:56Z"}},
            {{"type", "phone.unpair"}, {"issuedAt", "2026-03-01T12:34:56Z"}, {"deviceID", "A"}}};
  }
  // The pairing of a code that the agent makes for one more phone.
  InstallationSecrets pairAnother() {
    auto tool = installed.runTool({"pair", "--text", "--force"});
    EXPECT_EQ(tool.wait(), 0) << tool.errors();
    const auto text = tool.output();
    const auto begin = text.find('{');
    const auto end = text.rfind('}');
    const auto code = begin == std::string::npos
                          ? Json::object()
                          : Json::parse(text.substr(begin, end + 1 - begin), nullptr, /*allow_exceptions=*/false);
    const auto secret = [&](const char* name) { return Secret{std::string_view{code.value(name, "")}}; };
    return {.pairingID = code.value("pairingID", ""),
            .relayAuthToken = secret("relaySecret"),
            .e2eSecret = secret("e2eSecret")};
  }
};

TEST_F(HostilePhone, WithTheCodeOfAnotherNeitherPosesAsTheComputerNorSpeaksForIt) {
  auto dialog = desktop.launch("gtk3_prompt", prompt("Waiting", {"No", "Yes"}));
  ASSERT_TRUE(waitForAgent(1)) << printed();
  ASSERT_EQ(phone.join("A", kHome), 101) << printed();
  const auto approval = phone.waitFor("Waiting");
  ASSERT_TRUE(approval) << printed();
  const std::string ownKey(64, 'e');
  EXPECT_EQ(poseAsTheComputer(""), 401);
  EXPECT_EQ(poseAsTheComputer(ownKey), 401);
  EXPECT_EQ(registerAsTheComputer(ownKey), 409);
  EXPECT_EQ(poseAsTheComputer(ownKey), 401) << "Nor after it was registered.";

  WirePhone mallory(relay, secrets);
  for (const auto& message : messagesOfAComputer(mallory)) {
    ASSERT_EQ(mallory.join("M", kElsewhere), 101) << message.dump();
    mallory.connection().say(message);
  }
  std::list<WirePhone> crowd;
  for (int i = 0; i < kPlaces; ++i) {
    crowd.emplace_back(relay, secrets);
    (void)crowd.back().join("M" + std::to_string(i), kElsewhere);
  }
  phone.leave();
  ASSERT_EQ(phone.join("A", kHome), 101) << "There is a place for the owner.";
  const auto still = phone.waitFor("Waiting");
  ASSERT_TRUE(still) << "The list is the computer's.";
  EXPECT_EQ(still->id, approval->id);
  EXPECT_EQ(phone.decide(approval->id, "Yes"), kAcceptedStatus) << printed();
  EXPECT_EQ(dialog.wait(), kFirstButton + 1);
  EXPECT_EQ(joins(), 1) << "The computer's connection was never ended.";
}

TEST_F(HostilePhone, ThatIsLostIsShutOutWhileItsPageIsClosedUnderAnyName) {
  auto dialog = desktop.launch("gtk3_prompt", prompt("Waiting", {"No", "Yes"}));
  ASSERT_TRUE(waitForAgent(1)) << printed();
  ASSERT_EQ(phone.join("A", kHome), 101) << printed();
  const auto approval = phone.waitFor("Waiting");
  ASSERT_TRUE(approval) << printed();
  WirePhone lost(relay, pairAnother());
  ASSERT_TRUE(test::waitFor([&] { return lost.join("B", kElsewhere) == 101; })) << printed();
  ASSERT_TRUE(lost.waitFor("Waiting")) << printed();
  lost.leave();

  auto tool = installed.runTool({"unpair", "2", "--yes"});
  EXPECT_EQ(tool.wait(), 0) << tool.errors();
  // The agent tells the relay while the command ends already.
  ASSERT_TRUE(test::waitFor([&] { return lost.join("B", kElsewhere) == 410; })) << printed();
  for (const auto* name : {"B", "C", "A"}) EXPECT_EQ(lost.join(name, kElsewhere), 410) << name;
  RelayWire asking(relay.port());
  EXPECT_EQ(asking.ask("GET", "/api/pairings/" + lost.pairingID(), lost.headers(kElsewhere)).status, 410);
  EXPECT_EQ(phone.decide(approval->id, "Yes"), kAcceptedStatus) << "The other phone stays.";
  EXPECT_EQ(dialog.wait(), kFirstButton + 1);
}

}  // namespace
}  // namespace quillard
