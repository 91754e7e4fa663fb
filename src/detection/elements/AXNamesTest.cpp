#include <limits>
#include <map>
#include <set>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "platform/desktop/AXNames.h"

namespace quillard::platform {
namespace {

template <class Known>
class AXNames : public testing::Test {};
using KnownNames = testing::Types<AXKnownAttribute, AXKnownAction>;
TYPED_TEST_SUITE(AXNames, KnownNames);

TYPED_TEST(AXNames, EveryKnownNameHasATextOfItsOwnThatLeadsBackToIt) {
  std::set<std::string_view> texts;
  for (int i = 0; i <= std::numeric_limits<std::underlying_type_t<TypeParam>>::max(); ++i) {
    const auto name = static_cast<TypeParam>(i);
    if (nameOf(name).empty()) continue;
    EXPECT_TRUE(texts.insert(nameOf(name)).second) << nameOf(name);
    EXPECT_EQ(AXName<TypeParam>(nameOf(name)).known(), name) << nameOf(name);
    EXPECT_EQ(AXName<TypeParam>(name).name(), nameOf(name));
  }
  EXPECT_GE(texts.size(), 4U);
  EXPECT_EQ(texts.size(), kKnownCount<TypeParam>) << "the enumerators are contiguous";
}

TEST(AXNamesAsText, ATextThatIsNoKnownNameIsForeign) {
  for (const char* text : {"AXHelp", "axtitle", "AXTitle ", "AXPress", ""}) {
    EXPECT_EQ(AXAttribute(text).known(), std::nullopt) << text;
    EXPECT_EQ(AXAttribute(text).name(), text);
  }
}

TEST(AXNamesAsText, AreEqualToTheirTextsOnEitherSide) {
  const std::string text = "AXTitle";
  EXPECT_TRUE(ax::kTitle == text && text == ax::kTitle);
  EXPECT_TRUE(ax::kTitle == "AXTitle" && std::string_view(text) == ax::kTitle);
  EXPECT_TRUE(ax::kTitle == AXAttribute(text));
  EXPECT_FALSE(ax::kTitle == ax::kRole || ax::kTitle == "AXRole" || text == ax::kRole);
  const std::map<std::string, int, std::less<>> byText{{"AXRole", 1}, {"AXTitle", 2}};
  EXPECT_EQ(byText.find(ax::kTitle)->second, 2);
  EXPECT_EQ(byText.find(ax::kValue), byText.end());
}

}  // namespace
}  // namespace quillard::platform
