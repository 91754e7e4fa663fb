#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "relay/RelayCommands.h"

namespace quillard {

// The phone's decisions in the order in which they were received: waiting -> under way -> answered. One is under way at
// a time. Each is acted on once, whatever the relay repeats, reorders or holds back: what was received is remembered
// with its answer. Main thread.
//
// A decision is known by its pairing, and there by the name that the phone sealed into it. Where a phone seals none, it
// is known by its box and by the name that the relay gives it: such a phone seals an open decision anew and repeats the
// name.
//
// Bounded: `kMostWaiting` wait, `kMostRemembered` are remembered; what is too much is not taken, and nothing is done
// about it. A decision is forgotten no earlier than `kLongestAge` after it came, and only to make room. By then a box
// that says when it was decided is too old to be taken again, since it was decided before it came first. One that does
// not say it could be taken again, but the prompt that it is about has long been another one.
//
// `now` is a time of the clock that counts the computer's sleep, and never goes back.
class DecisionQueue {
 public:
  using Time = std::chrono::milliseconds;

  static constexpr std::size_t kMostWaiting = 64;
  static constexpr std::size_t kMostRemembered = 4096;
  static constexpr std::chrono::seconds kLongestAge{60};

  // What becomes of a decision that was received.
  struct Queued {};
  // It waits or is under way already: there is one answer for all deliveries, when it ends.
  struct Repeated {};
  struct Answered {
    ApprovalResultCommand result;
  };
  // A decision of the same name was about another prompt or button.
  struct NameTaken {};
  struct Full {};
  using Arrival = std::variant<Queued, Repeated, Answered, NameTaken, Full>;

  [[nodiscard]] Arrival add(const ApprovalRequestEnvelope& decision, Time now);
  // What `add` would say of a decision that it knows. Absent: it does not know it.
  [[nodiscard]] std::optional<Arrival> known(const ApprovalRequestEnvelope& decision);

  struct Next {
    ApprovalRequestEnvelope decision;
    Time receivedAt;
  };
  // The oldest that waits is under way from now on. Absent: one is under way already, or none waits.
  [[nodiscard]] std::optional<Next> begin();

  enum class Memory { keep, forget };
  // The one under way has its answer. `forget`: nothing was done about it, and should it come again, it is a new one.
  // False: no caller waits for the answer any more, since everything was forgotten after it began, or none was under
  // way; it is not remembered then.
  [[nodiscard]] bool end(const ApprovalResultCommand& result, Memory memory = Memory::keep);

  // Another pairing: what waits is dropped, and answers no longer count. The one under way still has to end.
  void forget();
  // The same for what came by this pairing. Whether the one under way did.
  bool forget(int pairing);

  [[nodiscard]] std::size_t waitingCount() const { return waiting.size(); }
  [[nodiscard]] std::size_t rememberedCount() const { return remembered.size(); }

 private:
  // Without the texts of the request, which may be long.
  struct Answer {
    std::string status;
    std::optional<std::string> error;
    std::optional<std::string> reason;
  };
  struct Remembered {
    int pairing = 1;
    std::vector<std::string> names;
    std::string commandDigest;
    Time receivedAt;
    std::optional<Answer> answer;  // Absent: it waits or is under way.
  };
  using Place = std::list<Remembered>::iterator;
  struct Waiting {
    ApprovalRequestEnvelope decision;
    Place place;
  };

  [[nodiscard]] std::optional<Place> find(const std::vector<std::string>& names) const;
  void addNames(Place place, const std::vector<std::string>& names);
  [[nodiscard]] bool makeRoom(Time now);
  void erase(Place place);

  std::list<Waiting> waiting;
  std::optional<Place> underWay;  // Absent also when the one under way was forgotten.
  bool isUnderWay = false;
  std::list<Remembered> remembered;  // Oldest first.
  std::unordered_map<std::string, Place> placesByName;
};

}  // namespace quillard
