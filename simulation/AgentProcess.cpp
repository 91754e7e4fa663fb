#include "simulation/AgentProcess.h"

#include <utility>

namespace quillard::simulation {

using platform::SecretPlace;
using platform::SecretStatus;
using platform::SecretStatusCode;

namespace {

constexpr SecretPlace kPlaces[]{SecretPlace::dataProtectionKeychain, SecretPlace::fileKeychain};

}  // namespace

AgentProcess::AgentProcess(Stage& stage, std::uint64_t seed) : stage(stage), chance(seed, 3) {
  stage.world.environment().set("QUILLARD_RELAY_URL", "wss://relay.example/ws");
  stage.world.environment().set("QUILLARD_PAIRING_ID", "quillard");
}

void AgentProcess::end() {
  stage.desktop().setRequestHook(nullptr);
  if (agent) destroy();
}

// ---- Its life

void AgentProcess::start() {
  startTime = stage.now();
  startedWithLockedKeychain = !keychainIsOpen;
  stage.trace("agent", "starts");
  auto& world = stage.world;
  world.time().runOnMainThread(
      [&] { agent = std::make_shared<AppDelegate>(world.platform(), world.statusWindowViews()); });
  while (!agent) world.advance(Seconds{0.01});
  world.application().setDelegate(agent);
  world.advance(Seconds{0.01});
  // Most people close it. One that is open is drawn anew at each change.
  if (!chance.oneIn(8) && !world.statusWindowViews().windows().empty())
    world.statusWindowViews().window().closeByUser();
}

void AgentProcess::quit() {
  if (!isRunning()) return;
  stage.happened(Fault::processQuits);
  quits = true;
  onMainThread([](AppDelegate& delegate) { delegate.applicationWillTerminate(); });
  destroy();
  quits = false;
  if (onDisk) restore(*onDisk);
}

void AgentProcess::kill(const std::function<void()>& cutOff) {
  if (!isRunning()) return;
  hasBeenKilled = true;
  stage.happened(Fault::processIsKilled);
  atDeath = onDisk ? *onDisk : settings();
  // The system refuses it everything from now on. That it is the permission which is missing, it no longer tells
  // anyone.
  stage.desktop().setTrusted(false, false);
  stage.world.syntheticEvents().setLosesEvents(true);
  for (const auto place : kPlaces) {
    stage.world.secretStore().fail(place, SecretStatus{SecretStatusCode::other, "The process is dead."});
  }
  cutOff();
  if (onKilled) onKilled();
}

void AgentProcess::killAtRequest(int number, std::function<void()> cutOff) {
  // Shared, since the hook is copied for each call.
  stage.desktop().setRequestHook([this, left = std::make_shared<int>(number), cutOff = std::move(cutOff)](const auto&) {
    if (--*left > 0) return;
    const auto act = cutOff;
    stage.desktop().setRequestHook(nullptr);
    if (isRunning()) stage.happened(Fault::processIsKilledDuringPress);
    kill(act);
  });
}

void AgentProcess::bury() {
  if (!hasBeenKilled) return;
  destroy();
  restore(*atDeath);
  atDeath.reset();
  hasBeenKilled = false;
  stage.desktop().setRequestHook(nullptr);
  stage.desktop().setTrusted(isTrusted, false);
  stage.world.syntheticEvents().setLosesEvents(false);
  for (const auto place : kPlaces) stage.world.secretStore().recover(place);
  if (!keychainIsOpen) lockKeychain();
  (void)stage.world.console().takeLines();
}

void AgentProcess::destroy() {
  bool isDone = false;
  stage.world.time().runOnMainThread([&] {
    agent.reset();
    isDone = true;
  });
  while (!isDone) stage.world.advance(Seconds{0.01});
}

void AgentProcess::setPermission(bool isGranted, bool isNotified) {
  isTrusted = isGranted;
  stage.trace("desktop", isGranted ? "the permission is given" : "the permission is taken away");
  if (!hasBeenKilled) stage.desktop().setTrusted(isGranted, isNotified);
}

// ---- The disk and the keychain

AgentProcess::Settings AgentProcess::settings() const {
  Settings values;
  auto& defaults = stage.world.userDefaults();
  for (const auto& key : defaults.keys()) {
    if (auto value = defaults.object(key)) values.emplace(key, *std::move(value));
  }
  return values;
}

void AgentProcess::restore(const Settings& before) {
  auto& defaults = stage.world.userDefaults();
  for (const auto& key : defaults.keys()) {
    if (!before.contains(key)) defaults.remove(key);
  }
  for (const auto& [key, value] : before) defaults.set(key, value);
}

void AgentProcess::fillDisk() {
  if (onDisk) return;
  stage.happened(Fault::diskIsFull);
  onDisk = settings();
}

void AgentProcess::freeDisk() { onDisk.reset(); }

void AgentProcess::lockKeychain() {
  keychainIsOpen = false;
  for (const auto place : kPlaces) {
    stage.world.secretStore().fail(place, SecretStatus{SecretStatusCode::other, "The keychain is locked."});
  }
}

void AgentProcess::refuseKeychainWrites() {
  using enum platform::simulated::SecretOperation;
  for (const auto place : kPlaces) {
    stage.world.secretStore().fail(place, {add, update, remove},
                                   SecretStatus{SecretStatusCode::other, "The keychain cannot be written."});
  }
}

void AgentProcess::unlockKeychain() {
  keychainIsOpen = true;
  if (hasBeenKilled) return;
  for (const auto place : kPlaces) stage.world.secretStore().recover(place);
}

// ---- The person at the computer

void AgentProcess::onMainThread(const std::function<void(AppDelegate&)>& act) {
  bool isDone = false;
  stage.world.time().runOnMainThread([&] {
    act(*agent);
    isDone = true;
  });
  while (!isDone) stage.world.advance(Seconds{0.01});
}

void AgentProcess::pause() {
  if (!isRunning() || paused) return;
  stage.happened(Fault::notificationsArePaused);
  paused = true;
  onMainThread([](AppDelegate& delegate) { delegate.pauseNotifications(NotificationPauseOption::indefinitely); });
}

void AgentProcess::resume() {
  if (!isRunning()) return;
  if (paused) pauseEndWasLost = onDisk.has_value();
  paused = false;
  stage.trace("person", "resumes notifications");
  onMainThread([](AppDelegate& delegate) { delegate.resumeNotifications(); });
}

bool AgentProcess::showsRevokedPairing() {
  bool isRevoked = false;
  if (isRunning())
    onMainThread([&](AppDelegate& delegate) { isRevoked = delegate.currentStatusSnapshot().pairingRevoked; });
  return isRevoked;
}

void AgentProcess::resetPairing() {
  if (!isRunning()) return;
  stage.happened(Fault::pairingIsReset);
  onMainThread([](AppDelegate& delegate) { delegate.unpairPhoneFromStatusWindow(); });
}

}  // namespace quillard::simulation
