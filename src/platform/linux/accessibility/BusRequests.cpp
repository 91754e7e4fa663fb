#include "platform/linux/accessibility/BusRequests.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

namespace quillard::atspi {

using std::chrono::microseconds;
using std::chrono::steady_clock;

namespace {

constexpr std::size_t kMostInFlight = 64;

bool append(sd_bus_message* message, const BusCall& call) {
  for (std::size_t i = 0; i < call.arguments.size(); ++i) {
    const bool isWrapped = call.wrapsLastArgument && i + 1 == call.arguments.size();
    const auto put = [&](const char* plain, const char* wrapped, auto value) {
      return (isWrapped ? sd_bus_message_append(message, "v", wrapped, value)
                        : sd_bus_message_append(message, plain, value)) >= 0;
    };
    const auto& argument = call.arguments[i];
    bool isPut = false;
    if (const auto* text = std::get_if<std::string>(&argument)) isPut = put("s", "s", text->c_str());
    if (const auto* number = std::get_if<std::int32_t>(&argument)) isPut = put("i", "i", *number);
    if (const auto* number = std::get_if<std::uint32_t>(&argument)) isPut = put("u", "u", *number);
    if (const auto* flag = std::get_if<bool>(&argument)) isPut = put("b", "b", static_cast<int>(*flag));
    if (!isPut) return false;
  }
  return true;
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// A time-out and a death come under the same name, so the clock tells them apart: no other error says "no reply" before
// the time is up.
CallOutcome outcomeOf(sd_bus_message* message, steady_clock::time_point deadline) {
  const sd_bus_error* const error = sd_bus_message_get_error(message);
  if (!error) return CallOutcome::answered;
  const std::string_view name = error->name ? error->name : "";
  if (isOneOf(name, {SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT, "org.freedesktop.DBus.Error.TimedOut"})) {
    return steady_clock::now() >= deadline ? CallOutcome::timedOut : CallOutcome::gone;
  }
  if (isOneOf(name, {SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_DISCONNECTED})) {
    return CallOutcome::gone;
  }
  // The bus would not carry more: what was read may be a part only, as after a time-out.
  if (name == SD_BUS_ERROR_LIMITS_EXCEEDED) return CallOutcome::timedOut;
  return CallOutcome::refused;
}

}  // namespace

BusCall propertyCall(ObjectName target, const char* interface, const char* property) {
  return {.target = std::move(target),
          .interface = "org.freedesktop.DBus.Properties",
          .member = "Get",
          .arguments = {std::string(interface), std::string(property)}};
}

struct BusRequests::Flight {
  BusRequests& owner;
  Program& program;
  OnReply onReply;
  int depth;
  bool isOptional;
  steady_clock::time_point deadline;
  BusSlot slot;
  std::list<Flight>::iterator place;
};

namespace {

bool isUnknown(sd_bus_message* message) {
  for (const char* error : {SD_BUS_ERROR_UNKNOWN_METHOD, SD_BUS_ERROR_UNKNOWN_OBJECT, SD_BUS_ERROR_UNKNOWN_INTERFACE,
                            SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER}) {
    if (sd_bus_message_is_method_error(message, error) > 0) return true;
  }
  return false;
}

}  // namespace

BusRequests::BusRequests(BusConnection& connection, AccessibilityCounters& counters)
    : connection(connection), counters(counters) {}

BusRequests::~BusRequests() = default;

void BusRequests::send(BusCall call, microseconds timeout, OnReply onReply) {
  auto& program = programs[call.target.bus];
  Waiting waiting{std::move(call), timeout, std::move(onReply), depth + 1};
  if (program.lost) {
    unanswered.push_back({std::move(waiting.onReply), waiting.depth, *program.lost});
  } else if (program.inFlight >= kMostInFlight) {
    program.queue.push_back(std::move(waiting));
  } else {
    launch(program, std::move(waiting));
  }
}

void BusRequests::launch(Program& program, Waiting waiting) {
  sd_bus_message* raw = nullptr;
  const auto& call = waiting.call;
  int result = sd_bus_message_new_method_call(connection.handle(), &raw, call.target.bus.c_str(),
                                              call.target.path.c_str(), call.interface, call.member);
  const BusMessage message{raw};
  if (result >= 0 && !append(message.get(), call)) result = -EINVAL;
  if (result >= 0 && !call.startsService) result = sd_bus_message_set_auto_start(message.get(), 0);
  const auto flight =
      flights.insert(flights.end(), Flight{*this, program, std::move(waiting.onReply), waiting.depth, call.isOptional,
                                           steady_clock::now() + waiting.timeout, nullptr, flights.end()});
  flight->place = flight;
  sd_bus_slot* slot = nullptr;
  if (result >= 0) {
    result = sd_bus_call_async(connection.handle(), &slot, message.get(), onMessage, &*flight,
                               static_cast<std::uint64_t>(waiting.timeout.count()));
  }
  flight->slot.reset(slot);
  if (result >= 0) {
    ++program.inFlight;
    ++counters.calls;
    deepest = std::max(deepest, waiting.depth);
    return;
  }
  unanswered.push_back({std::move(flight->onReply), waiting.depth, CallOutcome::refused});
  flights.erase(flight);
}

int BusRequests::onMessage(sd_bus_message* message, void* flight, sd_bus_error*) {
  auto& landing = *static_cast<Flight*>(flight);
  landing.owner.land(landing, message);
  return 1;  // After a time-out, this value is what sd_bus_process returns: 0 would be a wait too many.
}

void BusRequests::land(Flight& flight, sd_bus_message* message) {
  const CallOutcome outcome = outcomeOf(message, flight.deadline);
  Program& program = flight.program;
  OnReply onReply = std::move(flight.onReply);
  const int landingDepth = flight.depth;
  const bool isLost = outcome == CallOutcome::gone || (outcome == CallOutcome::timedOut && !flight.isOptional);
  flights.erase(flight.place);
  --program.inFlight;
  if (isLost) lose(program, outcome);
  answer(onReply, landingDepth,
         BusReply{outcome, outcome == CallOutcome::answered ? message : nullptr, isUnknown(message)});
  startQueued(program);
}

void BusRequests::answer(OnReply& onReply, int replyDepth, const BusReply& reply) {
  const int outer = std::exchange(depth, replyDepth);
  onReply(reply);
  depth = outer;
}

void BusRequests::lose(Program& program, CallOutcome why) {
  if (program.lost) return;
  program.lost = why;
  for (auto& waiting : program.queue) unanswered.push_back({std::move(waiting.onReply), waiting.depth, why});
  program.queue.clear();
  for (auto flight = flights.begin(); flight != flights.end();) {
    const auto current = flight++;
    if (&current->program != &program) continue;
    unanswered.push_back({std::move(current->onReply), current->depth, why});
    flights.erase(current);
    --program.inFlight;
  }
}

void BusRequests::startQueued(Program& program) {
  while (!program.lost && !program.queue.empty() && program.inFlight < kMostInFlight) {
    Waiting next = std::move(program.queue.front());
    program.queue.pop_front();
    launch(program, std::move(next));
  }
}

void BusRequests::settle() {
  while (!flights.empty() || !unanswered.empty()) {
    if (!unanswered.empty()) {
      Unanswered next = std::move(unanswered.front());
      unanswered.pop_front();
      answer(next.onReply, next.depth, BusReply{next.outcome, nullptr});
      continue;
    }
    const int done = sd_bus_process(connection.handle(), nullptr);
    if (done > 0) continue;
    const int waited = done < 0 ? done : sd_bus_wait(connection.handle(), UINT64_MAX);
    if (waited < 0 && waited != -EINTR) failAll();
  }
  counters.waits += static_cast<std::uint64_t>(deepest);
  deepest = 0;
}

void BusRequests::failAll() {
  for (auto& [bus, program] : programs) lose(program, CallOutcome::gone);
}

bool BusRequests::hasMissedTimeout(const std::string& bus) const {
  const auto program = programs.find(bus);
  return program != programs.end() && program->second.lost == CallOutcome::timedOut;
}

bool BusRequests::hasGone(const std::string& bus) const {
  const auto program = programs.find(bus);
  return program != programs.end() && program->second.lost == CallOutcome::gone;
}

}  // namespace quillard::atspi
