#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zbar.h>

#include "relay/PairingPayload.h"
#include "relay/QRCodeRenderer.h"

namespace quillard {
namespace {

std::optional<Bitmap> imageOf(std::string_view text, int scale) {
  return QRCodeRenderer::image({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, scale);
}

int pixelAt(const Bitmap& bitmap, int x, int y) {
  const auto row = static_cast<std::size_t>(y) * static_cast<std::size_t>(bitmap.width);
  return bitmap.pixels.at(row + static_cast<std::size_t>(x));
}

// What an independent reader makes of the picture. One text a code.
std::vector<std::string> decoded(const Bitmap& bitmap) {
  constexpr unsigned long kGreyOneByte = zbar_fourcc('Y', '8', '0', '0');
  const auto width = static_cast<unsigned>(bitmap.width);
  zbar::Image image{width, static_cast<unsigned>(bitmap.height), "Y800", bitmap.pixels.data(), bitmap.pixels.size()};
  EXPECT_EQ(image.get_format(), kGreyOneByte);
  zbar::ImageScanner scanner;
  scanner.set_config(zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
  scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
  scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_BINARY, 1);
  scanner.scan(image);
  std::vector<std::string> texts;
  for (auto symbol = image.symbol_begin(); symbol != image.symbol_end(); ++symbol) texts.push_back(symbol->get_data());
  return texts;
}

std::string pairingText(char digit) {
  const PairingPayload payload{.backendURL = "https://relay.example:8443",
                               .pairingID = "quillard-00112233445566778899aabbccddeeff",
                               .relaySecret = Secret{std::string(64, digit)},
                               .e2eSecret = Secret{std::string(64, 'b')}};
  return std::string(pairingPayloadText(payload)->text());
}

TEST(QRCodeRenderer, DrawsWhatAnIndependentReaderReadsByteForByte) {
  const auto text = pairingText('a');
  const auto image = imageOf(text, 10);
  ASSERT_TRUE(image.has_value());
  EXPECT_EQ(decoded(*image), std::vector<std::string>{text});
}

TEST(QRCodeRenderer, DrawsAnotherCodeForAnotherIdentity) {
  EXPECT_NE(imageOf(pairingText('a'), 10), imageOf(pairingText('c'), 10));
  EXPECT_EQ(imageOf(pairingText('a'), 10), imageOf(pairingText('a'), 10));
}

TEST(QRCodeRenderer, IsTheScaleTimesModulesAndQuietZoneWide) {
  // Version 1 (21 modules) holds 14 bytes at level M; version 2 (25 modules) holds 26.
  for (const int scale : {1, 2, 10}) {
    for (const auto& [length, modules] : {std::pair{1, 21}, {14, 21}, {15, 25}, {26, 25}, {27, 29}}) {
      const auto image = imageOf(std::string(static_cast<std::size_t>(length), 'x'), scale);
      ASSERT_TRUE(image.has_value());
      EXPECT_EQ(image->width, (modules + 8) * scale);
      EXPECT_EQ(image->height, image->width);
      EXPECT_EQ(image->pixels.size(), static_cast<std::size_t>(image->width) * static_cast<std::size_t>(image->width));
    }
  }
}

TEST(QRCodeRenderer, KeepsFourLightModulesAroundTheCode) {
  constexpr int kScale = 3;
  const auto image = *imageOf("x", kScale);
  const int margin = 4 * kScale;
  const auto pixel = [&](int x, int y) { return pixelAt(image, x, y); };
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const bool isInside = x >= margin && y >= margin && x < image.width - margin && y < image.height - margin;
      if (isInside) continue;
      EXPECT_EQ(pixel(x, y), 255) << x << "," << y;
    }
  }
  EXPECT_EQ(pixel(margin, margin), 0) << "The corner of the first finder pattern.";
}

TEST(QRCodeRenderer, MakesEachModuleOneSquareOfOneColour) {
  constexpr int kScale = 5;
  const auto small = *imageOf(pairingText('a'), 1);
  const auto large = *imageOf(pairingText('a'), kScale);
  for (int y = 0; y < large.height; ++y) {
    for (int x = 0; x < large.width; ++x) {
      const auto module = pixelAt(small, x / kScale, y / kScale);
      ASSERT_EQ(pixelAt(large, x, y), module) << x << "," << y;
      ASSERT_TRUE(module == 0 || module == 255);
    }
  }
}

TEST(QRCodeRenderer, HasLevelMEvenWhereABetterOneWouldFit) {
  // The two bits of the level stand at the start of the format information, beside the first finder pattern, under a
  // mask of 10: level M (00) shows as 10.
  const auto image = *imageOf("x", 1);
  const auto isDark = [&](int x, int y) { return pixelAt(image, x + 4, y + 4) == 0; };
  EXPECT_TRUE(isDark(0, 8));
  EXPECT_FALSE(isDark(1, 8));
}

TEST(QRCodeRenderer, HasNoImageForWhatDoesNotFitOrASenselessScale) {
  EXPECT_TRUE(imageOf(std::string(2331, 'x'), 1).has_value());
  for (const std::size_t size : {0U, 2331U, 2332U, 3000U}) {
    const std::vector<std::uint8_t> data(size, 'x');
    EXPECT_EQ(QRCodeRenderer::fits(data), QRCodeRenderer::image(data, 1).has_value()) << size;
  }
  EXPECT_FALSE(imageOf(std::string(2332, 'x'), 1).has_value());
  for (const int scale : {0, -1, 101}) EXPECT_FALSE(imageOf("x", scale).has_value()) << scale;
  EXPECT_TRUE(imageOf("", 1).has_value());
}

}  // namespace
}  // namespace quillard
