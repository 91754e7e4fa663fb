#include "simulation/DesktopLife.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "foundation/PrintableText.h"

namespace quillard::simulation {

namespace ax = platform::ax;
using platform::AXError;
using platform::AXValue;
using platform::simulated::ApplicationHandle;
using platform::simulated::DialogSpec;
using platform::simulated::LateActions;
using platform::simulated::NodeHandle;
using platform::simulated::PressEffect;
using platform::simulated::SimulatedDesktop;

namespace {

constexpr std::size_t kMostApplications = 5;
constexpr std::size_t kMostOpen = 9;
constexpr const char* kPasswordLine = "Enter your password to go on.";

std::string textOf(const platform::AXResult<AXValue>& answer) {
  const auto* text = answer.hasValue() ? std::get_if<std::string>(&answer.value()) : nullptr;
  return text ? *text : std::string{};
}

std::vector<NodeHandle> childrenOfRole(const SimulatedDesktop& desktop, NodeHandle window, std::string_view role) {
  std::vector<NodeHandle> found;
  for (const NodeHandle child : desktop.children(window)) {
    if (textOf(desktop.attribute(child, ax::kRole)) == role) found.push_back(child);
  }
  return found;
}

std::string shown(const Content& content) {
  return "\"" + content.title.substr(0, 40) + "\"" + (content.needsDirectAccess ? " (direct access)" : "");
}

}  // namespace

DesktopLife::DesktopLife(Stage& stage, std::uint64_t seed)
    : stage(stage), chance(seed, 1), applications(stage), all(stage) {
  startApplication();
  startApplication();
}

// ---- Applications

void DesktopLife::startApplication() {
  if (applications.count() >= kMostApplications) return;
  const std::string name = "Program " + std::to_string(applications.count() + 1 + all.count());
  applications.add(
      stage.desktop().launch({.name = name, .bundleIdentifier = "com.example." + std::to_string(all.count())}));
  stage.happened(Fault::applicationStarts);
}

void DesktopLife::endApplication() {
  const auto application = anyApplication();
  if (!application || applications.count() == 1) return;
  const ApplicationHandle handle = *application;
  all.endAllOf(handle);
  applications.remove(handle);
  switch (chance.below(3)) {
    case 0:
      stage.happened(Fault::applicationDies);
      return stage.desktop().terminate(handle);
    case 1:
      stage.happened(Fault::applicationDiesButStaysListed);
      stage.desktop().terminateButKeepListed(handle);
      return stage.later(Seconds{2}, [this, handle] { stage.desktop().terminate(handle); });
    default:
      stage.happened(Fault::applicationQuits);
      for (const NodeHandle window : stage.desktop().windows(handle)) stage.desktop().close(window);
      stage.later(Seconds{0.3}, [this, handle] { stage.desktop().terminate(handle); });
  }
}

void DesktopLife::hangApplication(Seconds duration) {
  const auto application = anyApplication();
  if (!application) return;
  const bool actsLate = chance.oneIn(3);
  stage.happened(actsLate ? Fault::applicationHangsAndActsLate : Fault::applicationHangs);
  stage.desktop().hang(*application, actsLate ? LateActions::performedOnUnhang : LateActions::lost);
  applications.impair(*application, duration);
}

void DesktopLife::hangApplicationOf(std::size_t appearance, Seconds duration) {
  const Appearance& which = all[appearance];
  if (which.to || !applications.isRunning(which.application)) return;
  stage.happened(Fault::applicationHangsDuringPress);
  stage.desktop().hang(which.application);
  applications.impair(which.application, duration);
}

void DesktopLife::slowApplication(Seconds duration) {
  const auto application = anyApplication();
  if (!application) return;
  const bool misses = chance.oneIn(3);
  stage.happened(misses ? Fault::applicationMissesTimeouts : Fault::applicationIsSlow);
  stage.desktop().slow(*application, misses ? chance.seconds(0.5, 3) : chance.seconds(0.005, 0.06));
  applications.impair(*application, duration);
}

void DesktopLife::hideApplication(Seconds duration) {
  const auto application = anyApplication();
  if (!application) return;
  stage.happened(Fault::applicationIsHidden);
  stage.desktop().hide(*application);
  applications.impair(*application, duration);
}

void DesktopLife::lieAboutWindows(Seconds duration) {
  const auto application = anyApplication();
  if (!application) return;
  stage.happened(Fault::applicationLiesAboutWindows);
  stage.desktop().setAttributeError(*application, ax::kWindows, AXError::cannotComplete);
  applications.impair(*application, duration);
}

// ---- Prompts

Content DesktopLife::newContent() {
  const std::string number = std::to_string(++contents);
  Content content{.title = "Erase volume " + number + "?",
                  .lines = {"Erasing volume " + number + " cannot be undone."},
                  .buttons = {"Cancel", "Erase"}};
  if (chance.oneIn(3)) content.buttons = {"Cancel", "Not Now", "Erase"};
  if (chance.oneIn(6)) {
    content.lines.emplace_back(kPasswordLine);
    content.needsDirectAccess = true;
  } else if (chance.oneIn(12)) {
    content.lines.emplace_back(std::string(kPasswordLine) + "\xff");
    content.needsDirectAccess = content.isUnreadable = true;
    stage.happened(Fault::textIsBroken);
  } else if (chance.oneIn(150)) {
    content.lines.push_back(std::string(70'000, 'x') + kPasswordLine);
    content.needsDirectAccess = content.isUnreadable = true;
    stage.happened(Fault::textIsTooLong);
  }
  return content;
}

void DesktopLife::openPrompt() {
  if (const auto application = anyApplication(); application && all.open().size() < kMostOpen) {
    open(*application, newContent());
  }
}

void DesktopLife::openTwin() {
  const auto which = anyOpen();
  if (!which || all.open().size() >= kMostOpen) return;
  stage.happened(Fault::twinOpens);
  open(all[*which].application, Content{all[*which].content});
}

void DesktopLife::openTwinOf(std::size_t appearance) {
  if (!applications.isRunning(all[appearance].application) || all.open().size() >= kMostOpen) return;
  stage.happened(Fault::twinOpensDuringPress);
  open(all[appearance].application, Content{all[appearance].content});
}

// Each as large as a prompt can be of which nothing may be cut.
void DesktopLife::openHugePrompts() {
  const auto application = anyApplication();
  if (!application) return;
  stage.happened(Fault::listIsTooLong);
  for (int i = 0; i < 9; ++i) {
    Content content = newContent();
    content.title += std::string(58'000, 'y');
    for (char letter = 'a'; letter < 'd'; ++letter) content.buttons.emplace_back(9'900, letter);
    open(*application, content);
    stage.later(Seconds{12}, [this, window = all[all.count() - 1].window] { closeWindow(window); });
  }
}

void DesktopLife::open(ApplicationHandle application, const Content& content, std::optional<Rect> place) {
  DialogSpec spec{.title = content.title, .lines = content.lines, .buttons = content.buttons, .frame = place};
  spec.effect = effect(application);
  if (chance.oneIn(2) && !content.buttons.empty()) spec.defaultButton = content.buttons.back();
  if (chance.oneIn(2)) spec.cancelButton = "Cancel";
  if (chance.oneIn(3)) spec.actions = {"AXRaise", "AXConfirm", "AXCancel"};
  const NodeHandle window = stage.desktop().open(application, spec);
  all.add({.window = window,
           .application = application,
           .content = content,
           .places = {DialogFrame::of(stage.desktop().frame(window).value_or(Rect{}))}});
  stage.trace("desktop", "appearance ", all.count() - 1, " opens: ", shown(content), " of process ",
              application.processIdentifier);
}

// What a press of a button of one window comes to, whichever button it is.
PressEffect DesktopLife::effect(ApplicationHandle application) {
  const auto closing = [this](bool opensIdentical, bool opensOther) {
    return [this, opensIdentical, opensOther](SimulatedDesktop&, NodeHandle button) {
      pressed(button, opensIdentical, opensOther);
    };
  };
  const auto closingLate = [this](Fault fault, Seconds delay) {
    return [this, fault, delay](SimulatedDesktop& desktop, NodeHandle button) {
      stage.happened(fault);
      const auto window = desktop.promptOf(button);
      if (window) stage.later(delay, [this, window] { closeWindow(*window); });
    };
  };
  switch (chance.below(18)) {
    case 0:
      return PressEffect::runs([this](SimulatedDesktop&, NodeHandle) { stage.happened(Fault::pressIsIgnored); });
    case 1:
      stage.happened(Fault::pressIsRefused);
      return PressEffect::fails(chance.oneIn(2) ? AXError::cannotComplete : AXError::actionUnsupported);
    case 2:
    case 3: {
      const std::vector<AXError> errors{AXError::cannotComplete, AXError::actionUnsupported, AXError::invalidUIElement};
      return PressEffect::runs(
          [this](SimulatedDesktop&, NodeHandle button) {
            stage.happened(Fault::pressWorksButReportsError);
            pressed(button, false, false);
          },
          chance.pick(errors));
    }
    case 4:
      return PressEffect::runs(closingLate(Fault::pressWorksLate, chance.seconds(0.05, 6)));
    case 5:
      return PressEffect::runs(closingLate(Fault::pressWorksLateButReportsError, chance.seconds(0.05, 6)),
                               AXError::cannotComplete);
    case 6:
      return PressEffect::runs([this](SimulatedDesktop& desktop, NodeHandle button) {
        stage.happened(Fault::pressTakesButtonAway);
        takeAway(button);
        desktop.close(button);
      });
    case 7:
      return PressEffect::runs([this, application](SimulatedDesktop& desktop, NodeHandle button) {
        stage.happened(Fault::pressSilencesApplication);
        pressed(button, false, false);
        desktop.hang(application);
        applications.impair(application, Seconds{40});
      });
    case 8:
    case 9:
      return PressEffect::runs(closing(true, false));
    case 10:
      return PressEffect::runs(closing(false, true));
    default:
      return PressEffect::runs(closing(false, false));
  }
}

void DesktopLife::pressed(NodeHandle button, bool opensIdentical, bool opensOther) {
  const auto window = stage.desktop().promptOf(button);
  const Appearance* const its = window ? all.current(*window) : nullptr;
  if (!its) return;
  const Content content = its->content;
  const ApplicationHandle application = its->application;
  const auto place = stage.desktop().frame(*window);
  closeWindow(*window);
  if (all.open().size() >= kMostOpen) return;
  if (opensIdentical) {
    stage.happened(Fault::identicalSuccessorOpens);
    open(application, content, chance.oneIn(2) ? place : std::nullopt);
  } else if (opensOther) {
    stage.happened(Fault::otherSuccessorOpens);
    open(application, newContent(), place);
  }
}

// A prompt with other buttons is another one.
void DesktopLife::takeAway(NodeHandle button) {
  const auto window = stage.desktop().promptOf(button);
  Appearance* const its = window ? all.current(*window) : nullptr;
  if (!its) return;
  Appearance next = *its;
  all.end(*its);
  std::erase(next.content.buttons, textOf(stage.desktop().attribute(button, ax::kTitle)));
  all.add(std::move(next));
  stage.trace("desktop", "appearance ", all.count() - 1, " is left of it");
}

void DesktopLife::closeWindow(NodeHandle window) {
  if (Appearance* const its = all.current(window)) all.end(*its);
  stage.desktop().close(window);
}

void DesktopLife::closePrompt() {
  if (const auto which = anyOpen()) closeWindow(all[*which].window);
}

void DesktopLife::close(std::size_t appearance) {
  if (all[appearance].to) return;
  stage.happened(Fault::windowClosesDuringPress);
  closeWindow(all[appearance].window);
}

void DesktopLife::answerByHand() {
  const auto which = anyOpen();
  if (!which) return;
  const Appearance& its = all[*which];
  if (its.content.buttons.empty()) return;
  const auto button = stage.desktop().findButton(its.window, chance.pick(its.content.buttons));
  if (!button) return;
  stage.happened(Fault::answeredByHand);
  const std::size_t before = stage.desktop().presses().size();
  stage.desktop().pressByHand(*button);
  for (std::size_t i = before; i < stage.desktop().presses().size(); ++i) pressesByHand.push_back(i);
}

void DesktopLife::changeText() {
  if (const auto which = anyOpen()) replaceContent(*which, false);
}

void DesktopLife::turnIntoPassword() {
  if (const auto which = anyOpen()) replaceContent(*which, true);
}

void DesktopLife::replaceContent(std::size_t appearance, bool withPassword) {
  if (all[appearance].to) return;
  const Appearance before = all[appearance];
  auto& desktop = stage.desktop();
  const auto lines = childrenOfRole(desktop, before.window, ax::kStaticTextRole);
  if (lines.empty()) return;
  stage.happened(withPassword ? Fault::textTurnsIntoPassword : Fault::textChanges);
  Content next = before.content;
  const std::string number = std::to_string(++contents);
  next.title = "Replace volume " + number + "?";
  next.lines = {withPassword ? kPasswordLine + number : "Replacing volume " + number + " cannot be undone."};
  next.needsDirectAccess = withPassword;
  next.isUnreadable = false;
  all.end(all[appearance]);
  desktop.setAttribute(before.window, ax::kTitle, AXValue{next.title});
  desktop.setAttribute(lines.front(), ax::kValue, AXValue{next.lines.front()});
  for (std::size_t i = 1; i < lines.size(); ++i) desktop.close(lines[i]);
  all.add(
      {.window = before.window, .application = before.application, .content = next, .places = {before.places.back()}});
  stage.trace("desktop", "appearance ", before.number, " turns into ", all.count() - 1, ": ", shown(next));
}

void DesktopLife::swapLabels() {
  const auto which = anyOpen();
  if (!which) return;
  auto& desktop = stage.desktop();
  Appearance& its = all[*which];
  const auto buttons = childrenOfRole(desktop, its.window, ax::kButtonRole);
  if (buttons.size() < 2) return;
  stage.happened(Fault::buttonsSwapLabels);
  its.unsteady = stage.now();
  const std::string first = textOf(desktop.attribute(buttons.front(), ax::kTitle));
  const std::string last = textOf(desktop.attribute(buttons.back(), ax::kTitle));
  its.swapped = LabelSwap{.at = stage.now(), .first = first, .second = last};
  desktop.setAttribute(buttons.front(), ax::kTitle, AXValue{last});
  desktop.setAttribute(buttons.back(), ax::kTitle, AXValue{first});
}

void DesktopLife::moveWindow() {
  const auto which = anyOpen();
  if (!which) return;
  Appearance& its = all[*which];
  const auto frame = stage.desktop().frame(its.window);
  if (!frame) return;
  stage.happened(Fault::windowMoves);
  const Rect moved{frame->x + chance.between(-60, 60), frame->y + chance.between(-40, 40), frame->width, frame->height};
  stage.desktop().move(its.window, moved);
  its.places.push_back(DialogFrame::of(moved));
  its.unsteady = stage.now();
}

// ---- The truth

std::vector<AgentPress> DesktopLife::takeAgentPresses() {
  std::vector<AgentPress> taken;
  const auto presses = stage.desktop().presses();
  for (; pressesRead < presses.size(); ++pressesRead) {
    if (std::find(pressesByHand.begin(), pressesByHand.end(), pressesRead) != pressesByHand.end()) continue;
    const auto& press = presses[pressesRead];
    const Seconds at = stage.timeOf(press.at);
    if (const auto appearance = all.at(press.window, at)) {
      taken.push_back({at, *appearance, press.label, press.isTaken, mouseHeldBefore(press.at)});
    }
  }
  return taken;
}

// By the machine's own time, in which nobody waits while it sleeps.
Seconds DesktopLife::mouseHeldBefore(Instant release) {
  using platform::MouseEventType;
  const auto& events = stage.world.syntheticEvents().posted();
  for (; eventsRead < events.size() && events[eventsRead].at <= release; ++eventsRead) {
    const auto& event = events[eventsRead];
    if (event.mouse == MouseEventType::leftMouseDown) mouseWentDown = event.at;
    if (event.mouse == MouseEventType::leftMouseUp && event.at == release && mouseWentDown) {
      return release - *mouseWentDown;
    }
  }
  return Seconds::zero();
}

std::optional<std::size_t> DesktopLife::anyOpen() {
  const auto candidates = all.open();
  return candidates.empty() ? std::nullopt : std::optional{chance.pick(candidates)};
}

std::optional<ApplicationHandle> DesktopLife::anyApplication() {
  if (applications.count() == 0) return std::nullopt;
  return applications[chance.below(applications.count())];
}

}  // namespace quillard::simulation
