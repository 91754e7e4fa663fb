#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "companion/relay/server/IoHandler.h"

using BIO = struct bio_st;
using SSL = struct ssl_st;

namespace boost::asio::ssl {
class context;
}

namespace quillard::relayserver {

// TLS over a connected socket. OpenSSL does all of it: it reads and writes the socket itself, without waiting, and this
// class waits until the socket is ready and lets it try again. So a connection on which nothing happens keeps no
// buffer; buffers between OpenSSL and the socket would be four of 17 KiB for each connection.
//
// States: new -> handshake -> open -> shut down. One read and one write may be under way at the same time, and nothing
// else. What waits for an operation is called once, later, from the loop, and has to keep this object alive until then.
// Closing the socket ends what is under way with an error. Not thread-safe: the thread of the loop.
//
// Errors: `eof` where the other end has said that nothing more comes, `stream_truncated` where the connection ended
// without that; the socket's; or OpenSSL's, in asio's category for them.
class TlsStream {
 public:
  // Both outlive it. Makes the socket one whose calls do not wait. Throws std::bad_alloc.
  TlsStream(boost::asio::ip::tcp::socket& socket, boost::asio::ssl::context& context);
  TlsStream(const TlsStream&) = delete;
  TlsStream& operator=(const TlsStream&) = delete;
  ~TlsStream();

  using Done = std::function<void(const ErrorCode&)>;
  void handshakeAsServer(Done done);
  // The other end has to show a certificate for `host`, a name or an address, that the context's authority has signed.
  void handshakeAsClient(const std::string& host, Done done);
  // Says that nothing more comes, and waits until the other end has said so, too.
  void shutdown(Done done);

  // Whether something was decrypted that nobody has read yet.
  [[nodiscard]] bool hasPending() const;

  // At least one byte, unless the buffer is empty.
  void readSome(boost::asio::mutable_buffer buffer, IoHandler handler);
  // At most what one record holds, 16 KiB. The bytes stay where they are until it is done.
  void writeSome(boost::asio::const_buffer buffer, IoHandler handler);

  // How often the other end may change keys, or ask for that: each time costs some microseconds, and nothing pays for
  // them. Who follows the standard does so after hundreds of gigabytes.
  static constexpr int kMostKeyUpdates = 1'000;

 private:
  struct Outcome {
    enum class Kind { done, wantsRead, wantsWrite };
    Kind kind = Kind::done;
    ErrorCode error{};
    std::size_t bytes = 0;
  };
  struct SocketBio;  // What OpenSSL calls.

  // Lets OpenSSL try, again whenever the socket is ready, until it is done or has failed.
  template <class Attempt>
  void run(Attempt attempt, IoHandler handler, bool isInsideCaller);
  void handshake(Done done);
  [[nodiscard]] Outcome outcomeOf(int result, std::size_t bytes) const;
  [[nodiscard]] ErrorCode failure(int kind) const;

  struct Release {
    void operator()(SSL* session) const;
  };

  boost::asio::ip::tcp::socket& socket;
  std::unique_ptr<SSL, Release> ssl;
  std::size_t taken = 0;    // From the socket, in the present attempt.
  bool hasEnded = false;    // The socket has.
  ErrorCode socketError{};  // That it met, if any.
  int keyUpdates = 0;
};

}  // namespace quillard::relayserver
