#pragma once

#include <functional>
#include <string>

#include "private-desktop/samples/SampleOptions.h"

namespace quillard::samples {

inline constexpr int kClosedWithoutAButton = 3;
inline constexpr int kFirstButton = 10;  // The exit code of the first button; the second has the next one.

// What a press leads to, the same for every toolkit.
class SampleOutcome {
 public:
  enum class Next { stays, isSucceeded, fallsSilent, ends };

  explicit SampleOutcome(const SampleOptions& options);

  // Prints the press, and whether it was the twin's. Does not return at all when the program shall hang.
  Next press(const std::string& label);
  // Prints "ready", once.
  void windowIsUp();

 private:
  const std::string prefix;
  const bool hangsOnPress;
  const bool fallsSilentOnPress;
  int ignoredPresses;
  int successors;
  bool isReady = false;
};

// The prompts of one program that are up. The program ends with the last one of them, and its exit code is that one's.
class OpenPrompts {
 public:
  // `end` leaves the program's loop.
  explicit OpenPrompts(std::function<void(int exitCode)> end) : end(std::move(end)) {}

  void add() { ++count; }
  // True when others are still up: the program goes on, and the window has to be closed.
  [[nodiscard]] bool closeOne(int exitCode);

 private:
  const std::function<void(int exitCode)> end;
  int count = 0;
};

// Answers no request any more.
[[noreturn]] void hang();

}  // namespace quillard::samples
