#include "desktop/BusMonitor.h"

#include <cstdint>
#include <stdexcept>

#include <systemd/sd-bus.h>

namespace quillard::test {

void BusMonitor::Close::operator()(sd_bus* open) const { sd_bus_close_unref(open); }

BusMonitor::BusMonitor(const std::string& address, const std::string& rule) {
  sd_bus* made = nullptr;
  const bool isMade = sd_bus_new(&made) >= 0;
  bus.reset(made);
  if (!isMade || sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_set_bus_client(made, 1) < 0 ||
      sd_bus_set_monitor(made, 1) < 0 || sd_bus_start(made) < 0) {
    throw std::runtime_error("No bus at " + address);
  }
  const int answer =
      sd_bus_call_method(made, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Monitoring",
                         "BecomeMonitor", nullptr, nullptr, "asu", 1, rule.c_str(), std::uint32_t{0});
  if (answer < 0) throw std::runtime_error("The bus cannot be monitored");
}

BusMonitor::~BusMonitor() = default;

int BusMonitor::calls() {
  sd_bus_message* message = nullptr;
  while (sd_bus_process(bus.get(), &message) > 0) {
    if (message && sd_bus_message_is_method_call(message, nullptr, nullptr) > 0) ++passed;
    sd_bus_message_unref(message);
    message = nullptr;
  }
  return passed;
}

bool BusMonitor::waitForMore(int more, std::chrono::milliseconds timeout) {
  const int before = calls();
  return privatedesktop::waitFor([&] { return calls() >= before + more; }, timeout);
}

}  // namespace quillard::test
