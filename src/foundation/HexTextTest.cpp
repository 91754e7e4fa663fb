#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/HexText.h"

namespace quillard {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(HexText, WritesTwoDigitsAByte) {
  EXPECT_EQ(hexText(Bytes{}), "");
  EXPECT_EQ(hexText(Bytes{0x00, 0x0F, 0xA5, 0xFF}), "000fa5ff");
  EXPECT_EQ(hexText("\xff\x01"), "ff01");
}

TEST(HexText, ReadsWhatItWrites) {
  Bytes all;
  for (int byte = 0; byte < 256; ++byte) all.push_back(static_cast<std::uint8_t>(byte));
  EXPECT_EQ(bytesOfHex(hexText(all)), all);
  EXPECT_EQ(bytesOfHex(""), Bytes{});
}

TEST(HexText, ReadsNothingElse) {
  const std::string beyondAscii = std::string("00") + '\xFF' + "0";
  for (const auto& bad : std::vector<std::string>{"0", "0g", "A5", " a5", "a5 ", "0x", beyondAscii, "--"}) {
    EXPECT_EQ(bytesOfHex(bad), std::nullopt) << bad;
  }
  EXPECT_EQ(bytesOfHex(std::string("0\0", 2)), std::nullopt);
}

}  // namespace
}  // namespace quillard
