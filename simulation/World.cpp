#include "simulation/World.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "simulation/AgentProcess.h"
#include "simulation/AskingPrograms.h"
#include "simulation/Chance.h"
#include "simulation/DesktopLife.h"
#include "simulation/HostileRelay.h"
#include "simulation/Identities.h"
#include "simulation/Judge.h"
#include "simulation/Ledger.h"
#include "simulation/Phone.h"
#include "simulation/WorldEvents.h"

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
    if (options.programsAsk) {
      programs = std::make_unique<AskingPrograms>(stage, ledger, process, options.seed);
      judge.setAskingPrograms(*programs);
      process.setOnKilled([this] { simulated.localSockets().endProcess(); });
    }
    hostility = std::vector<int>{0, 0, 5, 15, 40}[chance.below(5)];
    events.setSeverity(hostility, std::vector<int>{0, 10, 30}[chance.below(3)]);
  }

  ~World() {
    process.end();
    programs.reset();
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
      events.step();
      pass(chance.oneIn(5) ? chance.seconds(1, 12) : chance.seconds(0.05, 1.5));
    }
    if (!stage.verdict.isBroken()) settle();
    return {.broken = stage.verdict.reason(),
            .faults = stage.counts,
            .answers = judge.outcomes(),
            .presses = judge.presses(),
            .decisions = ledger.decisions().size(),
            .incompleteLists = judge.incompleteLists(),
            .questions = programs ? programs->ends() : QuestionCounts{}};
  }

 private:
  RelayEvents relayEvents() {
    return {.agentSent =
                [this](const auto& frame, const auto& secrets) {
                  lookAtPresses();
                  judge.agentSent(frame, secrets);
                },
            .unknownAgentSent = [this](const auto& frame) { judge.unknownAgentSent(frame); },
            .agentAsked = [this](const auto& request) { judge.agentAsked(request); },
            .agentWasCutOff = [this] { judge.agentWasCutOff(); }};
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
    if (programs) programs->tick(identities.current() && relay.hasAgent(*identities.current()));
    if (stage.now() >= nextRelayTick) {
      relay.tick();
      nextRelayTick = stage.now() + Seconds{2};
    }
    disturbPresses();
  }

  void resetPairingIfRequested() {
    if (events.takeResetRequest()) process.resetPairing();
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

  // ---- What goes wrong just while a decision is carried out

  void disturbPresses() {
    for (const std::size_t number : judge.underWay()) {
      if (number < nextToDisturb) continue;
      nextToDisturb = number + 1;
      if (isQuiet || static_cast<int>(chance.below(100)) >= 10 + events.roughness()) continue;
      const auto appearance = judge.appearanceOf(ledger.decisions()[number].approvalID);
      if (appearance) stage.later(chance.seconds(0, 1.5), [this, which = *appearance] { events.disturb(which); });
    }
  }

  // ---- The quiet time

  void settle() {
    isQuiet = true;
    if (programs) programs->calmDown();
    stage.trace("world", "is quiet from now on");
    relay.calmDown();
    stage.desktop().setRequestHook(nullptr);
    stage.desktop().setTrustLatency(Seconds::zero());
    stage.desktop().setTrustSilent(false);
    stage.desktop().setDesktopFailure(std::nullopt);
    simulated.syntheticEvents().setLosesEvents(process.isDead());
    process.freeDisk();
    process.unlockKeychain();
    if (process.isWithoutKeychain()) events.quit();  // A person logs in anew.
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
    life.calmDown();    // A press that came late may have silenced an application meanwhile.
    life.openPrompt();  // Whatever has happened, what is new is still met.
    pass(kQuietTime);
    // One that a press has silenced meanwhile is looked at again later than one that answers.
    if (!life.allAnsweredSince(stage.now() - kQuietTime / 2)) {
      life.calmDown();
      pass(kQuietTime);
    }
    if (programs) programs->expectAllEnded();
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
  std::unique_ptr<AskingPrograms> programs;  // Empty: none ask.
  WorldEvents events{{simulated, stage, chance, life, process, judge, relay, phones}};
  int hostility = 0;  // Of a hundred frames.
  bool isQuiet = false;
  std::size_t nextToDisturb = 0;
  Seconds nextRelayTick{0};
};

}  // namespace

WorldOutcome live(const WorldOptions& options) { return World(options).live(); }

}  // namespace quillard::simulation
