#include "platform/linux/sway/SwayMessages.h"

#include <cstring>

namespace quillard::sway {
namespace {

constexpr std::string_view kMagic = "i3-ipc";
constexpr std::size_t kHeaderLength = kMagic.size() + 2 * sizeof(std::uint32_t);

std::uint32_t numberAt(std::string_view bytes, std::size_t position) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes.data() + position, sizeof(number));
  return number;
}

void append(std::string& bytes, std::uint32_t number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof(number));
}

}  // namespace

std::string encoded(MessageType type, std::string_view payload) {
  std::string bytes{kMagic};
  append(bytes, static_cast<std::uint32_t>(payload.size()));
  append(bytes, static_cast<std::uint32_t>(type));
  return bytes.append(payload);
}

void MessageStream::add(std::string_view bytes) {
  if (!broken) pending.append(bytes);
}

std::optional<Message> MessageStream::next() {
  if (broken || pending.size() < kHeaderLength) return std::nullopt;
  const std::size_t length = numberAt(pending, kMagic.size());
  if (!pending.starts_with(kMagic) || length > kLongestPayload) {
    broken = true;
    pending.clear();
    return std::nullopt;
  }
  if (pending.size() < kHeaderLength + length) return std::nullopt;
  Message message{.type = numberAt(pending, kMagic.size() + sizeof(std::uint32_t)),
                  .payload = pending.substr(kHeaderLength, length)};
  pending.erase(0, kHeaderLength + length);
  return message;
}

}  // namespace quillard::sway
