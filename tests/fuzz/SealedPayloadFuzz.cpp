#include <string>
#include <variant>

#include "approvals/PendingApprovalJson.h"
#include "foundation/StrictBase64.h"
#include "fuzz/FuzzTarget.h"
#include "platform/simulated/SimulatedRandom.h"
#include "push/PushEncryption.h"
#include "push/PushText.h"
#include "relay/PushMessages.h"
#include "relay/RelayCommands.h"
#include "relay/RelayCrypto.h"
#include "relay/SnapshotRecords.h"

using namespace quillard;
using fuzz::require;

namespace {

// Without the secret, no box can be made that opens.
void checkPayload(std::string_view text, const Secret& secret) {
  const auto payload = readRelayRecord<EncryptedRelayPayload>(text);
  if (std::holds_alternative<JsonError>(payload)) return;
  const auto opened = RelayCrypto::open(std::get<EncryptedRelayPayload>(payload), secret);
  require(std::holds_alternative<RelayCryptoError>(opened), "A forged box does not open.");
}

void checkBase64(std::string_view text) {
  const auto bytes = base64Bytes(text);
  if (!bytes) return;
  require(base64Text(*bytes) == text, "Bytes have one text.");
  (void)openedBox(Secret{std::string(32, 'k')}, *bytes);
}

// The plaintext of a box comes from whoever holds the secret: it is read as strictly as the rest.
template <class Command>
void checkCommand(std::string_view text) {
  const auto command = readRelayCommand<Command>(text);
  if (std::holds_alternative<JsonError>(command)) return;
  const auto written = jsonText(toJson(std::get<Command>(command)));
  require(written.has_value(), "What was read can be written.");
  const auto again = readRelayCommand<Command>(*written);
  require(std::holds_alternative<Command>(again) && std::get<Command>(again) == std::get<Command>(command),
          "What was written reads as the same.");
}

// A push for such a phone can be sent, unless its key is no point of the curve, and says what browsers can read.
void checkPush(const SubscriptionCommand& command) {
  const PushContents contents{.kind = PushContents::Kind::several, .waiting = 2};
  const PushAddressee addressee{.pairingID = "p",
                                .page = command.page,
                                .computer = command.computer,
                                .content = command.content,
                                .language = command.language};
  const auto text = pushText(contents, addressee, "00");
  require(text && text->size() <= kLongestPushPlaintext, "There is always something to say, and room for it.");
  require(std::holds_alternative<Json>(parseStrictJson(*text)), "It is JSON.");
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{1}};
  const auto body = encryptedPush(*text, command.keys, random);
  constexpr std::size_t kAround = 103;
  require(!body || body->size() == text->size() + kAround, "A body is as long as the text, and what is around it.");
}

// What a phone says of its subscription ends as keys of the right form, or not at all.
void checkSubscription(std::string_view text) {
  const auto read = readSubscription(text);
  const auto* command = std::get_if<SubscriptionCommand>(&read);
  if (command == nullptr) return;
  require(command->keys.p256dh[0] == 4, "Only uncompressed points are taken.");
  require(command->page.find('#') == std::string::npos, "A page has no fragment.");
  require(!command->deviceID.empty(), "A phone has a name.");
  require(command->sequence >= 0 && command->sequence <= kLatestSequence, "What counts up can be kept.");
  checkPush(*command);
}

// The marks of a list are no part of its records: a reader that knows none of them reads the same list.
void checkMarks(std::string_view text) {
  const auto marks = readSnapshotMarks(text);
  const auto approvals = readPendingApprovals(text);
  if (std::holds_alternative<JsonError>(marks) || std::holds_alternative<JsonError>(approvals)) return;
  const auto& list = std::get<std::vector<PendingApproval>>(approvals);
  const auto written = jsonText(snapshotRecords(list, std::get<SnapshotMarks>(marks)));
  require(written.has_value(), "What was read can be written.");
  const auto again = readSnapshotMarks(*written);
  require(
      std::holds_alternative<SnapshotMarks>(again) && std::get<SnapshotMarks>(again) == std::get<SnapshotMarks>(marks),
      "What was written bears the same marks.");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = fuzz::textOf(data, size);
  const Secret secret{std::string_view{"unknown to the fuzzer"}};
  checkPayload(text, secret);
  checkBase64(text);
  checkCommand<ApprovalRequestCommand>(text);
  checkCommand<ApprovalSuppressionCommand>(text);
  checkCommand<ApprovalResultCommand>(text);
  checkCommand<ClockCommand>(text);
  checkSubscription(text);
  checkMarks(text);
  return 0;
}
