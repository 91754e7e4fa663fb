#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "private-desktop/Waiting.h"

struct sd_bus;

namespace quillard::test {

// Counts the calls that pass over a bus, also those that are never answered: a sign of what a program has tried. One
// thread.
class BusMonitor {
 public:
  // `rule`: which of them, as a bus has it: "destination='org.a11y.Bus'". Throws when the bus lets no one read along.
  BusMonitor(const std::string& address, const std::string& rule);
  BusMonitor(const BusMonitor&) = delete;
  BusMonitor& operator=(const BusMonitor&) = delete;
  ~BusMonitor();

  // How many have passed since it was made.
  [[nodiscard]] int calls();
  // Until `more` have passed after this was asked.
  [[nodiscard]] bool waitForMore(int more, std::chrono::milliseconds timeout = privatedesktop::kTimeout);

 private:
  struct Close {
    void operator()(sd_bus* open) const;
  };
  std::unique_ptr<sd_bus, Close> bus;
  int passed = 0;
};

}  // namespace quillard::test
