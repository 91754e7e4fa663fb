#include "e2e/MeddlingProxy.h"

#include <array>
#include <list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillard::test {
namespace {

using Clock = std::chrono::steady_clock;
using Habit = MeddlingProxy::Habit;

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

void sendAll(int to, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = ::send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void replaceLine(std::string& head, std::string_view begin, std::string_view with) {
  const auto at = head.find(begin);
  if (at != std::string::npos) head.replace(at, head.find("\r\n", at) + 2 - at, with);
}

// One client and its connection with the server.
class Pair {
 public:
  Pair(int client, int server, Habit habit) : client(client), server(server), habit(habit) {}
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;
  ~Pair() {
    ::close(client);
    ::close(server);
  }

  // False: it is over.
  bool passOn(bool fromClient) {
    std::array<char, 65536> bytes{};
    const auto got = ::recv(fromClient ? client : server, bytes.data(), bytes.size(), 0);
    if (got <= 0) return false;
    lastBytes = Clock::now();
    std::string text(bytes.data(), static_cast<std::size_t>(got));
    if (fromClient) return passToServer(std::move(text));
    return passToClient(std::move(text));
  }
  [[nodiscard]] bool isOver() const {
    return habit == Habit::dropsSilentOnes && isWebSocket && Clock::now() - lastBytes > MeddlingProxy::kSilence;
  }

  const int client;
  const int server;

 private:
  bool passToServer(std::string text) {
    if (isWebSocket && habit == Habit::endsItHalfWay) return false;
    if (!isWebSocket && habit == Habit::forgetsUpgrades) replaceLine(text, "Upgrade:", "");
    sendAll(server, text);
    return true;
  }

  bool passToClient(std::string text) {
    std::size_t handshake = 0;
    if (!isWebSocket && text.starts_with("HTTP/1.1 101")) {
      isWebSocket = true;
      if (habit == Habit::changesHandshakes) replaceLine(text, "Sec-WebSocket-Accept:", "Sec-WebSocket-Accept: x\r\n");
      handshake = text.find("\r\n\r\n") + 4;
      if (habit == Habit::keepsMessagesBack) text.resize(handshake);
    } else if (isWebSocket && habit == Habit::keepsMessagesBack) {
      return true;
    }
    sendAll(client, text);
    return true;
  }

  const Habit habit;
  bool isWebSocket = false;
  Clock::time_point lastBytes = Clock::now();
};

}  // namespace

MeddlingProxy::MeddlingProxy(std::uint16_t server, Habit habit) : server(server), habit(habit) {
  listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  auto address = loopback(0);
  socklen_t size = sizeof address;
  const bool isBound = ::bind(listener, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                       ::listen(listener, SOMAXCONN) == 0 &&
                       ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  if (!isBound) throw std::runtime_error("No port for the proxy.");
  boundPort = ntohs(address.sin_port);
  thread = std::thread([this] { run(); });
}

MeddlingProxy::~MeddlingProxy() {
  isStopping = true;
  thread.join();
  ::close(listener);
}

void MeddlingProxy::run() {
  constexpr int kTurnMilliseconds = 20;
  std::list<Pair> pairs;
  while (!isStopping) {
    std::vector<pollfd> polled{{.fd = listener, .events = POLLIN, .revents = 0}};
    for (const auto& pair : pairs) {
      polled.push_back({.fd = pair.client, .events = POLLIN, .revents = 0});
      polled.push_back({.fd = pair.server, .events = POLLIN, .revents = 0});
    }
    ::poll(polled.data(), polled.size(), kTurnMilliseconds);
    std::size_t next = 1;
    for (auto pair = pairs.begin(); pair != pairs.end();) {
      const bool hasClientBytes = polled[next++].revents != 0;
      const bool hasServerBytes = polled[next++].revents != 0;
      const bool isFine = (!hasClientBytes || pair->passOn(true)) && (!hasServerBytes || pair->passOn(false));
      pair = isFine && !pair->isOver() ? std::next(pair) : pairs.erase(pair);
    }
    if (polled[0].revents == 0) continue;
    const int client = ::accept(listener, nullptr, nullptr);
    const int upstream = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto address = loopback(server);
    // Where nothing listens, the pair is over with its first reading.
    static_cast<void>(::connect(upstream, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    pairs.emplace_back(client, upstream, habit);
  }
}

}  // namespace quillard::test
