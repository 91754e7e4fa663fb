#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace quillard::qt {

// Lets the process end politely when it is told to: by Ctrl-C, by another program, by the end of the session. The first
// such signal (INT, TERM, HUP) calls `onSignal`, as an event of the Qt loop of the thread that makes this; a second one
// ends the process immediately, with 128 and its number as the exit code. Signals that the process was started to
// ignore stay ignored.
//
// At most one at a time, on the main thread. What was set up before comes back when it goes.
class TerminationSignals {
 public:
  explicit TerminationSignals(std::function<void()> onSignal);
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;
  ~TerminationSignals();

 private:
  struct Former;
  std::unique_ptr<Former> former;
  std::unique_ptr<QSocketNotifier> notifier;
};

}  // namespace quillard::qt
