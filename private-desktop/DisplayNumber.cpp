#include "private-desktop/DisplayNumber.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace quillard::privatedesktop {
namespace {

constexpr int kFirst = 1000;
constexpr int kEnd = 20'000;

// A bound socket, or -1 when another process has the number.
int reserve(int number) {
  const int made = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (made < 0) throw std::runtime_error(std::string("A socket for a display number: ") + ::strerror(errno));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = "quillard-display-" + std::to_string(number);
  name.copy(&address.sun_path[1], sizeof address.sun_path - 1);  // A name that begins with a zero is no file.
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  if (::bind(made, reinterpret_cast<const sockaddr*>(&address), size) == 0) return made;
  ::close(made);
  return -1;
}

}  // namespace

DisplayNumber DisplayNumber::next(const std::optional<DisplayNumber>& last) {
  for (int number = last ? last->number + 1 : kFirst; number < kEnd; ++number) {
    if (const int reservation = reserve(number); reservation >= 0) return {number, reservation};
  }
  throw std::runtime_error("There is no free display number");
}

DisplayNumber::DisplayNumber(DisplayNumber&& other) noexcept
    : number(other.number), reservation(std::exchange(other.reservation, -1)) {}

DisplayNumber& DisplayNumber::operator=(DisplayNumber&& other) noexcept {
  if (this == &other) return *this;
  if (reservation >= 0) ::close(reservation);
  number = other.number;
  reservation = std::exchange(other.reservation, -1);
  return *this;
}

DisplayNumber::~DisplayNumber() {
  if (reservation >= 0) ::close(reservation);
}

}  // namespace quillard::privatedesktop
