#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "click/ClickExecutor.h"
#include "platform/simulated/SimulatedSyntheticEvents.h"
#include "support/DetectionWorld.h"

namespace quillard::samples {

// A simulated desktop with one approved prompt on it, and a click that runs away from the main thread as the agent's
// does, with the detector's own presence check and search.
//
// It watches every press of every button that it made: one of anything but the approved button of the approved prompt
// is a wrong press, unless what made it wrong happened after the click had last checked presence.
struct ClickWorld : DetectionWorld {
  using NodeHandle = platform::simulated::NodeHandle;
  using DialogSpec = platform::simulated::DialogSpec;
  using PressEffect = platform::simulated::PressEffect;
  using Outcome = std::optional<ClickError>;

  explicit ClickWorld(std::uint64_t seed = 7) : DetectionWorld(seed) {}

  // A question that three buttons answer, two of which confirm. `effect` is that of all of them.
  DialogSpec question(const PressEffect& effect = PressEffect::closes()) {
    return {.title = "Access?",
            .lines = {"App wants to see your files."},
            .buttons = {"Deny", "Allow", "Always Allow"},
            .frame = Rect{100, 100, 500, 200},
            .effect = noted(effect),
            .defaultButton = "Allow",
            .cancelButton = "Deny",
            .actions = {"AXRaise", "AXConfirm", "AXCancel"}};
  }

  // Opens the prompt, scans twice, and chooses the button as the phone would.
  void approve(const DialogSpec& dialog, const std::string& label = "Allow") {
    prompt = desktop().open(application, dialog);
    chosen = label;
    approval = scanTwice().at(0);
    resolved = detector.resolveCurrentButton(*approval, label);
    approval->window = resolved.value().promptWindow.element;
    approvedButtons.insert(*desktop().node(resolved.value().element));
  }

  NodeHandle button() { return button(chosen); }
  NodeHandle button(std::string_view label) { return desktop().findButton(prompt, label).value_or(NodeHandle{}); }

  // Runs the click to its end; the world goes on while it sleeps.
  Outcome click() {
    const auto queue = world.time().makeSerialQueue("click", platform::QualityOfService::standard);
    const auto start = world.time().monotonicNow();
    std::optional<Outcome> outcome;
    queue->post([&] {
      outcome = ClickExecutor::click(resolved.value(), {world.accessibility(), events, world.time()}, callbacks());
      took = world.time().monotonicNow() - start;
      wasPresentAtEnd = isPromptPresent();
    });
    world.advance(Seconds{60});
    return outcome.value();
  }

  ClickCallbacks callbacks() {
    return {.presence =
                [this] {
                  ++presenceChecks;
                  if (hasChanged) ++checksSinceChange;
                  return presence();
                },
            .refreshedButton = [this] { return findAgain(); },
            .shouldStop = [this] { return stopAt && world.time().monotonicNow() >= *stopAt; }};
  }

  // From now on, things are not as they were at the start. `answersTheQuestion`: a press of the approved button would
  // still answer what was approved.
  void changed(bool answersTheQuestion = true) {
    hasChanged = true;
    checksSinceChange = 0;
    isQuestionGone = isQuestionGone || !answersTheQuestion;
  }

  PromptPresence presence() {
    if (!fakePresence) return detector.presenceOf(*approval, resolved->promptWindow);
    return fakePresence() ? PromptPresence::there() : PromptPresence::gone();
  }
  bool isPromptPresent() { return !presence().isGone(); }

  // The effect, after a note of what was pressed.
  PressEffect noted(const PressEffect& effect) {
    if (!effect.isTaken()) return effect;
    return PressEffect::runs(
        [this, effect](platform::simulated::SimulatedDesktop& desktop, NodeHandle pressed) {
          note(pressed);
          effect.act(desktop, pressed);
        },
        effect.answer());
  }

  platform::simulated::SimulatedSyntheticEvents events{world.desktop(), world.time()};
  platform::simulated::ApplicationHandle application = world.desktop().launch({.name = "App"});
  NodeHandle prompt;
  std::string chosen;
  std::optional<PendingApproval> approval;
  std::optional<ResolvedDialogButton> resolved;
  std::set<NodeHandle> approvedButtons;
  std::function<std::optional<ResolvedDialogButton>()> fakeSearch;  // Empty: the detector searches.
  int unansweredSearches = 0;                                       // The next ones.
  std::function<bool()> fakePresence;                               // Whether it is there. Empty: the detector checks.
  std::optional<Instant> stopAt;
  Seconds took{0};
  bool wasPresentAtEnd = false;
  int presenceChecks = 0;
  int searches = 0;
  bool hasChanged = false;
  int checksSinceChange = 0;
  bool isQuestionGone = false;
  int rightPresses = 0;
  std::vector<std::string> wrongPresses;  // Labels.
  bool wasPressRequested = false;         // For the test to note: also of an element that had gone by then.
  int unavoidablePresses = 0;             // Wrong ones, by a change after the last check.

 private:
  void note(NodeHandle pressed) {
    const auto label = desktop().attribute(pressed, platform::ax::kTitle);
    const auto text = label.hasValue() ? std::get<std::string>(label.value()) : std::string{};
    const bool isRight =
        !isQuestionGone && desktop().promptOf(pressed) == prompt && text == chosen && approvedButtons.contains(pressed);
    if (isRight) {
      ++rightPresses;
    } else if (hasChanged && checksSinceChange == 0) {
      ++unavoidablePresses;
    } else {
      wrongPresses.push_back(text);
    }
  }

  PromptResolution findAgain() {
    ++searches;
    if (unansweredSearches > 0) {
      --unansweredSearches;
      return {.outcome = PromptResolution::Outcome::unknown, .button = std::nullopt};
    }
    if (!fakeSearch) return approvedIn(detector.resolve(*approval, chosen));
    auto found = fakeSearch();
    const auto outcome = found ? PromptResolution::Outcome::found : PromptResolution::Outcome::notFound;
    return approvedIn({.outcome = outcome, .button = std::move(found)});
  }

  PromptResolution approvedIn(PromptResolution found) {
    if (found.button) approvedButtons.insert(*desktop().node(found.button->element));
    return found;
  }
};

}  // namespace quillard::samples
