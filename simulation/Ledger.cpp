#include "simulation/Ledger.h"

#include <utility>

namespace quillard::simulation {

void Ledger::add(TapDecision decision, const std::string& ciphertext) {
  byID[decision.id] = all.size();
  byBox[ciphertext] = all.size();
  all.push_back(std::move(decision));
}

void Ledger::addBox(const std::string& decisionID, const std::string& ciphertext) {
  const auto found = byID.find(decisionID);
  if (found != byID.end()) byBox[ciphertext] = found->second;
}

TapDecision* Ledger::find(const std::string& decisionID) {
  const auto found = byID.find(decisionID);
  return found == byID.end() ? nullptr : &all[found->second];
}

TapDecision* Ledger::ofBox(const std::string& ciphertext) {
  const auto found = byBox.find(ciphertext);
  return found == byBox.end() ? nullptr : &all[found->second];
}

void Ledger::deliver(TapDecision& decision, Seconds at) {
  if (decision.delivered) return;
  decision.delivered = at;
  decision.delivery = ++deliveries;
}

void Ledger::rename(const std::string& decisionID, const std::string& newName) {
  const auto found = byID.find(decisionID);
  if (found == byID.end()) return;
  all[found->second].wasRenamed = true;
  byID.emplace(newName, found->second);
}

}  // namespace quillard::simulation
