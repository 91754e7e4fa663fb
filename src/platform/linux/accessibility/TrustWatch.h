#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "platform/linux/accessibility/BusConnection.h"

namespace quillard::atspi {

// Listens on the session bus, on a thread of its own, for news of accessibility: switched on or off, come or gone.
class TrustWatch {
 public:
  // `onNews` is called on the thread of this object, until its destructor returns.
  TrustWatch(std::optional<std::string> sessionBusAddress, std::function<void()> onNews);
  TrustWatch(const TrustWatch&) = delete;
  TrustWatch& operator=(const TrustWatch&) = delete;
  ~TrustWatch();

 private:
  void run();
  [[nodiscard]] std::unique_ptr<BusConnection> connect();
  // Until the connection breaks, or the end is near.
  void listen(BusConnection& connection);
  // False: time to end.
  [[nodiscard]] bool pause(int milliseconds, int otherFile, short otherEvents) const;
  static int onSignal(sd_bus_message*, void* watch, sd_bus_error*);

  const std::optional<std::string> sessionBusAddress;
  const std::function<void()> onNews;
  const int wakeFile;  // Becomes readable when it is time to end.
  std::thread thread;
};

}  // namespace quillard::atspi
