#include "companion/relay/server/PushSender.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <openssl/ssl.h>

#include "companion/relay/push/PushAddresses.h"
#include "companion/relay/server/RelayStream.h"

namespace quillard::relayserver {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;

namespace {

constexpr std::uint32_t kHeaderBytes = 8 * 1024;
constexpr int kMostInterim = 4;

std::shared_ptr<asio::ssl::context> makeTlsContext(const std::string& authority) {
  auto context = std::make_shared<asio::ssl::context>(asio::ssl::context::tls_client);
  context->set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_compression);
  SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
  constexpr unsigned char kProtocol[] = {8, 'h', 't', 't', 'p', '/', '1', '.', '1'};
  SSL_CTX_set_alpn_protos(context->native_handle(), kProtocol, sizeof kProtocol);
  context->set_verify_mode(asio::ssl::verify_peer);
  ErrorCode error;
  if (authority.empty()) {
    context->set_default_verify_paths(error);
  } else {
    context->load_verify_file(authority, error);
  }
  if (error) throw std::runtime_error("The push services' authority cannot be read: " + authority);
  return context;
}

// Nothing has come meanwhile, not even the end: a service that has closed it has most likely said so. What was
// decrypted already and belongs to no answer counts, too.
bool isUnused(RelayStream& stream) {
  if (stream.hasPending()) return false;
  tcp::socket& socket = stream.socket();
  ErrorCode error;
  socket.non_blocking(true, error);
  char byte = 0;
  if (error) return false;
  socket.receive(asio::buffer(&byte, 1), tcp::socket::message_peek, error);
  return error == asio::error::would_block;
}

}  // namespace

// Outlives the sender for as long as something is under way.
struct PushSender::Pool {
  Pool(asio::io_context& loop, const PushLimits& limits, const Options& options)
      : loop(loop),
        limits(limits),
        allowsPrivateAddresses(options.allowsPrivateAddresses),
        tls(makeTlsContext(options.authority)),
        names(std::make_unique<NameLookup>(loop, options.resolve)) {}

  struct Idle {
    std::shared_ptr<RelayStream> stream;
    Instant since;
  };

  // Null: there is none.
  std::shared_ptr<RelayStream> takeIdle(const std::string& origin) {
    const auto found = idle.find(origin);
    while (found != idle.end() && !found->second.empty()) {
      const auto stream = std::move(found->second.back().stream);
      found->second.pop_back();
      if (isUnused(*stream)) return stream;
      stream->close();
    }
    return nullptr;
  }
  void keepIdle(const std::string& origin, std::shared_ptr<RelayStream> stream) {
    std::size_t all = 0;
    for (const auto& [host, ofHost] : idle) all += ofHost.size();
    auto& kept = idle[origin];
    if (isOver || kept.size() >= limits.connectionsOfHost || all >= limits.connections) return stream->close();
    kept.push_back({std::move(stream), std::chrono::steady_clock::now()});
  }
  void closeIdle(Instant usedBefore) {
    for (auto at = idle.begin(); at != idle.end();) {
      std::erase_if(at->second, [&](Idle& one) {
        if (one.since >= usedBefore) return false;
        one.stream->close();
        return true;
      });
      at = at->second.empty() ? idle.erase(at) : std::next(at);
    }
  }
  [[nodiscard]] bool mayConnectTo(const asio::ip::address& address) const {
    if (allowsPrivateAddresses) return true;
    // One with a zone is of a link, and no text of an address.
    const auto read = IpAddress::parse(address.to_string());
    return read && isPublicAddress(*read);
  }

  asio::io_context& loop;
  const PushLimits limits;
  const bool allowsPrivateAddresses;
  const std::shared_ptr<asio::ssl::context> tls;
  std::unique_ptr<NameLookup> names;              // Until the sender ends.
  std::map<std::string, std::vector<Idle>> idle;  // By origin; what was used last comes last.
  bool isOver = false;
};

// One request and its answer. The operations under way own it.
class PushSender::Attempt final : public std::enable_shared_from_this<PushSender::Attempt> {
 public:
  Attempt(std::shared_ptr<Pool> pool, const PushRequest& request, std::function<void(PushReply)> done)
      : pool(std::move(pool)),
        endpoint(request.endpoint),
        text(pushRequestText(request)),
        done(std::move(done)),
        socket(this->pool->loop),
        deadline(this->pool->loop) {}

  void start() {
    deadline.expires_after(pool->limits.attempt);
    deadline.async_wait([self = shared_from_this()](const ErrorCode& error) {
      if (!error) self->fail();
    });
    stream = pool->takeIdle(endpoint.origin());
    isUsedAgain = stream != nullptr;
    if (isUsedAgain) return write();
    resolve();
  }

 private:
  void resolve() {
    ErrorCode notNumeric;
    const auto numeric = asio::ip::make_address(endpoint.host, notNumeric);
    if (!notNumeric) {
      // Later, as with a name.
      return asio::post(pool->loop, [self = shared_from_this(), numeric] {
        if (self->done) self->connect({tcp::endpoint(numeric, self->endpoint.port)});
      });
    }
    if (!pool->names) return fail();
    pool->names->find(endpoint.host, endpoint.port, [self = shared_from_this()](NameLookup::Endpoints found) {
      if (!self->done) return;
      found.empty() ? self->fail() : self->connect(std::move(found));
    });
  }

  void connect(std::vector<tcp::endpoint> found) {
    std::erase_if(found, [this](const tcp::endpoint& one) { return !pool->mayConnectTo(one.address()); });
    if (found.empty()) return finish({.isAddressRefused = true});
    addresses = std::move(found);
    asio::async_connect(socket, addresses, [self = shared_from_this()](const ErrorCode& error, const tcp::endpoint&) {
      if (error || !self->done) return self->fail();
      ErrorCode ignored;
      self->socket.set_option(tcp::no_delay(true), ignored);
      self->stream = std::make_shared<RelayStream>(std::move(self->socket), self->pool->tls);
      self->stream->handshakeAsClient(self->endpoint.host, [self](const ErrorCode& failed) {
        if (failed || !self->done) return self->fail();
        self->write();
      });
    });
  }

  void write() {
    asio::async_write(*stream, asio::buffer(text), [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (!self->done) return;
      if (error) return self->failOrConnect();
      self->read();
    });
  }

  void read() {
    parser.emplace();
    parser->header_limit(kHeaderBytes);
    // Else a header that tells of a long body would be an error, and the status lost.
    parser->body_limit(boost::none);
    http::async_read_header(*stream, buffer, *parser, [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (!self->done) return;
      if (error) return self->buffer.size() == 0 ? self->failOrConnect() : self->fail();
      self->readRest();
    });
  }

  // An interim answer is none, and the one that follows is: else it would be taken for that of the next request.
  bool isInterim() const { return parser->get().result_int() < 200; }

  void readRest() {
    if (isInterim()) return interim++ < kMostInterim ? read() : fail();
    const auto length = parser->content_length();
    const bool isTooLong = length && *length > pool->limits.answerBytes;
    if (isTooLong || parser->is_done()) return finishWithAnswer(!isTooLong);
    parser->body_limit(pool->limits.answerBytes);
    http::async_read(*stream, buffer, *parser, [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (self->done) self->finishWithAnswer(!error);
    });
  }

  void finishWithAnswer(bool isWhole) {
    const auto& message = parser->get();
    const auto field = message[http::field::retry_after];
    PushReply reply{.status = static_cast<int>(message.result_int()),
                    .retryAfter = readRetryAfter({field.data(), field.size()})};
    // What comes after the answer belongs to none.
    if (isWhole && message.keep_alive() && buffer.size() == 0) {
      pool->keepIdle(endpoint.origin(), std::exchange(stream, nullptr));
    }
    finish(reply);
  }

  // A connection that was kept may have been closed at the other end a moment ago: nothing was answered on it.
  void failOrConnect() {
    if (!std::exchange(isUsedAgain, false)) return fail();
    stream->close();
    stream = nullptr;
    resolve();
  }

  void fail() { finish({}); }

  void finish(PushReply reply) {
    if (!done) return;
    deadline.cancel();
    ErrorCode ignored;
    socket.close(ignored);
    if (stream) stream->close();
    std::exchange(done, nullptr)(reply);
  }

  const std::shared_ptr<Pool> pool;
  const PushEndpoint endpoint;
  const std::string text;
  std::function<void(PushReply)> done;  // Empty: it was called.
  tcp::socket socket;
  asio::steady_timer deadline;
  std::vector<tcp::endpoint> addresses;
  std::shared_ptr<RelayStream> stream;
  bool isUsedAgain = false;
  int interim = 0;  // Answers that were none.
  boost::beast::flat_buffer buffer{2 * kHeaderBytes};
  std::optional<http::response_parser<http::string_body>> parser;
};

PushSender::PushSender(asio::io_context& loop, const PushLimits& limits, const Options& options)
    : pool(std::make_shared<Pool>(loop, limits, options)) {}

PushSender::~PushSender() {
  pool->isOver = true;
  pool->names.reset();
  pool->closeIdle(Instant::max());
}

void PushSender::post(PushRequest request, std::function<void(PushReply)> done) {
  // After the sender is gone, nobody wants to know.
  std::make_shared<Attempt>(pool, request, [pool = pool, done = std::move(done)](PushReply reply) {
    if (!pool->isOver) done(reply);
  })->start();
}

void PushSender::tick() { pool->closeIdle(std::chrono::steady_clock::now() - pool->limits.idleConnection); }

}  // namespace quillard::relayserver
