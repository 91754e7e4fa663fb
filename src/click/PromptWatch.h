#pragma once

#include <span>

#include "click/ClickExecutor.h"
#include "platform/process/Clock.h"
#include "values/Time.h"

namespace quillard {

// How far a click has come.
enum class ClickProgress {
  promptRemains,  // As far as is known; the next path may be tried.
  promptGone,
  stopped,
  eventNotCreated,
  buttonLost,  // The button has died and could not be found again.
};

// Asks the caller of a click about the prompt, and waits for the prompt to go.
class PromptWatch {
 public:
  // Both outlive the watch.
  PromptWatch(const ClickQuestions& questions, platform::Clock& clock) : questions(questions), clock(clock) {}

  [[nodiscard]] bool isPromptStillPresent() const { return questions.isPromptStillPresent(); }
  [[nodiscard]] bool shouldStop() const { return questions.shouldStop && questions.shouldStop(); }

  // False when the click was stopped meanwhile: within a tenth of a second, however long `duration` is.
  [[nodiscard]] bool sleep(Seconds duration) const;

  // Sleeps through the delays one after another and looks for the prompt after each, until it is gone.
  [[nodiscard]] ClickProgress waitToClear(std::span<const Seconds> delays) const;

 private:
  const ClickQuestions& questions;
  platform::Clock& clock;
};

}  // namespace quillard
