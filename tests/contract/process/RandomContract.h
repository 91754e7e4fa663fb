#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "platform/process/Random.h"

namespace quillard::test {

struct RandomCase {
  std::unique_ptr<platform::Random> (*make)() = nullptr;
  // One whose secure generator fails at every call of these tests.
  std::unique_ptr<platform::Random> (*makeFailing)() = nullptr;
};

class RandomContract : public testing::TestWithParam<RandomCase> {
 protected:
  const std::unique_ptr<platform::Random> random = GetParam().make();
};

}  // namespace quillard::test
