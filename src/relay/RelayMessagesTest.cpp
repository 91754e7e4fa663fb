#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "foundation/IsoDate.h"
#include "relay/RelayCommands.h"
#include "relay/RelayMessages.h"
#include "support/JsonConformance.h"

namespace quillard {
namespace {

constexpr const char* kPayload = R"({"version":1,"nonce":"n","ciphertext":"c"})";

std::string requestWith(const std::string& members) {
  return R"({"type":"approval.request","decisionID":"d","encryptedRequest":)" + std::string(kPayload) + members + "}";
}

std::string errorOf(const std::string& frame) {
  const auto message = decodeIncomingRelayMessage(frame);
  const auto* error = std::get_if<JsonError>(&message);
  return error ? error->description() : "no error";
}

template <class Message>
Message decoded(const std::string& frame) {
  return std::get<Message>(decodeIncomingRelayMessage(frame));
}

TEST(RelayMessages, ReadAPhoneStatusWithoutPhones) {
  const auto status =
      decoded<PhoneStatusRelayMessage>(R"({"type":"phone.status","phoneConnected":true,"phoneCount":1})");
  EXPECT_TRUE(status.phoneConnected);
  EXPECT_EQ(status.phoneCount, 1);
  EXPECT_FALSE(status.phones.has_value());
}

TEST(RelayMessages, ReadPhonesWithAndWithoutOptionalMembers) {
  const auto status = decoded<PhoneStatusRelayMessage>(
      R"({"type":"phone.status","phoneConnected":true,"phoneCount":2,"phones":[)"
      R"({"deviceID":"1","deviceName":"A","platform":null},)"
      R"({"deviceID":"2","deviceName":"B","platform":"ios","connected":false,"more":[1]}]})");
  const std::vector<RelayPhoneStatus> expected{{"1", "A", std::nullopt, std::nullopt}, {"2", "B", "ios", false}};
  EXPECT_EQ(status.phones, expected);
}

TEST(RelayMessages, TakeNullForAnAbsentListOfPhones) {
  const auto status = decoded<PhoneStatusRelayMessage>(
      R"({"type":"phone.status","phoneConnected":false,"phoneCount":0,"phones":null})");
  EXPECT_FALSE(status.phones.has_value());
}

TEST(RelayMessages, RouteUnsuppressLikeSuppress) {
  for (const std::string type : {"approval.suppress", "approval.unsuppress"}) {
    const auto message = decoded<ApprovalSuppressionRelayMessage>(
        R"({"type":")" + type + R"(","decisionID":"d","encryptedSuppression":)" + kPayload + "}");
    EXPECT_EQ(message.type, type);
    EXPECT_EQ(message.decisionID, "d");
  }
}

TEST(RelayMessages, ReadDatesWithAndWithoutFractions) {
  EXPECT_EQ(decoded<ApprovalRequestRelayMessage>(requestWith(R"(,"issuedAt":"2026-03-01T12:34:56.789Z")")).issuedAt,
            quillardISO8601("2026-03-01T12:34:56.789Z"));
  EXPECT_EQ(decoded<ApprovalRequestRelayMessage>(requestWith(R"(,"issuedAt":"2026-03-01T12:34:56Z")")).issuedAt,
            quillardISO8601("2026-03-01T12:34:56Z"));
  EXPECT_FALSE(decoded<ApprovalRequestRelayMessage>(requestWith("")).issuedAt.has_value());
  EXPECT_EQ(errorOf(requestWith(R"(,"issuedAt":"2026-03-01")")), "issuedAt: Expected ISO-8601 date string.");
}

TEST(RelayMessages, CompareTypesToTheLetter) {
  for (const auto* type : {"Approval.Request", "approval.request ", "", "mac.snapshot", "approval.result"}) {
    const auto message = decodeIncomingRelayMessage(R"({"type":")" + std::string(type) + R"(","decisionID":1})");
    EXPECT_TRUE(std::holds_alternative<UnknownRelayMessage>(message)) << type;
  }
}

TEST(RelayMessages, LookAtTheTypeBeforeAnythingElse) {
  EXPECT_EQ(errorOf(R"({"decisionID":1})"), "type: The member is missing.");
  EXPECT_EQ(errorOf(R"({"type":null})"), "type: The member is missing.");
  EXPECT_EQ(errorOf(R"({"type":7})"), "type: Expected a text.");
  EXPECT_EQ(errorOf(R"({"type":"phone.status","phoneConnected":1})"), "phoneConnected: Expected true or false.");
}

TEST(RelayMessages, AreUndecodableWhenARequiredMemberIsMissingOrNull) {
  for (const std::string missing :
       {R"({"type":"approval.request","encryptedRequest":{}})", R"({"type":"approval.request","decisionID":null})",
        R"({"type":"approval.request","decisionID":"d"})",
        R"({"type":"approval.request","decisionID":"d","encryptedRequest":null})",
        R"({"type":"approval.request","decisionID":"d","encryptedRequest":{"version":1}})",
        R"({"type":"approval.suppress","decisionID":"d"})", R"({"type":"phone.status","phoneConnected":true})",
        R"({"type":"phone.status","phoneCount":1})",
        R"({"type":"phone.status","phoneConnected":true,"phoneCount":null})"}) {
    EXPECT_NE(errorOf(missing).find("The member is missing."), std::string::npos) << missing << errorOf(missing);
  }
}

TEST(RelayMessages, RefuseBadInput) {
  const std::vector<std::pair<std::string, std::string>> table{
      {"", "The text is not valid JSON."},
      {"[]", "Expected an object."},
      {"7", "Expected an object."},
      {R"({"type":"phone.status")", "The text is not valid JSON."},
      {std::string(500'000, '['), "The JSON text is nested too deeply."},
      {R"({"type":)" + std::string(40, '['), "The JSON text is nested too deeply."},
      {R"({"type":)" + std::string(40, '{'), "The text is not valid JSON."},
      {std::string(1024 * 1024 + 1, ' '), "The JSON text is too long."},
      {R"({"type":"phone.status","type":"approval.request"})", "type: The member stands twice."},
      {R"({"type":"phone.status","phoneConnected":true,"phoneCount":1e400})", "The text is not valid JSON."},
      {R"({"type":"phone.status","phoneConnected":true,"phoneCount":1e30})",
       "phoneCount: Expected a whole number in range."},
      {R"({"type":"phone.status","phoneConnected":true,"phoneCount":18446744073709551615})",
       "phoneCount: Expected a whole number in range."},
      {R"({"type":"phone.status","phoneConnected":true,"phoneCount":1.5})",
       "phoneCount: Expected a whole number in range."},
      {R"({"type":"phone.status","phoneConnected":true,"phoneCount":1,"phones":{}})", "phones: Expected a list."},
      {R"({"type":"phone.status","phoneConnected":true,"phoneCount":1,"phones":[null]})",
       "phones[0]: Expected an object."},
      {R"({"type":"\ud800"})", "The text is not valid JSON."},
      {"{\"type\":\"\xFF\"}", "The text is not valid JSON."},
      {std::string("{\"type\":\"a\0b\"}", 14), "The text is not valid JSON."},
  };
  for (const auto& [frame, error] : table) EXPECT_EQ(errorOf(frame), error) << frame.substr(0, 80);
}

TEST(RelayMessages, IgnoreUnknownMembersAndOrder) {
  const auto message = decoded<ApprovalRequestRelayMessage>(
      R"({"new":{"a":[1,2]},"encryptedRequest":{"extra":1,"ciphertext":"c","nonce":"n","version":2},)"
      R"("decisionID":"d","type":"approval.request"})");
  EXPECT_EQ(message.encryptedRequest, (EncryptedRelayPayload{.version = 2, .nonce = "n", .ciphertext = "c"}));
}

TEST(RelayMessages, LeaveOutAbsentMembers) {
  EXPECT_EQ(jsonText(toJson(UnpairPhoneRelayMessage{.issuedAt = *quillardISO8601("2026-03-01T12:34:56.9Z")})),
            R"({"type":"phone.unpair","issuedAt":"2026-03-01T12:34:56Z"})");
}

TEST(RelayConnectionStatus, IsAllFalseZeroAndEmptyAtFirst) {
  const RelayConnectionStatus status;
  EXPECT_FALSE(status.relayConnected);
  EXPECT_FALSE(status.phoneConnected);
  EXPECT_EQ(status.phoneCount, 0);
  EXPECT_TRUE(status.phones.empty());
}

TEST(RelayCommands, TakeIdentitiesInEitherCase) {
  const auto command = std::get<ApprovalRequestCommand>(readRelayCommand<ApprovalRequestCommand>(
      R"({"buttonLabel":"Allow","approvalID":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f"})"));
  EXPECT_EQ(command.approvalID.text(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
}

TEST(RelayCommands, CarryWhatBindsADecision) {
  const ApprovalRequestCommand command{Uuid{}, "Allow", "D-1",
                                       ClockStamp{Uuid{}, std::chrono::milliseconds{9'007'199'254'740'991}}};
  const auto text = jsonText(toJson(command)).value();
  EXPECT_EQ(text, R"({"approvalID":"00000000-0000-0000-0000-000000000000","buttonLabel":"Allow","decisionID":"D-1",)"
                  R"("tappedAt":{"epoch":"00000000-0000-0000-0000-000000000000","time":9007199254740991}})");
  EXPECT_EQ(std::get<ApprovalRequestCommand>(readRelayCommand<ApprovalRequestCommand>(text)), command);
}

TEST(RelayCommands, CarryAnOutcomeWithItsReasonAndTheTime) {
  const ApprovalResultCommand command{
      Uuid{}, "Allow", "failed", "Late.", "tooLate", "D-1", ClockStamp{Uuid{}, std::chrono::milliseconds{5}}};
  const auto text = jsonText(toJson(command)).value();
  EXPECT_EQ(text, R"({"approvalID":"00000000-0000-0000-0000-000000000000","buttonLabel":"Allow","status":"failed",)"
                  R"("error":"Late.","reason":"tooLate","decisionID":"D-1",)"
                  R"("clock":{"epoch":"00000000-0000-0000-0000-000000000000","time":5}})");
  EXPECT_EQ(std::get<ApprovalResultCommand>(readRelayCommand<ApprovalResultCommand>(text)), command);
}

TEST(RelayCommands, CarryTheTime) {
  const ClockCommand command{ClockStamp{Uuid{}, std::chrono::milliseconds{5}}};
  const auto text = jsonText(toJson(command)).value();
  EXPECT_EQ(text, R"({"clock":{"epoch":"00000000-0000-0000-0000-000000000000","time":5}})");
  EXPECT_EQ(std::get<ClockCommand>(readRelayCommand<ClockCommand>(text)), command);
  EXPECT_EQ(std::get<JsonError>(readRelayCommand<ClockCommand>("{}")).description(), "clock: The member is missing.");
}

TEST(RelayCommands, RefuseBadInput) {
  const std::string kRequest = R"({"approvalID":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f","buttonLabel":"Allow")";
  const std::string kTappedAt =
      R"(,"decisionID":"d","tappedAt":{"epoch":"00000000-0000-0000-0000-000000000002","time":)";
  const std::vector<std::pair<std::string, std::string>> table{
      {R"({"approvalID":"x","buttonLabel":"Allow"})", "approvalID: Expected a UUID."},
      {R"({"approvalID":null,"buttonLabel":"Allow"})", "approvalID: The member is missing."},
      {R"({"approvalID":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f"})", "buttonLabel: The member is missing."},
      {R"({"approvalID":"e621e1f8c36c495a93fc0c247a3e6e5f","buttonLabel":"Allow"})", "approvalID: Expected a UUID."},
      {R"({"buttonLabel":"Allow","buttonLabel":"Cancel"})", "buttonLabel: The member stands twice."},
      {R"("Allow")", "Expected an object."},
      {kRequest + R"(,"status":"accepted"})", "status: A result is no request."},
      {kRequest + R"(,"decisionID":7})", "decisionID: Expected a text."},
      {kRequest + R"(,"decisionID":"d","tappedAt":12})", "tappedAt: Expected an object."},
      {kRequest + R"(,"decisionID":"d","tappedAt":{}})", "tappedAt.epoch: The member is missing."},
      {kRequest + R"(,"decisionID":"d","tappedAt":{"epoch":"x","time":1}})", "tappedAt.epoch: Expected a UUID."},
      {kRequest + kTappedAt + "-1}}", "tappedAt.time: Expected a whole number in range."},
      {kRequest + kTappedAt + "1.5}}", "tappedAt.time: Expected a whole number in range."},
      {kRequest + kTappedAt + "9007199254740992}}", "tappedAt.time: Expected a whole number in range."},
      {kRequest + kTappedAt + "18446744073709551616}}", "tappedAt.time: Expected a whole number in range."},
      {kRequest + kTappedAt + "1e400}}", "The text is not valid JSON."},
      {kRequest + kTappedAt + "NaN}}", "The text is not valid JSON."},
      {kRequest + kTappedAt + "null}}", "tappedAt.time: The member is missing."},
      {kRequest + kTappedAt + "\"1\"}}", "tappedAt.time: Expected a whole number in range."},
      {kRequest + R"(,"tappedAt":{"epoch":"00000000-0000-0000-0000-000000000002","time":1}})",
       "decisionID: The member is missing."},
      {R"({"approvalID":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f","buttonLabel":")" +
           std::string(kLongestButtonLabel + 1, 'x') + "\"}",
       "buttonLabel: The text is too long."},
  };
  for (const auto& [text, expected] : table) {
    const auto read = readRelayCommand<ApprovalRequestCommand>(text);
    ASSERT_TRUE(std::holds_alternative<JsonError>(read)) << text.substr(0, 200);
    EXPECT_EQ(std::get<JsonError>(read).description(), expected) << text.substr(0, 200);
  }
}

TEST(RelayCommands, NeedASuppressionIDButNoApprovalID) {
  const auto id = R"("00000000-0000-0000-0000-000000000001")";
  const auto command = readRelayCommand<ApprovalSuppressionCommand>(
      std::string(R"({"action":"suppress","approvalID":null,"suppressionID":)") + id + "}");
  EXPECT_FALSE(std::get<ApprovalSuppressionCommand>(command).approvalID.has_value());
  const auto without =
      readRelayCommand<ApprovalSuppressionCommand>(std::string(R"({"action":"suppress","approvalID":)") + id + "}");
  EXPECT_EQ(std::get<JsonError>(without).description(), "suppressionID: The member is missing.");
}

TEST(RelayCommands, CarryAnEnvelopeToTheAgentAsJsonToo) {
  const ApprovalRequestEnvelope envelope{"d", {Uuid{}, "Allow"}, quillardISO8601("2026-03-01T12:34:56Z")};
  const auto text = jsonText(toJson(envelope)).value();
  EXPECT_EQ(text, R"({"decisionID":"d","command":{"approvalID":"00000000-0000-0000-0000-000000000000",)"
                  R"("buttonLabel":"Allow"},"issuedAt":"2026-03-01T12:34:56Z"})");
  EXPECT_EQ(std::get<ApprovalRequestEnvelope>(readRelayCommand<ApprovalRequestEnvelope>(text)), envelope);
}

TEST(RelayMessages, KeepEveryRuleOfJsonInMembersThatTheyIgnore) {
  const auto cases = test::jsonConformance(QUILLARD_GOLDEN_DIRECTORY);
  ASSERT_GT(cases.size(), 150U);
  for (const auto& one : cases) {
    const auto frame = R"({"phoneConnected":true,"phoneCount":0,"x":)" + one.text + R"(,"type":"phone.status"})";
    EXPECT_EQ(std::holds_alternative<PhoneStatusRelayMessage>(readRelayRecord<PhoneStatusRelayMessage>(frame)),
              one.isJson)
        << one.about << ": " << testing::PrintToString(one.text);
  }
}

TEST(RelayCommands, KeepEveryRuleOfJsonInMembersThatTheyIgnore) {
  for (const auto& one : test::jsonConformance(QUILLARD_GOLDEN_DIRECTORY)) {
    const auto text =
        R"({"approvalID":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f","x":)" + one.text + R"(,"buttonLabel":"Allow"})";
    EXPECT_EQ(std::holds_alternative<ApprovalRequestCommand>(readRelayCommand<ApprovalRequestCommand>(text)),
              one.isJson)
        << one.about << ": " << testing::PrintToString(one.text);
  }
}

}  // namespace
}  // namespace quillard
