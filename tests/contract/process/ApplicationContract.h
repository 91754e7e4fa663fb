#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/process/Application.h"
#include "platform/process/Executors.h"

namespace quillard::test {

// An application whose loop does not run yet, as a binding makes it for a test.
class ApplicationBinding {
 public:
  ApplicationBinding() = default;
  ApplicationBinding(const ApplicationBinding&) = delete;
  ApplicationBinding& operator=(const ApplicationBinding&) = delete;
  virtual ~ApplicationBinding() = default;

  virtual platform::Application& application() = 0;
  virtual platform::SerialExecutor& mainThread() = 0;
  // Runs the turns that are due, and those that they post.
  virtual void runTurns() = 0;
  // Runs the loop until the application has ended. False: it has not, though nothing was left to do.
  virtual bool runToEnd() = 0;

  // The user chooses from the application's menu. Nothing happens when there is no such item to choose.
  virtual void choose(std::string_view title) = 0;
  // The user starts the application again. False: on this system that runs a second process.
  virtual bool reopen(bool hasVisibleWindows) = 0;
};

struct ApplicationCase {
  std::string name;
  std::unique_ptr<ApplicationBinding> (*make)();
};

// What the agent relies on in the life of its application.
class ApplicationContract : public testing::TestWithParam<ApplicationCase> {};

}  // namespace quillard::test
