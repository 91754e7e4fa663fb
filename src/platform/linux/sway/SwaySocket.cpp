#include "platform/linux/sway/SwaySocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace quillard::sway {

using std::chrono::steady_clock;

std::unique_ptr<SwaySocket> SwaySocket::open(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) return nullptr;
  std::memcpy(address.sun_path, path.data(), path.size());
  const int file = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (file < 0) return nullptr;
  std::unique_ptr<SwaySocket> opened{new SwaySocket(file)};
  // A connection to a socket of this computer is there immediately, or its server's queue is full.
  const bool isConnected = ::connect(file, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  return isConnected ? std::move(opened) : nullptr;
}

SwaySocket::~SwaySocket() { ::close(file); }

std::optional<std::string> SwaySocket::ask(MessageType type, std::string_view payload) {
  const auto deadline = steady_clock::now() + kTimeout;
  if (isBroken() || !send(encoded(type, payload), deadline)) return std::nullopt;
  while (!isBroken()) {
    while (auto message = stream.next()) {
      if (message->type == static_cast<std::uint32_t>(type)) return std::move(message->payload);
    }
    if (!await(POLLIN, deadline) || !receive()) break;
  }
  // A late reply would be taken for that of the next question.
  broken = true;
  return std::nullopt;
}

bool SwaySocket::send(std::string_view bytes, steady_clock::time_point deadline) {
  while (!bytes.empty() && !broken) {
    const auto sent = ::send(file, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
    if (sent < 0 && errno != EAGAIN && errno != EINTR) broken = true;
    if (!bytes.empty() && !await(POLLOUT, deadline)) broken = true;
  }
  return !broken;
}

bool SwaySocket::receive() {
  std::array<char, 65536> buffer{};
  while (!isBroken()) {
    const auto length = ::recv(file, buffer.data(), buffer.size(), 0);
    if (length > 0) {
      stream.add({buffer.data(), static_cast<std::size_t>(length)});
      if (static_cast<std::size_t>(length) < buffer.size()) break;
    } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
      broken = true;
    } else if (errno == EAGAIN) {
      break;
    }
  }
  return !isBroken();
}

bool SwaySocket::await(short events, steady_clock::time_point deadline) const {
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
    if (left <= 0) return false;
    pollfd waited{.fd = file, .events = events, .revents = 0};
    if (::poll(&waited, 1, static_cast<int>(left)) >= 0) return true;
    if (errno != EINTR) return false;
  }
}

}  // namespace quillard::sway
