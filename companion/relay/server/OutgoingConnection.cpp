#include "companion/relay/server/OutgoingConnection.h"

#include <utility>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>

namespace quillard::relayserver {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;

// One attempt. The operations under way own it.
class Connecting final : public std::enable_shared_from_this<Connecting> {
 public:
  Connecting(asio::io_context& loop, PeerAddress address, std::shared_ptr<asio::ssl::context> tls,
             std::function<void(std::optional<RelayStream>)> done)
      : resolver(loop),
        socket(loop),
        deadline(loop),
        address(std::move(address)),
        tls(std::move(tls)),
        done(std::move(done)) {}

  void start(Duration timeout) {
    deadline.expires_after(timeout);
    deadline.async_wait([self = shared_from_this()](const ErrorCode& error) {
      if (!error) self->finish(false);
    });
    ErrorCode notNumeric;
    const auto numeric = asio::ip::make_address(address.host, notNumeric);
    if (!notNumeric) return connect({tcp::endpoint(numeric, address.port)});
    resolver.async_resolve(
        address.host, std::to_string(address.port),
        [self = shared_from_this()](const ErrorCode& error, const tcp::resolver::results_type& results) {
          if (error || !self->done) return self->finish(false);
          std::vector<tcp::endpoint> found;
          for (const auto& result : results) found.push_back(result.endpoint());
          self->connect(std::move(found));
        });
  }

 private:
  void connect(std::vector<tcp::endpoint> found) {
    endpoints = std::move(found);
    asio::async_connect(socket, endpoints, [self = shared_from_this()](const ErrorCode& error, const tcp::endpoint&) {
      if (error || !self->done) return self->finish(false);
      ErrorCode ignored;
      self->socket.set_option(tcp::no_delay(true), ignored);
      self->stream.emplace(std::move(self->socket), self->tls);
      self->stream->handshakeAsClient(self->address.host, [self](const ErrorCode& failed) { self->finish(!failed); });
    });
  }

  void finish(bool isConnected) {
    if (!done) return;
    deadline.cancel();
    resolver.cancel();
    const auto call = std::exchange(done, nullptr);
    if (isConnected) return call(std::move(stream));
    ErrorCode ignored;
    socket.close(ignored);
    if (stream) stream->close();
    call(std::nullopt);
  }

  tcp::resolver resolver;
  tcp::socket socket;
  asio::steady_timer deadline;
  const PeerAddress address;
  const std::shared_ptr<asio::ssl::context> tls;
  std::function<void(std::optional<RelayStream>)> done;  // Empty: it was called.
  std::vector<tcp::endpoint> endpoints;
  std::optional<RelayStream> stream;
};

// One request and its answer. The operations under way own it.
class Exchange final : public std::enable_shared_from_this<Exchange> {
 public:
  Exchange(std::shared_ptr<RelayStream> stream, std::string request, std::size_t longest,
           std::function<void(std::optional<HttpReply>)> done)
      : stream(std::move(stream)),
        deadline(this->stream->get_executor()),
        request(std::move(request)),
        done(std::move(done)) {
    parser.body_limit(longest);
  }

  void start(Duration timeout) {
    deadline.expires_after(timeout);
    deadline.async_wait([self = shared_from_this()](const ErrorCode& error) {
      if (!error) self->finish(std::nullopt);
    });
    asio::async_write(*stream, asio::buffer(request), [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (error) return self->finish(std::nullopt);
      http::async_read(*self->stream, self->buffer, self->parser, [self](const ErrorCode& failed, std::size_t) {
        if (failed) return self->finish(std::nullopt);
        auto message = self->parser.release();
        self->finish(HttpReply{.status = static_cast<int>(message.result_int()),
                               .body = std::move(message.body()),
                               .keepsAlive = message.keep_alive()});
      });
    });
  }

 private:
  void finish(std::optional<HttpReply> reply) {
    if (!done) return;
    deadline.cancel();
    if (!reply) stream->close();
    std::exchange(done, nullptr)(std::move(reply));
  }

  const std::shared_ptr<RelayStream> stream;
  asio::steady_timer deadline;
  const std::string request;
  std::function<void(std::optional<HttpReply>)> done;  // Empty: it was called.
  boost::beast::flat_buffer buffer;
  http::response_parser<http::string_body> parser;
};

}  // namespace

void connectTo(asio::io_context& loop, const PeerAddress& address, std::shared_ptr<asio::ssl::context> tls,
               Duration timeout, std::function<void(std::optional<RelayStream>)> done) {
  std::make_shared<Connecting>(loop, address, std::move(tls), std::move(done))->start(timeout);
}

void exchange(const std::shared_ptr<RelayStream>& stream, std::string request, std::size_t longest, Duration timeout,
              std::function<void(std::optional<HttpReply>)> done) {
  std::make_shared<Exchange>(stream, std::move(request), longest, std::move(done))->start(timeout);
}

}  // namespace quillard::relayserver
