#include "contract/support/ScriptedServer.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/sha.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace quillard::test {
namespace {

constexpr std::chrono::seconds kTimeout{5};

void require(bool succeeded, const char* what) {
  if (!succeeded) throw std::runtime_error(what);
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int bindTo(std::uint16_t port) {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int yes = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  const sockaddr_in address = loopback(port);
  require(::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
  return descriptor;
}

std::uint16_t portOf(int descriptor) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  require(getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0, "getsockname");
  return ntohs(address.sin_port);
}

SSL_CTX* tlsContext(const ServerIdentity& identity) {
  SSL_CTX* const context = SSL_CTX_new(TLS_server_method());
  const std::unique_ptr<BIO, decltype(&BIO_free)> certificateBytes(BIO_new_mem_buf(identity.certificate.data(), -1),
                                                                   BIO_free);
  const std::unique_ptr<BIO, decltype(&BIO_free)> keyBytes(BIO_new_mem_buf(identity.key.data(), -1), BIO_free);
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(
      PEM_read_bio_X509(certificateBytes.get(), nullptr, nullptr, nullptr), X509_free);
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
      PEM_read_bio_PrivateKey(keyBytes.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
  require(SSL_CTX_use_certificate(context, certificate.get()) == 1, "certificate");
  require(SSL_CTX_use_PrivateKey(context, key.get()) == 1, "key");
  return context;
}

std::string acceptKey(const std::string& head) {
  constexpr std::string_view kName = "Sec-WebSocket-Key: ";
  const auto start = head.find(kName);
  if (start == std::string::npos) return {};
  const auto from = start + kName.size();
  const std::string joined = head.substr(from, head.find('\r', from) - from) + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  std::array<unsigned char, SHA_DIGEST_LENGTH> digest{};
  SHA1(reinterpret_cast<const unsigned char*>(joined.data()), joined.size(), digest.data());
  std::array<unsigned char, 32> text{};
  const int length = EVP_EncodeBlock(text.data(), digest.data(), digest.size());
  return {reinterpret_cast<const char*>(text.data()), static_cast<std::size_t>(length)};
}

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8U | static_cast<unsigned char>(byte);
  return value;
}

}  // namespace

ServerConnection::ServerConnection(int descriptor, SSL_CTX* context) : descriptor(descriptor) {
  setTimeout(kTimeout);
  if (!context) return;
  tls = SSL_new(context);
  SSL_set_fd(tls, descriptor);
}

void ServerConnection::setTimeout(std::chrono::seconds timeout) {
  const timeval limit{timeout.count(), 0};
  setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

ServerConnection::~ServerConnection() {
  SSL_free(tls);
  if (descriptor >= 0) ::close(descriptor);
}

bool ServerConnection::handshake() { return !tls || SSL_accept(tls) == 1; }

long ServerConnection::readSome(char* to, std::size_t atMost) {
  if (tls) return SSL_read(tls, to, static_cast<int>(atMost));
  return ::recv(descriptor, to, atMost, 0);
}

std::string ServerConnection::readHead() {
  std::string read;
  char byte = 0;
  while (!read.ends_with("\r\n\r\n") && readSome(&byte, 1) == 1) read += byte;
  return read;
}

std::string ServerConnection::readBytes(std::size_t wanted) {
  std::string read(wanted, '\0');
  std::size_t size = 0;
  while (size < wanted) {
    const long more = readSome(read.data() + size, wanted - size);
    if (more <= 0) break;
    size += static_cast<std::size_t>(more);
  }
  read.resize(size);
  return read;
}

bool ServerConnection::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const long sent = tls ? SSL_write(tls, bytes.data(), static_cast<int>(bytes.size()))
                          : ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool ServerConnection::acceptWebSocket() { return acceptWebSocket(readHead()); }

bool ServerConnection::acceptWebSocket(std::string readHead) {
  head = std::move(readHead);
  return write(
      "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Accept: " +
      acceptKey(head) + "\r\n\r\n");
}

std::optional<Frame> ServerConnection::readFrame() {
  const std::string start = readBytes(2);
  if (start.size() < 2) return std::nullopt;
  std::uint64_t size = static_cast<unsigned char>(start[1]) & 0x7FU;
  if (size == 126) size = bigEndian(readBytes(2));
  if (size == 127) size = bigEndian(readBytes(8));
  const std::string mask = readBytes(4);
  Frame frame{static_cast<Opcode>(start[0] & 0x0F), readBytes(size), (start[0] & 0x80) != 0};
  if (mask.size() < 4 || frame.payload.size() < size) return std::nullopt;
  for (std::size_t i = 0; i < frame.payload.size(); ++i) {
    frame.payload[i] = static_cast<char>(frame.payload[i] ^ mask[i % 4]);
  }
  return frame;
}

bool ServerConnection::sendFrameHeader(Opcode opcode, std::uint64_t size, bool isLast) {
  std::string header(1, static_cast<char>((isLast ? 0x80U : 0U) | static_cast<unsigned>(opcode)));
  const auto append = [&](unsigned mark, int bytes) {
    header += static_cast<char>(mark);
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) header += static_cast<char>(size >> shift & 0xFFU);
  };
  if (size < 126) {
    header += static_cast<char>(size);
  } else if (size < 65536) {
    append(126, 2);
  } else {
    append(127, 8);
  }
  return write(header);
}

bool ServerConnection::sendFrame(Opcode opcode, std::string_view payload, bool isLast) {
  return sendFrameHeader(opcode, payload.size(), isLast) && write(payload);
}

std::optional<std::uint16_t> ServerConnection::waitForEnd() {
  std::optional<std::uint16_t> code;
  while (const auto frame = readFrame()) {
    if (frame->opcode == Opcode::close && frame->payload.size() >= 2) {
      code = static_cast<std::uint16_t>(bigEndian(std::string_view(frame->payload).substr(0, 2)));
    }
  }
  return code;
}

void ServerConnection::reset() {
  const linger atOnce{1, 0};
  setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  ::close(descriptor.exchange(-1));
}

void ServerConnection::interrupt() const { ::shutdown(descriptor, SHUT_RDWR); }

ScriptedServer::ScriptedServer(Script script, const std::optional<ServerIdentity>& identity, std::uint16_t port)
    : script(std::move(script)), tls(identity ? tlsContext(*identity) : nullptr), listener(bindTo(port)) {
  require(::listen(listener, 16) == 0, "listen");
  boundPort = portOf(listener);
  acceptor = std::thread([this] { acceptAll(); });
}

ScriptedServer::~ScriptedServer() {
  isStopping = true;
  ::shutdown(listener, SHUT_RDWR);
  acceptor.join();
  {
    const std::lock_guard lock(mutex);
    for (const Client& client : clients) client.connection->interrupt();
  }
  for (Client& client : clients) client.thread.join();
  clients.clear();
  ::close(listener);
  SSL_CTX_free(tls);
}

std::string ScriptedServer::url(std::string_view scheme, std::string_view pathAndQuery, std::string_view host) const {
  return std::string(scheme) + "://" + std::string(host) + ":" + std::to_string(boundPort) + std::string(pathAndQuery);
}

void ScriptedServer::acceptAll() {
  while (!isStopping) {
    const int descriptor = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) continue;
    ++count;
    serve(descriptor);
  }
}

void ScriptedServer::serve(int descriptor) {
  const std::lock_guard lock(mutex);
  Client& client = clients.emplace_back();
  client.connection = std::make_unique<ServerConnection>(descriptor, tls);
  client.thread = std::thread([this, connection = client.connection.get()] {
    if (connection->handshake()) script(*connection);
    connection->interrupt();
  });
}

std::uint16_t deadPort() {
  const int descriptor = bindTo(0);
  const std::uint16_t port = portOf(descriptor);
  ::close(descriptor);
  return port;
}

}  // namespace quillard::test
