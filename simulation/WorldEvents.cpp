#include "simulation/WorldEvents.h"

#include <array>

namespace quillard::simulation {

WorldEvents::WorldEvents(const WorldActors& actors)
    : simulated(actors.simulated),
      stage(actors.stage),
      chance(actors.chance),
      life(actors.life),
      process(actors.process),
      judge(actors.judge),
      relay(actors.relay),
      phones(actors.phones),
      mayOpenHuge(chance.oneIn(30)) {}

void WorldEvents::setSeverity(int ofRelay, int ofRest) {
  hostility = ofRelay;
  currentRoughness = ofRest;
}

void WorldEvents::step() {
  const std::size_t kinds = currentRoughness == 0 ? 40 : currentRoughness < 20 ? 57 : 69;
  act(chance.below(kinds));
}

// NOLINTNEXTLINE(readability-function-size): a table of what happens how often.
void WorldEvents::act(std::size_t kind) {
  switch (kind) {
    // Everyday life.
    case 0:
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
      return life.openPrompt();
    case 6:
    case 7:
      return life.openTwin();
    case 8:
      return life.closePrompt();
    case 9:
      return life.answerByHand();
    case 10:
    case 11:
    case 12:
    case 13:
    case 14:
    case 15:
    case 16:
    case 17:
    case 18:
      return phone().decide();
    case 19:
      return phone().decideAgain();
    case 20:
      return phone().decideForWhatIsGone();
    case 21:
      return phone().decideUnknownLabel();
    case 22:
      return phone().decideLate(chance.seconds(1, 58));
    case 23:
      return decideAgainstEachOther();
    case 24:
      return life.startApplication();
    case 25:
      return life.endApplication();
    case 26:
      return life.changeText();
    case 27:
      return life.turnIntoPassword();
    case 28:
      return life.swapLabels();
    case 29:
      return life.moveWindow();
    case 30:
      return changeSpace();
    case 31:
      return reloadPage();
    case 32:
      return losePhone();
    case 33:
      return mute();
    case 34:
      return unmute();
    case 35:
      return replay();
    case 36:
      return relay.togglePresence();
    case 37:
      return relay.sendGarbage();
    case 38:
      return pauseOrResume();
    case 39:
      if (std::exchange(mayOpenHuge, false)) life.openHugePrompts();
      return;
    // Breakdowns.
    case 40:
    case 41:
      return life.hangApplication(chance.seconds(1, 30));
    case 42:
      return life.slowApplication(chance.seconds(2, 30));
    case 43:
      return life.hideApplication(chance.seconds(1, 10));
    case 44:
      return life.lieAboutWindows(chance.seconds(1, 10));
    case 45:
      return relay.dropConnections();
    case 46:
      return relay.goDown(chance.seconds(1, 20));
    case 47:
      return relay.restart(false);
    case 48:
      return loseEvents(chance.seconds(1, 10));
    case 49:
      return jump(chance.seconds(30, 7200));
    case 50:
      return jump(Seconds{-chance.seconds(30, 7200).count()});
    case 51:
      return sleepMachine(chance.seconds(5, 600));
    case 52:
      return revokePermission(chance.seconds(0.5, 10));
    case 53:
      return answerTrustLate(chance.seconds(1, 10));
    case 54:
    case 55:
      return hideDesktop(chance.seconds(0.2, 10), false);
    case 56:
      return silenceTrust(chance.seconds(0.5, 12));
    // Disasters.
    case 57:
    case 58:
      return kill();
    case 59:
      return quit();
    case 60:
      return fillDisk(chance.seconds(5, 60));
    case 61:
      return lockKeychain(chance.seconds(5, 60));
    case 62:
      return refuseKeychainWrites(chance.seconds(5, 60));
    case 63:
      return resetPairing();
    case 64:
      return relay.restart(true);
    case 65:
    case 66:
    case 67:
      return refuseAgent();
    default:
      return killSoon();
  }
}

Phone& WorldEvents::phone() { return *phones[chance.below(phones.size())]; }

void WorldEvents::decideAgainstEachOther() {
  Phone& one = phone();
  if (one.shown().empty()) return;
  const PendingApproval approval = chance.pick(one.shown());
  if (approval.buttons.empty()) return;
  stage.happened(Fault::phonesDecideAgainstEachOther);
  for (const auto& each : phones) each->decideAgainst(approval.id, chance.pick(approval.buttons).label);
}

void WorldEvents::changeSpace() {
  stage.happened(Fault::spaceChanges);
  stage.desktop().changeSpace();
}

void WorldEvents::reloadPage() {
  stage.happened(Fault::phonePageReloads);
  phone().reloadPage();
}

void WorldEvents::losePhone() {
  Phone& lost = phone();
  stage.happened(Fault::phoneLosesConnection);
  lost.goOffline();
  stage.later(chance.seconds(0.5, 20), [&lost] { lost.goOnline(); });
}

void WorldEvents::mute() {
  Phone& one = phone();
  if (one.shown().empty() || !one.isConnected()) return;
  one.mute();
  for (const Uuid& kind : one.mutedKinds()) judge.kindWasMuted(kind);
}

void WorldEvents::unmute() { phone().unmute(); }

void WorldEvents::replay() {
  if (hostility > 0) relay.replayOldFrame();
}

void WorldEvents::pauseOrResume() {
  if (process.isPaused()) return process.resume();
  process.pause();
}

void WorldEvents::loseEvents(Seconds duration) {
  if (process.isDead()) return;
  stage.happened(Fault::inputEventsAreLost);
  simulated.syntheticEvents().setLosesEvents(true);
  stage.later(duration, [this] { simulated.syntheticEvents().setLosesEvents(process.isDead()); });
}

void WorldEvents::jump(Seconds by) {
  stage.happened(by > Seconds::zero() ? Fault::clockJumpsForward : Fault::clockJumpsBack);
  simulated.time().setWallClock(advanced(simulated.time().now(), by));
}

void WorldEvents::sleepMachine(Seconds duration) {
  stage.happened(Fault::machineSleeps);
  judge.viewWasDisturbed();
  simulated.time().suspend(duration);
  stage.sleepMachine(duration);
  if (duration > Seconds{60}) relay.dropConnections();
}

void WorldEvents::revokePermission(Seconds duration) {
  const bool isNotified = chance.oneIn(2);
  stage.happened(isNotified ? Fault::permissionIsRevoked : Fault::permissionIsRevokedWithoutNotice);
  judge.listWasForgotten();
  process.setPermission(false, isNotified);
  stage.later(duration, [this, isNotified] { givePermission(isNotified); });
}

void WorldEvents::givePermission(bool isNotified) {
  judge.listWasForgotten();
  process.setPermission(true, isNotified);
}

void WorldEvents::answerTrustLate(Seconds duration) {
  stage.happened(Fault::permissionAnswersLate);
  stage.desktop().setTrustLatency(chance.seconds(0.1, 5));
  stage.later(duration, [this] { stage.desktop().setTrustLatency(Seconds::zero()); });
}

// Nothing on the desktop can be read: the registry, the accessibility service or the window server does not answer.
void WorldEvents::hideDesktop(Seconds duration, bool duringPress) {
  using platform::DesktopReadFailure;
  constexpr std::array kFailures{DesktopReadFailure::accessibilityService, DesktopReadFailure::applicationList,
                                 DesktopReadFailure::windowServer};
  const auto failure = kFailures[chance.below(kFailures.size())];
  stage.happened(duringPress ? Fault::desktopCannotBeSeenDuringPress : Fault::desktopCannotBeSeen);
  if (failure == DesktopReadFailure::windowServer) stage.happened(Fault::windowServerIsSilent);
  judge.viewWasDisturbed();
  stage.desktop().setDesktopFailure(failure);
  stage.later(duration, [this] {
    judge.viewWasDisturbed();
    stage.desktop().setDesktopFailure(std::nullopt);
  });
}

void WorldEvents::silenceTrust(Seconds duration) {
  stage.happened(Fault::permissionDoesNotAnswer);
  stage.desktop().setTrustSilent(true);
  stage.later(duration, [this] { stage.desktop().setTrustSilent(false); });
}

void WorldEvents::cutOff() {
  if (!stage.verdict.isBroken()) relay.dropConnections();
}

void WorldEvents::kill() {
  process.kill([this] { cutOff(); });
}

void WorldEvents::killSoon() {
  process.killAtRequest(chance.between(1, 400), [this] { cutOff(); });
}

void WorldEvents::quit() {
  if (!process.isRunning()) return;
  process.quit();
  relay.dropConnections();
  simulated.advance(chance.seconds(0.1, 8));
  process.start();
  judge.agentStarted();
}

void WorldEvents::fillDisk(Seconds duration) {
  process.fillDisk();
  stage.later(duration, [this] { process.freeDisk(); });
}

void WorldEvents::lockKeychain(Seconds duration) {
  stage.happened(Fault::keychainIsLocked);
  process.lockKeychain();
  stage.later(duration, [this] { process.unlockKeychain(); });
}

void WorldEvents::refuseKeychainWrites(Seconds duration) {
  if (process.isDead()) return;
  stage.happened(Fault::keychainRefusesToWrite);
  process.refuseKeychainWrites();
  stage.later(duration, [this] { process.unlockKeychain(); });
}

void WorldEvents::resetPairing() {
  if (!process.isRunning()) return;
  process.resetPairing();
}

void WorldEvents::refuseAgent() {
  constexpr std::array kRefusals{Fault::registrationIsAnswered401, Fault::registrationIsAnswered410,
                                 Fault::registrationIsAnswered500, Fault::registrationIsNotAnswered,
                                 Fault::connectionIsAnswered401,   Fault::connectionIsAnswered410,
                                 Fault::connectionIsAnswered500};
  // Drawn before the length, with every compiler: the order of arguments is not fixed.
  const Fault refusal = kRefusals[chance.below(kRefusals.size())];
  relay.refuse(refusal, chance.seconds(3, 40));
  relay.dropConnections();
}

// ---- What goes wrong just while a decision is carried out

void WorldEvents::disturb(std::size_t appearance) {
  switch (chance.below(currentRoughness == 0 ? 4 : 11)) {
    case 0:
      return life.close(appearance);
    case 1:
      return life.openTwinOf(appearance);
    case 2:
      stage.happened(Fault::textChangesDuringPress);
      return life.replaceContent(appearance, chance.oneIn(2));
    case 3:
      stage.happened(Fault::phoneMutesDuringPress);
      return mute();
    case 4:
    case 5:
      return life.hangApplicationOf(appearance, chance.seconds(1, 30));
    case 6:
      stage.happened(Fault::permissionIsRevokedDuringPress);
      return revokePermission(chance.seconds(0.1, 5));
    case 7:
      return hideDesktop(chance.seconds(0.2, 5), true);
    case 8:
      if (currentRoughness < 20) return;
      stage.happened(Fault::pairingIsResetDuringPress);
      resetRequested = true;
      return;
    default:
      if (currentRoughness >= 20) killSoon();
      return;
  }
}

}  // namespace quillard::simulation
