#include "platform/qt/WebSocketFrames.h"

#include <algorithm>
#include <utility>

#include "foundation/Text.h"

namespace quillard::qt {
namespace {

constexpr unsigned kFin = 0x80;
constexpr unsigned kReservedBits = 0x70;
constexpr unsigned kOpcode = 0x0F;
constexpr unsigned kMasked = 0x80;
constexpr unsigned kLength = 0x7F;
constexpr std::size_t kLongestShort = 125;
constexpr std::size_t kLongestMedium = 0xFFFF;

constexpr unsigned kContinuation = 0;
constexpr unsigned kBinary = 2;
constexpr unsigned kClose = 8;
constexpr unsigned kPing = 9;
constexpr unsigned kPong = 10;

constexpr std::uint16_t kProtocolError = 1002;
constexpr std::uint16_t kNoUtf8 = 1007;
constexpr std::uint16_t kTooLong = 1009;

bool isControl(unsigned opcode) { return opcode >= kClose; }

bool isKnown(unsigned opcode) { return opcode <= kBinary || (opcode >= kClose && opcode <= kPong); }

unsigned byteAt(std::string_view bytes, std::size_t at) { return static_cast<unsigned char>(bytes[at]); }

std::uint64_t numberIn(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char c : bytes) number = number << 8U | static_cast<unsigned char>(c);
  return number;
}

// Those that a server may send in a frame.
bool isCloseCode(unsigned code) {
  return (code >= 1000 && code <= 1014 && code != 1004 && code != 1005 && code != 1006) ||
         (code >= 3000 && code <= 4999);
}

}  // namespace

void WebSocketFrameReader::add(std::string_view more) {
  if (hasEnded) return;
  // What was taken is dropped here, so that many small frames in one piece are not moved again and again.
  bytes.erase(0, std::exchange(used, 0));
  bytes += more;
}

std::optional<WebSocketEvent> WebSocketFrameReader::next() {
  while (!hasEnded) {
    const auto header = readHeader();
    if (broken) return fail(*broken);
    if (!header || bytes.size() - used - header->size < header->payload) return std::nullopt;
    if (auto event = take(*header)) return event;
  }
  return std::nullopt;
}

std::optional<WebSocketFrameReader::Header> WebSocketFrameReader::readHeader() {
  const auto rest = std::string_view(bytes).substr(used);
  if (rest.size() < 2) return std::nullopt;
  const unsigned first = byteAt(rest, 0);
  const unsigned second = byteAt(rest, 1);
  Header header{.isLast = (first & kFin) != 0, .opcode = first & kOpcode, .payload = second & kLength, .size = 2};
  const bool isMessage = messageOpcode != 0;
  const bool isOutOfPlace = !isControl(header.opcode) && (header.opcode == kContinuation) != isMessage;
  const bool isBadControl = isControl(header.opcode) && (!header.isLast || header.payload > kLongestShort);
  const bool isBad = (first & kReservedBits) != 0 || (second & kMasked) != 0 || !isKnown(header.opcode) ||
                     isOutOfPlace || isBadControl;
  if (isBad) broken = kProtocolError;
  if (header.payload > kLongestShort) {
    const std::size_t more = header.payload == kLongestShort + 1 ? 2 : 8;
    if (rest.size() < 2 + more) return std::nullopt;
    const auto length = numberIn(rest.substr(2, more));
    constexpr std::uint64_t kHighestBit = std::uint64_t{1} << 63U;
    if (length <= (more == 2 ? kLongestShort : kLongestMedium) || (length & kHighestBit) != 0) broken = kProtocolError;
    header.payload = static_cast<std::size_t>(length);
    header.size += more;
  }
  if (!broken && !isControl(header.opcode) && header.payload > longestMessage - message.size()) broken = kTooLong;
  return header;
}

std::optional<WebSocketEvent> WebSocketFrameReader::take(const Header& header) {
  const auto payload = std::string_view(bytes).substr(used + header.size, header.payload);
  used += header.size + header.payload;
  if (isControl(header.opcode)) return takeControl(header.opcode, std::string(payload));
  if (header.opcode != kContinuation) messageOpcode = header.opcode;
  message += payload;
  if (!header.isLast) return std::nullopt;
  return finishMessage();
}

WebSocketEvent WebSocketFrameReader::finishMessage() {
  auto whole = std::exchange(message, {});
  if (std::exchange(messageOpcode, 0) == kBinary) return BinaryReceived{std::move(whole)};
  if (!text::isValidUtf8(whole)) return fail(kNoUtf8);
  return TextReceived{std::move(whole)};
}

WebSocketEvent WebSocketFrameReader::takeControl(unsigned opcode, std::string payload) {
  if (opcode == kPing) return PingReceived{std::move(payload)};
  if (opcode == kPong) return PongReceived{};
  if (payload.empty()) {
    hasEnded = true;
    return CloseReceived{};
  }
  const auto code = static_cast<unsigned>(numberIn(std::string_view(payload).substr(0, 2)));
  if (payload.size() < 2 || !isCloseCode(code)) return fail(kProtocolError);
  if (!text::isValidUtf8(std::string_view(payload).substr(2))) return fail(kNoUtf8);
  hasEnded = true;
  return CloseReceived{static_cast<std::uint16_t>(code)};
}

WebSocketEvent WebSocketFrameReader::fail(std::uint16_t code) {
  hasEnded = true;
  bytes.clear();
  message.clear();
  used = 0;
  return ProtocolBroken{code};
}

std::string clientFrame(ClientOpcode opcode, std::string_view payload, const std::array<std::uint8_t, 4>& mask) {
  const int more = payload.size() <= kLongestShort ? 0 : payload.size() <= kLongestMedium ? 2 : 8;
  const std::size_t length = more == 0 ? payload.size() : more == 2 ? kLongestShort + 1 : kLongestShort + 2;
  std::string frame;
  constexpr std::size_t kLongestHeader = 14;
  frame.reserve(payload.size() + kLongestHeader);
  frame += static_cast<char>(kFin | static_cast<unsigned>(opcode));
  frame += static_cast<char>(kMasked | length);
  for (int i = more - 1; i >= 0; --i) {
    frame += static_cast<char>(std::uint64_t{payload.size()} >> (8U * static_cast<unsigned>(i)) & 0xFFU);
  }
  for (const std::uint8_t byte : mask) frame += static_cast<char>(byte);
  const std::size_t begin = frame.size();
  frame += payload;
  for (std::size_t i = 0; i < payload.size(); ++i) {
    frame[begin + i] = static_cast<char>(static_cast<unsigned char>(frame[begin + i]) ^ mask[i % mask.size()]);
  }
  return frame;
}

std::string closePayload(std::uint16_t code) {
  return {static_cast<char>(code >> 8U), static_cast<char>(code & 0xFFU)};
}

}  // namespace quillard::qt
