#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <plist/plist.h>

#include "support/Shell.h"
#include "support/TemporaryFolder.h"

// The information dictionary and the rights, as the build writes them.
namespace quillard {
namespace {

using test::shell;
using test::TemporaryFolder;

const std::string kPackaging = QUILLARD_MACOS_PACKAGING;
const std::string kKey = "MDEyMzQ1Njc4OWFiY2RlZjAxMjM0NTY3ODlhYmNkZWY=";  // 32 bytes.
const std::string kFeed = "https://updates.example.org/appcast.xml";

std::string read(const std::string& path) {
  std::ifstream file{path};
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class PropertyList {
 public:
  explicit PropertyList(const std::string& xml) {
    plist_t made = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &made);
    root.reset(made);
  }
  [[nodiscard]] bool isDictionary() const { return root && plist_get_node_type(root.get()) == PLIST_DICT; }
  [[nodiscard]] std::optional<std::string> text(const char* key) const { return textOf(item(key)); }
  [[nodiscard]] std::optional<bool> truth(const char* key) const {
    if (!item(key) || plist_get_node_type(item(key)) != PLIST_BOOLEAN) return std::nullopt;
    std::uint8_t value = 0;
    plist_get_bool_val(item(key), &value);
    return value != 0;
  }
  [[nodiscard]] std::optional<std::string> onlyTextOfArray(const char* key) const {
    if (!item(key) || plist_get_node_type(item(key)) != PLIST_ARRAY || plist_array_get_size(item(key)) != 1) return {};
    return textOf(plist_array_get_item(item(key), 0));
  }
  [[nodiscard]] std::uint32_t size() const { return plist_dict_get_size(root.get()); }

 private:
  struct Deleter {
    void operator()(void* node) const { plist_free(node); }
  };
  [[nodiscard]] plist_t item(const char* key) const { return plist_dict_get_item(root.get(), key); }
  [[nodiscard]] static std::optional<std::string> textOf(plist_t node) {
    if (!node || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
    char* value = nullptr;
    plist_get_string_val(node, &value);
    std::string text(value ? value : "");
    std::free(value);  // NOLINT: the library hands it over so.
    return text;
  }
  std::unique_ptr<void, Deleter> root;
};

// What the build would be given.
struct Deployment {
  std::string version = "1.2.3";
  std::string buildNumber;
  std::string feed;
  std::string key;
  std::string oldestSystem;
};

struct Written {
  test::ShellOutcome outcome;
  std::string xml;
};

Written write(const Deployment& deployment) {
  const TemporaryFolder folder;
  const std::string file = folder.path() + "/Info.plist";
  Written written;
  written.outcome = shell(
      "'" CMAKE_PROGRAM "' '-DOUTPUT=" + file + "' '-DVERSION=" + deployment.version +
      "' '-DQUILLARD_BUILD_NUMBER=" + deployment.buildNumber + "' '-DQUILLARD_UPDATE_FEED_URL=" + deployment.feed +
      "' '-DQUILLARD_UPDATE_PUBLIC_KEY=" + deployment.key +
      "' '-DCMAKE_OSX_DEPLOYMENT_TARGET=" + deployment.oldestSystem + "' -P '" + kPackaging + "/Information.cmake'");
  written.xml = read(file);
  return written;
}

TEST(MacInformation, SaysWhoTheApplicationIs) {
  const auto written = write({});
  ASSERT_EQ(written.outcome.code, 0) << written.outcome.output;
  const PropertyList list(written.xml);
  ASSERT_TRUE(list.isDictionary()) << written.xml;
  EXPECT_EQ(list.text("CFBundleIdentifier"), "com.quillard.agent");
  EXPECT_EQ(list.text("CFBundleExecutable"), "Quillard");
  EXPECT_EQ(list.text("CFBundleName"), "Quillard");
  EXPECT_EQ(list.text("CFBundlePackageType"), "APPL");
  EXPECT_EQ(list.text("CFBundleIconFile"), "Quillard");
  EXPECT_EQ(list.text("CFBundleShortVersionString"), "1.2.3");
  EXPECT_EQ(list.text("CFBundleVersion"), "1.2.3");
  EXPECT_EQ(list.text("LSMinimumSystemVersion"), "13.0");
  EXPECT_EQ(list.truth("LSUIElement"), true);
  EXPECT_EQ(list.truth("NSHighResolutionCapable"), true);
  EXPECT_NE(list.text("NSLocalNetworkUsageDescription").value_or(""), "");
}

TEST(MacInformation, AsksForTheSystemThatTheProgramIsBuiltFor) {
  const auto written = write({.oldestSystem = "14.0"});
  ASSERT_EQ(written.outcome.code, 0) << written.outcome.output;
  EXPECT_EQ(PropertyList(written.xml).text("LSMinimumSystemVersion"), "14.0");
}

TEST(MacInformation, HasNoPlaceholderLeft) {
  const auto written = write({.feed = kFeed, .key = kKey});
  EXPECT_EQ(written.xml.find('@'), std::string::npos) << written.xml;
}

TEST(MacInformation, NamesNoUpdatesUnlessItIsGivenBothFeedAndKey) {
  const PropertyList list(write({}).xml);
  EXPECT_EQ(list.text("SUFeedURL"), std::nullopt);
  EXPECT_EQ(list.text("SUPublicEDKey"), std::nullopt);
  for (const Deployment& half : {Deployment{.feed = kFeed}, Deployment{.key = kKey}}) {
    const auto written = write(half);
    EXPECT_NE(written.outcome.code, 0);
    EXPECT_NE(written.outcome.output.find("Updates need both"), std::string::npos) << written.outcome.output;
    EXPECT_EQ(written.xml, "");
  }
}

TEST(MacInformation, CarriesFeedKeyAndBuildNumberToTheLetter) {
  const std::string feed = "https://updates.example.org:8443/feed?channel=a&kind=<b>";
  const auto written = write({.buildNumber = "417", .feed = feed, .key = kKey});
  ASSERT_EQ(written.outcome.code, 0) << written.outcome.output;
  const PropertyList list(written.xml);
  EXPECT_EQ(list.text("SUFeedURL"), feed);
  EXPECT_EQ(list.text("SUPublicEDKey"), kKey);
  EXPECT_EQ(list.truth("SUEnableAutomaticChecks"), true);
  EXPECT_EQ(list.text("CFBundleVersion"), "417");
  EXPECT_EQ(list.text("CFBundleShortVersionString"), "1.2.3");
}

TEST(MacInformation, RefusesAFeedThatIsNotHttps) {
  for (const char* feed :
       {"http://updates.example.org/appcast.xml", "https://updates.example.org", "https:///appcast.xml",
        "ftp://updates.example.org/appcast.xml", "appcast.xml", "https://updates.example.org/app cast.xml"}) {
    EXPECT_NE(write({.feed = feed, .key = kKey}).outcome.code, 0) << feed;
  }
}

TEST(MacInformation, RefusesAKeyThatIsNotOf32Bytes) {
  for (const char* key :
       {"short", "MDEyMzQ1Njc4OWFiY2RlZjAxMjM0NTY3ODlhYmNkZQ==", "MDEyMzQ1Njc4OWFiY2RlZjAxMjM0NTY3ODlhYmNkZWZn",
        "MDEyMzQ1Njc4OWFiY2RlZjAxMjM0NTY3ODlhYmNkZWZ=", "MDEyMzQ1Njc4OWFiY2RlZjAxMjM0NTY3ODlhYmNk WY="}) {
    EXPECT_NE(write({.feed = kFeed, .key = key}).outcome.code, 0) << key;
  }
}

TEST(MacInformation, RefusesVersionsThatTheSystemCannotCompare) {
  for (const char* version : {"", "1.2.3.4", "1.2-beta", "v1", "1..2"}) {
    EXPECT_NE(write({.version = version}).outcome.code, 0) << version;
    if (*version) {
      EXPECT_NE(write({.buildNumber = version}).outcome.code, 0) << version;
    }
  }
}

TEST(MacEntitlements, AskForTheOwnKeychainGroupAndNothingElse) {
  std::string xml = read(kPackaging + "/Quillard.entitlements.in");
  for (auto at = xml.find("@TEAM@"); at != std::string::npos; at = xml.find("@TEAM@")) xml.replace(at, 6, "ABCDE12345");
  const PropertyList list(xml);
  ASSERT_TRUE(list.isDictionary());
  EXPECT_EQ(list.text("com.apple.application-identifier"), "ABCDE12345.com.quillard.agent");
  EXPECT_EQ(list.text("com.apple.developer.team-identifier"), "ABCDE12345");
  EXPECT_EQ(list.onlyTextOfArray("keychain-access-groups"), "ABCDE12345.com.quillard.agent");
  EXPECT_EQ(list.size(), 3U);
}

}  // namespace
}  // namespace quillard
