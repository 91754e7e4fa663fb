#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

struct sd_bus;

namespace quillard::privatedesktop {

// A connection to a bus of a desktop, with the calls that its set-up and its tests need. Calls wait for the answer; one
// that fails and one that means "no" read alike. One thread.
class DesktopBus {
 public:
  // Throws when no bus listens at `address`.
  explicit DesktopBus(const std::string& address);

  [[nodiscard]] bool isNameOwned(const std::string& name);
  // Of the program that owns `name`; 0 when it has no owner.
  [[nodiscard]] pid_t processOf(const std::string& name);
  // Whether the owner of `name`, started for it if need be, answers.
  [[nodiscard]] bool ping(const std::string& name, const std::string& path);
  // Empty until the accessibility bus is there.
  [[nodiscard]] std::string accessibilityBusAddress();
  bool setAccessibilityEnabled(bool isEnabled);
  [[nodiscard]] bool isAccessibilityEnabled();
  // Reads anew which services the bus can start.
  void reloadConfiguration();
  // For services that the bus starts by itself: "NAME=value".
  bool setServiceEnvironment(const std::vector<std::string>& variables);

  // For calls beyond these; owned by this object.
  [[nodiscard]] sd_bus* get() const { return bus.get(); }

 private:
  struct Closing {
    void operator()(sd_bus* open) const;
  };
  std::unique_ptr<sd_bus, Closing> bus;
};

}  // namespace quillard::privatedesktop
