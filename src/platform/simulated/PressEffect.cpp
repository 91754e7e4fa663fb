#include "platform/simulated/PressEffect.h"

#include <memory>
#include <utility>

#include "platform/simulated/DesktopSpecs.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace quillard::platform::simulated {

namespace {

void closePrompt(SimulatedDesktop& desktop, NodeHandle node) {
  if (const auto prompt = desktop.promptOf(node)) desktop.close(*prompt);
}

void openSuccessor(SimulatedDesktop& desktop, NodeHandle node, const DialogSpec& successor) {
  const auto prompt = desktop.promptOf(node);
  const auto owner = desktop.owner(node);
  if (!prompt || !owner) return;
  const auto place = desktop.frame(*prompt);
  desktop.close(*prompt);
  const NodeHandle opened = desktop.open(*owner, successor);
  const auto size = desktop.frame(opened);
  if (place && size && !successor.frame) desktop.move(opened, {place->x, place->y, size->width, size->height});
}

}  // namespace

PressEffect::PressEffect(AXError answered, bool taken, Act action)
    : answered(answered), taken(taken), action(std::move(action)) {}

PressEffect PressEffect::closes() { return {AXError::success, true, closePrompt}; }

PressEffect PressEffect::doesNothing() { return {AXError::success, true, nullptr}; }

PressEffect PressEffect::closesAfter(Seconds delay) {
  return runs([delay](SimulatedDesktop& desktop, NodeHandle node) {
    const auto prompt = desktop.promptOf(node);
    if (prompt) desktop.later(delay, [&desktop, prompt] { desktop.close(*prompt); });
  });
}

PressEffect PressEffect::opensNext(DialogSpec successor) {
  // Shared, since a dialog may be the successor of its successor's buttons, and copies are many.
  return runs([next = std::make_shared<const DialogSpec>(std::move(successor))](
                  SimulatedDesktop& desktop, NodeHandle node) { openSuccessor(desktop, node, *next); });
}

PressEffect PressEffect::fails(AXError error) { return {error, false, nullptr}; }

PressEffect PressEffect::failsButCloses(AXError error) { return {error, true, closePrompt}; }

PressEffect PressEffect::disappears() {
  return runs([](SimulatedDesktop& desktop, NodeHandle node) { desktop.close(node); });
}

PressEffect PressEffect::runs(Act act, AXError answer) { return {answer, true, std::move(act)}; }

void PressEffect::act(SimulatedDesktop& desktop, NodeHandle node) const {
  if (action) action(desktop, node);
}

}  // namespace quillard::platform::simulated
