#include "simulation/Phone.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <variant>

#include "relay/RelayCrypto.h"
#include "relay/RelayMessages.h"

namespace quillard::simulation {

namespace {

constexpr Seconds kDecisionLife{60};
constexpr std::size_t kKeptPrompts = 32;

}  // namespace

Phone::Phone(Stage& stage, HostileRelay& relay, Ledger& ledger, OpenedLists& lists, std::uint64_t seed,
             std::size_t number, PhoneKind kind)
    : stage(stage),
      relay(relay),
      ledger(ledger),
      lists(lists),
      chance(seed, 16 + number),
      deviceID("phone-" + std::to_string(number)),
      itsKind(kind),
      random(platform::simulated::Seed{seed * 31 + number}) {}

Phone::~Phone() { relay.disconnect(deviceID); }

// ---- Its connection

void Phone::pair(const InstallationSecrets& with) {
  relay.disconnect(deviceID);
  connected = false;
  secrets = with;
  list.clear();
  earlier.clear();
  openDecisions.clear();
  muted.clear();
  hasSnapshot = false;
  agentClock.reset();
  reconnectAt = stage.now();
  stage.trace(deviceID, "pairs with ", with.pairingID);
}

void Phone::goOnline() {
  wantsToBeOnline = true;
  reconnectAt = stage.now();
}

void Phone::goOffline() {
  wantsToBeOnline = false;
  relay.disconnect(deviceID);
  lineEnded();
}

void Phone::reloadPage() {
  relay.disconnect(deviceID);
  lineEnded();
  list.clear();
  hasSnapshot = false;
  agentClock.reset();
}

void Phone::lineEnded() {
  if (connected) stage.trace(deviceID, "is offline");
  connected = false;
  reconnectAt = stage.now() + chance.seconds(0.5, 3);
  for (Open& open : openDecisions) open.wasSentHere = false;
}

void Phone::tick() {
  if (wantsToBeOnline && !connected && secrets && stage.now() >= reconnectAt) {
    connected = relay.connect(deviceID, *secrets, *this);
    if (connected) {
      stage.trace(deviceID, "is online");
    } else {
      reconnectAt = stage.now() + chance.seconds(1, 5);
    }
  }
  std::erase_if(openDecisions, [this](const Open& open) { return stage.now() - open.tappedAt > kDecisionLife; });
  for (Open& open : openDecisions) {
    if (connected && !open.wasSentHere && open.sendAt <= stage.now()) sendOpen(open);
  }
}

// ---- What arrives

std::optional<std::string> Phone::opened(const Json& payload) const {
  if (!secrets || !payload.is_object()) return std::nullopt;
  const auto text = RelayCrypto::open(
      {.version = 1, .nonce = {}, .ciphertext = payload.value("ciphertext", std::string{})}, secrets->e2eSecret);
  const auto* plaintext = std::get_if<std::string>(&text);
  return plaintext ? std::optional{*plaintext} : std::nullopt;
}

void Phone::frameArrived(const std::string& frame) {
  const auto json = Json::parse(frame, nullptr, false);
  if (!json.is_object()) return;
  const auto type = json.value("type", std::string{});
  if (type == kMacSnapshotType) takeSnapshot(json);
  if (type == kApprovalResultType) takeResult(json);
  if (type == "mac.clock") {
    for (const auto& [name, member] : json.items()) learnClockOf(member);
  }
}

void Phone::takeSnapshot(const Json& frame) {
  if (!secrets) return;
  const auto payload = frame.value("encryptedApprovals", Json());
  if (!payload.is_object()) return;
  const auto opened = lists.open(payload.value("ciphertext", std::string{}), secrets->e2eSecret);
  if (!opened->isOpen) return;
  if (!opened->isReadable) return stage.fail(deviceID, " was sent a list that it cannot read.");
  if (opened->marks.clock) learnClock(*opened->marks.clock);
  list = opened->approvals;
  hasSnapshot = true;
  for (const auto& approval : list) {
    const bool isKnown =
        std::any_of(earlier.begin(), earlier.end(), [&](const auto& other) { return other.id == approval.id; });
    if (!isKnown) earlier.push_back(approval);
  }
  if (earlier.size() > kKeptPrompts) earlier.erase(earlier.begin());
}

void Phone::takeResult(const Json& frame) {
  const auto payload = frame.value("encryptedResult", Json());
  if (!opened(payload)) return;
  learnClockOf(payload);
  const auto id = frame.value("decisionID", std::string{});
  std::erase_if(openDecisions, [&](const Open& open) { return open.decisionID == id; });
}

// Some boxes bear a stamp as a member, and one kind is nothing but a stamp.
void Phone::learnClockOf(const Json& payload) {
  const auto text = opened(payload);
  const auto content = text ? Json::parse(*text, nullptr, false) : Json();
  if (!content.is_object()) return;
  JsonReader reader{content};
  if (content.contains("clock")) {
    const auto stamp = readOptionalClockStamp(reader, "clock");
    if (stamp && !reader.error()) learnClock(*stamp);
  } else if (content.contains("epoch")) {
    const auto stamp = readClockStamp(reader);
    if (!reader.error()) learnClock(stamp);
  }
}

// The best of all stamps of the newest run of the agent: more time on the way only makes a decision look older.
void Phone::learnClock(const ClockStamp& stamp) {
  if (itsKind == PhoneKind::older) return;
  const double offset = static_cast<double>(stamp.time.count()) - stage.now().count() * 1000;
  if (!agentClock || agentClock->epoch != stamp.epoch) {
    agentClock = AgentClock{stamp.epoch, offset};
  } else {
    agentClock->offset = std::max(agentClock->offset, offset);
  }
}

// ---- What the person does

void Phone::decide() {
  if (list.empty()) return;
  const PendingApproval approval = chance.pick(list);
  if (approval.buttons.empty()) return;
  decideFor(approval, chance.pick(approval.buttons).label);
}

void Phone::decideFor(const PendingApproval& approval, const std::string& label) {
  add(approval.id, label, Seconds::zero());
}

void Phone::decideLate(Seconds delay) {
  if (list.empty()) return;
  const PendingApproval approval = chance.pick(list);
  if (approval.buttons.empty()) return;
  stage.happened(Fault::phoneDecidesLate);
  add(approval.id, chance.pick(approval.buttons).label, delay);
}

void Phone::decideForWhatIsGone() {
  const auto isShown = [this](const PendingApproval& approval) {
    return std::any_of(list.begin(), list.end(), [&](const auto& other) { return other.id == approval.id; });
  };
  for (const auto& approval : std::vector(earlier)) {
    if (isShown(approval) || approval.buttons.empty()) continue;
    stage.happened(Fault::phoneDecidesForWhatIsGone);
    return add(approval.id, chance.pick(approval.buttons).label, Seconds::zero());
  }
}

void Phone::decideUnknownLabel() {
  if (list.empty()) return;
  stage.happened(Fault::phoneDecidesWithUnknownLabel);
  const Uuid id = chance.pick(list).id;
  add(id, chance.oneIn(2) ? "erase" : "Obliterate", Seconds::zero());
}

void Phone::decideAgain() {
  if (openDecisions.empty() || !connected) return;
  stage.happened(Fault::phoneDecidesTwice);
  sendOpen(openDecisions[chance.below(openDecisions.size())]);
}

void Phone::decideAgainst(const Uuid& approvalID, const std::string& label) { add(approvalID, label, Seconds::zero()); }

std::optional<std::string> Phone::newestDecision() const {
  return openDecisions.empty() ? std::nullopt : std::optional{openDecisions.back().decisionID};
}

Json Phone::sealed(const Json& content) {
  return toJson(std::get<EncryptedRelayPayload>(RelayCrypto::seal(content, secrets->e2eSecret, random)));
}

void Phone::add(const Uuid& approvalID, const std::string& label, Seconds sendAfter) {
  if (!secrets) return;
  const bool isNew = itsKind == PhoneKind::newer && agentClock.has_value();
  Open open{.decisionID = deviceID + "-" + std::to_string(++decisionCount),
            .approvalID = approvalID,
            .label = label,
            .tappedAt = stage.now(),
            .sendAt = stage.now() + sendAfter};
  Json content{{"approvalID", approvalID.text()}, {"buttonLabel", label}};
  if (isNew) {
    const double time = std::floor(stage.now().count() * 1000 + agentClock->offset);
    content["decisionID"] = open.decisionID;
    content["tappedAt"] = toJson(
        ClockStamp{agentClock->epoch, std::chrono::milliseconds{static_cast<std::int64_t>(std::max(time, 0.0))}});
  }
  open.sealed = sealed(content);
  ledger.add({.id = open.decisionID,
              .pairingID = secrets->pairingID,
              .approvalID = approvalID,
              .label = label,
              .tappedAt = stage.now(),
              .isNew = isNew},
             open.sealed["ciphertext"].get<std::string>());
  stage.trace(deviceID, "decides ", open.decisionID, ": \"", label, "\" for ", approvalID.text());
  openDecisions.push_back(std::move(open));
  if (connected && sendAfter <= Seconds::zero()) sendOpen(openDecisions.back());
}

void Phone::sendOpen(Open& open) {
  if (itsKind == PhoneKind::older && open.wasSentHere) {
    open.sealed = sealed({{"approvalID", open.approvalID.text()}, {"buttonLabel", open.label}});
    ledger.addBox(open.decisionID, open.sealed["ciphertext"].get<std::string>());
  }
  open.wasSentHere = true;
  const Json message{
      {"type", kApprovalRequestType}, {"decisionID", open.decisionID}, {"encryptedRequest", open.sealed}};
  relay.send(deviceID, message.dump());
}

void Phone::sendSuppression(const char* action, const Uuid& kind) {
  if (!connected || !secrets) return;
  const Json message{{"type", std::string("approval.") + action},
                     {"decisionID", deviceID + "-" + std::to_string(++decisionCount)},
                     {"encryptedSuppression", sealed({{"action", action}, {"suppressionID", kind.text()}})}};
  relay.send(deviceID, message.dump());
}

void Phone::mute() {
  if (list.empty()) return;
  const Uuid kind = chance.pick(list).suppressionID;
  stage.happened(Fault::phoneMutes);
  muted.insert(kind);
  sendSuppression("suppress", kind);
}

void Phone::unmute() {
  if (muted.empty()) return;
  stage.happened(Fault::phoneUnmutes);
  sendSuppression("unsuppress", *muted.begin());
  muted.erase(muted.begin());
}

void Phone::unmuteAll(const std::set<Uuid>& kinds) {
  muted.clear();
  for (const Uuid& kind : kinds) sendSuppression("unsuppress", kind);
}

}  // namespace quillard::simulation
