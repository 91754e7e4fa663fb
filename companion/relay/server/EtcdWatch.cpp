#include "companion/relay/server/EtcdWatch.h"

#include <optional>
#include <utility>

#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>

#include "companion/relay/cluster/EtcdMessages.h"

namespace quillard::relayserver {
namespace {

namespace http = boost::beast::http;

// Its owner is the one who knows how long it may say nothing.
constexpr std::chrono::seconds kConnectTimeout{5};
constexpr std::size_t kBuffer = 64 * 1024;

class StreamingWatch final : public EtcdWatch, public std::enable_shared_from_this<StreamingWatch> {
 public:
  StreamingWatch(std::string request, Listener listener) : request(std::move(request)), listener(std::move(listener)) {
    parser.body_limit(boost::none);
  }

  void connect(boost::asio::io_context& loop, const PeerAddress& address,
               std::shared_ptr<boost::asio::ssl::context> tls) {
    connectTo(loop, address, std::move(tls), kConnectTimeout,
              [self = shared_from_this()](std::optional<RelayStream> connected) {
                if (self->isOver) return;
                if (!connected) return self->end();
                self->stream.emplace(std::move(*connected));
                self->ask();
              });
  }

  void stop() override {
    isOver = true;
    if (stream) stream->close();
  }

 private:
  void ask() {
    boost::asio::async_write(*stream, boost::asio::buffer(request),
                             [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                               if (error) return self->end();
                               self->read();
                             });
  }

  void read() {
    http::async_read_some(*stream, buffer, parser, [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (self->isOver) return;
      if (error) return self->end();
      if (self->parser.is_header_done() && self->parser.get().result() != http::status::ok) return self->end();
      self->takeLines();
      if (self->isOver) return;
      if (self->parser.is_done() || self->line.size() > etcd::kLongestAnswer) return self->end();
      self->read();
    });
  }

  void takeLines() {
    std::string& arrived = parser.get().body();
    std::size_t begin = 0;
    for (auto end = arrived.find('\n'); end != std::string::npos && !isOver; end = arrived.find('\n', begin)) {
      line.append(arrived, begin, end - begin);
      begin = end + 1;
      listener.line(std::exchange(line, {}));
    }
    line.append(arrived, begin);
    arrived.clear();
  }

  void end() {
    if (isOver) return;
    stop();
    listener.ended();
  }

  const std::string request;
  const Listener listener;
  std::optional<RelayStream> stream;
  boost::beast::flat_buffer buffer{kBuffer};
  http::response_parser<http::string_body> parser;
  std::string line;  // That has not ended yet.
  bool isOver = false;
};

}  // namespace

std::shared_ptr<EtcdWatch> EtcdWatch::start(boost::asio::io_context& loop, const PeerAddress& address,
                                            std::shared_ptr<boost::asio::ssl::context> tls, std::string request,
                                            Listener listener) {
  auto watch = std::make_shared<StreamingWatch>(std::move(request), std::move(listener));
  watch->connect(loop, address, std::move(tls));
  return watch;
}

}  // namespace quillard::relayserver
