#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/process/Console.h"

namespace quillard::test {

class ConsoleBinding {
 public:
  ConsoleBinding() = default;
  ConsoleBinding(const ConsoleBinding&) = delete;
  ConsoleBinding& operator=(const ConsoleBinding&) = delete;
  virtual ~ConsoleBinding() = default;

  virtual platform::Console& console() = 0;
  // Everything that was written, line breaks included.
  [[nodiscard]] virtual std::string written() = 0;
};

using MakeConsole = std::unique_ptr<ConsoleBinding> (*)();

class ConsoleContract : public testing::TestWithParam<MakeConsole> {
 protected:
  const std::unique_ptr<ConsoleBinding> binding = GetParam()();
  platform::Console& console = binding->console();
};

}  // namespace quillard::test
