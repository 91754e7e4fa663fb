#include <gtest/gtest.h>

#include "desktop/PrivateDesktop.h"

namespace {
using namespace quillard::test;
TEST(PrivateDesktop, ComesUp) {
  for (int i = 0; i < 10; ++i) {
    const PrivateDesktop desktop;
    std::cout << "The desktop is up after " << desktop.startTime().count() << " ms\n";
    EXPECT_FALSE(desktop.accessibilityBusAddress().empty());
  }
}
}  // namespace
