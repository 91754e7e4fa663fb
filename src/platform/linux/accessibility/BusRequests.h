#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "platform/linux/accessibility/AccessibilityCounters.h"
#include "platform/linux/accessibility/BusConnection.h"
#include "platform/linux/accessibility/BusReply.h"

namespace quillard::atspi {

// One method call. The names outlive the call's sending.
struct BusCall {
  ObjectName target;
  const char* interface = "";
  const char* member = "";
  // In the order of the method: strings, signed and unsigned numbers, and booleans.
  std::vector<std::variant<std::string, std::int32_t, std::uint32_t, bool>> arguments;
  // A property to set: the last argument is wrapped as its value.
  bool wrapsLastArgument = false;
  // Whether a service that is not running is started for it.
  bool startsService = true;
  // There is another way to learn the same: the program is asked on when this is not answered in time.
  bool isOptional = false;
};

[[nodiscard]] BusCall propertyCall(ObjectName target, const char* interface, const char* property);

// Calls that are under way at once over one connection. Each program is asked at most some dozens of questions at a
// time, the rest waiting here, so that a call's time-out measures the program and not the length of the queue.
//
// A program that misses the time-out once, or has left the bus, is not asked again: whatever else it was to be asked is
// answered immediately in the same way. A slow program does not delay calls to others.
class BusRequests {
 public:
  using OnReply = std::function<void(const BusReply&)>;

  // Both outlive this.
  BusRequests(BusConnection& connection, AccessibilityCounters& counters);
  BusRequests(const BusRequests&) = delete;
  BusRequests& operator=(const BusRequests&) = delete;
  ~BusRequests();

  // `onReply` runs within `settle`, and may send more.
  void send(BusCall call, std::chrono::microseconds timeout, OnReply onReply);

  // Waits until every call is answered, or has failed, as the last thing before it returns. Not from inside a reply.
  void settle();

  [[nodiscard]] bool hasMissedTimeout(const std::string& bus) const;
  [[nodiscard]] bool hasGone(const std::string& bus) const;

 private:
  struct Flight;
  struct Waiting {
    BusCall call;
    std::chrono::microseconds timeout;
    OnReply onReply;
    int depth = 0;
  };
  struct Unanswered {
    OnReply onReply;
    int depth = 0;
    CallOutcome outcome = CallOutcome::refused;
  };
  struct Program {
    std::size_t inFlight = 0;
    std::deque<Waiting> queue;
    std::optional<CallOutcome> lost;  // timedOut or gone: asked no more.
  };

  void launch(Program& program, Waiting waiting);
  void answer(OnReply& onReply, int depth, const BusReply& reply);
  static int onMessage(sd_bus_message* message, void* flight, sd_bus_error*);
  void land(Flight& flight, sd_bus_message* message);
  void lose(Program& program, CallOutcome why);
  void startQueued(Program& program);
  void failAll();

  BusConnection& connection;
  AccessibilityCounters& counters;
  std::unordered_map<std::string, Program> programs;
  std::list<Flight> flights;
  std::deque<Unanswered> unanswered;  // Never sent, or given up; `settle` tells.
  int depth = 0;                      // Of the reply that is being handled.
  int deepest = 0;
};

}  // namespace quillard::atspi
