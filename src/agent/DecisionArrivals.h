#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "relay/RelayCommands.h"

namespace quillard {

// Which phones of its pairing were connected when a decision came: any of them may have made it, and they may have left
// by the time it is carried out. The newest `kMost` are kept. Main thread.
class DecisionArrivals {
 public:
  static constexpr std::size_t kMost = 64;

  // `present`: the phones, by `deviceID`.
  void note(const ApprovalRequestEnvelope& decision, std::vector<std::string> present);
  // When it came first. Empty: nobody is known to have been there, or it is not known any more.
  [[nodiscard]] std::vector<std::string> presentAt(const ApprovalRequestEnvelope& decision) const;

 private:
  struct Arrival {
    int pairing;
    std::string decisionID;
    std::vector<std::string> present;
  };
  std::deque<Arrival> arrivals;  // Newest last.
};

}  // namespace quillard
