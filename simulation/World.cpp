#include "simulation/World.h"

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "simulation/AgentProcess.h"
#include "simulation/Chance.h"
#include "simulation/DesktopLife.h"
#include "simulation/HostileRelay.h"
#include "simulation/Identities.h"
#include "simulation/Judge.h"
#include "simulation/Ledger.h"
#include "simulation/Phone.h"

namespace quillard::simulation {

namespace {

// Longer than every delay of the agent that does not depend on its slowest timers.
constexpr Seconds kQuietTime{45};

class World {
 public:
  explicit World(const WorldOptions& options)
      : options(options),
        simulated(platform::simulated::Seed{options.seed}),
        stage(simulated, options.trace),
        chance(options.seed, 0),
        identities(simulated),
        life(stage, options.seed),
        process(stage, options.seed),
        judge(stage, life, process, identities, ledger, lists),
        relay(stage, identities, ledger, relayEvents(), options.seed) {
    simulated.time().setRunawayLimit(200'000);
    phones.push_back(std::make_unique<Phone>(stage, relay, ledger, lists, options.seed, 1, PhoneKind::newer));
    phones.push_back(std::make_unique<Phone>(stage, relay, ledger, lists, options.seed, 2, PhoneKind::older));
    if (chance.oneIn(3)) {
      phones.push_back(std::make_unique<Phone>(stage, relay, ledger, lists, options.seed, 3, PhoneKind::newer));
    }
    hostility = std::vector<int>{0, 0, 5, 15, 40}[chance.below(5)];
    roughness = std::vector<int>{0, 10, 30}[chance.below(3)];
  }

  ~World() {
    process.end();
    phones.clear();
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  WorldOutcome live() {
    process.start();
    judge.agentStarted();
    pass(Seconds{1});
    relay.setHostility(hostility);
    while (stage.now() < options.length && !stage.verdict.isBroken()) {
      step();
      pass(chance.oneIn(5) ? chance.seconds(1, 12) : chance.seconds(0.05, 1.5));
    }
    if (!stage.verdict.isBroken()) settle();
    return {.broken = stage.verdict.reason(),
            .faults = stage.counts,
            .answers = judge.outcomes(),
            .presses = judge.presses(),
            .decisions = ledger.decisions().size(),
            .incompleteLists = judge.incompleteLists()};
  }

 private:
  RelayEvents relayEvents() {
    return {.agentSent =
                [this](const auto& frame, const auto& secrets) {
                  lookAtPresses();
                  judge.agentSent(frame, secrets);
                },
            .unknownAgentSent = [this](const auto& frame) { judge.unknownAgentSent(frame); },
            .agentAsked = [this](const auto& request) { judge.agentAsked(request); }};
  }

  // ---- Time

  // Lets time pass in small pieces, and looks at everything after each.
  void pass(Seconds duration) {
    constexpr Seconds kPiece{0.25};
    const Seconds end = stage.now() + duration;
    while (end - stage.now() > Seconds{1e-6} && !stage.verdict.isBroken()) {
      simulated.advance(std::min(kPiece, end - stage.now()));
      look();
    }
  }

  void lookAtPresses() {
    for (const auto& press : life.takeAgentPresses()) judge.pressed(press);
  }

  void look() {
    lookAtPresses();
    judge.consoleLines(simulated.console().takeLines());
    if (process.isDead()) restartAgent();
    resetPairingIfRequested();
    identities.refresh();
    pairPhones();
    for (const auto& phone : phones) phone->tick();
    if (stage.now() >= nextRelayTick) {
      relay.tick();
      nextRelayTick = stage.now() + Seconds{2};
    }
    disturbPresses();
  }

  void resetPairingIfRequested() {
    if (std::exchange(resetRequested, false)) process.resetPairing();
  }

  void restartAgent() {
    process.bury();
    if (!chance.oneIn(3)) simulated.advance(chance.seconds(0.1, 5));
    process.start();
    judge.agentStarted();
  }

  // People notice at last that their phone is not paired any more.
  void pairPhones() {
    if (!identities.current()) return;
    for (const auto& phone : phones) {
      if (phone->isPairedWith(*identities.current())) continue;
      if (!process.isKeychainOpen() && !isQuiet) continue;
      phone->pair(*identities.current());
      phone->goOnline();
    }
  }

  // ---- What goes wrong

  void step() {
    const std::size_t kinds = roughness == 0 ? 40 : roughness < 20 ? 57 : 69;
    act(chance.below(kinds));
  }

  void act(std::size_t kind) {
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
      // Trouble.
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

  Phone& phone() { return *phones[chance.below(phones.size())]; }

  void decideAgainstEachOther() {
    Phone& one = phone();
    if (one.shown().empty()) return;
    const PendingApproval approval = chance.pick(one.shown());
    if (approval.buttons.empty()) return;
    stage.happened(Fault::phonesDecideAgainstEachOther);
    for (const auto& each : phones) each->decideAgainst(approval.id, chance.pick(approval.buttons).label);
  }

  void changeSpace() {
    stage.happened(Fault::spaceChanges);
    stage.desktop().changeSpace();
  }

  void reloadPage() {
    stage.happened(Fault::phonePageReloads);
    phone().reloadPage();
  }

  void losePhone() {
    Phone& lost = phone();
    stage.happened(Fault::phoneLosesConnection);
    lost.goOffline();
    stage.later(chance.seconds(0.5, 20), [&lost] { lost.goOnline(); });
  }

  void mute() {
    Phone& one = phone();
    if (one.shown().empty() || !one.isConnected()) return;
    one.mute();
    for (const Uuid& kind : one.mutedKinds()) judge.kindWasMuted(kind);
  }

  void unmute() { phone().unmute(); }

  void replay() {
    if (hostility > 0) relay.replayOldFrame();
  }

  void pauseOrResume() {
    if (process.isPaused()) return process.resume();
    process.pause();
  }

  void loseEvents(Seconds duration) {
    if (process.isDead()) return;
    stage.happened(Fault::inputEventsAreLost);
    simulated.syntheticEvents().setLosesEvents(true);
    stage.later(duration, [this] { simulated.syntheticEvents().setLosesEvents(process.isDead()); });
  }

  void jump(Seconds by) {
    stage.happened(by > Seconds::zero() ? Fault::clockJumpsForward : Fault::clockJumpsBack);
    simulated.time().setWallClock(advanced(simulated.time().now(), by));
  }

  void sleepMachine(Seconds duration) {
    stage.happened(Fault::machineSleeps);
    judge.viewWasDisturbed();
    simulated.time().suspend(duration);
    stage.sleepMachine(duration);
    if (duration > Seconds{60}) relay.dropConnections();
  }

  void revokePermission(Seconds duration) {
    const bool isNotified = chance.oneIn(2);
    stage.happened(isNotified ? Fault::permissionIsRevoked : Fault::permissionIsRevokedWithoutNotice);
    judge.listWasForgotten();
    process.setPermission(false, isNotified);
    stage.later(duration, [this, isNotified] { givePermission(isNotified); });
  }

  void givePermission(bool isNotified) {
    judge.listWasForgotten();
    process.setPermission(true, isNotified);
  }

  void answerTrustLate(Seconds duration) {
    stage.happened(Fault::permissionAnswersLate);
    stage.desktop().setTrustLatency(chance.seconds(0.1, 5));
    stage.later(duration, [this] { stage.desktop().setTrustLatency(Seconds::zero()); });
  }

  // Nothing on the desktop can be read: the registry, the accessibility service or the window server does not answer.
  void hideDesktop(Seconds duration, bool duringPress) {
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

  void silenceTrust(Seconds duration) {
    stage.happened(Fault::permissionDoesNotAnswer);
    stage.desktop().setTrustSilent(true);
    stage.later(duration, [this] { stage.desktop().setTrustSilent(false); });
  }

  void cutOff() {
    if (!stage.verdict.isBroken()) relay.dropConnections();
  }

  void kill() {
    process.kill([this] { cutOff(); });
  }

  void killSoon() {
    process.killAtRequest(chance.between(1, 400), [this] { cutOff(); });
  }

  void quit() {
    if (!process.isRunning()) return;
    process.quit();
    relay.dropConnections();
    simulated.advance(chance.seconds(0.1, 8));
    process.start();
    judge.agentStarted();
  }

  void fillDisk(Seconds duration) {
    process.fillDisk();
    stage.later(duration, [this] { process.freeDisk(); });
  }

  void lockKeychain(Seconds duration) {
    stage.happened(Fault::keychainIsLocked);
    process.lockKeychain();
    stage.later(duration, [this] { process.unlockKeychain(); });
  }

  void refuseKeychainWrites(Seconds duration) {
    if (process.isDead()) return;
    stage.happened(Fault::keychainRefusesToWrite);
    process.refuseKeychainWrites();
    stage.later(duration, [this] { process.unlockKeychain(); });
  }

  void resetPairing() {
    if (!process.isRunning()) return;
    process.resetPairing();
  }

  void refuseAgent() {
    constexpr std::array kRefusals{Fault::registrationIsAnswered401, Fault::registrationIsAnswered410,
                                   Fault::registrationIsAnswered500, Fault::registrationIsNotAnswered,
                                   Fault::connectionIsAnswered401,   Fault::connectionIsAnswered410,
                                   Fault::connectionIsAnswered500};
    relay.refuse(kRefusals[chance.below(kRefusals.size())], chance.seconds(3, 40));
    relay.dropConnections();
  }

  // ---- What goes wrong just while a decision is carried out

  void disturbPresses() {
    for (const std::size_t number : judge.underWay()) {
      if (number < nextToDisturb) continue;
      nextToDisturb = number + 1;
      if (isQuiet || static_cast<int>(chance.below(100)) >= 10 + roughness) continue;
      const auto appearance = judge.appearanceOf(ledger.decisions()[number].approvalID);
      if (appearance) stage.later(chance.seconds(0, 1.5), [this, which = *appearance] { disturb(which); });
    }
  }

  void disturb(std::size_t appearance) {
    switch (chance.below(roughness == 0 ? 4 : 11)) {
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
        if (roughness < 20) return;
        stage.happened(Fault::pairingIsResetDuringPress);
        resetRequested = true;
        return;
      default:
        if (roughness >= 20) killSoon();
        return;
    }
  }

  // ---- The quiet time

  void settle() {
    isQuiet = true;
    stage.trace("world", "is quiet from now on");
    relay.calmDown();
    stage.desktop().setRequestHook(nullptr);
    stage.desktop().setTrustLatency(Seconds::zero());
    stage.desktop().setTrustSilent(false);
    stage.desktop().setDesktopFailure(std::nullopt);
    simulated.syntheticEvents().setLosesEvents(process.isDead());
    process.freeDisk();
    process.unlockKeychain();
    if (process.isWithoutKeychain()) quit();  // A person logs in anew.
    process.setPermission(true, true);
    life.calmDown();
    look();
    process.resume();
    for (const auto& each : phones) each->goOnline();
    pass(kQuietTime);
    if (process.showsRevokedPairing()) {
      process.resetPairing();  // What the window offers then.
      pass(kQuietTime);
    }
    phones.front()->unmuteAll(judge.mutedKindsEver());
    judge.kindsAreUnmuted();
    stage.desktop().changeSpace();
    pass(kQuietTime);
    if (stage.verdict.isBroken()) return;
    for (const auto& each : phones) {
      if (!each->isConnected()) stage.fail(each->name(), " is not connected after a quiet time.");
      judge.expectConvergence(*each);
    }
  }

  const WorldOptions options;
  platform::simulated::SimulatedWorld simulated;
  Stage stage;
  Chance chance;
  Identities identities;
  Ledger ledger;
  OpenedLists lists;
  DesktopLife life;
  AgentProcess process;
  Judge judge;
  HostileRelay relay;
  std::vector<std::unique_ptr<Phone>> phones;
  int hostility = 0;  // Of a hundred frames.
  int roughness = 0;  // Zero: nothing breaks but what is everyday life.
  bool isQuiet = false;
  bool resetRequested = false;
  bool mayOpenHuge = chance.oneIn(30);  // Once: it takes long to read.
  std::size_t nextToDisturb = 0;
  Seconds nextRelayTick{0};
};

}  // namespace

WorldOutcome live(const WorldOptions& options) { return World(options).live(); }

}  // namespace quillard::simulation
