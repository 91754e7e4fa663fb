#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/asio/async_result.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/role.hpp>

#include "companion/relay/server/IoHandler.h"

namespace boost::asio::ssl {
class context;
}

namespace quillard::relayserver {

// A connection with a client, encrypted or not: an AsyncStream. Reads and writes take as many of the buffers as fit in
// a small list, which "some" allows.
class RelayStream {
 public:
  using executor_type = boost::asio::ip::tcp::socket::executor_type;

  // `tls`: null for none. Kept for as long as this connection lives.
  RelayStream(boost::asio::ip::tcp::socket socket, std::shared_ptr<boost::asio::ssl::context> tls);
  RelayStream(RelayStream&& other) noexcept;
  RelayStream& operator=(RelayStream&& other) noexcept;
  ~RelayStream();

  executor_type get_executor();
  [[nodiscard]] boost::asio::ip::tcp::socket& socket();
  [[nodiscard]] bool isEncrypted() const;

  // The TLS handshake; without TLS it is done immediately.
  void handshake(std::function<void(const ErrorCode&)> done);
  // The same from the other end: whoever answers has to have a certificate for `host`.
  void handshakeAsClient(const std::string& host, std::function<void(const ErrorCode&)> done);
  // Whether bytes were taken from the system that nobody has read yet.
  [[nodiscard]] bool hasPending() const;
  // Tells the other end that nothing more comes.
  void shutdown(std::function<void(const ErrorCode&)> done);
  // Ends it without ceremony. What waits fails.
  void close();

  // Called whenever bytes have come, with how many, before they are parsed.
  void setOnBytes(std::function<void(std::size_t)> onBytes);

  // Nothing more is read before then: what the client sends waits in the system, and then with the client.
  void holdReads(std::chrono::steady_clock::time_point until);
  // What was held goes on.
  void releaseReads();

  template <class Buffers, class Token>
  auto async_read_some(const Buffers& buffers, Token&& token) {
    return boost::asio::async_initiate<Token, void(ErrorCode, std::size_t)>(
        [this, list = listOf<boost::asio::mutable_buffer>(buffers)](auto&& handler) {
          readSome(list, IoHandler(std::forward<decltype(handler)>(handler)));
        },
        token);
  }
  template <class Buffers, class Token>
  auto async_write_some(const Buffers& buffers, Token&& token) {
    return boost::asio::async_initiate<Token, void(ErrorCode, std::size_t)>(
        [this, list = listOf<boost::asio::const_buffer>(buffers)](auto&& handler) {
          writeSome(list, IoHandler(std::forward<decltype(handler)>(handler)));
        },
        token);
  }

 private:
  static constexpr std::size_t kMostBuffers = 8;
  template <class Buffer>
  using BufferList = std::array<Buffer, kMostBuffers>;  // Those that are not needed are empty.

  template <class Buffer, class Buffers>
  static BufferList<Buffer> listOf(const Buffers& buffers) {
    BufferList<Buffer> list;
    std::size_t used = 0;
    for (auto at = boost::asio::buffer_sequence_begin(buffers);
         at != boost::asio::buffer_sequence_end(buffers) && used < list.size(); ++at) {
      if (Buffer buffer = *at; buffer.size() > 0) list[used++] = buffer;
    }
    return list;
  }

  void readSome(const BufferList<boost::asio::mutable_buffer>& buffers, IoHandler handler);
  void writeSome(const BufferList<boost::asio::const_buffer>& buffers, IoHandler handler);

  struct State;
  static void readNow(State& state, const BufferList<boost::asio::mutable_buffer>& buffers, IoHandler handler);
  std::unique_ptr<State> state;
};

// What Beast calls when a WebSocket has ended.
void teardown(boost::beast::role_type role, RelayStream& stream, ErrorCode& error);
void endWebSocket(RelayStream& stream, std::function<void(const ErrorCode&)> done);
template <class TeardownHandler>
void async_teardown(boost::beast::role_type, RelayStream& stream, TeardownHandler&& handler) {
  // The handler can only be moved, a function wants to copy.
  auto held = std::make_shared<std::decay_t<TeardownHandler>>(std::forward<TeardownHandler>(handler));
  endWebSocket(stream, [held](const ErrorCode& error) { std::move (*held)(error); });
}
void beast_close_socket(RelayStream& stream);

}  // namespace quillard::relayserver
