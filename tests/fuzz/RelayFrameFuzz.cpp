#include <algorithm>
#include <string>
#include <variant>

#include "fuzz/FuzzTarget.h"
#include "relay/PushMessages.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"

using namespace quillard;
using fuzz::require;

namespace {

// What was read is written, and reads again as the same but for fractions of seconds, which a second round keeps.
template <class Message>
void checkRounds(const Message& message) {
  const auto first = jsonText(toJson(message));
  require(first.has_value(), "What was read can be written.");
  const auto once = decodeIncomingRelayMessage(*first);
  require(std::holds_alternative<Message>(once), "What was written reads.");
  require(jsonText(toJson(std::get<Message>(once))) == first, "A second round changes nothing.");
}

}  // namespace

bool isPlainWord(const std::string& text) {
  return !text.empty() && text.size() <= 64 && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
  });
}

// What comes of phones that are woken ends in logs, settings and messages.
void checkSubscriptions(const PushSubscriptionsRelayMessage& message) {
  require(message.subscriptions.size() <= kMostSubscriptions, "A pairing has so many phones at most.");
  const Secret secret{std::string_view{"unknown to the fuzzer"}};
  for (const auto& one : message.subscriptions) {
    require(isPlainWord(one.deviceID) && isPlainWord(one.subscriptionID), "Names are plain words.");
    const auto opened = RelayCrypto::open(one.encryptedSubscription, secret);
    require(std::holds_alternative<RelayCryptoError>(opened), "A forged box does not open.");
  }
}

void checkResult(const PushResultRelayMessage& result) {
  require(isPlainWord(result.pushID) && isPlainWord(result.deviceID), "A result names its push.");
  require(result.reason.empty() || isPlainWord(result.reason), "A reason is a plain word, or none.");
  const Json written{{"pushID", result.pushID},
                     {"deviceID", result.deviceID},
                     {"status", std::string(nameOf(result.status))},
                     {"reason", result.reason}};
  const auto again = readPushResult(written);
  require(std::holds_alternative<PushResultRelayMessage>(again) && std::get<PushResultRelayMessage>(again) == result,
          "What was read is the same when it is read again.");
}

// Any frame is a message, unknown, or refused with a reason.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = decodeIncomingRelayMessage(fuzz::textOf(data, size));
  if (const auto* error = std::get_if<JsonError>(&message)) require(!error->message.empty(), "A refusal says why.");
  if (const auto* request = std::get_if<ApprovalRequestRelayMessage>(&message)) checkRounds(*request);
  if (const auto* status = std::get_if<PhoneStatusRelayMessage>(&message)) checkRounds(*status);
  if (const auto* phones = std::get_if<PushSubscriptionsRelayMessage>(&message)) checkSubscriptions(*phones);
  if (const auto* result = std::get_if<PushResultRelayMessage>(&message)) checkResult(*result);
  if (const auto* suppression = std::get_if<ApprovalSuppressionRelayMessage>(&message)) checkRounds(*suppression);
  return 0;
}
