#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/process/Executors.h"
#include "values/Time.h"

namespace quillard::platform {

struct HttpHeader {
  std::string name;
  std::string value;  // May be a secret: never printed.
};

struct HttpRequest {
  std::string method;
  std::string url;  // http or https. Never printed with its query.
  std::vector<HttpHeader> headers;
  std::string body;
  Seconds timeout{60};  // From the start of the request to the end of the response's headers.
  // The full path of a PEM file: authorities that may vouch for the server besides those of the system. It is read for
  // each https request anew. One that cannot be read, or holds no certificate, fails the request with an error that
  // names it, before anything is sent. Empty: the system's alone.
  std::string authorityFile = {};
};

// What went wrong below the protocol: no network, no such host, an untrusted certificate, a time-out.
struct TransportError {
  std::string description;  // For a diagnostic line: without query, header or body.
};

// The server spoke, but not HTTP.
struct NotHttpResponse {};

struct HttpResponse {
  int statusCode = 0;  // Redirections are not followed: they are answers like others.
};

using HttpOutcome = std::variant<HttpResponse, NotHttpResponse, TransportError>;

// Requests without stored cookies, cache or credentials. Certificates are checked against the system's trust store and
// the request's own authorities, host name included; the system's proxy is used. Destroying the session cancels what is
// under way, without its completion.
class HttpSession {
 public:
  HttpSession() = default;
  HttpSession(const HttpSession&) = delete;
  HttpSession& operator=(const HttpSession&) = delete;
  virtual ~HttpSession() = default;

  // Calls `completion` exactly once, on the executor that the session was made for. The response's body is not read.
  virtual void send(HttpRequest request, std::function<void(HttpOutcome)> completion) = 0;
};

class HttpSessions {
 public:
  virtual ~HttpSessions() = default;
  // `executor` outlives the session.
  [[nodiscard]] virtual std::unique_ptr<HttpSession> makeEphemeralSession(SerialExecutor& executor) = 0;
};

}  // namespace quillard::platform
