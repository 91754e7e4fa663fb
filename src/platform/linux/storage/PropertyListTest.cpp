#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/storage/PropertyList.h"

namespace quillard::xdg {
namespace {

using platform::PropertyListTexts;
using platform::ResourceError;

using Outcome = std::variant<PropertyListTexts, ResourceError>;

Outcome read(std::string_view text) {
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  return readPropertyList(std::span(bytes, text.size()));
}

std::string errorOf(const Outcome& outcome) {
  const auto* error = std::get_if<ResourceError>(&outcome);
  return error ? error->description : "";
}

std::string xml(const std::string& content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">" +
         content + "</plist>\n";
}

// A binary list of objects of at most 14 elements each, in the order given; the first is the root.
class Binary {
 public:
  Binary& text(std::string_view ascii) { return add(std::string(1, char(0x50 + ascii.size())) + std::string(ascii)); }
  Binary& dictionary(const std::vector<std::pair<int, int>>& members) {
    std::string object(1, static_cast<char>(0xD0 + members.size()));
    for (const auto& member : members) object += static_cast<char>(member.first);
    for (const auto& member : members) object += static_cast<char>(member.second);
    return add(object);
  }
  Binary& list(const std::vector<int>& elements) {
    std::string object(1, static_cast<char>(0xA0 + elements.size()));
    for (const int element : elements) object += static_cast<char>(element);
    return add(object);
  }
  Binary& add(const std::string& object) {
    offsets.push_back(bytes.size());
    bytes += object;
    return *this;
  }
  [[nodiscard]] std::string build() const {
    std::string file = bytes;
    for (const std::size_t offset : offsets) file += bigEndian(offset, 2);
    return file + std::string(6, '\0') + "\x02\x01" + bigEndian(offsets.size(), 8) + bigEndian(0, 8) +
           bigEndian(bytes.size(), 8);
  }

 private:
  static std::string bigEndian(std::size_t number, int size) {
    std::string text;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) text += static_cast<char>(number >> shift & 0xFFU);
    return text;
  }
  std::string bytes = "bplist00";
  std::vector<std::size_t> offsets;
};

const PropertyListTexts kConfiguration{{"relayURL", "wss://relay"}, {"pairingID", "team-1"}};

std::string binaryConfiguration() {
  return Binary()
      .dictionary({{1, 2}, {3, 4}})
      .text("relayURL")
      .text("wss://relay")
      .text("pairingID")
      .text("team-1")
      .build();
}

TEST(PropertyList, ReadsTheTextsOfAnXmlList) {
  const auto outcome =
      read(xml("<dict><key>relayURL</key><string>wss://relay</string><!-- a note -->\n"
               "<key>count</key><integer>3</integer><key>pairingID</key><string>team-1</string>"
               "<key>list</key><array><string>inside</string></array><key>on</key><true/></dict>"));
  ASSERT_EQ(errorOf(outcome), "");
  EXPECT_EQ(std::get<PropertyListTexts>(outcome), kConfiguration);
}

TEST(PropertyList, ReadsTheTextsOfABinaryList) {
  const auto outcome = read(binaryConfiguration());
  ASSERT_EQ(errorOf(outcome), "");
  EXPECT_EQ(std::get<PropertyListTexts>(outcome), kConfiguration);
}

TEST(PropertyList, ReadsEscapesAndUnicode) {
  const auto outcome =
      read(xml("<dict><key>a&amp;b</key><string>&lt;Gr\xC3\xBC\xC3\x9F"
               "e&gt; &#228;</string>"
               "<key>empty</key><string></string></dict>"));
  ASSERT_EQ(errorOf(outcome), "");
  EXPECT_EQ(std::get<PropertyListTexts>(outcome), (PropertyListTexts{{"a&b",
                                                                      "<Gr\xC3\xBC\xC3\x9F"
                                                                      "e> \xC3\xA4"},
                                                                     {"empty", ""}}));
  const auto wide = read(Binary().dictionary({{1, 2}}).text("k").add(std::string("\x62\x00\xE4\x20\xAC", 5)).build());
  ASSERT_EQ(errorOf(wide), "");
  EXPECT_EQ(std::get<PropertyListTexts>(wide), (PropertyListTexts{{"k", "\xC3\xA4\xE2\x82\xAC"}}));
}

TEST(PropertyList, SaysWhatIsNoPropertyListOfTexts) {
  EXPECT_EQ(errorOf(read("")), "The property list is empty.");
  for (const std::string& bytes :
       {std::string("nonsense"), std::string("{\"a\":1}"), std::string("<plist>"), std::string("bplist00"),
        std::string("bplist00") + std::string(32, '\0'), std::string("bplist00") + std::string(32, '\xFF')}) {
    EXPECT_NE(errorOf(read(bytes)), "") << bytes;
  }
  EXPECT_EQ(errorOf(read(xml("<array><string>a</string></array>"))), "The property list is no dictionary.");
  EXPECT_EQ(errorOf(read(Binary().list({1}).text("a").build())), "The property list is no dictionary.");
}

TEST(PropertyList, RefusesWhatIsNoUtf8) {
  EXPECT_NE(errorOf(read(xml("<dict><key>a</key><string>\xC3\x28</string></dict>"))), "");
}

TEST(PropertyList, RefusesWhatIsTooLargeOrTooDeep) {
  EXPECT_EQ(errorOf(read(xml("<dict><key>a</key><string>" + std::string(300'000, 'x') + "</string></dict>"))),
            "The property list is too large.");
  std::string deep;
  for (int i = 0; i < 300; ++i) deep += "<array><!-- </array> -->";
  EXPECT_EQ(errorOf(read(xml("<dict><key>a</key>" + deep))),
            "The property list is nested too deeply, or unfolds to too much.");
  Binary chain;
  for (int i = 0; i < 60; ++i) chain.list({i + 1});
  EXPECT_EQ(errorOf(read(chain.text("end").build())),
            "The property list is nested too deeply, or unfolds to too much.");
}

TEST(PropertyList, RefusesAListThatUnfoldsToMoreThanThereIsMemory) {
  Binary laughs;
  laughs.dictionary({{20, 1}});
  for (int i = 1; i < 20; ++i) laughs.list(std::vector<int>(14, i + 1));
  EXPECT_EQ(errorOf(read(laughs.text("ha").build())),
            "The property list is nested too deeply, or unfolds to too much.");
}

TEST(PropertyList, RefusesKeysThatHoldAZeroOrAreNoText) {
  for (const char* zero : {"&#0;", "&#x0;", "&#x00000000;", "&#4294967296;", "&#x100000000;", "&#;", "&#-0;"}) {
    const std::string list = xml(std::string("<dict><key>a") + zero + "b</key><string>x</string></dict>");
    EXPECT_EQ(errorOf(read(list)), "The property list is malformed.") << zero;
  }
  const std::string raw = xml("<dict><key>a" + std::string(1, '\0') + "b</key><string>x</string></dict>");
  EXPECT_EQ(errorOf(read(raw)), "The property list is malformed.");
  for (const std::string& key : {std::string("\x53"
                                             "a\0b",
                                             4),
                                 std::string("\x62\0a\0\0", 5), std::string("\x10\x01", 2)}) {
    EXPECT_EQ(errorOf(read(Binary().dictionary({{1, 2}}).add(key).text("x").build())),
              "The property list is malformed.");
  }
}

TEST(PropertyList, RefusesAListThatContainsItself) {
  EXPECT_NE(errorOf(read(Binary().list({0}).build())), "");
  EXPECT_NE(errorOf(read(Binary().dictionary({{2, 1}}).list({0}).text("k").build())), "");
}

TEST(PropertyList, RefusesReferencesAndSizesThatLeadOutside) {
  EXPECT_NE(errorOf(read(Binary().dictionary({{1, 9}}).text("k").build())), "");
  EXPECT_NE(errorOf(read(Binary().dictionary({{1, 2}}).text("k").add("\x5F\x12\x7F\xFF\xFF\xFF").build())), "");
  EXPECT_NE(
      errorOf(read(Binary().dictionary({{1, 2}}).text("k").add("\x5F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF").build())),
      "");
  EXPECT_NE(errorOf(read(Binary().dictionary({{1, 2}}).text("k").add("\x1F").build())), "");
}

// Whatever is done to good bytes, the reader answers; the sanitizers watch how.
TEST(PropertyList, AnswersWhateverIsDoneToGoodBytes) {
  std::mt19937 random(11);
  const std::vector<std::string> seeds{
      binaryConfiguration(), xml("<dict><key>relayURL</key><string>wss://relay</string><key>d</key><data>AAEC</data>"
                                 "<key>t</key><date>2026-01-01T00:00:00Z</date><key>r</key><real>1.5</real></dict>")};
  int readable = 0;
  constexpr int kRounds = 3000;
  for (int round = 0; round < kRounds; ++round) {
    std::string bytes = seeds[random() % seeds.size()];
    for (auto changes = random() % 4; changes > 0; --changes) bytes[random() % bytes.size()] = char(random());
    if (random() % 8 == 0) bytes.resize(random() % bytes.size());
    readable += errorOf(read(bytes)).empty() ? 1 : 0;
  }
  EXPECT_GT(readable, 0);
  EXPECT_LT(readable, kRounds);
}

}  // namespace
}  // namespace quillard::xdg
