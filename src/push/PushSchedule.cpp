#include "push/PushSchedule.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quillard {

bool PushSchedule::Phone::isUnderWay(const Uuid& prompt) const {
  return std::any_of(underWay.begin(), underWay.end(), [&](const UnderWay& one) {
    return std::find(one.prompts.begin(), one.prompts.end(), prompt) != one.prompts.end();
  });
}

Instant PushSchedule::Phone::mayPushFrom() const { return std::max({asleepFrom, nextPush, pausedUntil}); }

// ---- What waits

void PushSchedule::promptsAre(const std::vector<WaitingPrompt>& waiting, Instant now) {
  std::vector<Prompt> current;
  for (const auto& one : waiting) {
    const auto known =
        std::find_if(prompts.begin(), prompts.end(), [&](const Prompt& old) { return old.id == one.id; });
    current.push_back({.id = one.id, .endsAt = one.endsAt, .since = known == prompts.end() ? now : known->since});
  }
  prompts = std::move(current);
  for (auto& [name, phone] : phones) {
    std::erase_if(phone.knowledge, [&](const auto& known) { return !waits(known.first); });
    if (phone.isAwake()) wake(phone, now);
  }
}

void PushSchedule::setPaused(bool isPausedNow, Instant now) {
  if (std::exchange(isPaused, isPausedNow) == isPausedNow || isPaused) return;
  for (auto& prompt : prompts) prompt.since = now;
  for (auto& [name, phone] : phones) {
    if (phone.isAwake()) wake(phone, now);
  }
}

// ---- The phones

PushSchedule::Phone& PushSchedule::phoneOf(const PushPhone& name, Instant now) {
  const auto found = phones.find(name);
  if (found != phones.end()) return found->second;
  if (phones.size() >= kMostPhones) {
    const auto unknown = std::find_if(phones.begin(), phones.end(), [](const auto& one) {
      return !one.second.isConnected && !one.second.subscription;
    });
    if (unknown != phones.end()) phones.erase(unknown);
  }
  Phone& phone = phones[name];
  phone.asleepFrom = now;
  return phone;
}

void PushSchedule::phonesAre(int pairing, const std::vector<Presence>& present, Instant now) {
  for (const auto& one : present) {
    Phone& phone = phoneOf({pairing, one.deviceID}, now);
    const bool wasAwake = phone.isAwake();
    phone.isConnected = true;
    phone.isAsleep = one.isAsleep;
    if (!one.isAsleep) {
      wake(phone, now);
    } else if (wasAwake) {
      fallAsleep(phone, kUnseenBeforeSleep, Seconds{0}, now);
    } else {
      phone.asleepFrom = std::min(phone.asleepFrom, now);  // It is back, and sleeps.
    }
  }
  for (auto& [name, phone] : phones) {
    if (name.pairing != pairing) continue;
    phone.isRelayConnected = true;
    const bool isThere = std::any_of(present.begin(), present.end(),
                                     [&, &id = name.deviceID](const Presence& one) { return one.deviceID == id; });
    if (isThere || !phone.isConnected) continue;
    const bool wasAwake = phone.isAwake();
    phone.isConnected = false;
    if (wasAwake) fallAsleep(phone, kUnseenBeforeLoss, kReturn, now);
  }
}

void PushSchedule::wake(Phone& phone, Instant now) {
  if (isPaused) return;
  for (const auto& prompt : prompts) {
    Knowledge& known = phone.knowledge[prompt.id];
    if (known.knows == Knows::nothing) known = {.knows = Knows::shown, .since = now};
  }
}

void PushSchedule::fallAsleep(Phone& phone, Seconds unseen, Seconds returns, Instant now) {
  phone.asleepFrom = advanced(now, returns);
  for (auto& [prompt, known] : phone.knowledge) {
    if (known.knows == Knows::shown && now < advanced(known.since, unseen)) known = {};
  }
}

void PushSchedule::subscriptionsAre(int pairing, const std::vector<PhoneSubscription>& subscriptions, Instant now) {
  for (auto& [name, phone] : phones) {
    const bool isThere = std::any_of(subscriptions.begin(), subscriptions.end(),
                                     [&, &id = name.deviceID](const auto& one) { return one.command.deviceID == id; });
    if (name.pairing == pairing && !isThere) dropSubscription(phone);
  }
  for (const auto& one : subscriptions) {
    Phone& phone = phoneOf({pairing, one.command.deviceID}, now);
    phone.isRelayConnected = true;
    const bool isAnother = !phone.subscription || phone.subscription->subscriptionID != one.subscriptionID;
    if (isAnother) {
      dropSubscription(phone);
      phone.pausedUntil = now;
      phone.failures = 0;
    }
    phone.subscription = one;
    phone.isConfirmed = true;
  }
}

// What is under way for it told nothing.
void PushSchedule::dropSubscription(Phone& phone) {
  phone.subscription.reset();
  phone.isConfirmed = false;
  phone.underWay.clear();
}

// A push whose result is not known by now is sent again, with the same topic: the phone shows one of the two.
void PushSchedule::relayLost(int pairing, Instant now) {
  for (auto& [name, phone] : phones) {
    if (name.pairing != pairing || !std::exchange(phone.isRelayConnected, false)) continue;
    const bool wasAwake = phone.isAwake();
    phone.isConnected = false;
    phone.isAsleep = true;
    if (wasAwake) fallAsleep(phone, kUnseenBeforeLoss, kReturnWithRelay, now);
    phone.isConfirmed = false;
    phone.underWay.clear();
  }
}

void PushSchedule::forget(int pairing) {
  std::erase_if(phones, [&](const auto& one) { return one.first.pairing == pairing; });
}

// ---- What became of a push

void PushSchedule::pushEnded(int pairing, const PushResultRelayMessage& result, Instant now, Date at) {
  const auto found = phones.find({pairing, result.deviceID});
  if (found == phones.end()) return;
  Phone& phone = found->second;
  const auto sent = std::find_if(phone.underWay.begin(), phone.underWay.end(),
                                 [&](const UnderWay& one) { return one.pushID == result.pushID; });
  if (sent == phone.underWay.end()) return;
  const auto ended = *sent;
  phone.underWay.erase(sent);
  const auto acceptedAt = result.status == PushStatus::accepted ? at
                          : phone.last                          ? phone.last->acceptedAt
                                                                : std::optional<Date>();
  phone.last =
      LastPush{.keyText = ended.keyText, .status = result.status, .reason = result.reason, .acceptedAt = acceptedAt};
  switch (result.status) {
    case PushStatus::accepted:
      return arrived(phone, ended, now);
    case PushStatus::replaced:
      return handOver(phone, ended);
    case PushStatus::gone: {
      ++phone.failures;
      const bool isSame = phone.subscription && phone.subscription->subscriptionID == ended.subscriptionID;
      return isSame ? dropSubscription(phone) : void();
    }
    case PushStatus::refused:
    case PushStatus::unreachable:
      break;
  }
  if (ended.isTest()) return;
  // Above the relay's rates, or a push service that cannot be reached: that passes. Anything else does not soon.
  const bool passes = result.status == PushStatus::unreachable || result.reason == "tooMany" || result.reason == "busy";
  fail(phone, passes ? kFirstPause : kLongestPause, now);
}

// A test as well: what kept others from arriving has passed.
void PushSchedule::arrived(Phone& phone, const UnderWay& push, Instant now) {
  phone.failures = 0;
  phone.pausedUntil = now;
  for (const auto& prompt : push.prompts) {
    if (waits(prompt)) phone.knowledge[prompt] = {.knows = Knows::told, .since = now};
  }
}

// To the one that says the same of all that wait. A push about one prompt is replaced by none that does not name it.
void PushSchedule::handOver(Phone& phone, const UnderWay& replaced) {
  if (replaced.prompts.size() < 2) return;
  const auto newest = std::find_if(phone.underWay.rbegin(), phone.underWay.rend(),
                                   [](const UnderWay& one) { return one.prompts.size() > 1; });
  if (newest == phone.underWay.rend()) return;
  for (const auto& prompt : replaced.prompts) {
    if (waits(prompt) && !phone.isUnderWay(prompt)) newest->prompts.push_back(prompt);
  }
}

void PushSchedule::fail(Phone& phone, Seconds pause, Instant now) {
  constexpr int kMostDoublings = 8;
  const auto grown = pause * std::exp2(std::min(phone.failures, kMostDoublings));
  ++phone.failures;
  phone.pausedUntil = advanced(now, std::min(Seconds{grown}, kLongestPause));
}

void PushSchedule::endSilent(Phone& phone, Instant now) {
  const auto isOver = [&](const UnderWay& one) { return now >= advanced(one.since, kResultTimeout); };
  std::erase_if(phone.underWay, [&](const UnderWay& one) { return one.isTest() && isOver(one); });
  if (std::erase_if(phone.underWay, isOver) > 0) fail(phone, kFirstPause, now);
}

// What it told is untold then, and goes with what is sent next.
void PushSchedule::Phone::makeRoom() {
  const auto isOne = [](const UnderWay& one) { return !one.isTest(); };
  if (std::count_if(underWay.begin(), underWay.end(), isOne) < static_cast<std::ptrdiff_t>(kMostUnderWay)) return;
  underWay.erase(std::find_if(underWay.begin(), underWay.end(), isOne));
}

// ---- What is due

bool PushSchedule::canBeWoken(const Phone& phone) const {
  return isEnabled && !isPaused && phone.isRelayConnected && phone.isConfirmed && !phone.isAwake();
}

bool PushSchedule::waits(const Uuid& prompt) const {
  return std::any_of(prompts.begin(), prompts.end(), [&](const Prompt& one) { return one.id == prompt; });
}

std::vector<const PushSchedule::Prompt*> PushSchedule::untold(const Phone& phone, Instant now) const {
  std::vector<const Prompt*> found;
  for (const auto& prompt : prompts) {
    const auto known = phone.knowledge.find(prompt.id);
    const bool isUntold = known == phone.knowledge.end() || known->second.knows == Knows::nothing;
    const bool isWorthIt = !prompt.endsAt || advanced(now, kShortestTtl) <= *prompt.endsAt;
    if (isUntold && isWorthIt && !phone.isUnderWay(prompt.id)) found.push_back(&prompt);
  }
  return found;
}

std::vector<PushPlan> PushSchedule::takeDue(Instant now) {
  std::vector<PushPlan> due;
  for (auto& [name, phone] : phones) {
    endSilent(phone, now);
    if (!canBeWoken(phone) || now < phone.mayPushFrom()) continue;
    if (untold(phone, now).empty()) continue;
    phone.makeRoom();
    phone.nextPush = advanced(now, kInterval);
    due.push_back(plan(name, phone, untold(phone, now), now));
  }
  return due;
}

std::optional<Instant> PushSchedule::nextDue(Instant now) const {
  std::optional<Instant> next;
  const auto consider = [&](Instant at) { next = next ? std::min(*next, at) : at; };
  for (const auto& [name, phone] : phones) {
    for (const auto& one : phone.underWay) consider(advanced(one.since, kResultTimeout));
    if (!canBeWoken(phone) || untold(phone, now).empty()) continue;
    consider(std::max(phone.mayPushFrom(), now));
  }
  return next;
}

std::optional<PushPlan> PushSchedule::takeTest(const PushPhone& name, Instant now) {
  const auto found = phones.find(name);
  if (found == phones.end()) return std::nullopt;
  Phone& phone = found->second;
  if (!isEnabled || !phone.isRelayConnected || !phone.isConfirmed || now < phone.nextTest) return std::nullopt;
  // Of two tests, the later one counts.
  std::erase_if(phone.underWay, [](const UnderWay& one) { return one.isTest(); });
  phone.nextTest = advanced(now, kInterval);
  phone.nextPush = std::max(phone.nextPush, phone.nextTest);
  return plan(name, phone, {}, now);
}

PushPlan PushSchedule::plan(const PushPhone& name, Phone& phone, const std::vector<const Prompt*>& about, Instant now) {
  PushPlan plan{.phone = name,
                .pushID = nextName(),
                .subscriptionID = phone.subscription->subscriptionID,
                .command = phone.subscription->command,
                .waiting = prompts.size(),
                .ttl = ttlOf(about, now)};
  for (const auto* prompt : about) plan.prompts.push_back(prompt->id);
  phone.underWay.push_back({.pushID = plan.pushID,
                            .subscriptionID = plan.subscriptionID,
                            .keyText = plan.command.keyText,
                            .prompts = plan.prompts,
                            .since = now});
  return plan;
}

// As long as one of them waits, and no longer than `kTtl`.
Seconds PushSchedule::ttlOf(const std::vector<const Prompt*>& about, Instant now) const {
  Seconds longest = about.empty() ? kTtl : Seconds{0};
  for (const auto* prompt : about) {
    longest = std::max(longest, prompt->endsAt ? Seconds{*prompt->endsAt - now} : kTtl);
  }
  return Seconds{std::floor(std::min(longest, kTtl).count())};
}

std::string PushSchedule::nextName() { return names + "-" + std::to_string(++count); }

// ---- What is known

bool PushSchedule::isReached(const Phone& phone, const Prompt& prompt, Instant now) const {
  if (phone.isAwake() || now < phone.asleepFrom) return true;
  const auto known = phone.knowledge.find(prompt.id);
  if (known != phone.knowledge.end() && known->second.knows != Knows::nothing) return true;
  for (const auto& one : phone.underWay) {
    const bool isAbout = std::find(one.prompts.begin(), one.prompts.end(), prompt.id) != one.prompts.end();
    if (isAbout && now < advanced(one.since, kReachTimeout)) return true;
  }
  const bool isAboutTo = canBeWoken(phone) && phone.failures == 0 && !phone.subscription->isRefused;
  return isAboutTo && !phone.isUnderWay(prompt.id);
}

bool PushSchedule::isNobodyReached(Instant now) const {
  if (isPaused) return false;
  return std::any_of(prompts.begin(), prompts.end(), [&](const Prompt& prompt) {
    if (now < advanced(prompt.since, kReachTimeout)) return false;
    return std::none_of(phones.begin(), phones.end(),
                        [&](const auto& one) { return isReached(one.second, prompt, now); });
  });
}

bool PushSchedule::isKnown(const Uuid& prompt) const {
  return std::any_of(phones.begin(), phones.end(), [&](const auto& one) {
    const auto known = one.second.knowledge.find(prompt);
    return known != one.second.knowledge.end() && known->second.knows != Knows::nothing;
  });
}

std::vector<LastPush> PushSchedule::lastPushes(int pairing) const {
  std::vector<LastPush> found;
  for (const auto& [name, phone] : phones) {
    if (name.pairing == pairing && phone.last && found.size() < kMostSubscriptions) found.push_back(*phone.last);
  }
  return found;
}

std::size_t PushSchedule::subscriptionCount() const {
  return static_cast<std::size_t>(
      std::count_if(phones.begin(), phones.end(), [](const auto& one) { return one.second.isConfirmed; }));
}

}  // namespace quillard
