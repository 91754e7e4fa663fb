#include <gtest/gtest.h>

#include "platform/linux/x11/XTestEvents.h"

namespace quillard::x11 {
namespace {

TEST(KeyForSymbol, FindsTheKeyThatGivesTheSymbolAlone) {
  // Three keys from 8 on, two symbols each: plain and with Shift.
  const std::vector<std::uint32_t> symbols{0x61, 0x41, 0x20, 0xFF0D, 0xFF0D, 0xFF0D};
  EXPECT_EQ(keyForSymbol(symbols, 2, 8, 0x61), 8);
  EXPECT_EQ(keyForSymbol(symbols, 2, 8, 0x20), 9);
  EXPECT_EQ(keyForSymbol(symbols, 2, 8, 0xFF0D), 10);  // Not 9, where it takes Shift.
}

TEST(KeyForSymbol, IsAbsentForASymbolThatNoKeyGivesAlone) {
  EXPECT_EQ(keyForSymbol({0x61, 0x41}, 2, 8, 0x41), std::nullopt);
  EXPECT_EQ(keyForSymbol({0x61, 0x41}, 2, 8, 0xFF1B), std::nullopt);
  EXPECT_EQ(keyForSymbol({}, 2, 8, 0x61), std::nullopt);
  EXPECT_EQ(keyForSymbol({0x61}, 0, 8, 0x61), std::nullopt);
  EXPECT_EQ(keyForSymbol({0x61}, 2, 8, 0x61), 8);  // Cut short: what is there counts.
}

TEST(KeyForSymbol, NeverCountsPastTheLastKey) {
  EXPECT_EQ(keyForSymbol({0x61, 0x62, 0x63}, 1, 254, 0x62), 255);
  EXPECT_EQ(keyForSymbol({0x61, 0x62, 0x63}, 1, 254, 0x63), std::nullopt);
}

}  // namespace
}  // namespace quillard::x11
