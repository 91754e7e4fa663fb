#include "e2e/CuttableLink.h"

#include <array>
#include <chrono>
#include <stdexcept>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillard::test {
namespace {

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int connectTo(std::uint16_t port) {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const auto address = loopback(port);
  if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return descriptor;
  ::close(descriptor);
  return -1;
}

bool pass(int from, int to) {
  std::array<char, 65536> bytes{};
  const auto got = ::recv(from, bytes.data(), bytes.size(), 0);
  if (got <= 0) return false;
  for (ssize_t done = 0; done < got;) {
    const auto sent = ::send(to, bytes.data() + done, static_cast<std::size_t>(got - done), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    done += sent;
  }
  return true;
}

}  // namespace

CuttableLink::CuttableLink(std::uint16_t target) : target(target) {
  listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  auto address = loopback(0);
  socklen_t length = sizeof address;
  constexpr int kBacklog = 64;
  if (::bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(listener, kBacklog) != 0 ||
      ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("no port for a link");
  }
  own = ntohs(address.sin_port);
  thread = std::thread([this] { run(); });
}

CuttableLink::~CuttableLink() {
  isOver = true;
  thread.join();
  ::close(listener);
}

// Pairs of connections stand beside each other after the listener.
void CuttableLink::run() {
  std::vector<pollfd> polled{{listener, POLLIN, 0}};
  constexpr int kStep = 20;
  while (!isOver) {
    if (isCut) {
      std::this_thread::sleep_for(std::chrono::milliseconds(kStep));
      continue;
    }
    if (::poll(polled.data(), polled.size(), kStep) <= 0) continue;
    for (std::size_t i = 1; i + 1 < polled.size(); i += 2) {
      const bool goesOn = (polled[i].revents == 0 || pass(polled[i].fd, polled[i + 1].fd)) &&
                          (polled[i + 1].revents == 0 || pass(polled[i + 1].fd, polled[i].fd));
      if (goesOn) continue;
      ::close(polled[i].fd);
      ::close(polled[i + 1].fd);
      polled.erase(polled.begin() + static_cast<std::ptrdiff_t>(i),
                   polled.begin() + static_cast<std::ptrdiff_t>(i) + 2);
      i -= 2;
    }
    if (polled.front().revents == 0) continue;
    const int accepted = ::accept(listener, nullptr, nullptr);
    const int further = accepted < 0 ? -1 : connectTo(target);
    if (further < 0) {
      if (accepted >= 0) ::close(accepted);
      continue;
    }
    const int on = 1;
    for (const int descriptor : {accepted, further}) {
      ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      polled.push_back({descriptor, POLLIN, 0});
    }
  }
  for (std::size_t i = 1; i < polled.size(); ++i) ::close(polled[i].fd);
}

}  // namespace quillard::test
