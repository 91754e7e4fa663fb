#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "demo/Service.h"

namespace quillard::demo {

// Sample prompts for a person to try, one after another, shown by a program that does nothing else.
class SamplePrompts {
 public:
  // `program`: gtk3_prompt. `environment`: of the desktop where they appear. `logFile`: for what it prints.
  SamplePrompts(std::string program, Variables environment, std::string logFile);

  // Shows the next one, if none is up.
  void showNext();
  [[nodiscard]] bool isUp() const { return prompt != nullptr; }
  // How the one that was up ended: the label that was pressed; empty when it went without any. Absent: it is still up,
  // or none was.
  [[nodiscard]] std::optional<std::string> takeAnswer();

 private:
  const std::string program;
  const Variables environment;
  const std::string logFile;
  std::size_t shown = 0;
  std::unique_ptr<Service> prompt;
};

}  // namespace quillard::demo
