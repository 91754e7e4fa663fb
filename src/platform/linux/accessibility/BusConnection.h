#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include <systemd/sd-bus.h>

namespace quillard::atspi {

struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using BusSlot = std::unique_ptr<sd_bus_slot, SlotUnref>;

struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, MessageUnref>;

// One open connection to a message bus. One thread at a time.
class BusConnection {
 public:
  // Why there is no connection: nothing listens at the address, or something does, or may, and did not greet in time.
  enum class Absence { none, noServer, notGreeted };

  // Connects and says hello. Absent when no server listens at `address`, or not within `timeout`; `absence`: why.
  [[nodiscard]] static std::unique_ptr<BusConnection> open(const std::string& address,
                                                           std::chrono::microseconds timeout,
                                                           Absence* absence = nullptr);

  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;
  ~BusConnection();

  [[nodiscard]] sd_bus* handle() const { return bus; }
  [[nodiscard]] bool isOpen() const;

  // Tells this bus from one that was started later, at the same address too. Unique names are never used twice on one
  // bus, so a name and this identity mean one program for ever.
  [[nodiscard]] const std::string& busIdentity() const { return identity; }

  // Handles what has come in, without waiting. False once the connection has broken.
  bool drain();

 private:
  explicit BusConnection(sd_bus* bus) : bus(bus) {}
  [[nodiscard]] bool awaitHello(std::chrono::microseconds timeout);

  sd_bus* const bus;
  std::string identity;
};

}  // namespace quillard::atspi
