#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/accessibility/BusConnection.h"

namespace quillard::atspi {

// What a watch does besides listening, on its thread. Any of them may be empty.
struct BusWatchHooks {
  // After each signal that one of the match rules lets through. Empty: each is news. False: it is none.
  std::function<bool(sd_bus_message*)> isNews;
  // With each new connection, once the rules are in force. It may be asked, answered on, and kept until `onEnd`.
  std::function<void(BusConnection&)> onConnect;
  // How long until `onWake` is due. Absent: it is not.
  std::function<std::optional<std::chrono::milliseconds>()> wakeAfter;
  // When that time has passed, and now and then before.
  std::function<void()> onWake;
  // Before a connection is given up, whether it still works or has broken.
  std::function<void(BusConnection&)> onEnd;
};

// Listens for some signals of one bus, on a thread of its own. When the bus goes, it is looked for again every 5 s.
class BusWatch {
 public:
  using FindAddress = std::function<std::optional<std::string>()>;

  // `findAddress` is asked for every new connection; `onNews` is called after each signal that one of the match rules
  // lets through, and whenever the bus came back or went. Both on the thread of this object, until its destructor
  // returns. Without rules nothing is ever told.
  BusWatch(FindAddress findAddress, std::vector<std::string> matchRules, std::function<void()> onNews,
           BusWatchHooks hooks = {});
  BusWatch(const BusWatch&) = delete;
  BusWatch& operator=(const BusWatch&) = delete;
  ~BusWatch();

 private:
  void run();
  [[nodiscard]] std::unique_ptr<BusConnection> connect();
  // Milliseconds; negative: for as long as nothing comes.
  [[nodiscard]] int waitingTime(const BusConnection& connection) const;
  // Until the connection breaks, or the end is near.
  void listen(BusConnection& connection);
  // False: time to end.
  [[nodiscard]] bool pause(int milliseconds, int otherFile, short otherEvents) const;
  static int onSignal(sd_bus_message* signal, void* watch, sd_bus_error*);

  const FindAddress findAddress;
  const std::vector<std::string> matchRules;
  const std::function<void()> onNews;
  const BusWatchHooks hooks;
  const int wakeFile;  // Becomes readable when it is time to end.
  std::thread thread;
};

}  // namespace quillard::atspi
