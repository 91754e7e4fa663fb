#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "foundation/CallbackScope.h"

namespace quillard {
namespace {

TEST(CallbackScope, CallsWithItsArgumentsWhileItLives) {
  const CallbackScope scope;
  int sum = 0;
  const std::function<void(int, int)> callback = scope.bind([&](int one, int other) { sum += one + other; });
  callback(1, 2);
  const auto copy = callback;
  copy(3, 4);
  EXPECT_EQ(sum, 10);
}

TEST(CallbackScope, DoesNothingOnceItIsGone) {
  auto scope = std::make_unique<CallbackScope>();
  int calls = 0;
  const std::function<void()> callback = scope->bind([&] { ++calls; });
  const auto copy = callback;
  scope.reset();
  callback();
  copy();
  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace quillard
