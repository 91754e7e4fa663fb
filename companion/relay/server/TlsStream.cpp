#include "companion/relay/server/TlsStream.h"

#include <new>
#include <utility>

#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/error.hpp>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

namespace quillard::relayserver {
namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

// What one attempt takes from the socket: whoever sends without a pause must not keep the loop for itself.
constexpr std::size_t kMostTaken = std::size_t{64} * 1024;

bool wouldBlock(const ErrorCode& error) { return error == asio::error::would_block || error == asio::error::try_again; }

void countKeyUpdates(int isWrite, int, int kind, const void* bytes, std::size_t size, SSL*, void* updates) {
  const bool isKeyUpdate = isWrite == 0 && kind == SSL3_RT_HANDSHAKE && size > 0 &&
                           *static_cast<const unsigned char*>(bytes) == SSL3_MT_KEY_UPDATE;
  if (isKeyUpdate) ++*static_cast<int*>(updates);
}

}  // namespace

// The socket as OpenSSL sees it.
struct TlsStream::SocketBio {
  static TlsStream& streamOf(BIO* bio) { return *static_cast<TlsStream*>(BIO_get_data(bio)); }

  static int read(BIO* bio, char* bytes, int size) {
    auto& stream = streamOf(bio);
    BIO_clear_retry_flags(bio);
    if (stream.taken >= kMostTaken) {
      BIO_set_retry_read(bio);
      return -1;
    }
    ErrorCode error;
    const auto got = stream.socket.read_some(asio::buffer(bytes, static_cast<std::size_t>(size)), error);
    if (error == asio::error::eof) {
      stream.hasEnded = true;
      return 0;
    }
    if (error) return noteFailure(bio, error, true);
    stream.taken += got;
    return static_cast<int>(got);
  }

  static int write(BIO* bio, const char* bytes, int size) {
    auto& stream = streamOf(bio);
    BIO_clear_retry_flags(bio);
    ErrorCode error;
    const auto sent = stream.socket.write_some(asio::buffer(bytes, static_cast<std::size_t>(size)), error);
    if (error) return noteFailure(bio, error, false);
    return static_cast<int>(sent);
  }

  static int noteFailure(BIO* bio, const ErrorCode& error, bool isRead) {
    if (!wouldBlock(error)) {
      streamOf(bio).socketError = error;
    } else if (isRead) {
      BIO_set_retry_read(bio);
    } else {
      BIO_set_retry_write(bio);
    }
    return -1;
  }

  static long control(BIO* bio, int command, long, void*) {
    if (command == BIO_CTRL_FLUSH) return 1;
    if (command == BIO_CTRL_EOF) return streamOf(bio).hasEnded ? 1 : 0;
    return 0;
  }

  static BIO_METHOD* method() {
    static const std::unique_ptr<BIO_METHOD, decltype(&BIO_meth_free)> made = [] {
      BIO_METHOD* fresh = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "socket");
      if (!fresh) throw std::bad_alloc();
      BIO_meth_set_read(fresh, read);
      BIO_meth_set_write(fresh, write);
      BIO_meth_set_ctrl(fresh, control);
      return std::unique_ptr<BIO_METHOD, decltype(&BIO_meth_free)>(fresh, BIO_meth_free);
    }();
    return made.get();
  }
};

void TlsStream::Release::operator()(SSL* session) const { SSL_free(session); }

TlsStream::TlsStream(tcp::socket& socket, asio::ssl::context& context)
    : socket(socket), ssl(SSL_new(context.native_handle())) {
  BIO* bio = ssl ? BIO_new(SocketBio::method()) : nullptr;
  if (!bio) throw std::bad_alloc();
  BIO_set_data(bio, this);
  BIO_set_init(bio, 1);
  SSL_set_bio(ssl.get(), bio, bio);
  SSL_set_mode(ssl.get(),
               SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER | SSL_MODE_RELEASE_BUFFERS);
  SSL_set_read_ahead(ssl.get(), 1);  // One call for a record, not one for its header and one for the rest.
  SSL_set_msg_callback(ssl.get(), countKeyUpdates);
  SSL_set_msg_callback_arg(ssl.get(), &keyUpdates);
  ErrorCode ignored;
  socket.non_blocking(true, ignored);
}

TlsStream::~TlsStream() = default;

// ---- Trying

ErrorCode TlsStream::failure(int kind) const {
  if (kind == SSL_ERROR_ZERO_RETURN) return asio::error::eof;
  if (socketError) return socketError;
  if (hasEnded) return asio::ssl::error::stream_truncated;
  const auto code = ERR_get_error();
  if (code == 0) return asio::ssl::error::unexpected_result;
  return {static_cast<int>(code), asio::error::get_ssl_category()};
}

TlsStream::Outcome TlsStream::outcomeOf(int result, std::size_t bytes) const {
  using Kind = Outcome::Kind;
  if (keyUpdates > kMostKeyUpdates) return {.error = asio::error::connection_aborted};
  const int kind = SSL_get_error(ssl.get(), result);
  if (kind == SSL_ERROR_NONE) return {.bytes = bytes};
  if (kind == SSL_ERROR_WANT_READ) return {.kind = Kind::wantsRead};
  if (kind == SSL_ERROR_WANT_WRITE) return {.kind = Kind::wantsWrite};
  return {.error = failure(kind)};
}

template <class Attempt>
void TlsStream::run(Attempt attempt, IoHandler handler, bool isInsideCaller) {
  taken = 0;
  ERR_clear_error();
  const Outcome outcome = attempt();
  if (outcome.kind != Outcome::Kind::done) {
    const auto wanted = outcome.kind == Outcome::Kind::wantsRead ? tcp::socket::wait_read : tcp::socket::wait_write;
    // Where it has failed there may be no stream any more.
    socket.async_wait(wanted, [this, attempt, handler = std::move(handler)](const ErrorCode& error) mutable {
      if (error) return handler(error, 0);
      run(attempt, std::move(handler), false);
    });
    return;
  }
  if (!isInsideCaller) return handler(outcome.error, outcome.bytes);
  asio::post(socket.get_executor(),
             [handler = std::move(handler), outcome]() mutable { handler(outcome.error, outcome.bytes); });
}

// ---- Operations

void TlsStream::handshake(Done done) {
  run([this] { return outcomeOf(SSL_do_handshake(ssl.get()), 0); },
      IoHandler([done = std::move(done)](const ErrorCode& error, std::size_t) { done(error); }), true);
}

void TlsStream::handshakeAsServer(Done done) {
  SSL_set_accept_state(ssl.get());
  handshake(std::move(done));
}

void TlsStream::handshakeAsClient(const std::string& host, Done done) {
  SSL_set_connect_state(ssl.get());
  X509_VERIFY_PARAM* wanted = SSL_get0_param(ssl.get());
  ErrorCode notNumeric;
  (void)asio::ip::make_address(host, notNumeric);
  bool isSet = false;
  if (notNumeric) {
    // What SSL_set_tlsext_host_name does, which is a macro with a cast of another time.
    std::string name = host;
    SSL_ctrl(ssl.get(), SSL_CTRL_SET_TLSEXT_HOSTNAME, TLSEXT_NAMETYPE_host_name, name.data());
    isSet = !host.empty() && X509_VERIFY_PARAM_set1_host(wanted, host.data(), host.size()) == 1;
  } else {
    isSet = X509_VERIFY_PARAM_set1_ip_asc(wanted, host.c_str()) == 1;
  }
  if (isSet) return handshake(std::move(done));
  asio::post(socket.get_executor(), [done = std::move(done)] { done(asio::error::invalid_argument); });
}

void TlsStream::shutdown(Done done) {
  const auto attempt = [this] {
    int result = SSL_shutdown(ssl.get());
    if (result == 0) result = SSL_shutdown(ssl.get());  // Said, and now for the other end.
    return outcomeOf(result, 0);
  };
  run(attempt, IoHandler([done = std::move(done)](const ErrorCode& error, std::size_t) { done(error); }), true);
}

bool TlsStream::hasPending() const { return SSL_has_pending(ssl.get()) == 1; }

void TlsStream::readSome(asio::mutable_buffer buffer, IoHandler handler) {
  const auto attempt = [this, buffer] {
    std::size_t got = 0;
    if (buffer.size() == 0) return Outcome{};
    const int result = SSL_read_ex(ssl.get(), buffer.data(), buffer.size(), &got);
    return outcomeOf(result, got);
  };
  run(attempt, std::move(handler), true);
}

void TlsStream::writeSome(asio::const_buffer buffer, IoHandler handler) {
  const auto attempt = [this, buffer] {
    std::size_t sent = 0;
    if (buffer.size() == 0) return Outcome{};
    const int result = SSL_write_ex(ssl.get(), buffer.data(), buffer.size(), &sent);
    return outcomeOf(result, sent);
  };
  run(attempt, std::move(handler), true);
}

}  // namespace quillard::relayserver
