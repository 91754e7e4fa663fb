#pragma once

#include <array>
#include <functional>
#include <memory>
#include <stdexcept>

#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace quillard::test {

// Messages as a bus would have carried them, with nobody at the other end. One thread.
class BusMessages {
 public:
  BusMessages() {
    std::array<int, 2> ends{};
    require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()));
    other = ends[1];
    require(sd_bus_new(&bus));
    require(sd_bus_set_fd(bus, ends[0], ends[0]));
    require(sd_bus_start(bus));
  }
  ~BusMessages() {
    sd_bus_close(bus);
    sd_bus_unref(bus);
    close(other);
  }
  BusMessages(const BusMessages&) = delete;
  BusMessages& operator=(const BusMessages&) = delete;

  struct Release {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  };
  using Message = std::unique_ptr<sd_bus_message, Release>;

  // One that `write` has filled, ready to be read.
  [[nodiscard]] Message make(const std::function<void(sd_bus_message*)>& write) {
    sd_bus_message* raw = nullptr;
    require(sd_bus_message_new_signal(bus, &raw, "/", "org.example.Test", "Filled"));
    Message message{raw};
    write(raw);
    require(sd_bus_message_seal(raw, 1, 0));
    return message;
  }

  static void require(int result) {
    if (result < 0) throw std::runtime_error("A message could not be made.");
  }

 private:
  sd_bus* bus = nullptr;
  int other = -1;
};

}  // namespace quillard::test
