#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/process/Environment.h"

namespace quillard::test {

// Variables that the test may change. They are as before when this ends.
class EnvironmentBinding {
 public:
  EnvironmentBinding() = default;
  EnvironmentBinding(const EnvironmentBinding&) = delete;
  EnvironmentBinding& operator=(const EnvironmentBinding&) = delete;
  virtual ~EnvironmentBinding() = default;

  virtual const platform::Environment& environment() = 0;
  virtual void set(const std::string& name, const std::string& value) = 0;
  virtual void unset(const std::string& name) = 0;
};

using MakeEnvironment = std::unique_ptr<EnvironmentBinding> (*)();

class EnvironmentContract : public testing::TestWithParam<MakeEnvironment> {
 protected:
  const std::unique_ptr<EnvironmentBinding> binding = GetParam()();
  const platform::Environment& environment = binding->environment();
};

}  // namespace quillard::test
