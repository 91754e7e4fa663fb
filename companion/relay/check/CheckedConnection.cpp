#include "companion/relay/check/CheckedConnection.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include <netdb.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "companion/relay/rules/ClientAddress.h"
#include "foundation/UrlComponents.h"

namespace quillard::relayserver {
namespace {

constexpr std::size_t kLongestReply = std::size_t{4} * 1024 * 1024;
constexpr unsigned kText = 1;
constexpr unsigned kClose = 8;
constexpr unsigned kPing = 9;
constexpr unsigned kPong = 10;

[[noreturn]] void fail(const std::string& text) { throw CheckFailure{text}; }

bool isReady(int descriptor, short events, std::chrono::milliseconds timeout) {
  pollfd waiting{.fd = descriptor, .events = events, .revents = 0};
  return ::poll(&waiting, 1, static_cast<int>(timeout.count())) == 1;
}

struct Addresses {
  explicit Addresses(const CheckedAddress& address) {
    const addrinfo hints{.ai_flags = 0, .ai_family = AF_UNSPEC, .ai_socktype = SOCK_STREAM, .ai_protocol = 0};
    const int outcome = ::getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints, &first);
    if (outcome != 0) {
      fail("DNS: " + address.host + " has no address here: " + ::gai_strerror(outcome) +
           ". Add an A or AAAA record that names your server, and wait until it is known.");
    }
  }
  ~Addresses() { ::freeaddrinfo(first); }
  Addresses(const Addresses&) = delete;
  Addresses& operator=(const Addresses&) = delete;
  addrinfo* first = nullptr;
};

std::string textOf(const addrinfo& address) {
  std::array<char, NI_MAXHOST> host{};
  ::getnameinfo(address.ai_addr, address.ai_addrlen, host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
  return host.data();
}

// -1, and why in `why`: no connection with this address.
int connectedTo(const addrinfo& address, std::chrono::milliseconds timeout, std::string& why) {
  const int descriptor = ::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return -1;
  int error = ::connect(descriptor, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  if (error == EINPROGRESS) {
    socklen_t size = sizeof error;
    error = ETIMEDOUT;
    if (isReady(descriptor, POLLOUT, timeout)) ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
  }
  if (error == 0) return descriptor;
  why += " " + textOf(address) + ": " + std::strerror(error) + ".";
  ::close(descriptor);
  return -1;
}

std::string certificateProblem(const CheckedAddress& address, long code) {
  switch (code) {
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return "The certificate is not valid yet: is the clock of this computer or of the server wrong?";
    case X509_V_ERR_CERT_HAS_EXPIRED:
      return "The certificate has expired, or the clock of this computer is wrong. Renew it, and reload the relay.";
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
      return "The certificate is for another name than " + address.host + ".";
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
      return "The certificate is of an authority that this computer does not know; nor will phones. Of a private "
             "authority, install its certificate on each of them, and name it in SSL_CERT_FILE here.";
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
      return "The certificate comes without those between it and its authority, or the authority is not known here. "
             "Serve fullchain.pem, not cert.pem.";
    default:
      return std::string("The certificate is not trusted: ") + X509_verify_cert_error_string(code) + ".";
  }
}

std::string lowerCase(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

}  // namespace

std::optional<CheckedAddress> CheckedAddress::parse(std::string_view text) {
  const auto url = UrlComponents::parse(text);
  if (!url || !url->host || url->userInfo || url->query || url->fragment) return std::nullopt;
  if (!url->path.empty() && url->path != "/") return std::nullopt;
  const std::string scheme = url->lowercasedScheme();
  const bool isEncrypted = scheme == "https";
  if (!isEncrypted && (scheme != "http" || !isThisComputer(*url->host))) return std::nullopt;
  constexpr std::uint16_t kHttps = 443;
  constexpr std::uint16_t kHttp = 80;
  return CheckedAddress{*url->host, url->port.value_or(isEncrypted ? kHttps : kHttp), isEncrypted};
}

struct CheckedConnection::State {
  explicit State(std::chrono::milliseconds timeout) : timeout(timeout) {}
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    SSL_free(tls);
    SSL_CTX_free(context);
    if (descriptor >= 0) ::close(descriptor);
  }

  void connect(const CheckedAddress& relay) {
    const Addresses found(relay);
    std::string why;
    for (const addrinfo* next = found.first; next && descriptor < 0; next = next->ai_next) {
      descriptor = connectedTo(*next, timeout, why);
    }
    if (descriptor < 0) {
      fail("Nothing answers at " + relay.host + ", port " + std::to_string(relay.port) + "." + why +
           " Is the relay or its proxy running, and does the firewall let this port in?");
    }
  }

  void encrypt(const CheckedAddress& relay) {
    context = SSL_CTX_new(TLS_client_method());
    SSL_CTX_set_default_verify_paths(context);
    SSL_CTX_set_verify(context, SSL_VERIFY_PEER, nullptr);
    tls = SSL_new(context);
    SSL_set_fd(tls, descriptor);
    // An address is no name: it stands elsewhere in a certificate.
    if (IpAddress::parse(relay.host)) {
      X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(tls), relay.host.c_str());
    } else {
      // What SSL_set_tlsext_host_name does, which is a macro with a cast of another time.
      std::string name = relay.host;
      SSL_ctrl(tls, SSL_CTRL_SET_TLSEXT_HOSTNAME, TLSEXT_NAMETYPE_host_name, name.data());
      SSL_set1_host(tls, relay.host.c_str());
    }
    while (true) {
      const int outcome = SSL_connect(tls);
      if (outcome == 1) return;
      if (waitFor(outcome)) continue;
      const long verified = SSL_get_verify_result(tls);
      if (verified != X509_V_OK) fail(certificateProblem(relay, verified));
      fail("TLS: there is no encrypted connection with " + relay.host + ", port " + std::to_string(relay.port) +
           ". What answers there does not speak https, or speaks it for other names only.");
    }
  }

  // Whether it is worth another try.
  [[nodiscard]] bool waitFor(int outcome) const {
    const int error = SSL_get_error(tls, outcome);
    if (error == SSL_ERROR_WANT_READ) return isReady(descriptor, POLLIN, timeout);
    if (error == SSL_ERROR_WANT_WRITE) return isReady(descriptor, POLLOUT, timeout);
    return false;
  }

  const std::chrono::milliseconds timeout;
  int descriptor = -1;
  SSL_CTX* context = nullptr;
  SSL* tls = nullptr;
};

CheckedConnection::CheckedConnection(const CheckedAddress& address, std::chrono::milliseconds timeout)
    : address(address), timeout(timeout), state(std::make_unique<State>(timeout)) {
  state->connect(address);
  if (address.isEncrypted) state->encrypt(address);
}

CheckedConnection::~CheckedConnection() = default;

std::optional<int> CheckedConnection::daysOfCertificate() const {
  if (!state->tls) return std::nullopt;
  X509* certificate = SSL_get1_peer_certificate(state->tls);
  int days = 0;
  int seconds = 0;
  ASN1_TIME_diff(&days, &seconds, nullptr, X509_get0_notAfter(certificate));
  X509_free(certificate);
  return days;
}

void CheckedConnection::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = state->tls ? SSL_write(state->tls, bytes.data(), static_cast<int>(bytes.size()))
                                 : ::send(state->descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
      continue;
    }
    const bool isWorthIt = state->tls ? state->waitFor(static_cast<int>(sent))
                                      : errno == EAGAIN && isReady(state->descriptor, POLLOUT, timeout);
    if (!isWorthIt) fail("The connection was ended while something was sent.");
  }
}

bool CheckedConnection::readMore(std::chrono::milliseconds longest) {
  std::array<char, 16 * 1024> bytes{};
  while (true) {
    const auto got = state->tls ? SSL_read(state->tls, bytes.data(), static_cast<int>(bytes.size()))
                                : ::recv(state->descriptor, bytes.data(), bytes.size(), 0);
    if (got > 0) {
      arrived.append(bytes.data(), static_cast<std::size_t>(got));
      return true;
    }
    const bool isWaiting = state->tls ? SSL_get_error(state->tls, static_cast<int>(got)) == SSL_ERROR_WANT_READ
                                      : got < 0 && errno == EAGAIN;
    if (!isWaiting) fail("The connection was ended from the other side.");
    if (!isReady(state->descriptor, POLLIN, longest)) return false;
  }
}

std::string CheckedConnection::readBytes(std::size_t count) {
  if (count > kLongestReply) fail("The answer is too long.");
  while (arrived.size() < count) {
    if (!readMore(timeout)) fail("No answer came in time.");
  }
  std::string bytes = arrived.substr(0, count);
  arrived.erase(0, count);
  return bytes;
}

CheckedReply CheckedConnection::readReply() {
  std::size_t end = 0;
  while ((end = arrived.find("\r\n\r\n")) == std::string::npos) {
    if (arrived.size() > kLongestReply) fail("The answer is too long.");
    if (!readMore(timeout)) fail("No answer came in time.");
  }
  const std::string head = readBytes(end + 4);
  CheckedReply reply;
  constexpr std::string_view kVersion = "HTTP/1.1 ";
  if (head.starts_with("HTTP/1.")) {
    std::from_chars(head.data() + kVersion.size(), head.data() + head.size(), reply.status);
  }
  for (std::size_t at = head.find("\r\n") + 2; at < end;) {
    const auto stop = head.find("\r\n", at);
    const auto colon = std::min(head.find(':', at), stop);
    const auto value = head.find_first_not_of(" :", colon);
    if (value < stop) reply.headers[lowerCase(head.substr(at, colon - at))] = head.substr(value, stop - value);
    at = stop + 2;
  }
  const auto length = reply.headers.find("content-length");
  std::size_t size = 0;
  if (length != reply.headers.end()) {
    std::from_chars(length->second.data(), length->second.data() + length->second.size(), size);
    reply.body = readBytes(size);
  }
  return reply;
}

CheckedReply CheckedConnection::ask(const std::string& method, const std::string& target, const Headers& headers,
                                    const std::string& body) {
  std::string head = method + " " + target + " HTTP/1.1\r\nHost: " + address.host + "\r\n";
  for (const auto& [name, value] : headers) head += name + ": " + value + "\r\n";
  if (!body.empty()) head += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  write(head + "\r\n" + body);
  return readReply();
}

CheckedReply CheckedConnection::openWebSocket(const std::string& target, const Headers& headers) {
  Headers all{{"Upgrade", "websocket"},
              {"Connection", "Upgrade"},
              {"Sec-WebSocket-Version", "13"},
              {"Sec-WebSocket-Key", "dGhlIHNhbXBsZSBub25jZQ=="}};
  all.insert(all.end(), headers.begin(), headers.end());
  return ask("GET", target, all);
}

// With a mask of zeroes, which changes nothing.
void CheckedConnection::sendFrame(unsigned opcode, const std::string& payload) {
  constexpr unsigned kMasked = 0x80;
  std::string frame{static_cast<char>(0x80U | opcode)};
  const std::size_t size = payload.size();
  const int more = size < 126 ? 0 : size <= 0xFFFF ? 2 : 8;
  frame += static_cast<char>(kMasked | (more == 0 ? size : more == 2 ? 126 : 127));
  for (int i = more - 1; i >= 0; --i)
    frame += static_cast<char>(std::uint64_t{size} >> (8U * static_cast<unsigned>(i)));
  write(frame + std::string(4, '\0') + payload);
}

void CheckedConnection::sendText(const std::string& text) { sendFrame(kText, text); }

std::optional<std::string> CheckedConnection::readText(std::chrono::milliseconds longest) {
  while (true) {
    if (arrived.empty() && !readMore(longest)) return std::nullopt;
    const std::string head = readBytes(2);
    const auto first = static_cast<unsigned char>(head[0]);
    std::uint64_t size = static_cast<unsigned char>(head[1]) & 0x7FU;
    if (size > 125) {
      const std::string length = readBytes(size == 126 ? 2 : 8);
      size = 0;
      for (const char c : length) size = size << 8U | static_cast<unsigned char>(c);
    }
    std::string payload = readBytes(size);
    const unsigned opcode = first & 0x0FU;
    if (opcode == kPing) {
      ++pingsReceived;
      sendFrame(kPong, payload);
    }
    if (opcode == kClose) fail("The WebSocket was closed.");
    if ((first & 0x80U) == 0) fail("Something between here and the relay cuts messages into pieces.");
    if (opcode == kText) return payload;
  }
}

}  // namespace quillard::relayserver
