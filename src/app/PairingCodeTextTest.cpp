#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "app/PairingCodeText.h"
#include "relay/QRCodeRenderer.h"

namespace quillard::app {
namespace {

TEST(PairingCodeText, PutsTwoRowsInALine) {
  constexpr std::uint8_t k = 0;
  constexpr std::uint8_t w = 255;
  const Bitmap code{.width = 4, .height = 4, .pixels = {k, k, w, w, k, w, k, w, w, w, w, w, k, k, k, k}};
  EXPECT_EQ(terminalText(code).text(),
            "\x1B[30;47m\u2588\u2580\u2584 \x1B[0m\n"
            "\x1B[30;47m\u2584\u2584\u2584\u2584\x1B[0m\n");
}

TEST(PairingCodeText, FillsUpAnOddRowWithLight) {
  const Bitmap code{.width = 2, .height = 1, .pixels = {0, 255}};
  EXPECT_EQ(terminalText(code).text(), "\x1B[30;47m\u2580 \x1B[0m\n");
}

TEST(PairingCodeText, IsEmptyForAnEmptyCode) { EXPECT_TRUE(terminalText(Bitmap{}).isEmpty()); }

// Reads the text again, as a camera would: each character is two modules.
Bitmap readAgain(std::string_view text, int height) {
  Bitmap code{.width = 0, .height = height, .pixels = {}};
  std::vector<std::uint8_t> upper;
  std::vector<std::uint8_t> lower;
  for (std::size_t i = 0; i < text.size();) {
    const auto is = [&](std::string_view piece) { return text.substr(i, piece.size()) == piece; };
    const auto take = [&](std::string_view piece, int above, int below) {
      i += piece.size();
      upper.push_back(static_cast<std::uint8_t>(above));
      lower.push_back(static_cast<std::uint8_t>(below));
    };
    if (is("\x1B[30;47m")) {
      i += 8;
    } else if (is("\x1B[0m\n")) {
      i += 5;
      code.width = static_cast<int>(upper.size());
      code.pixels.insert(code.pixels.end(), upper.begin(), upper.end());
      code.pixels.insert(code.pixels.end(), lower.begin(), lower.end());
      upper.clear();
      lower.clear();
    } else if (is("\u2588")) {
      take("\u2588", 0, 0);
    } else if (is("\u2580")) {
      take("\u2580", 0, 255);
    } else if (is("\u2584")) {
      take("\u2584", 255, 0);
    } else {
      take(" ", 255, 255);
    }
  }
  code.pixels.resize(static_cast<std::size_t>(code.width) * static_cast<std::size_t>(code.height));
  return code;
}

TEST(PairingCodeText, ShowsEveryModuleOfARealCodeAndItsMargin) {
  const std::string content(300, 'x');
  const auto code = QRCodeRenderer::image({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()}, 1);
  ASSERT_TRUE(code.has_value());
  EXPECT_EQ(readAgain(terminalText(*code).text(), code->height), *code);
  EXPECT_TRUE(
      std::all_of(code->pixels.begin(), code->pixels.begin() + 4 * code->width, [](auto p) { return p == 255; }));
}

}  // namespace
}  // namespace quillard::app
