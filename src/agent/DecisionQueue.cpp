#include "agent/DecisionQueue.h"

#include <iterator>
#include <utility>

#include "relay/RelayCrypto.h"

namespace quillard {
namespace {

// A phone that names none may seal one decision as often as it reconnects within its minute.
constexpr std::size_t kMostNames = 32;

std::vector<std::string> namesOf(const ApprovalRequestEnvelope& decision) {
  const std::string pairing = std::to_string(decision.pairing) + ":";
  if (decision.command.decisionID) return {pairing + "sealed:" + *decision.command.decisionID};
  std::vector<std::string> names{pairing + "outside:" + decision.decisionID};
  if (!decision.boxID.empty()) names.push_back(pairing + "box:" + decision.boxID);
  return names;
}

std::string digestOf(const ApprovalRequestCommand& command) {
  return RelayCrypto::digest(command.approvalID.text() + ":" + command.buttonLabel);
}

}  // namespace

DecisionQueue::Arrival DecisionQueue::add(const ApprovalRequestEnvelope& decision, Time now) {
  if (auto arrival = known(decision)) return *std::move(arrival);
  if (waiting.size() >= kMostWaiting || !makeRoom(now)) return Full{};
  const auto place = remembered.insert(remembered.end(), {.pairing = decision.pairing,
                                                          .names = {},
                                                          .commandDigest = digestOf(decision.command),
                                                          .receivedAt = now,
                                                          .answer = std::nullopt});
  addNames(place, namesOf(decision));
  waiting.push_back({decision, place});
  return Queued{};
}

std::optional<DecisionQueue::Arrival> DecisionQueue::known(const ApprovalRequestEnvelope& decision) {
  const auto names = namesOf(decision);
  const auto place = find(names);
  if (!place) return std::nullopt;
  const auto& earlier = **place;
  if (earlier.commandDigest != digestOf(decision.command)) return NameTaken{};
  addNames(*place, names);
  if (!earlier.answer) return Repeated{};
  return Answered{{.approvalID = decision.command.approvalID,
                   .buttonLabel = decision.command.buttonLabel,
                   .status = earlier.answer->status,
                   .error = earlier.answer->error,
                   .reason = earlier.answer->reason}};
}

std::optional<DecisionQueue::Next> DecisionQueue::begin() {
  if (isUnderWay || waiting.empty()) return std::nullopt;
  auto next = std::move(waiting.front());
  waiting.pop_front();
  isUnderWay = true;
  underWay = next.place;
  return Next{std::move(next.decision), next.place->receivedAt};
}

bool DecisionQueue::end(const ApprovalResultCommand& result, Memory memory) {
  isUnderWay = false;
  const auto ended = std::exchange(underWay, std::nullopt);
  if (!ended) return false;
  if (memory == Memory::forget) {
    erase(*ended);
  } else {
    (*ended)->answer = Answer{result.status, result.error, result.reason};
  }
  return true;
}

void DecisionQueue::forget() {
  waiting.clear();
  underWay.reset();
  remembered.clear();
  placesByName.clear();
}

bool DecisionQueue::forget(int pairing) {
  std::erase_if(waiting, [&](const Waiting& one) { return one.decision.pairing == pairing; });
  const bool isOfPairing = underWay && (*underWay)->pairing == pairing;
  if (isOfPairing) underWay.reset();
  for (auto place = remembered.begin(); place != remembered.end();) {
    const auto next = std::next(place);
    if (place->pairing == pairing) erase(place);
    place = next;
  }
  return isOfPairing;
}

std::optional<DecisionQueue::Place> DecisionQueue::find(const std::vector<std::string>& names) const {
  for (const auto& name : names) {
    if (const auto found = placesByName.find(name); found != placesByName.end()) return found->second;
  }
  return std::nullopt;
}

void DecisionQueue::addNames(Place place, const std::vector<std::string>& names) {
  for (const auto& name : names) {
    if (place->names.size() < kMostNames && placesByName.emplace(name, place).second) place->names.push_back(name);
  }
}

bool DecisionQueue::makeRoom(Time now) {
  if (remembered.size() < kMostRemembered) return true;
  const auto oldest = remembered.begin();
  if (!oldest->answer || now - oldest->receivedAt <= kLongestAge) return false;
  erase(oldest);
  return true;
}

void DecisionQueue::erase(Place place) {
  for (const auto& name : place->names) placesByName.erase(name);
  remembered.erase(place);
}

}  // namespace quillard
