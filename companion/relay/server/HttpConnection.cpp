#include "companion/relay/server/HttpConnection.h"

#include <array>
#include <optional>

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include "companion/relay/server/RelayCluster.h"
#include "companion/relay/server/WebSocketConnection.h"
#include "foundation/JsonTokens.h"
#include "foundation/Text.h"

namespace quillard::relayserver {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;

// How long a client has to fetch an answer, and then to end the connection.
constexpr std::chrono::seconds kAnswerTimeout{60};
constexpr std::chrono::seconds kEndTimeout{2};
// How long the relays of a cluster have to find out who answers.
constexpr std::chrono::seconds kDecisionTimeout{20};
constexpr std::size_t kMostBuffered = 128 * 1024;

// `name`: of the field, as a text or as one that Beast knows.
template <class Name>
std::vector<std::string> valuesOf(const HttpRequestMessage& message, Name name) {
  std::vector<std::string> values;
  const auto [first, last] = message.equal_range(name);
  for (auto field = first; field != last; ++field) values.emplace_back(field->value());
  return values;
}

std::string firstOf(const std::vector<std::string>& values) { return values.empty() ? "" : values.front(); }

// Sixteen bytes in base64: the four bits behind the last of them are zero.
bool isWebSocketKey(std::string_view key) {
  constexpr std::size_t kDigits = 22;
  constexpr std::string_view kLastDigits = "AQgw";
  const std::string_view digits = key.substr(0, kDigits);
  return key.size() == kDigits + 2 && key.ends_with("==") && isBase64Text(digits) &&
         digits.find('=') == std::string_view::npos && kLastDigits.find(digits.back()) != std::string_view::npos;
}

// As HTTP has it: of HTTP/1.1 one, of HTTP/1.0 one at most.
bool hasUsableHost(const HttpRequestMessage& message) {
  constexpr unsigned kVersionWithHost = 11;
  const auto count = message.count(http::field::host);
  return count == 1 || (count == 0 && message.version() < kVersionWithHost);
}

// Of those that ask for a WebSocket; absent: it is well-formed.
std::optional<HttpResponse> refusalForUpgrade(const HttpRequestMessage& message) {
  if (valuesOf(message, http::field::sec_websocket_version) != std::vector<std::string>{"13"}) {
    auto answer = errorResponse(426, "The relay speaks version 13 of the WebSocket protocol.");
    answer.headers.emplace_back("sec-websocket-version", "13");
    answer.headers.emplace_back("upgrade", "websocket");
    return answer;
  }
  const auto keys = valuesOf(message, http::field::sec_websocket_key);
  if (keys.size() != 1 || !isWebSocketKey(keys.front()) || !message.body().empty()) {
    return errorResponse(400, "The WebSocket handshake is malformed.");
  }
  return std::nullopt;
}

// One connection, request after request. States: TLS handshake -> reading -> answering -> reading again, or ending, or
// handed on to a WebSocket. The operations under way own it.
class HttpConnection final : public std::enable_shared_from_this<HttpConnection> {
 public:
  HttpConnection(RelayStream accepted, const IpAddress& peer, const ConnectionDependencies& dependencies,
                 PlainResponder plainResponder, bool isFromRelay, std::function<void()> onEnd)
      : dependencies(dependencies),
        stream(std::move(accepted)),
        deadline(stream.get_executor()),
        peer(peer),
        plainResponder(std::move(plainResponder)),
        isFromRelay(isFromRelay),
        onEnd(std::move(onEnd)),
        kept(dependencies.memoryOfRequests) {}
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;
  ~HttpConnection() { onEnd(); }

  void start() {
    stream.setOnBytes([this](std::size_t bytes) { countBytes(bytes); });
    expireAfter(dependencies.limits.handshake);
    stream.handshake([self = shared_from_this()](const ErrorCode& error) {
      if (!error) self->readRequest();
    });
  }

 private:
  void expireAfter(Duration timeout) {
    deadline.expires_after(timeout);
    deadline.async_wait([weak = weak_from_this()](const ErrorCode& error) {
      const auto self = weak.lock();
      if (self && !error && self->deadline.expiry() <= std::chrono::steady_clock::now()) self->stream.close();
    });
  }

  // The parser's own limit is that of what it has not understood yet: headers that come piece by piece could go on.
  void countBytes(std::size_t bytes) {
    const bool isOver = parser && !parser->is_header_done() && received > dependencies.limits.headerBytes;
    received += bytes;
    kept.resize(received);
    // Where memory is short, those who come last are refused.
    if (isOver || dependencies.memoryOfRequests.excess() > 0) stream.close();
  }

  void readRequest() {
    received = buffer.size();
    kept.resize(received);
    parser.emplace();
    parser->header_limit(dependencies.limits.headerBytes + 1);
    parser->body_limit(dependencies.limits.bodyBytes);
    http::async_read(stream, buffer, *parser, [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (error) {
        self->refuseUnreadable(error);
      } else {
        self->answerRequest(self->parser->release());
      }
    });
  }

  void refuseUnreadable(const ErrorCode& error) {
    if (error == http::error::header_limit) return send(errorResponse(431, "The headers are too long."), false);
    if (error == http::error::body_limit) return send(errorResponse(413, "The body is too long."), false);
    const bool isOfHttp = error.category() == http::make_error_code(http::error::bad_method).category();
    const bool hasJustEnded = error == http::error::end_of_stream || error == http::error::partial_message;
    if (isOfHttp && !hasJustEnded) send(errorResponse(400, "The message is malformed."), false);
  }

  void answerRequest(HttpRequestMessage message) {
    const bool isTooLong = received - buffer.size() - message.body().size() > dependencies.limits.headerBytes;
    if (isTooLong) return send(errorResponse(431, "The headers are too long."), false);
    if (!hasUsableHost(message)) return send(errorResponse(400, "The message is malformed."), false);
    const HttpRequest request = requestOf(message);
    isForHead = message.method() == http::verb::head;
    if (plainResponder) return send(plainResponder(request), message.keep_alive());
    if (dependencies.cluster) return answerInCluster(std::move(message), request);
    const bool isForWebSocket = request.asksForWebSocket && request.target.substr(0, 4) == "/ws?";
    if (isForWebSocket) return answerUpgrade(message, request);
    send(dependencies.service.answer(request, dependencies.now()), message.keep_alive());
  }

  // Absent: it is well-formed.
  [[nodiscard]] std::optional<HttpResponse> refusalForHandshake(const HttpRequestMessage& message) const {
    auto malformed = refusalForUpgrade(message);
    // Nothing may follow before the answer.
    if (!malformed && buffer.size() > 0) malformed = errorResponse(400, "The WebSocket handshake is malformed.");
    return malformed;
  }

  void answerUpgrade(const HttpRequestMessage& message, const HttpRequest& request) {
    if (const auto malformed = refusalForHandshake(message)) return send(*malformed, false);
    auto outcome = dependencies.service.admit(request, dependencies.now());
    if (const auto* refusal = std::get_if<HttpResponse>(&outcome)) return send(*refusal, false);
    deadline.cancel();
    startWebSocket(std::move(stream), message, std::get<Admission>(outcome), dependencies);
  }

  // ---- One of several relays

  void answerInCluster(HttpRequestMessage message, const HttpRequest& request) {
    if (isFromRelay && request.target == "/cluster") {
      return send(dependencies.cluster->answerNeighbour(), message.keep_alive());
    }
    const bool isForWebSocket = request.asksForWebSocket && request.target.starts_with("/ws?");
    const auto malformed = isForWebSocket ? refusalForHandshake(message) : std::nullopt;
    if (malformed) return send(*malformed, false);
    keepsAlive = !isForWebSocket && message.keep_alive();
    asked = std::move(message);
    expireAfter(kDecisionTimeout);
    dependencies.cluster->admission().decide(
        request, isFromRelay, [self = shared_from_this()](const ClusterDecision& decision) { self->follow(decision); });
  }

  void follow(const ClusterDecision& decision) {
    if (const auto* answer = std::get_if<HttpResponse>(&decision)) return send(*answer, keepsAlive);
    if (const auto* admission = std::get_if<Admission>(&decision)) {
      deadline.cancel();
      return startWebSocket(std::move(stream), *asked, *admission, dependencies);
    }
    const auto& forwarding = std::get<Forwarding>(decision);
    dependencies.cluster->ask(forwarding, headForHome(), [self = shared_from_this(), forwarding](HomeReply reply) {
      self->takeHomeReply(forwarding, std::move(reply));
    });
  }

  void takeHomeReply(const Forwarding& forwarding, HomeReply reply) {
    constexpr int kMisdirected = 421;
    if (reply.status == 0 || reply.status == kMisdirected) {
      return dependencies.cluster->admission().decideAgain(
          forwarding, reply.status == kMisdirected,
          [self = shared_from_this()](const ClusterDecision& decision) { self->follow(decision); });
    }
    deadline.cancel();
    ++dependencies.metrics.answers[reply.status];
    dependencies.cluster->startTunnel(forwarding, std::move(stream), std::move(reply));
  }

  // The request as this relay understood it, and nothing else of what the client sent.
  [[nodiscard]] std::string headForHome() const {
    const auto& message = *asked;
    std::string text = std::string(message.method_string()) + " " + std::string(message.target()) + " HTTP/1.1\r\n";
    text += "Host: relay\r\nX-Forwarded-For: " + client.text() + "\r\n";
    const bool isForWebSocket = beast::websocket::is_upgrade(message);
    text += isForWebSocket ? "Connection: Upgrade\r\nUpgrade: websocket\r\n" : "Connection: close\r\n";
    for (const auto* name :
         {"Authorization", "Origin", "Sec-WebSocket-Key", "Sec-WebSocket-Version", "Sec-WebSocket-Protocol"}) {
      for (const auto& value : valuesOf(message, name)) text += std::string(name) + ": " + value + "\r\n";
    }
    return text + "\r\n";
  }

  // Where the request really comes from. Another relay says so truly.
  [[nodiscard]] IpAddress clientOf(const HttpRequestMessage& message) const {
    const auto forwardedFor = valuesOf(message, "x-forwarded-for");
    if (isFromRelay && forwardedFor.size() == 1) return IpAddress::parse(forwardedFor.front()).value_or(peer);
    return clientAddress(peer, forwardedFor, dependencies.trustedProxies);
  }

  HttpRequest requestOf(const HttpRequestMessage& message) {
    client = clientOf(message);
    return {.method = std::string(message.method_string()),
            .target = std::string(message.target()),
            .body = message.body(),
            .authorization = valuesOf(message, http::field::authorization),
            .subprotocols = valuesOf(message, http::field::sec_websocket_protocol),
            .ifNoneMatch = firstOf(valuesOf(message, http::field::if_none_match)),
            .acceptEncoding = text::joined(valuesOf(message, http::field::accept_encoding), ","),
            .acceptLanguage = text::joined(valuesOf(message, http::field::accept_language), ","),
            .origin = firstOf(valuesOf(message, http::field::origin)),
            .registrationKey = firstOf(valuesOf(message, "quillard-registration-key")),
            .computerKey = valuesOf(message, "quillard-computer-key"),
            .asksForWebSocket = beast::websocket::is_upgrade(message),
            .from = client.ratePrefixes()};
  }

  void send(const HttpResponse& answer, bool mayGoOn) {
    ++dependencies.metrics.answers[answer.status];
    const bool goesOn = mayGoOn && !dependencies.service.stopRequested();
    head = headText(answer, {.isEncrypted = stream.isEncrypted(), .keepsAlive = goesOn, .isForHead = isForHead});
    body = isForHead ? nullptr : answer.body;
    const std::array<asio::const_buffer, 2> parts{asio::buffer(head),
                                                  body ? asio::buffer(*body) : asio::const_buffer()};
    expireAfter(kAnswerTimeout);
    ++dependencies.unfinished.answers;
    asio::async_write(stream, parts, [self = shared_from_this(), goesOn](const ErrorCode& error, std::size_t) {
      --self->dependencies.unfinished.answers;
      if (error) return;
      if (!goesOn) return self->end();
      self->expireAfter(self->dependencies.limits.handshake);
      self->readRequest();
    });
  }

  // What the client still sends is read and dropped for up to kEndTimeout: closing immediately could reset the
  // connection before the client has read the answer.
  void end() {
    expireAfter(kEndTimeout);
    stream.shutdown([self = shared_from_this()](const ErrorCode& error) {
      if (!error && !self->stream.isEncrypted()) self->drain();
    });
  }

  void drain() {
    stream.async_read_some(asio::buffer(dropped), [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (!error) self->drain();
    });
  }

  const ConnectionDependencies& dependencies;
  RelayStream stream;
  asio::steady_timer deadline;
  const IpAddress peer;
  const PlainResponder plainResponder;
  const bool isFromRelay;
  const std::function<void()> onEnd;
  beast::flat_buffer buffer{kMostBuffered};
  MemoryBudget::Share kept;
  std::size_t received = 0;  // Of the present message, and what follows it already.
  std::optional<http::request_parser<http::string_body>> parser;
  std::string head;
  MessageText body;
  bool isForHead = false;
  IpAddress client;
  std::optional<HttpRequestMessage> asked;  // In a cluster, while it is decided on.
  bool keepsAlive = false;                  // Of that.
  std::array<char, 1024> dropped{};
};

}  // namespace

void serveHttp(RelayStream stream, const IpAddress& peer, const ConnectionDependencies& dependencies,
               const PlainResponder& plainResponder, bool isFromRelay, std::function<void()> onEnd) {
  std::make_shared<HttpConnection>(std::move(stream), peer, dependencies, plainResponder, isFromRelay, std::move(onEnd))
      ->start();
}

}  // namespace quillard::relayserver
