// The least that a WebSocket server of the relay's own library can do: every message goes back to who sent it. What the
// relay's figures are held against. Prints its port, and serves until it is killed.

#include <cstdio>
#include <memory>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using ErrorCode = boost::system::error_code;

class Echo final : public std::enable_shared_from_this<Echo> {
 public:
  explicit Echo(tcp::socket accepted) : socket(std::move(accepted)) {
    socket.next_layer().set_option(tcp::no_delay(true));
    socket.auto_fragment(false);
    socket.text(true);
  }
  void start() {
    socket.async_accept([self = shared_from_this()](const ErrorCode& error) {
      if (!error) self->read();
    });
  }

 private:
  void read() {
    socket.async_read(buffer, [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (!error) self->write();
    });
  }
  void write() {
    socket.async_write(buffer.cdata(), [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      self->buffer.consume(self->buffer.size());
      if (!error) self->read();
    });
  }

  boost::beast::websocket::stream<tcp::socket, false> socket;
  boost::beast::flat_buffer buffer;
};

void accept(tcp::acceptor& acceptor) {
  acceptor.async_accept([&acceptor](const ErrorCode& error, tcp::socket socket) {
    if (!error) std::make_shared<Echo>(std::move(socket))->start();
    accept(acceptor);
  });
}

}  // namespace

int main() {
  asio::io_context loop{1};
  tcp::acceptor acceptor(loop, {asio::ip::address_v4::loopback(), 0});
  accept(acceptor);
  std::printf("%u\n", unsigned{acceptor.local_endpoint().port()});
  std::fflush(stdout);
  loop.run();
}
