#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "companion/relay/rules/PrefixBuckets.h"
#include "companion/relay/rules/RelayPeer.h"

namespace quillard::relayserver {

// What a request asks, apart from its socket. Header values as they came, one entry a header.
struct HttpRequest {
  std::string method;
  std::string target;
  std::string body;
  std::vector<std::string> authorization;
  std::vector<std::string> subprotocols;
  std::string ifNoneMatch;
  std::string acceptEncoding;
  std::string acceptLanguage;
  std::string origin;  // Of the page that asks, as its browser says.
  std::string registrationKey;
  std::vector<std::string> computerKey;
  bool asksForWebSocket = false;
  RatePrefixes from;  // The address that it comes from.
};

struct HttpResponse {
  int status = 200;
  std::vector<std::pair<std::string, std::string>> headers;
  MessageText body;  // May be absent: none.
};

// {"error": "..."}, with a text for people.
[[nodiscard]] HttpResponse errorResponse(int status, std::string_view text);

struct ResponseOptions {
  bool isEncrypted = false;
  bool keepsAlive = false;
  bool isForHead = false;
};
// The head of the answer as it is sent, with the headers that every answer has; none of them says who serves.
[[nodiscard]] std::string headText(const HttpResponse& answer, const ResponseOptions& options);

}  // namespace quillard::relayserver
