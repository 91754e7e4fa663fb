#include <gtest/gtest.h>

#include "foundation/IsoDate.h"
#include "relay/RelayClient.h"
#include "support/RelayClientWorld.h"

// What the client makes of what the relay says.
namespace quillard {
namespace {

using namespace std::chrono_literals;
using samples::Lines;
using samples::RelayClientWorld;

const ApprovalRequestCommand kCommand{samples::uuid(1), "Allow"};
const ApprovalSuppressionCommand kSuppression{"suppress", std::nullopt, samples::uuid(2)};

// A world with an open connection whose first report and line are out of the way.
struct Listening {
  RelayClientWorld world;
  samples::SocketHandle socket = world.open();

  Listening() {
    world.statuses.clear();
    (void)world.console.takeLines();
  }
  void hear(const std::string& text) {
    socket->sendText(text);
    world.run();
  }
  void hearMessage(const Json& message) { hear(jsonText(message).value()); }
  void hearRequest(const EncryptedRelayPayload& payload, const std::string& decisionID = "decision-1") {
    hearMessage(toJson(ApprovalRequestRelayMessage{.decisionID = decisionID, .encryptedRequest = payload}));
  }
  // The line that came since the last look, without its prefix. Fails when it is not exactly one.
  std::string warning() {
    const auto lines = world.console.takeLines();
    const std::string prefix = "Unable to decode relay message: ";
    EXPECT_EQ(lines.size(), 1U);
    if (lines.size() != 1 || !lines[0].starts_with(prefix)) return "no warning";
    return lines[0].substr(prefix.size());
  }
};

TEST(RelayClientMessages, HandARequestToTheAgent) {
  Listening listening;
  const auto issuedAt = *quillardISO8601("2026-03-01T12:34:56Z");
  listening.hearMessage(toJson(ApprovalRequestRelayMessage{
      .decisionID = "decision-1", .encryptedRequest = listening.world.sealed(toJson(kCommand)), .issuedAt = issuedAt}));
  ASSERT_EQ(listening.world.requests.size(), 1U);
  auto expected = ApprovalRequestEnvelope{"decision-1", kCommand, issuedAt};
  expected.boxID = listening.world.requests[0].boxID;
  EXPECT_EQ(listening.world.requests[0], expected);
  EXPECT_EQ(expected.boxID.size(), 2 * kNonceLength);
  EXPECT_EQ(listening.world.statuses, std::vector{RelayConnectionStatus{.relayConnected = true}});
  EXPECT_EQ(listening.world.console.lines(), Lines{});
}

TEST(RelayClientMessages, HandSuppressionsToTheAgentBothWays) {
  for (const auto* type : {"approval.suppress", "approval.unsuppress"}) {
    Listening listening;
    listening.hearMessage(toJson(ApprovalSuppressionRelayMessage{
        .type = type, .decisionID = "d", .encryptedSuppression = listening.world.sealed(toJson(kSuppression))}));
    EXPECT_EQ(listening.world.suppressions, std::vector{kSuppression}) << "The command's own action counts.";
    EXPECT_EQ(listening.world.statuses, std::vector{RelayConnectionStatus{.relayConnected = true}});
  }
}

TEST(RelayClientMessages, TellWhichPhonesAreThere) {
  Listening listening;
  listening.hear(R"({"type":"phone.status","phoneConnected":true,"phoneCount":1,)"
                 R"("phones":[{"deviceID":"1","deviceName":"A"}]})");
  listening.hear(R"({"type":"phone.status","phoneConnected":false,"phoneCount":0})");
  const std::vector<RelayConnectionStatus> expected{{true, true, 1, {{"1", "A", std::nullopt, std::nullopt}}},
                                                    {true, false, 0, {}}};
  EXPECT_EQ(listening.world.statuses, expected);
}

TEST(RelayClientMessages, KeepWhatIsKnownOfThePhonesWhenARequestComes) {
  Listening listening;
  listening.hear(R"({"type":"phone.status","phoneConnected":true,"phoneCount":1})");
  listening.hearRequest(listening.world.sealed(toJson(kCommand)));
  EXPECT_EQ(listening.world.statuses.back(), (RelayConnectionStatus{true, true, 1, {}}));
}

TEST(RelayClientMessages, ForgetThePhonesWithTheConnection) {
  Listening listening;
  listening.hear(R"({"type":"phone.status","phoneConnected":true,"phoneCount":1})");
  listening.socket->close(1001);
  listening.world.run();
  EXPECT_EQ(listening.world.statuses.back(), RelayConnectionStatus{});
}

TEST(RelayClientMessages, AreReadFromBinaryFramesToo) {
  Listening listening;
  const std::string text = R"({"type":"phone.status","phoneConnected":true,"phoneCount":3})";
  listening.socket->sendBinary({text.begin(), text.end()});
  listening.world.run();
  EXPECT_EQ(listening.world.statuses.at(0).phoneCount, 3);
}

TEST(RelayClientMessages, OfUnknownTypesAreDroppedSilently) {
  Listening listening;
  for (const auto* type : {"Approval.Request", "relay.notice", "mac.snapshot", ""}) {
    listening.hear(R"({"type":")" + std::string(type) + R"("})");
  }
  EXPECT_EQ(listening.world.console.lines(), Lines{});
  EXPECT_TRUE(listening.world.statuses.empty());
}

TEST(RelayClientMessages, ThatAreBrokenAreReportedAndDoNotEndTheConversation) {
  Listening listening;
  listening.hear("{");
  EXPECT_EQ(listening.warning(), "The text is not valid JSON.");
  listening.hear(R"({"decisionID":"d"})");
  EXPECT_EQ(listening.warning(), "type: The member is missing.");
  listening.hear(R"({"type":"approval.request","decisionID":"d"})");
  EXPECT_EQ(listening.warning(), "encryptedRequest: The member is missing.");
  listening.hear(R"({"type":"approval.request","decisionID":"d","encryptedRequest":)"
                 R"({"version":1,"nonce":"","ciphertext":""},"issuedAt":"2026-03-01"})");
  EXPECT_EQ(listening.warning(), "issuedAt: Expected ISO-8601 date string.");
  EXPECT_TRUE(listening.world.statuses.empty());
  listening.hearRequest(listening.world.sealed(toJson(kCommand)));
  EXPECT_EQ(listening.world.requests.size(), 1U);
  EXPECT_EQ(listening.world.console.lines(), Lines{});
}

TEST(RelayClientMessages, WhoseSealCannotBeOpenedAreReported) {
  Listening listening;
  auto payload = listening.world.sealed(toJson(kCommand));
  payload.ciphertext[20] = payload.ciphertext[20] == 'A' ? 'B' : 'A';
  listening.hearRequest(payload);
  EXPECT_EQ(listening.warning(), "RelayCryptoError.invalidCiphertext");
  payload.ciphertext = "no base64";
  listening.hearRequest(payload);
  EXPECT_EQ(listening.warning(), "RelayCryptoError.invalidCiphertext");
  EXPECT_TRUE(listening.world.requests.empty());
  EXPECT_EQ(listening.world.statuses.size(), 2U) << "That a message came is news of its own.";
}

TEST(RelayClientMessages, WhoseCommandIsBrokenAreReported) {
  Listening listening;
  listening.hearRequest(listening.world.sealed(Json{{"approvalID", "x"}, {"buttonLabel", "Allow"}}));
  EXPECT_EQ(listening.warning(), "approvalID: Expected a UUID.");
  listening.hearMessage(toJson(ApprovalSuppressionRelayMessage{
      .decisionID = "d", .encryptedSuppression = listening.world.sealed(toJson(kCommand))}));
  EXPECT_EQ(listening.warning(), "action: The member is missing.");
  EXPECT_TRUE(listening.world.requests.empty());
  EXPECT_TRUE(listening.world.suppressions.empty());
}

TEST(RelayClientMessages, CannotForgeDiagnosticLines) {
  Listening listening;
  listening.hear("{\"x\\nQuillard relay connected.\":1,\"x\\nQuillard relay connected.\":2}");
  EXPECT_EQ(listening.warning(), "x?Quillard relay connected.: The member stands twice.");
  const std::string endless(100'000, 'y');
  listening.hear("{\"" + endless + "\":1,\"" + endless + "\":2}");
  EXPECT_LT(listening.warning().size(), 210U);
}

// ---- What the relay repeats, renames or returns

TEST(RelayClientMessages, OfADecisionComeUpEachTimeWithWhatNamesTheirBox) {
  Listening listening;
  const auto payload = listening.world.sealed(toJson(kCommand));
  listening.hearRequest(payload, "decision-1");
  listening.hearRequest(payload, "decision-2");
  listening.hearRequest(listening.world.sealed(toJson(kCommand)), "decision-1");
  ASSERT_EQ(listening.world.requests.size(), 3U);
  EXPECT_EQ(listening.world.requests[0].boxID, listening.world.requests[1].boxID);
  EXPECT_NE(listening.world.requests[0].boxID, listening.world.requests[2].boxID);
}

TEST(RelayClientMessages, OfADecisionWithANameOfItsOwnAreRefusedUnderAnotherOne) {
  Listening listening;
  auto command = kCommand;
  command.decisionID = "decision-1";
  command.tappedAt = listening.world.stampClock.now();
  const auto payload = listening.world.sealed(toJson(command));
  listening.hearRequest(payload, "decision-2");
  EXPECT_EQ(listening.warning(), "decisionID: It is too long, or another one than in the box.");
  EXPECT_TRUE(listening.world.requests.empty());
  listening.hearRequest(payload, "decision-1");
  ASSERT_EQ(listening.world.requests.size(), 1U) << "The attempt has not used it up.";
  EXPECT_EQ(listening.world.requests[0].command, command);
}

TEST(RelayClientMessages, WithAnEndlessNameAreRefused) {
  Listening listening;
  listening.hearRequest(listening.world.sealed(toJson(kCommand)), std::string(257, 'd'));
  EXPECT_EQ(listening.warning(), "decisionID: It is too long, or another one than in the box.");
  listening.hearRequest(listening.world.sealed(toJson(kCommand)), std::string(256, 'd'));
  EXPECT_EQ(listening.world.requests.size(), 1U);
}

TEST(RelayClientMessages, OfASuppressionCannotBeReplayed) {
  Listening listening;
  const auto payload = listening.world.sealed(toJson(kSuppression));
  const auto message = toJson(ApprovalSuppressionRelayMessage{.decisionID = "d", .encryptedSuppression = payload});
  listening.hearMessage(message);
  listening.hearMessage(message);
  EXPECT_EQ(listening.warning(), "The sealed box was seen before.");
  EXPECT_EQ(listening.world.suppressions.size(), 1U);
}

TEST(RelayClientMessages, OfASuppressionCannotBeReplayedAfterAReconnect) {
  Listening listening;
  const auto payload = listening.world.sealed(toJson(kSuppression));
  const auto message = toJson(ApprovalSuppressionRelayMessage{.decisionID = "d", .encryptedSuppression = payload});
  listening.hearMessage(message);
  listening.socket->close(1006);
  listening.world.time.advance(3s);
  listening.socket = listening.world.sockets.newest();
  listening.socket->accept();
  listening.world.run();
  (void)listening.world.console.takeLines();
  listening.hearMessage(message);
  EXPECT_EQ(listening.warning(), "The sealed box was seen before.");
  EXPECT_EQ(listening.world.suppressions.size(), 1U);
}

TEST(RelayClientMessages, CannotBeMadeOfTheAgentsOwnResults) {
  Listening listening;
  listening.world.client->publishResult("d", {kCommand.approvalID, kCommand.buttonLabel, "failed", "It moved."});
  listening.world.run();
  const auto results = RelayClientWorld::arrived<ApprovalResultRelayMessage>(listening.socket, kApprovalResultType);
  ASSERT_EQ(results.size(), 1U);
  listening.hearRequest(results[0].encryptedResult);
  EXPECT_EQ(listening.warning(), "The sealed box was seen before.");
  EXPECT_TRUE(listening.world.requests.empty());
}

TEST(RelayClientMessages, CannotBeMadeOfAResultOfAnEarlierRunEither) {
  Listening listening;
  const ApprovalResultCommand result{kCommand.approvalID, kCommand.buttonLabel, "failed", "It moved."};
  listening.hearRequest(listening.world.sealed(toJson(result)));
  EXPECT_EQ(listening.warning(), "status: A result is no request.");
  EXPECT_TRUE(listening.world.requests.empty());
}

}  // namespace
}  // namespace quillard
