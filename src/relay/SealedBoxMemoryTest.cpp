#include <gtest/gtest.h>

#include "relay/SealedBoxMemory.h"

namespace quillard {
namespace {

Nonce nonce(std::size_t number) {
  Nonce nonce{};
  for (std::size_t i = 0; i < 8; ++i) nonce[i] = static_cast<std::uint8_t>(number >> (8 * i));
  return nonce;
}

TEST(SealedBoxMemory, KnowsWhatItWasTold) {
  SealedBoxMemory memory;
  EXPECT_FALSE(memory.knows(nonce(1)));
  memory.remember(nonce(1));
  EXPECT_TRUE(memory.knows(nonce(1)));
  EXPECT_FALSE(memory.knows(nonce(2)));
}

TEST(SealedBoxMemory, KeepsTheNewest8192) {
  SealedBoxMemory memory;
  for (std::size_t i = 0; i < 8192; ++i) memory.remember(nonce(i));
  EXPECT_TRUE(memory.knows(nonce(0)));
  memory.remember(nonce(8192));
  EXPECT_FALSE(memory.knows(nonce(0)));
  EXPECT_TRUE(memory.knows(nonce(1)));
  EXPECT_TRUE(memory.knows(nonce(8192)));
}

TEST(SealedBoxMemory, IsNotMadeToForgetByRepetition) {
  SealedBoxMemory memory{2};
  memory.remember(nonce(1));
  for (int i = 0; i < 10; ++i) memory.remember(nonce(2));
  EXPECT_TRUE(memory.knows(nonce(1)));
}

}  // namespace
}  // namespace quillard
