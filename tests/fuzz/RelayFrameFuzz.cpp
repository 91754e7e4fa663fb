#include <string>
#include <variant>

#include "fuzz/FuzzTarget.h"
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

// Any frame is a message, unknown, or refused with a reason.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = decodeIncomingRelayMessage(fuzz::textOf(data, size));
  if (const auto* error = std::get_if<JsonError>(&message)) require(!error->message.empty(), "A refusal says why.");
  if (const auto* request = std::get_if<ApprovalRequestRelayMessage>(&message)) checkRounds(*request);
  if (const auto* status = std::get_if<PhoneStatusRelayMessage>(&message)) checkRounds(*status);
  if (const auto* phones = std::get_if<PushSubscriptionsRelayMessage>(&message)) {
    require(phones->subscriptions.size() <= kMostSubscriptions, "A pairing has so many phones at most.");
  }
  if (const auto* result = std::get_if<PushResultRelayMessage>(&message)) {
    require(!result->pushID.empty() && !result->deviceID.empty(), "A result names its push.");
  }
  if (const auto* suppression = std::get_if<ApprovalSuppressionRelayMessage>(&message)) checkRounds(*suppression);
  return 0;
}
