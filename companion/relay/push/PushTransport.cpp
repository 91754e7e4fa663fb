#include "companion/relay/push/PushTransport.h"

#include <charconv>

namespace quillard::relayserver {

std::string pushRequestText(const PushRequest& request) {
  const std::string host = request.endpoint.origin().substr(std::string_view("https://").size());
  std::string text = "POST " + request.endpoint.target + " HTTP/1.1\r\nHost: " + host +
                     "\r\nAuthorization: " + request.authorization + "\r\nTTL: " + std::to_string(request.ttl.count()) +
                     "\r\nUrgency: " + request.urgency + "\r\n";
  if (!request.topic.empty()) text += "Topic: " + request.topic + "\r\n";
  text += "Content-Encoding: aes128gcm\r\nContent-Type: application/octet-stream\r\nContent-Length: " +
          std::to_string(request.body.size()) + "\r\n\r\n";
  return text + request.body;
}

std::optional<std::chrono::seconds> readRetryAfter(std::string_view value) {
  constexpr long kLongest = 1'000'000'000;
  long seconds = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
  const bool isWhole = error == std::errc{} && end == value.data() + value.size() && seconds >= 0;
  if (!isWhole) return std::nullopt;
  return std::chrono::seconds(seconds < kLongest ? seconds : kLongest);
}

}  // namespace quillard::relayserver
