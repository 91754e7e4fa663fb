#pragma once

#include <string>

#include "private-desktop/samples/SampleOptions.h"

namespace quillard::samples {

inline constexpr int kClosedWithoutAButton = 3;
inline constexpr int kFirstButton = 10;  // The exit code of the first button; the second has the next one.

// What a press leads to, the same for every toolkit.
class SampleOutcome {
 public:
  enum class Next { stays, isSucceeded, ends };

  explicit SampleOutcome(const SampleOptions& options);

  // Prints the press. Does not return at all when the program shall hang.
  Next press(const std::string& label);
  // Prints "ready", once.
  void windowIsUp();

 private:
  int ignoredPresses;
  bool hangsOnPress;
  bool hasSuccessor;
  bool isReady = false;
};

// Answers no request any more.
[[noreturn]] void hang();

}  // namespace quillard::samples
