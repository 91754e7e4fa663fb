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
  struct Answer {
    Seconds at{0};
    std::string status;
    std::string error;
  };
  std::vector<Answer> answers{};         // As the agent sent them, oldest first.
  std::optional<std::size_t> pressed{};  // The appearance whose button was pressed for it.
  Seconds pressedAt{0};
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
  // The relay calls it by another name as well.
  void rename(const std::string& decisionID, const std::string& newName);
  [[nodiscard]] std::vector<TapDecision>& decisions() { return all; }

 private:
  std::vector<TapDecision> all;
  std::map<std::string, std::size_t> byID;
  std::map<std::string, std::size_t> byBox;
};

}  // namespace quillard::simulation
