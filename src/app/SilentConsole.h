#pragma once

#include <string_view>

#include "platform/process/Console.h"

namespace quillard::app {

// For parts of the agent that a tool uses, and whose lines for the log nobody waits for there.
class SilentConsole final : public platform::Console {
 public:
  void writeLine(std::string_view /*line*/) override {}
};

}  // namespace quillard::app
