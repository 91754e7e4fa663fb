#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Uuid.h"
#include "values/Time.h"

namespace quillard::simulation {

// One tap of a person on a phone. Genuine, whatever the relay makes of it.
struct TapDecision {
  std::string id;
  std::string pairingID;
  Uuid approvalID;
  std::string label;
  Seconds tappedAt{0};
  bool isNew = false;                  // By a phone that seals the decision's identifier and its age.
  bool wasRenamed = false;             // The relay delivered it under another identifier, too.
  std::optional<Seconds> delivered{};  // When it first reached the agent's connection.
  std::size_t delivery = 0;            // Its place among all that reached it, by which the agent takes them.
  struct Answer {
    Seconds at{0};
    std::string status;
    std::string error;
  };
  std::vector<Answer> answers{};         // As the agent sent them, oldest first.
  std::optional<std::size_t> pressed{};  // The appearance whose button was pressed for it, without a doubt.
  Seconds pressedAt{0};
  // A press that may have been the first one for it.
  struct FirstPress {
    std::size_t appearance = 0;
    Seconds at{0};
    bool hadItsTime = false;  // The next one came when it could not take effect any more.
  };
  std::vector<FirstPress> firstPresses{};
  bool wasFirstPressMade = false;  // One of these was it, without a doubt.
};

// All decisions that persons made, and what became of them. The world's own book: neither the agent nor the relay can
// change it.
class Ledger {
 public:
  void add(TapDecision decision, const std::string& ciphertext);
  // One more box of the same decision.
  void addBox(const std::string& decisionID, const std::string& ciphertext);
  // Null when there is no such decision, or no such box.
  [[nodiscard]] TapDecision* find(const std::string& decisionID);
  [[nodiscard]] TapDecision* ofBox(const std::string& ciphertext);
  // It reached the agent's connection. Only the first time counts.
  void deliver(TapDecision& decision, Seconds at);
  // The relay calls it by another name as well.
  void rename(const std::string& decisionID, const std::string& newName);
  [[nodiscard]] std::vector<TapDecision>& decisions() { return all; }

 private:
  std::vector<TapDecision> all;
  std::size_t deliveries = 0;
  std::map<std::string, std::size_t> byID;
  std::map<std::string, std::size_t> byBox;
};

}  // namespace quillard::simulation
