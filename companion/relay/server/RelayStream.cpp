#include "companion/relay/server/RelayStream.h"

#include <algorithm>

#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>

#include "companion/relay/server/TlsStream.h"

namespace quillard::relayserver {
namespace asio = boost::asio;
using asio::ip::tcp;

struct RelayStream::State {
  State(tcp::socket accepted, std::shared_ptr<asio::ssl::context> context)
      : socket(std::move(accepted)), context(std::move(context)) {
    if (this->context) tls = std::make_unique<TlsStream>(socket, *this->context);
  }

  tcp::socket socket;
  std::shared_ptr<asio::ssl::context> context;
  // What few connections need stands elsewhere: there are many of them, and most are idle.
  std::unique_ptr<TlsStream> tls;
  std::vector<unsigned char> joined;  // What is being written, in one piece: each write is a TLS record of its own.
  std::function<void(std::size_t)> onBytes;
  std::chrono::steady_clock::time_point heldUntil{};
  std::unique_ptr<asio::steady_timer> held;  // Made when it is first needed.
};

RelayStream::RelayStream(tcp::socket socket, std::shared_ptr<asio::ssl::context> tls)
    : state(std::make_unique<State>(std::move(socket), std::move(tls))) {}
RelayStream::RelayStream(RelayStream&& other) noexcept = default;
RelayStream& RelayStream::operator=(RelayStream&& other) noexcept = default;
RelayStream::~RelayStream() = default;

RelayStream::executor_type RelayStream::get_executor() { return state->socket.get_executor(); }

tcp::socket& RelayStream::socket() { return state->socket; }

bool RelayStream::isEncrypted() const { return state->tls != nullptr; }

bool RelayStream::hasPending() const { return state->tls && state->tls->hasPending(); }

void RelayStream::setOnBytes(std::function<void(std::size_t)> onBytes) { state->onBytes = std::move(onBytes); }

void RelayStream::handshake(std::function<void(const ErrorCode&)> done) {
  if (!state->tls) return done({});
  state->tls->handshakeAsServer(std::move(done));
}

void RelayStream::handshakeAsClient(const std::string& host, std::function<void(const ErrorCode&)> done) {
  if (!state->tls) return done({});
  state->tls->handshakeAsClient(host, std::move(done));
}

void RelayStream::shutdown(std::function<void(const ErrorCode&)> done) {
  if (state->tls) return state->tls->shutdown(std::move(done));
  ErrorCode error;
  state->socket.shutdown(tcp::socket::shutdown_send, error);
  asio::post(get_executor(), [done = std::move(done), error] { done(error); });
}

void RelayStream::holdReads(std::chrono::steady_clock::time_point until) {
  state->heldUntil = std::max(state->heldUntil, until);
}

void RelayStream::releaseReads() {
  state->heldUntil = {};
  if (state->held) state->held->cancel();
}

void RelayStream::close() {
  releaseReads();
  ErrorCode ignored;
  state->socket.close(ignored);
}

void RelayStream::readSome(const BufferList<asio::mutable_buffer>& buffers, IoHandler handler) {
  if (state->heldUntil <= std::chrono::steady_clock::now()) return readNow(*state, buffers, std::move(handler));
  if (!state->held) state->held = std::make_unique<asio::steady_timer>(state->socket.get_executor());
  state->held->expires_at(state->heldUntil);
  // Also when it was cancelled: of a socket that was closed, the read fails.
  state->held->async_wait([state = state.get(), buffers, handler = std::move(handler)](const ErrorCode&) mutable {
    readNow(*state, buffers, std::move(handler));
  });
}

void RelayStream::readNow(State& state, const BufferList<asio::mutable_buffer>& buffers, IoHandler handler) {
  auto finish = [&state, handler = std::move(handler)](const ErrorCode& error, std::size_t bytes) mutable {
    if (bytes > 0 && state.onBytes) state.onBytes(bytes);
    handler(error, bytes);
  };
  if (state.tls) {
    // Empty ones come last, and where all are empty nothing is to be read.
    state.tls->readSome(buffers.front(), IoHandler(std::move(finish)));
  } else {
    state.socket.async_read_some(buffers, std::move(finish));
  }
}

void RelayStream::writeSome(const BufferList<asio::const_buffer>& buffers, IoHandler handler) {
  if (!state->tls) return state->socket.async_write_some(buffers, std::move(handler));
  constexpr std::size_t kRecord = 16 * 1024;
  state->joined.resize(std::min(kRecord, asio::buffer_size(buffers)));
  asio::buffer_copy(asio::buffer(state->joined), buffers);
  auto finish = [state = state.get(), handler = std::move(handler)](const ErrorCode& error, std::size_t bytes) mutable {
    state->joined = {};  // Nothing is kept for the next one.
    handler(error, bytes);
  };
  state->tls->writeSome(asio::buffer(state->joined), IoHandler(std::move(finish)));
}

void teardown(boost::beast::role_type, RelayStream& stream, ErrorCode& error) {
  error = {};
  stream.close();
}

void endWebSocket(RelayStream& stream, std::function<void(const ErrorCode&)> done) { stream.shutdown(std::move(done)); }

void beast_close_socket(RelayStream& stream) { stream.close(); }

}  // namespace quillard::relayserver
