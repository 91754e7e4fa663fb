#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "golden/JudgedWindow.h"

namespace quillard::golden {

// What became of one window.
struct CountedWindow {
  JudgedWindow window;
  Judgement judgement;

  // The judged window is the only one of its desktop that counts.
  [[nodiscard]] bool isTaken() const { return !judgement.prompts.empty(); }
  [[nodiscard]] bool isRight() const { return isTaken() == isPrompt(window.kind); }
  // The secret may only be denied from afar.
  [[nodiscard]] bool isSecretMarked() const;
  // A button is recommended that a person calls hazardous, or any of a window without such a mark.
  [[nodiscard]] bool recommendsHazard() const;
  // What is recommended, each once.
  [[nodiscard]] std::set<std::string> recommended() const;
  // The rule that decided.
  [[nodiscard]] std::string sign() const;
};

// All of one source, in its order: the recorded windows, or the samples.
[[nodiscard]] std::vector<CountedWindow> countRecorded(const platform::PromptSupplement& supplement);
[[nodiscard]] std::vector<CountedWindow> countSamples(const platform::PromptSupplement& supplement);

// Kind by kind: how many there are, are taken, and are wrong; secrets that are marked; recommendations at hazard. Those
// that were looked at while the rules were made apart from those that were held back. And a line for each mistake.
[[nodiscard]] std::string tableText(const std::string& title, const std::vector<CountedWindow>& windows);

}  // namespace quillard::golden
