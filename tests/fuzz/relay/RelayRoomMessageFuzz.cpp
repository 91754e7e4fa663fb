#include <string>
#include <variant>

#include "companion/relay/rules/RoomMessages.h"
#include "fuzz/FuzzTarget.h"

using namespace quillard::relayserver;
using quillard::fuzz::require;

namespace {

constexpr std::size_t kLongest = 64 * 1024;

// What goes on reads as the same again, and writing that changes nothing.
template <class Message, class Read>
void checkRound(const Message& message, Read read) {
  const std::string& written = message.text;
  const auto again = read(written, kLongest * 2);
  require(std::holds_alternative<Message>(again), "What goes on is a message of the same kind.");
  require(std::get<Message>(again).text == written, "A second round changes nothing.");
}

}  // namespace

// Any frame of either role is a message, unknown, or none.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = quillard::fuzz::textOf(data, size);
  const auto fromAgent = readAgentMessage(text, kLongest);
  if (const auto* snapshot = std::get_if<SnapshotMessage>(&fromAgent)) checkRound(*snapshot, readAgentMessage);
  if (const auto* clock = std::get_if<ClockMessage>(&fromAgent)) checkRound(*clock, readAgentMessage);
  if (const auto* result = std::get_if<ResultMessage>(&fromAgent)) {
    checkRound(*result, readAgentMessage);
    const auto named = resultText(*result, PhoneDescription{.deviceID = "A", .deviceName = "\"\\"});
    require(std::holds_alternative<ResultMessage>(readAgentMessage(named, kLongest * 2)), "With its phone, too.");
  }
  if (const auto* push = std::get_if<PushSendMessage>(&fromAgent)) {
    require(push->body.size() >= kShortestPushBody && push->body.size() <= kLongestPushBody, "A body can be posted.");
    require(push->topic.find_first_of("\r\n") == std::string::npos, "A topic ends no line.");
  }
  const auto fromPhone = readPhoneMessage(text, kLongest);
  if (const auto* push = std::get_if<PushSubscribeMessage>(&fromPhone)) {
    const std::string again = R"({"type":"push.subscribe","endpoint":"https://a.b/","key":"k",)" + push->sealed + "}";
    const auto read = readPhoneMessage(again, kLongest);
    require(std::holds_alternative<PushSubscribeMessage>(read), "What is kept can stand in a message.");
    require(std::get<PushSubscribeMessage>(read).sealed == push->sealed, "And is the same there.");
  }
  if (const auto* request = std::get_if<RequestMessage>(&fromPhone)) checkRound(*request, readPhoneMessage);
  if (const auto* suppression = std::get_if<SuppressionMessage>(&fromPhone)) checkRound(*suppression, readPhoneMessage);
  return 0;
}
