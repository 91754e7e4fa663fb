#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include "companion/relay/server/TlsStream.h"
#include "contract/support/TestAuthority.h"

// The stream over a socket of loopback, and at the other end OpenSSL with its records in the test's hands: it can cut,
// change and keep them.
namespace quillard::relayserver {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using asio::ssl::context;
using Bytes = std::vector<unsigned char>;

constexpr int kManyTurns = 200'000;
constexpr std::size_t kRecord = 16 * 1024;

struct Result {
  ErrorCode error{};
  std::size_t bytes = 0;
};
using Pending = std::shared_ptr<std::optional<Result>>;

Pending pending() { return std::make_shared<std::optional<Result>>(); }
IoHandler into(const Pending& result) {
  return IoHandler([result](const ErrorCode& error, std::size_t bytes) { *result = Result{error, bytes}; });
}
TlsStream::Done done(const Pending& result) {
  return [result](const ErrorCode& error) { *result = Result{error}; };
}

std::unique_ptr<context> serverContext(const test::ServerIdentity& identity) {
  auto made = std::make_unique<context>(context::tls_server);
  made->set_options(context::default_workarounds | SSL_OP_NO_RENEGOTIATION);
  made->use_certificate_chain(asio::buffer(identity.certificate));
  made->use_private_key(asio::buffer(identity.key), context::pem);
  return made;
}

// Two sockets that are connected with each other.
struct Loopback {
  Loopback() {
    tcp::acceptor acceptor(loop, tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    theirs.connect(acceptor.local_endpoint());
    acceptor.accept(ours);
    theirs.non_blocking(true);
    theirs.set_option(tcp::no_delay(true));
  }
  // Until it is so.
  template <class Condition>
  bool runUntil(Condition isSo, int turns = kManyTurns) {
    for (int turn = 0; turn < turns && !isSo(); ++turn) {
      loop.poll();
      loop.restart();
    }
    return isSo();
  }
  // What is due now.
  void run() {
    constexpr int kTurns = 20;
    for (int turn = 0; turn < kTurns; ++turn) {
      loop.poll();
      loop.restart();
    }
  }

  asio::io_context loop;
  tcp::socket ours{loop};
  tcp::socket theirs{loop};
};

class TlsStreamWithClient : public testing::Test {
 protected:
  TlsStreamWithClient() : server(serverContext(authority.issue())), stream(net.ours, *server) {}
  ~TlsStreamWithClient() override {
    SSL_free(client);
    SSL_CTX_free(clientContext);
  }

  void connect(int version = TLS1_3_VERSION) {
    SSL_CTX_set_min_proto_version(clientContext, version);
    SSL_CTX_set_max_proto_version(clientContext, version);
    client = SSL_new(clientContext);
    SSL_set_bio(client, BIO_new(BIO_s_mem()), BIO_new(BIO_s_mem()));
    SSL_set_connect_state(client);
    const auto shaken = pending();
    stream.handshakeAsServer(done(shaken));
    ASSERT_TRUE(net.runUntil([&] {
      take();
      const bool isDone = SSL_do_handshake(client) == 1;
      give(made());
      return isDone && shaken->has_value();
    }));
    ASSERT_FALSE((*shaken)->error) << (*shaken)->error.message();
  }

  // What the client's OpenSSL wants to send.
  Bytes made() const {
    Bytes bytes(BIO_ctrl_pending(SSL_get_wbio(client)));
    if (!bytes.empty()) BIO_read(SSL_get_wbio(client), bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
  }
  Bytes record(const std::string& text) const {
    SSL_write(client, text.data(), static_cast<int>(text.size()));
    return made();
  }
  void give(const Bytes& bytes) { asio::write(net.theirs, asio::buffer(bytes)); }
  // What has come from the stream.
  void take() {
    std::array<unsigned char, 4096> bytes{};
    ErrorCode error;
    while (const auto got = net.theirs.read_some(asio::buffer(bytes), error)) {
      BIO_write(SSL_get_rbio(client), bytes.data(), static_cast<int>(got));
    }
  }
  // All that the client can read now.
  std::string clientReads() {
    take();
    std::string text;
    std::array<char, 4096> bytes{};
    for (int got = 0; (got = SSL_read(client, bytes.data(), static_cast<int>(bytes.size()))) > 0;) {
      text.append(bytes.data(), static_cast<std::size_t>(got));
    }
    return text;
  }

  Pending read(std::size_t most = kRecord) {
    buffer.resize(most);
    const auto result = pending();
    stream.readSome(asio::buffer(buffer), into(result));
    EXPECT_FALSE(result->has_value()) << "It was called from inside.";
    return result;
  }
  Result settled(const Pending& result) {
    EXPECT_TRUE(net.runUntil([&] { return result->has_value(); }));
    return result->value_or(Result{});
  }
  // What a read that is started now gets.
  std::string readText(std::size_t most = kRecord) {
    const auto result = settled(read(most));
    EXPECT_FALSE(result.error) << result.error.message();
    return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(result.bytes)};
  }

  test::TestAuthority authority;
  Loopback net;
  std::unique_ptr<context> server;
  TlsStream stream;
  SSL_CTX* clientContext = SSL_CTX_new(TLS_client_method());
  SSL* client = nullptr;
  std::string buffer;
};

TEST_F(TlsStreamWithClient, ReadsARecordThatComesByteByByte) {
  connect();
  const auto bytes = record("hello");
  const auto result = read();
  for (const auto byte : bytes) {
    EXPECT_FALSE(result->has_value());
    give({byte});
    net.run();
  }
  EXPECT_EQ(settled(result).bytes, 5U);
  EXPECT_EQ(buffer.substr(0, 5), "hello");
}

TEST_F(TlsStreamWithClient, ReadsTheRestOfARecordAndTheNextOneWithoutWaitingForMore) {
  connect();
  const std::string text(kRecord, 'x');
  auto bytes = record(text);
  const auto next = record("next");
  bytes.insert(bytes.end(), next.begin(), next.end());
  give(bytes);
  std::string got;
  while (got.size() < text.size() + 4) {
    const auto part = readText(1'000);
    ASSERT_FALSE(part.empty());
    got += part;
  }
  EXPECT_EQ(got, text + "next");
}

TEST_F(TlsStreamWithClient, ReadsMoreThanItTakesAtOnce) {
  connect();
  std::string text;
  for (std::size_t i = 0; i < 40 * kRecord; ++i) text += static_cast<char>('a' + i % 26);
  std::string got;
  std::size_t sent = 0;
  while (got.size() < text.size()) {
    if (sent < text.size()) {
      // As much as its socket takes of some records at once.
      const auto bytes = record(text.substr(sent, 8 * kRecord));
      sent += 8 * kRecord;
      for (std::size_t at = 0; at < bytes.size();) {
        ErrorCode error;
        at += net.theirs.write_some(asio::buffer(bytes.data() + at, bytes.size() - at), error);
        if (error) got += readText();
      }
    }
    got += readText();
  }
  EXPECT_TRUE(got == text);
}

TEST_F(TlsStreamWithClient, TakesACloseMessageForTheEnd) {
  connect();
  SSL_shutdown(client);
  give(made());
  EXPECT_EQ(settled(read()).error, asio::error::eof);
}

TEST_F(TlsStreamWithClient, TakesAConnectionThatEndsWithoutACloseMessageForCut) {
  connect();
  net.theirs.shutdown(tcp::socket::shutdown_send);
  EXPECT_EQ(settled(read()).error, asio::ssl::error::stream_truncated);
}

TEST_F(TlsStreamWithClient, TakesAConnectionThatEndsWithinARecordForCut) {
  connect();
  auto bytes = record("hello");
  bytes.resize(bytes.size() - 1);
  give(bytes);
  net.theirs.shutdown(tcp::socket::shutdown_send);
  const auto result = settled(read());
  EXPECT_EQ(result.error, asio::ssl::error::stream_truncated);
  EXPECT_EQ(result.bytes, 0U);
}

TEST_F(TlsStreamWithClient, RefusesARecordThatWasChanged) {
  connect();
  auto bytes = record("hello");
  bytes.back() ^= 1U;
  give(bytes);
  EXPECT_EQ(settled(read()).error.category(), asio::error::get_ssl_category());
  // For good, whatever comes.
  give(record("hello"));
  EXPECT_TRUE(settled(read()).error);
}

TEST_F(TlsStreamWithClient, RefusesWhatIsNoTls) {
  const auto shaken = pending();
  stream.handshakeAsServer(done(shaken));
  const std::string text = "GET / HTTP/1.1\r\nHost: relay\r\n\r\n";
  give(Bytes(text.begin(), text.end()));
  EXPECT_EQ(settled(shaken).error.category(), asio::error::get_ssl_category());
}

TEST_F(TlsStreamWithClient, GoesOnWithNewKeys) {
  connect();
  SSL_key_update(client, SSL_KEY_UPDATE_REQUESTED);
  give(record("with new keys"));
  EXPECT_EQ(readText(), "with new keys");
  const std::string answer = "with others";
  const auto written = pending();
  stream.writeSome(asio::buffer(answer), into(written));
  EXPECT_EQ(settled(written).bytes, answer.size());
  std::string got;
  EXPECT_TRUE(net.runUntil([&] { return (got += clientReads()) == answer; })) << got;
}

TEST_F(TlsStreamWithClient, EndsAConnectionWhoseKeysChangeWithoutEnd) {
  for (const int more : {0, 1}) {
    SCOPED_TRACE(more);
    Loopback other;
    TlsStream one(other.ours, *server);
    SSL* peer = SSL_new(clientContext);
    SSL_set_fd(peer, other.theirs.native_handle());
    SSL_set_connect_state(peer);
    const auto shaken = pending();
    one.handshakeAsServer(done(shaken));
    ASSERT_TRUE(other.runUntil([&] { return SSL_do_handshake(peer) == 1 && shaken->has_value(); }));
    std::string bytes(kRecord, '\0');
    const auto result = pending();
    one.readSome(asio::buffer(bytes), into(result));
    for (int i = 0; i < TlsStream::kMostKeyUpdates + more; ++i) {
      SSL_key_update(peer, SSL_KEY_UPDATE_NOT_REQUESTED);
      ASSERT_TRUE(other.runUntil([&] { return SSL_do_handshake(peer) == 1; }));
    }
    SSL_write(peer, "hello", 5);
    ASSERT_TRUE(other.runUntil([&] { return result->has_value(); }));
    EXPECT_EQ((*result)->error, more == 0 ? ErrorCode() : ErrorCode(asio::error::connection_aborted));
    SSL_free(peer);
  }
}

TEST_F(TlsStreamWithClient, NegotiatesNothingAnew) {
  connect(TLS1_2_VERSION);
  const auto result = read();
  SSL_renegotiate(client);
  SSL_do_handshake(client);
  give(made());
  bool isRefused = false;
  EXPECT_TRUE(net.runUntil([&] {
    take();
    isRefused = SSL_do_handshake(client) != 1 && SSL_get_error(client, -1) == SSL_ERROR_SSL;
    return isRefused;
  }));
}

TEST_F(TlsStreamWithClient, WritesOnWhenThereIsRoomAgainAndReadsMeanwhile) {
  connect();
  net.ours.set_option(asio::socket_base::send_buffer_size(4096));
  std::string text;
  for (std::size_t i = 0; i < kRecord; ++i) text += static_cast<char>('a' + i % 26);
  int written = 0;
  auto result = pending();
  const auto write = [&] {
    result = pending();
    stream.writeSome(asio::buffer(text), into(result));
  };
  constexpr int kMostRecords = 2'000;
  constexpr int kTurnsOfAStill = 20'000;  // The system may hand bytes on late.
  for (write(); written < kMostRecords; write()) {
    if (!net.runUntil([&] { return result->has_value(); }, kTurnsOfAStill)) break;
    ASSERT_FALSE((*result)->error);
    ASSERT_EQ((*result)->bytes, text.size());
    ++written;
  }
  ASSERT_LT(written, kMostRecords) << "There was always room.";
  // A record is half written, until the client says again how much room it has, which it does with what it sends.
  give(record("meanwhile"));
  EXPECT_EQ(readText(), "meanwhile");
  std::string got;
  const auto all = (static_cast<std::size_t>(written) + 1) * text.size();
  EXPECT_TRUE(net.runUntil([&] { return (got += clientReads()).size() == all; })) << got.size();
  EXPECT_EQ(settled(result).bytes, text.size());
  for (std::size_t at = 0; at < got.size(); at += text.size()) ASSERT_EQ(got.compare(at, text.size(), text), 0);
}

TEST_F(TlsStreamWithClient, WritesARecordAtMost) {
  connect();
  const std::string text(3 * kRecord, 'x');
  const auto written = pending();
  stream.writeSome(asio::buffer(text), into(written));
  EXPECT_EQ(settled(written).bytes, kRecord);
}

TEST_F(TlsStreamWithClient, ReadsAndWritesNothingIntoNothing) {
  connect();
  EXPECT_EQ(readText(0), "");
  const auto written = pending();
  stream.writeSome(asio::const_buffer(), into(written));
  EXPECT_FALSE(settled(written).error);
}

TEST_F(TlsStreamWithClient, ShutsDownWhenBothHaveSaidSo) {
  connect();
  const auto result = pending();
  stream.shutdown(done(result));
  EXPECT_TRUE(net.runUntil([&] {
    EXPECT_EQ(clientReads(), "");
    return (SSL_get_shutdown(client) & SSL_RECEIVED_SHUTDOWN) != 0;
  }));
  EXPECT_FALSE(result->has_value());
  SSL_shutdown(client);
  give(made());
  EXPECT_FALSE(settled(result).error);
}

TEST_F(TlsStreamWithClient, EndsAReadWhenItsSocketIsClosed) {
  connect();
  const auto result = read();
  net.run();
  net.ours.close();
  EXPECT_EQ(settled(result).error, asio::error::operation_aborted);
}

TEST_F(TlsStreamWithClient, FailsWhereTheOtherEndHasGone) {
  connect();
  net.theirs.set_option(asio::socket_base::linger(true, 0));
  net.theirs.close();
  EXPECT_TRUE(settled(read()).error);
  const std::string text(kRecord, 'x');
  const auto written = pending();
  stream.writeSome(asio::buffer(text), into(written));
  EXPECT_TRUE(settled(written).error);
}

// Whether a client that trusts `authority` takes a server with these names for `host`.
bool isTaken(const test::TestAuthority& authority, const test::ServerIdentity& identity, const std::string& host) {
  Loopback net;
  const auto ofServer = serverContext(identity);
  context ofClient(context::tls_client);
  ofClient.add_certificate_authority(asio::buffer(authority.certificate()));
  ofClient.set_verify_mode(asio::ssl::verify_peer);
  TlsStream server(net.ours, *ofServer);
  TlsStream client(net.theirs, ofClient);
  const auto served = pending();
  const auto connected = pending();
  server.handshakeAsServer(done(served));
  client.handshakeAsClient(host, done(connected));
  EXPECT_TRUE(net.runUntil([&] { return connected->has_value(); }));
  return connected->has_value() && !(*connected)->error;
}

TEST(TlsStreamAsClient, TakesACertificateForItsHostAlone) {
  const test::TestAuthority authority;
  const auto numeric = authority.issue({.names = "IP:127.0.0.1"});
  EXPECT_TRUE(isTaken(authority, numeric, "127.0.0.1"));
  for (const char* host : {"127.0.0.2", "::1", "localhost", "relay-1.internal", ""}) {
    EXPECT_FALSE(isTaken(authority, numeric, host)) << host;
  }
  const auto named = authority.issue({.names = "DNS:relay-1.internal"});
  EXPECT_TRUE(isTaken(authority, named, "relay-1.internal"));
  for (const char* host : {"127.0.0.1", "relay-2.internal", "internal", "a.relay-1.internal"}) {
    EXPECT_FALSE(isTaken(authority, named, host)) << host;
  }
}

TEST(TlsStreamAsClient, TakesNoCertificateOfAnotherAuthority) {
  const test::TestAuthority authority;
  EXPECT_FALSE(isTaken(test::TestAuthority(), authority.issue(), "127.0.0.1"));
  EXPECT_FALSE(isTaken(authority, test::TestAuthority::selfSigned(), "127.0.0.1"));
  EXPECT_FALSE(isTaken(authority, authority.issue({.validUntil = -1}), "127.0.0.1"));
}

}  // namespace
}  // namespace quillard::relayserver
