#include "agent/PhoneAlerts.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace quillard {
namespace {

constexpr std::string_view kEarlierSubscriptionLine =
    "The relay gave an earlier subscription of a phone again, which is not used.";

}  // namespace

PhoneAlerts::PhoneAlerts(const PhoneAlertsDependencies& dependencies, PhoneAlertsActions actions)
    : dependencies(dependencies),
      actions(std::move(actions)),
      schedule(dependencies.stampClock.now().epoch.text()),
      sequences(dependencies.userDefaults) {}

void PhoneAlerts::update() {
  if (isStopped) return;
  const auto now = dependencies.clock.monotonicNow();
  waiting = actions.waiting();
  std::vector<WaitingPrompt> prompts;
  for (const auto& one : waiting) {
    prompts.push_back({.id = one.id, .endsAt = one.isAsked ? actions.endOf(one.id) : std::nullopt});
  }
  schedule.setEnabled(actions.isEnabled());
  schedule.promptsAre(prompts, now);
  schedule.setPaused(actions.isPaused(), now);
  send();
}

void PhoneAlerts::phonesChanged(int pairing, const RelayConnectionStatus& status) {
  if (isStopped) return;
  const auto now = dependencies.clock.monotonicNow();
  if (!status.relayConnected) return schedule.relayLost(pairing, now);
  std::vector<PushSchedule::Presence> present;
  for (const auto& phone : status.phones) {
    if (phone.connected.value_or(true)) present.push_back({.deviceID = phone.deviceID, .isAsleep = phone.isAsleep});
  }
  // A relay that counts phones and does not name them.
  if (status.phones.empty() && (status.phoneConnected || status.phoneCount > 0)) present.push_back({});
  schedule.phonesAre(pairing, present, now);
  send();
}

void PhoneAlerts::subscriptionsChanged(int pairing, const std::vector<PhoneSubscription>& subscriptions) {
  if (isStopped) return;
  std::vector<PhoneSubscription> newest;
  for (const auto& one : subscriptions) {
    if (isNewest(pairing, one.command)) newest.push_back(one);
  }
  schedule.subscriptionsAre(pairing, newest, dependencies.clock.monotonicNow());
  send();
}

// Whose newest one the relay keeps back has none: the keys of an earlier one may be somebody else's by now, and its
// words are not what the phone's user wants.
bool PhoneAlerts::isNewest(int pairing, const SubscriptionCommand& command) {
  if (sequences.take(pairing, command.deviceID, command.sequence)) return true;
  dependencies.console.writeLine(kEarlierSubscriptionLine);
  return false;
}

void PhoneAlerts::pushEnded(int pairing, const PushResultRelayMessage& result) {
  if (isStopped) return;
  schedule.pushEnded(pairing, result, dependencies.clock.monotonicNow(), dependencies.clock.now());
  actions.tellPhones(pairing);
  send();
}

void PhoneAlerts::pairingForgotten(int pairing) {
  schedule.forget(pairing);
  sequences.forget(pairing);
}

void PhoneAlerts::test(int pairing, const std::string& deviceID) {
  if (isStopped) return;
  const auto plan = schedule.takeTest({.pairing = pairing, .deviceID = deviceID}, dependencies.clock.monotonicNow());
  if (!plan) return;
  publish(*plan);
  send();
}

void PhoneAlerts::poll() {
  if (isStopped) return;
  const bool isNobody = actions.isAnyPaired() && schedule.isNobodyReached(dependencies.clock.monotonicNow());
  if (std::exchange(nobodyReached, isNobody) != isNobody) actions.onReachChanged(isNobody);
}

void PhoneAlerts::stop() {
  isStopped = true;
  timer.reset();
}

void PhoneAlerts::send() {
  const auto now = dependencies.clock.monotonicNow();
  for (const auto& plan : schedule.takeDue(now)) publish(plan);
  const auto next = schedule.nextDue(now);
  timer.reset();
  if (!next) return;
  timer = dependencies.mainThread.postAfter(Seconds{*next - now}, scope.bind([this] { send(); }));
}

void PhoneAlerts::publish(const PushPlan& plan) {
  auto sent = plan;
  if (!actions.showsTexts()) sent.command.content = PushContent::computer;
  if (actions.publish(sent, contentsOf(plan))) return;
  const PushResultRelayMessage failed{
      .pushID = plan.pushID, .deviceID = plan.phone.deviceID, .status = PushStatus::refused, .reason = "malformed"};
  schedule.pushEnded(plan.phone.pairing, failed, dependencies.clock.monotonicNow(), dependencies.clock.now());
}

PushContents PhoneAlerts::contentsOf(const PushPlan& plan) const {
  PushContents contents{.kind = plan.prompts.empty() ? PushContents::Kind::test : PushContents::Kind::several,
                        .waiting = plan.waiting,
                        .clock = dependencies.stampClock.now()};
  if (plan.prompts.size() != 1) return contents;
  const auto found = std::find_if(waiting.begin(), waiting.end(),
                                  [&](const PendingApproval& one) { return one.id == plan.prompts.front(); });
  if (found == waiting.end()) return contents;
  contents.kind = PushContents::Kind::prompt;
  contents.prompt = *found;
  return contents;
}

std::vector<PushReport> PhoneAlerts::reports(int pairing) const {
  std::vector<PushReport> all;
  for (const auto& push : schedule.lastPushes(pairing)) {
    all.push_back({.keyText = push.keyText,
                   .status = std::string(nameOf(push.status)),
                   .reason = push.reason,
                   .acceptedAt = push.acceptedAt});
  }
  return all;
}

}  // namespace quillard
