#include <chrono>
#include <string>
#include <variant>

#include <gtest/gtest.h>

#include "foundation/IsoDate.h"
#include "relay/RelayCommands.h"
#include "relay/RelayMessages.h"
#include "support/GoldenFile.h"

// Every record as it stands on the wire: written as the file has it, and read back from it.
namespace quillard {
namespace {

constexpr const char* kNonceText = "AQIDBAUGBwgJCgsM";
constexpr const char* kBoxText = "AQIDBAUGBwgJCgsM+/+/AAAAAAAAAAAAAAAAAAAAAA==";

const EncryptedRelayPayload kPayload{.version = 1, .nonce = kNonceText, .ciphertext = kBoxText};
const Date kMoment = *quillardISO8601("2026-03-01T12:34:56Z");
const Uuid kApprovalID = *Uuid::parse("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
const ClockStamp kStamp{*Uuid::parse("5E0C8D3A-1B9F-4E6D-A2C7-9F8E7D6C5B4A"), std::chrono::milliseconds{363'623'352}};
const Uuid kSuppressionID = *Uuid::parse("0F0E0D0C-0B0A-4908-8706-050403020100");

template <class Record>
void expectGolden(const std::string& name, const Record& record,
                  std::variant<Record, JsonError> (*read)(std::string_view)) {
  const auto written = jsonText(toJson(record)).value() + "\n";
  const auto text = samples::goldenText("relay/" + name + ".json", written);
  EXPECT_EQ(written, text);
  const auto outcome = read(text);
  ASSERT_TRUE(std::holds_alternative<Record>(outcome)) << std::get<JsonError>(outcome).description();
  EXPECT_EQ(std::get<Record>(outcome), record);
}

template <class Message>
void expectMessage(const std::string& name, const Message& message) {
  expectGolden<Message>(name, message, readRelayRecord<Message>);
}

template <class Command>
void expectCommand(const std::string& name, const Command& command) {
  expectGolden<Command>(name, command, readRelayCommand<Command>);
}

TEST(GoldenRelayRecords, Snapshot) {
  expectMessage("mac-snapshot", MacSnapshotRelayMessage{.observedAt = kMoment,
                                                        .accessibilityTrusted = true,
                                                        .encryptedApprovals = kPayload,
                                                        .approvalCount = 2,
                                                        .snapshotID = "ax1:" + std::string(64, '0')});
}

TEST(GoldenRelayRecords, Clock) { expectMessage("mac-clock", MacClockRelayMessage{.encryptedClock = kPayload}); }

TEST(GoldenRelayRecords, Result) {
  expectMessage("approval-result", ApprovalResultRelayMessage{
                                       .decisionID = "decision-1", .encryptedResult = kPayload, .issuedAt = kMoment});
}

TEST(GoldenRelayRecords, UnpairOfOnePhoneAndOfAll) {
  expectMessage("phone-unpair-one", UnpairPhoneRelayMessage{.deviceID = "phone-1", .issuedAt = kMoment});
  expectMessage("phone-unpair-all", UnpairPhoneRelayMessage{.issuedAt = kMoment});
}

TEST(GoldenRelayRecords, Request) {
  expectMessage("approval-request", ApprovalRequestRelayMessage{
                                        .decisionID = "decision-1", .encryptedRequest = kPayload, .issuedAt = kMoment});
  expectMessage("approval-request-undated",
                ApprovalRequestRelayMessage{.decisionID = "decision-1", .encryptedRequest = kPayload});
}

TEST(GoldenRelayRecords, SuppressionBothWays) {
  expectMessage("approval-suppress",
                ApprovalSuppressionRelayMessage{
                    .decisionID = "decision-2", .encryptedSuppression = kPayload, .issuedAt = kMoment});
  expectMessage("approval-unsuppress",
                ApprovalSuppressionRelayMessage{
                    .type = "approval.unsuppress", .decisionID = "decision-3", .encryptedSuppression = kPayload});
}

TEST(GoldenRelayRecords, PhoneStatus) {
  expectMessage("phone-status",
                PhoneStatusRelayMessage{.phoneConnected = true,
                                        .phoneCount = 2,
                                        .phones = {{{"phone-1", "Anna\xE2\x80\x99s phone", "ios", true},
                                                    {"phone-2", "Tablet", std::nullopt, std::nullopt}}}});
  expectMessage("phone-status-bare", PhoneStatusRelayMessage{});
}

TEST(GoldenRelayRecords, SealedCommands) {
  expectCommand("command-request", ApprovalRequestCommand{kApprovalID, "Don\xE2\x80\x99t \"Allow\""});
  expectCommand("command-request-timed",
                ApprovalRequestCommand{kApprovalID, "Don\xE2\x80\x99t \"Allow\"", "decision-1", kStamp});
  expectCommand("command-suppress", ApprovalSuppressionCommand{"suppress", kApprovalID, kSuppressionID});
  expectCommand("command-unsuppress-bare", ApprovalSuppressionCommand{"unsuppress", std::nullopt, kSuppressionID});
  expectCommand("command-result", ApprovalResultCommand{kApprovalID, "Allow", "accepted", std::nullopt});
  expectCommand("command-result-error", ApprovalResultCommand{kApprovalID, "Allow", "requires_direct_access",
                                                              "This prompt requires direct Mac access."});
  expectCommand("command-result-too-late",
                ApprovalResultCommand{kApprovalID, "Allow", "failed", "The decision came too late.", "tooLate",
                                      "decision-1", kStamp});
  expectCommand("command-clock", ClockCommand{kStamp});
}

}  // namespace
}  // namespace quillard
