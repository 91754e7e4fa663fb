#include "platform/linux/accessibility/BusConnection.h"

#include <array>
#include <cerrno>

namespace quillard::atspi {

using std::chrono::microseconds;
using std::chrono::steady_clock;

std::unique_ptr<BusConnection> BusConnection::open(const std::string& address, microseconds timeout, Absence* absence) {
  Absence ignored{};
  Absence& why = absence ? *absence : ignored;
  why = Absence::notGreeted;
  sd_bus* bus = nullptr;
  if (sd_bus_new(&bus) < 0) return nullptr;
  std::unique_ptr<BusConnection> connection{new BusConnection(bus)};
  if (sd_bus_set_address(bus, address.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0) return nullptr;
  const int started = sd_bus_start(bus);
  if (started == -ENOENT || started == -ECONNREFUSED) why = Absence::noServer;
  if (started < 0 || !connection->awaitHello(timeout)) return nullptr;
  sd_id128_t server;
  if (sd_bus_get_bus_id(bus, &server) < 0) return nullptr;
  std::array<char, SD_ID128_STRING_MAX> text{};
  connection->identity = sd_id128_to_string(server, text.data());
  why = Absence::none;
  return connection;
}

BusConnection::~BusConnection() {
  sd_bus_close(bus);
  sd_bus_unref(bus);
}

bool BusConnection::awaitHello(microseconds timeout) {
  const auto end = steady_clock::now() + timeout;
  for (;;) {
    const int isReady = sd_bus_is_ready(bus);
    if (isReady != 0) return isReady > 0;
    const int done = sd_bus_process(bus, nullptr);
    if (done < 0) return false;
    if (done > 0) continue;
    const auto left = std::chrono::duration_cast<microseconds>(end - steady_clock::now());
    if (left <= microseconds::zero()) return false;
    const int waited = sd_bus_wait(bus, static_cast<std::uint64_t>(left.count()));
    if (waited < 0 && waited != -EINTR) return false;
  }
}

bool BusConnection::isOpen() const { return sd_bus_is_open(bus) > 0; }

bool BusConnection::drain() {
  for (;;) {
    const int done = sd_bus_process(bus, nullptr);
    if (done < 0) return false;
    if (done == 0) return isOpen();
  }
}

}  // namespace quillard::atspi
