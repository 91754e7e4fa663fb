#include "companion/relay/rules/HttpResponse.h"

#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

constexpr std::string_view kCommonHeaders =
    "content-security-policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
    "connect-src 'self'; manifest-src 'self'; worker-src 'self'; media-src 'self' blob:; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'\r\n"
    "x-content-type-options: nosniff\r\n"
    "referrer-policy: no-referrer\r\n"
    "permissions-policy: camera=(self)\r\n"
    "cross-origin-opener-policy: same-origin\r\n"
    "cross-origin-resource-policy: same-origin\r\n";
constexpr std::string_view kStrictTransport = "strict-transport-security: max-age=31536000\r\n";

std::string_view reasonOf(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 204:
      return "No Content";
    case 304:
      return "Not Modified";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 410:
      return "Gone";
    case 413:
      return "Content Too Large";
    case 421:
      return "Misdirected Request";
    case 426:
      return "Upgrade Required";
    case 429:
      return "Too Many Requests";
    case 431:
      return "Request Header Fields Too Large";
    case 500:
      return "Internal Server Error";
    case 503:
      return "Service Unavailable";
    case 507:
      return "Insufficient Storage";
    default:
      return "Answer";
  }
}

}  // namespace

HttpResponse errorResponse(int status, std::string_view text) {
  HttpResponse answer{.status = status,
                      .headers = {{"content-type", "application/json"}, {"cache-control", "no-store"}}};
  answer.body = std::make_shared<const std::string>(Json{{"error", text}}.dump());
  return answer;
}

std::string headText(const HttpResponse& answer, const ResponseOptions& options) {
  std::string head = "HTTP/1.1 " + std::to_string(answer.status) + " ";
  head += reasonOf(answer.status);
  head += "\r\n";
  for (const auto& [name, value] : answer.headers) head += name + ": " + value + "\r\n";
  const bool hasLength = answer.status != 204 && answer.status != 304;
  if (hasLength) head += "content-length: " + std::to_string(answer.body ? answer.body->size() : 0) + "\r\n";
  head += options.keepsAlive ? "connection: keep-alive\r\n" : "connection: close\r\n";
  head += kCommonHeaders;
  if (options.isEncrypted) head += kStrictTransport;
  return head + "\r\n";
}

}  // namespace quillard::relayserver
