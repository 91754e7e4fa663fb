#include "e2e/RelayWire.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/pem.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace quillard::test {
namespace {

constexpr timeval kTimeout{10, 0};
constexpr std::array<unsigned char, 4> kMask{1, 2, 3, 4};

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

int connected(std::uint16_t port, int receiveBuffer) {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
  ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &kTimeout, sizeof kTimeout);
  ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &kTimeout, sizeof kTimeout);
  // As clients do: else a message waits for the acknowledgement of the one before.
  constexpr int kOn = 1;
  ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &kOn, sizeof kOn);
  if (receiveBuffer > 0) ::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ::close(descriptor);
    throw std::runtime_error("the relay does not listen");
  }
  return descriptor;
}

SSL_CTX* trusting(const std::string& authority) {
  SSL_CTX* context = SSL_CTX_new(TLS_client_method());
  BIO* source = BIO_new_mem_buf(authority.data(), static_cast<int>(authority.size()));
  X509* certificate = PEM_read_bio_X509(source, nullptr, nullptr, nullptr);
  X509_STORE_add_cert(SSL_CTX_get_cert_store(context), certificate);
  X509_free(certificate);
  BIO_free(source);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
  return context;
}

}  // namespace

RelayWire::RelayWire(std::uint16_t port, const std::string& authority, int receiveBuffer)
    : descriptor(connected(port, receiveBuffer)) {
  if (authority.empty()) return;
  context = trusting(authority);
  tls = SSL_new(context);
  SSL_set_fd(tls, descriptor);
  if (SSL_connect(tls) != 1) throw std::runtime_error("no TLS with the relay");
}

std::string RelayWire::certificate() const {
  X509* shown = SSL_get1_peer_certificate(tls);
  BIO* target = BIO_new(BIO_s_mem());
  PEM_write_bio_X509(target, shown);
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(target, &bytes);
  std::string text(bytes, static_cast<std::size_t>(size));
  BIO_free(target);
  X509_free(shown);
  return text;
}

RelayWire::~RelayWire() {
  SSL_free(tls);
  SSL_CTX_free(context);
  ::close(descriptor);
}

void RelayWire::setTimeout(std::chrono::milliseconds timeout) const {
  constexpr int kPerSecond = 1000;
  const timeval time{timeout.count() / kPerSecond, timeout.count() % kPerSecond * kPerSecond};
  ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

void RelayWire::interrupt() const { ::shutdown(descriptor, SHUT_RDWR); }

void RelayWire::endSending() const { ::shutdown(descriptor, SHUT_WR); }

bool RelayWire::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = tls ? SSL_write(tls, bytes.data(), static_cast<int>(bytes.size()))
                          : ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool RelayWire::readMore() {
  std::array<char, 16 * 1024> bytes{};
  const auto got = tls ? SSL_read(tls, bytes.data(), static_cast<int>(bytes.size()))
                       : ::recv(descriptor, bytes.data(), bytes.size(), 0);
  if (got <= 0) return false;
  arrived.append(bytes.data(), static_cast<std::size_t>(got));
  return true;
}

std::optional<std::string> RelayWire::readBytes(std::size_t count) {
  while (arrived.size() < count) {
    if (!readMore()) return std::nullopt;
  }
  std::string bytes = arrived.substr(0, count);
  arrived.erase(0, count);
  return bytes;
}

bool RelayWire::isEnded() {
  const auto start = std::chrono::steady_clock::now();
  return arrived.empty() && !readMore() &&
         std::chrono::steady_clock::now() - start < std::chrono::seconds(kTimeout.tv_sec);
}

WireReply RelayWire::ask(const std::string& method, const std::string& target, const WireHeaders& headers,
                         const std::string& body) {
  std::string request = method + " " + target + " HTTP/1.1\r\nHost: relay\r\n";
  for (const auto& [name, value] : headers) request += name + ": " + value + "\r\n";
  if (!body.empty()) request += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  write(request + "\r\n" + body);
  return readReply(method != "HEAD");
}

WireReply RelayWire::readReply(bool hasBody) {
  std::size_t end = 0;
  while ((end = arrived.find("\r\n\r\n")) == std::string::npos) {
    if (!readMore()) return {};
  }
  const std::string head = readBytes(end + 4).value();
  WireReply reply{.status = std::stoi(head.substr(9, 3))};
  for (std::size_t at = head.find("\r\n") + 2; at + 2 < head.size();) {
    const auto stop = head.find("\r\n", at);
    const auto colon = head.find(": ", at);
    reply.headers[lowerCase(head.substr(at, colon - at))] = head.substr(colon + 2, stop - colon - 2);
    at = stop + 2;
  }
  const auto length = reply.headers.find("content-length");
  if (hasBody && length != reply.headers.end()) reply.body = readBytes(std::stoul(length->second)).value_or("");
  return reply;
}

WireReply RelayWire::upgrade(const std::string& query, const WireHeaders& headers) {
  WireHeaders all{{"Upgrade", "websocket"},
                  {"Connection", "Upgrade"},
                  {"Sec-WebSocket-Version", "13"},
                  {"Sec-WebSocket-Key", "AAAAAAAAAAAAAAAAAAAAAA=="}};
  all.insert(all.end(), headers.begin(), headers.end());
  return ask("GET", "/ws?" + query, all);
}

bool RelayWire::sendFrameHeader(Opcode opcode, std::uint64_t size) {
  std::string head{static_cast<char>(0x80U | static_cast<unsigned>(opcode)), static_cast<char>(0xFFU)};
  for (int shift = 56; shift >= 0; shift -= 8) head += static_cast<char>(size >> static_cast<unsigned>(shift) & 0xFFU);
  head.append(kMask.begin(), kMask.end());
  return write(head);
}

bool RelayWire::sendFrame(Opcode opcode, std::string_view payload, bool isLast) {
  std::string frame{static_cast<char>((isLast ? 0x80U : 0U) | static_cast<unsigned>(opcode))};
  if (payload.size() < 126) {
    frame += static_cast<char>(0x80U | payload.size());
  } else {
    frame += static_cast<char>(0xFFU);
    for (int shift = 56; shift >= 0; shift -= 8) {
      frame += static_cast<char>(payload.size() >> static_cast<unsigned>(shift) & 0xFFU);
    }
    // The length has to be written as short as it can be.
    if (payload.size() <= 0xFFFF) frame = frame.substr(0, 1) + "\xFE" + frame.substr(frame.size() - 2);
  }
  frame.append(kMask.begin(), kMask.end());
  for (std::size_t i = 0; i < payload.size(); ++i) {
    frame += static_cast<char>(static_cast<unsigned char>(payload[i]) ^ kMask[i % kMask.size()]);
  }
  return write(frame);
}

std::optional<Frame> RelayWire::readFrame() {
  while (true) {
    const auto head = readBytes(2);
    if (!head) return std::nullopt;
    auto size = std::uint64_t{static_cast<unsigned char>((*head)[1])};
    const std::size_t more = size == 126 ? 2 : size == 127 ? 8 : 0;
    const auto length = readBytes(more);
    if (!length) return std::nullopt;
    if (more > 0) size = 0;
    for (const char c : *length) size = size << 8U | static_cast<unsigned char>(c);
    auto payload = readBytes(size);
    if (!payload) return std::nullopt;
    Frame frame{static_cast<Opcode>(static_cast<unsigned char>((*head)[0]) & 0x0FU), std::move(*payload)};
    if (frame.opcode == Opcode::ping && answersPings) sendFrame(Opcode::pong, frame.payload);
    if (frame.opcode != Opcode::ping && frame.opcode != Opcode::pong) return frame;
  }
}

Json RelayWire::read(const std::string& type) {
  while (const auto frame = readFrame()) {
    if (frame->opcode == Opcode::close) return nullptr;
    Json message = Json::parse(frame->payload);
    if (message["type"] == type) return message;
  }
  return nullptr;
}

int RelayWire::readClose() {
  while (const auto frame = readFrame()) {
    if (frame->opcode != Opcode::close) continue;
    sendFrame(Opcode::close, frame->payload);
    if (frame->payload.size() < 2) return 1005;
    return static_cast<unsigned char>(frame->payload[0]) << 8U | static_cast<unsigned char>(frame->payload[1]);
  }
  return 0;
}

}  // namespace quillard::test
