#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "IcnsFile.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace quillard::packaging {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint32_t numberAt(const Bytes& bytes, std::size_t at) {
  return static_cast<std::uint32_t>(bytes.at(at) << 24 | bytes.at(at + 1) << 16 | bytes.at(at + 2) << 8 |
                                    bytes.at(at + 3));
}
std::string lettersAt(const Bytes& bytes, std::size_t at) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin() + static_cast<std::ptrdiff_t>(at) + 4};
}

TEST(IcnsFile, StatesItsLengthAndThatOfEachPicture) {
  const auto file = icnsFile({{"ic07", {1, 2, 3}}, {"ic08", {4}}});
  const Bytes expected{'i', 'c', 'n', 's', 0, 0,   0,   28,  'i', 'c', '0', '7', 0, 0,
                       0,   11,  1,   2,   3, 'i', 'c', '0', '8', 0,   0,   0,   9, 4};
  ASSERT_TRUE(file.has_value());
  EXPECT_EQ(*file, expected);
}

TEST(IcnsFile, RefusesATypeThatIsNotOfFourLetters) {
  EXPECT_EQ(icnsFile({{"ic7", {1}}}), std::nullopt);
  EXPECT_EQ(icnsFile({{"ic007", {1}}}), std::nullopt);
}

// The program that the build runs.
TEST(IconMaker, WritesEverySizeThatTheSystemAsksFor) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path() + "/Quillard.icns";
  const auto outcome = test::shell("'" ICON_MAKER "' '" + path + "'");
  ASSERT_EQ(outcome.code, 0) << outcome.output;
  EXPECT_EQ(outcome.output, "");
  std::ifstream stream{path, std::ios::binary};
  const Bytes file{std::istreambuf_iterator<char>(stream), {}};
  ASSERT_GT(file.size(), 8U);
  EXPECT_EQ(lettersAt(file, 0), "icns");
  EXPECT_EQ(numberAt(file, 4), file.size());
  std::map<std::string, std::uint32_t> widths;
  for (std::size_t at = 8; at < file.size(); at += numberAt(file, at + 4)) {
    ASSERT_GE(numberAt(file, at + 4), 32U);
    EXPECT_EQ(lettersAt(file, at + 9), "PNG\r");
    const auto width = numberAt(file, at + 24);
    EXPECT_EQ(numberAt(file, at + 28), width) << "Not square.";
    widths[lettersAt(file, at)] = width;
  }
  std::map<std::string, std::uint32_t> expected;
  for (const auto& place : kIcnsPlaces) expected[std::string(place.type)] = static_cast<std::uint32_t>(place.pixels);
  EXPECT_EQ(widths, expected);
  for (const char* place : {"icp4", "icp5", "icp6"}) EXPECT_EQ(widths.count(place), 0U) << "Drawn wrongly: " << place;
}

TEST(IconMaker, WritesTheSizesOfAnIconTheme) {
  const test::TemporaryFolder folder;
  const auto outcome = test::shell("'" ICON_MAKER "' --theme '" + folder.path() + "' example");
  ASSERT_EQ(outcome.code, 0) << outcome.output;
  for (const int pixels : {16, 22, 24, 32, 48, 64, 96, 128, 256, 512}) {
    const auto side = std::to_string(pixels);
    std::ifstream stream{folder.path() + "/hicolor/" + side + "x" + side + "/apps/example.png", std::ios::binary};
    const Bytes file{std::istreambuf_iterator<char>(stream), {}};
    ASSERT_GT(file.size(), 24U) << side;
    EXPECT_EQ(lettersAt(file, 1), "PNG\r");
    EXPECT_EQ(numberAt(file, 16), static_cast<std::uint32_t>(pixels));
  }
}

TEST(IconMaker, SaysWhatIsWrong) {
  EXPECT_EQ(test::shell("'" ICON_MAKER "'").code, 1);
  const auto outcome = test::shell("'" ICON_MAKER "' /no/such/folder/Quillard.icns");
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.output.find("cannot be written"), std::string::npos) << outcome.output;
}

}  // namespace
}  // namespace quillard::packaging
