#include "demo/DemoSocket.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace quillard::demo {
namespace {

using nlohmann::json;

constexpr int kTimeout = 5000;  // Milliseconds, for an answer.
constexpr std::size_t kLongestAnswer = std::size_t{256} * 1024;

struct Address {
  sockaddr_un place{};
  socklen_t size = 0;
  [[nodiscard]] const sockaddr* pointer() const { return reinterpret_cast<const sockaddr*>(&place); }
};

// A name that begins with a zero is no file. QUILLARD_RUN_NAME keeps several apart, as tests need them.
Address address() {
  const char* const requested = std::getenv("QUILLARD_RUN_NAME");
  const std::string name =
      "quillard-run-" + std::to_string(::getuid()) + (requested ? std::string("-") + requested : "");
  Address result;
  result.place.sun_family = AF_UNIX;
  const std::size_t length = std::min(name.size(), sizeof result.place.sun_path - 1);
  std::memcpy(&result.place.sun_path[1], name.data(), length);
  result.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
  return result;
}

// Any process of this machine may connect, or have taken the name before us.
bool isOurs(int socket) {
  ucred other{};
  socklen_t size = sizeof other;
  return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &other, &size) == 0 && other.uid == ::getuid();
}

std::string textOf(const RunningDemo& running) {
  return json{{"page", running.page},
              {"agent", running.agent},
              {"isPrivate", running.isPrivate},
              {"environment", running.environment}}
      .dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<RunningDemo> parsedDemo(const std::string& text) {
  try {
    const auto read = json::parse(text);
    return RunningDemo{.page = read.at("page"),
                       .agent = read.at("agent"),
                       .isPrivate = read.at("isPrivate"),
                       .environment = read.at("environment")};
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

std::string readAll(int socket) {
  std::string text;
  std::array<char, 4096> part{};
  pollfd ready{socket, POLLIN, 0};
  while (text.size() < kLongestAnswer && ::poll(&ready, 1, kTimeout) > 0) {
    const ssize_t size = ::read(socket, part.data(), part.size());
    if (size <= 0) break;
    text.append(part.data(), static_cast<std::size_t>(size));
  }
  return text;
}

}  // namespace

DemoSocket::DemoSocket(const RunningDemo& running) : text(textOf(running)) {
  listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const auto place = address();
  if (::bind(listener, place.pointer(), place.size) == 0 && ::listen(listener, 8) == 0) return;
  ::close(listener);
  listener = -1;
}

DemoSocket::~DemoSocket() {
  if (listener >= 0) ::close(listener);
}

void DemoSocket::answer() const {
  const int socket = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (socket < 0) return;
  // It fits into what the kernel buffers; who does not take it gets a part, which is no answer.
  if (isOurs(socket)) static_cast<void>(::send(socket, text.data(), text.size(), MSG_NOSIGNAL));
  ::close(socket);
}

std::optional<RunningDemo> DemoSocket::find() {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const auto place = address();
  std::optional<RunningDemo> running;
  if (::connect(socket, place.pointer(), place.size) == 0 && isOurs(socket)) running = parsedDemo(readAll(socket));
  ::close(socket);
  return running;
}

}  // namespace quillard::demo
