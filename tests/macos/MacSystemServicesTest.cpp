// The window list, synthetic events, preferences, property lists, the bundle and the generator.

#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "macos/MacWorld.h"
#include "platform/macos/MacBundle.h"
#include "platform/macos/MacRandom.h"
#include "platform/macos/MacSyntheticEvents.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/MacWindowList.h"
#include "platform/macos/PropertyList.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {
namespace {

using fakes::Held;
using platform::UserDefaultsValue;
using platform::WindowListEntry;
using platform::WindowListOptions;

// ---- The window list

class MacWindowListTest : public MacTest {
 protected:
  macos::MacWindowList list{mac->workspace};
  static Held key(CFStringRef name) { return Held::share(name); }
};

TEST_F(MacWindowListTest, GivesWhatTheServerSaysOfEachWindow) {
  const WindowListEntry given{.ownerProcessIdentifier = 41,
                              .ownerName = "Example",
                              .windowName = "Käfer",
                              .layer = -3,
                              .alpha = 0.5,
                              .bounds = Rect{1, 2, 300.5, 400},
                              .number = 7'000};
  mac->desktop.addWindowEntry(given);
  mac->desktop.addWindowEntry({.number = 7'001});
  mac->system.mayRecordScreen = true;
  EXPECT_EQ(list.copyWindowInfo(WindowListOptions::onScreenOnly),
            (std::vector<WindowListEntry>{{.number = 7'001}, given}));
  mac->system.mayRecordScreen = false;
  auto nameless = given;
  nameless.windowName.reset();
  EXPECT_EQ(list.copyWindowInfo(WindowListOptions::onScreenOnly),
            (std::vector<WindowListEntry>{{.number = 7'001}, nameless}));
}

TEST_F(MacWindowListTest, TellsWindowsOnTheScreenFromAll) {
  mac->desktop.addWindowEntry({.windowName = "elsewhere"}, false);
  EXPECT_TRUE(list.copyWindowInfo(WindowListOptions::onScreenOnly).empty());
  EXPECT_EQ(list.copyWindowInfo(WindowListOptions::all).size(), 1U);
}

TEST_F(MacWindowListTest, IsEmptyOutsideAGraphicalSession) {
  mac->desktop.addWindowEntry({.windowName = "nobody sees it"});
  mac->system.hasGraphicalSession = false;
  EXPECT_TRUE(list.copyWindowInfo(WindowListOptions::all).empty());
  const auto read = list.readWindowInfo(WindowListOptions::all);
  ASSERT_FALSE(read.isKnown()) << "which is not that there are none";
  EXPECT_FALSE(read.limitation().reason.empty());
}

TEST_F(MacWindowListTest, WhatIsOfAnotherTypeIsAbsent) {
  mac->system.furtherWindows = {
      fakes::stringObject("no dictionary"),
      fakes::dictionaryObject({{key(kCGWindowOwnerPID), fakes::realObject(41)},
                               {key(kCGWindowOwnerName), fakes::integerObject(1)},
                               {key(kCGWindowName), Held::take(new __CFString(u"half \xD83D"))},
                               {key(kCGWindowLayer), fakes::stringObject("0")},
                               {key(kCGWindowAlpha), fakes::booleanObject(true)},
                               {key(kCGWindowBounds), fakes::arrayObject({})},
                               {key(kCGWindowNumber), fakes::stringObject("7")}}),
      fakes::dictionaryObject(
          {{key(kCGWindowOwnerPID), fakes::integerObject(std::numeric_limits<std::int64_t>::max())},
           {key(kCGWindowBounds), fakes::dictionaryObject({{key(CFSTR("X")), fakes::realObject(1)},
                                                           {key(CFSTR("Y")), fakes::realObject(1)},
                                                           {key(CFSTR("Width")), fakes::realObject(1)},
                                                           {key(CFSTR("Height")), fakes::stringObject("1")}})}})};
  EXPECT_EQ(list.copyWindowInfo(WindowListOptions::all), (std::vector<WindowListEntry>{{}, {}}));
}

// ---- Synthetic events

class MacSyntheticEventsTest : public MacTest {
 protected:
  void TearDown() override {
    own.reset();  // It holds its source as long as it lives.
    MacTest::TearDown();
  }
  std::optional<macos::MacSyntheticEvents> own{std::in_place};
  macos::MacSyntheticEvents& events = *own;
};

TEST_F(MacSyntheticEventsTest, SaysWhenAnEventCannotBeMade) {
  mac->events.failCreation(0);
  EXPECT_FALSE(events.createMouseEvent(platform::MouseEventType::moved, {}));
  EXPECT_TRUE(events.createKeyboardEvent(platform::KeyCode::space, true));
}

TEST_F(MacSyntheticEventsTest, MakesNoneWithoutASourceOfTheHardware) {
  mac->system.hasEventSource = false;
  macos::MacSyntheticEvents without;
  EXPECT_FALSE(without.createMouseEvent(platform::MouseEventType::moved, {}));
  EXPECT_FALSE(without.createKeyboardEvent(platform::KeyCode::escape, true));
  EXPECT_EQ(mac->events.creations(), 0U);
}

TEST_F(MacSyntheticEventsTest, EachEventIsWhatItWasMadeAsAndMayBePostedAgain) {
  using platform::MouseEventType;
  for (const auto type : {MouseEventType::moved, MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
    const auto event = events.createMouseEvent(type, {10.5, 20});
    EXPECT_TRUE(events.postToProcess(41, *event));
    EXPECT_EQ(mac->events.posted().back().mouse, type);
    EXPECT_EQ(mac->events.posted().back().position, (Point{10.5, 20}));
    EXPECT_EQ(mac->events.posted().back().processIdentifier, 41);
    events.postToDesktop(*event, std::nullopt);
    EXPECT_EQ(mac->events.posted().back().processIdentifier, std::nullopt);
  }
  using platform::KeyCode;
  for (const auto code : {KeyCode::returnKey, KeyCode::space, KeyCode::escape}) {
    for (const bool isDown : {true, false}) {
      events.postToProcess(41, *events.createKeyboardEvent(code, isDown));
      EXPECT_EQ(mac->events.posted().back().key, code);
      EXPECT_EQ(mac->events.posted().back().isDown, isDown);
    }
  }
}

TEST_F(MacSyntheticEventsTest, AnEventOfAnotherBindingIsNotPosted) {
  const auto foreign = mac->events.createMouseEvent(platform::MouseEventType::moved, {});
  EXPECT_FALSE(events.postToProcess(41, *foreign));
  events.postToDesktop(*foreign, std::nullopt);
  EXPECT_TRUE(mac->events.posted().empty());
}

// ---- Preferences

class MacUserDefaultsTest : public MacTest {
 protected:
  macos::MacUserDefaults defaults;
};

TEST_F(MacUserDefaultsTest, GivesBackWhatWasSet) {
  const std::vector<UserDefaultsValue> values{
      true,
      false,
      0.25,
      std::string("Käfer 😀"),
      std::string(),
      std::vector<std::string>{"one", "", "two"},
      std::vector<std::string>{},
      Date{std::chrono::microseconds{1772368496123457}},
      Date{std::chrono::microseconds{-1}},
      std::vector<std::uint8_t>{0, 255, 1},
      std::vector<std::uint8_t>{},
  };
  for (const auto& value : values) {
    defaults.set("quillard.sample", value);
    EXPECT_EQ(defaults.object("quillard.sample"), value) << value.index();
  }
  EXPECT_EQ(mac->system.preferenceWrites, static_cast<int>(values.size()));
}

TEST_F(MacUserDefaultsTest, WhatIsNotStoredOrWasRemovedIsAbsent) {
  EXPECT_EQ(defaults.object("quillard.sample"), std::nullopt);
  defaults.remove("quillard.sample");
  defaults.set("quillard.sample", true);
  defaults.remove("quillard.sample");
  EXPECT_EQ(defaults.object("quillard.sample"), std::nullopt);
}

TEST_F(MacUserDefaultsTest, EveryMicrosecondOfAMomentIsKept) {
  for (std::int64_t i = 0; i < 1000; ++i) {
    const Date date{std::chrono::microseconds{1772368496000000 + i * 7919}};
    defaults.set("quillard.sample", date);
    ASSERT_EQ(defaults.object("quillard.sample"), UserDefaultsValue(date));
  }
}

TEST_F(MacUserDefaultsTest, WhatCannotBeKeptChangesNothing) {
  defaults.set("quillard.sample", std::string("before"));
  defaults.set("quillard.sample", std::monostate{});
  defaults.set("quillard.sample", std::string("\xFF"));
  defaults.set("quillard.sample", std::vector<std::string>{"fine", "\xFF"});
  EXPECT_EQ(defaults.object("quillard.sample"), UserDefaultsValue(std::string("before")));
  defaults.set("\xFF", true);
  EXPECT_EQ(defaults.object("\xFF"), std::nullopt);
}

TEST_F(MacUserDefaultsTest, ForeignAndMixedValuesAreForeign) {
  mac->system.preferences["dictionary"] = fakes::dictionaryObject({});
  mac->system.preferences["mixed"] = fakes::arrayObject({fakes::stringObject("one"), fakes::integerObject(2)});
  mac->system.preferences["integer"] = fakes::integerObject(3);
  mac->system.preferences["endless"] = Held::take(CFDateCreate(nullptr, std::numeric_limits<double>::infinity()));
  EXPECT_EQ(defaults.object("dictionary"), UserDefaultsValue(std::monostate{}));
  EXPECT_EQ(defaults.object("mixed"), UserDefaultsValue(std::monostate{}));
  EXPECT_EQ(defaults.object("integer"), UserDefaultsValue(3.0));
  EXPECT_EQ(defaults.object("endless"), UserDefaultsValue(Date::max()));
}

// ---- Property lists

class PropertyListTest : public MacTest {
 protected:
  std::string read(const std::string& text) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto outcome = macos::readPropertyList(std::span(bytes, text.size()));
    if (const auto* error = std::get_if<platform::ResourceError>(&outcome)) return "error: " + error->description;
    std::string all;
    for (const auto& [key, value] : std::get<platform::PropertyListTexts>(outcome)) all += key + "=" + value + ";";
    return all;
  }
};

TEST_F(PropertyListTest, GivesTheTextsOfTheRootAndNothingElse) {
  EXPECT_EQ(
      read("<plist version=\"1.0\"><dict><key>relayURL</key><string>wss://relay</string><key>number</key>"
           "<integer>1</integer><key>pairingID</key><string>team-1</string><key>inner</key><dict/></dict></plist>"),
      "pairingID=team-1;relayURL=wss://relay;");
  EXPECT_EQ(read("<plist version=\"1.0\"><dict/></plist>"), "");
}

TEST_F(PropertyListTest, SaysWhatIsWrong) {
  EXPECT_EQ(read(""), "error: The property list is empty.");
  EXPECT_EQ(read("nothing of the kind"), "error: The words of the system.");
  EXPECT_EQ(read("<plist version=\"1.0\"><array/></plist>"), "error: The property list is no dictionary.");
  EXPECT_EQ(read(std::string(256 * 1024 + 1, ' ')), "error: The property list is too large.");
  std::string deep;
  for (int i = 0; i < 300; ++i) deep += "<array>";
  EXPECT_EQ(read("<plist>" + deep), "error: The property list is nested too deeply, or unfolds to too much.");
  EXPECT_EQ(read("bplist00"), "error: The property list is malformed.");
}

// ---- The bundle

class MacBundleTest : public MacTest {
 protected:
  macos::MacBundle bundle;
};

TEST_F(MacBundleTest, TellsWhereItIsAndWhatItSaysOfItself) {
  mac->system.bundle.identifier = fakes::stringObject("com.quillard.agent");
  mac->system.bundle.information = {{"SUFeedURL", fakes::stringObject("https://example.com/feed")},
                                    {"LSUIElement", fakes::booleanObject(true)}};
  EXPECT_EQ(bundle.path(), "/Applications/Quillard.app");
  EXPECT_EQ(bundle.resolvedPath(), "/Applications/Quillard.app");  // Not there: it cannot be resolved.
  EXPECT_EQ(bundle.identifier(), "com.quillard.agent");
  EXPECT_EQ(bundle.informationText("SUFeedURL"), "https://example.com/feed");
  EXPECT_EQ(bundle.informationText("LSUIElement"), std::nullopt);
  EXPECT_EQ(bundle.informationText("SUPublicEDKey"), std::nullopt);
}

TEST_F(MacBundleTest, FollowsSymbolicLinksOnRequest) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path() + "/Real.app");
  std::filesystem::create_directory_symlink(folder.path() + "/Real.app", folder.path() + "/Link.app");
  mac->system.bundle.path = folder.path() + "/Link.app";
  EXPECT_EQ(bundle.path(), folder.path() + "/Link.app");
  EXPECT_EQ(bundle.resolvedPath(), std::filesystem::canonical(folder.path() + "/Real.app").string());
}

TEST_F(MacBundleTest, AProcessOutsideABundleHasNoIdentifier) {
  EXPECT_EQ(bundle.identifier(), std::nullopt);
  mac->system.bundle.isThere = false;
  EXPECT_EQ(bundle.path(), "");
  EXPECT_EQ(bundle.identifier(), std::nullopt);
  EXPECT_EQ(bundle.informationText("SUFeedURL"), std::nullopt);
  EXPECT_FALSE(bundle.propertyList("RelayConfig"));
}

TEST_F(MacBundleTest, ReadsThePropertyListsThatCameWithIt) {
  const TemporaryFolder folder;
  std::ofstream(folder.path() + "/RelayConfig.plist")
      << "<plist version=\"1.0\"><dict><key>relayURL</key><string>wss://relay</string></dict></plist>";
  std::ofstream(folder.path() + "/Broken.plist") << "<plist version=\"1.0\"><array/></plist>";
  std::ofstream(folder.path() + "/Large.plist") << std::string(macos::MacBundle::kLargestResource + 1, 'x');
  mac->system.bundle.resources = {{"RelayConfig.plist", folder.path() + "/RelayConfig.plist"},
                                  {"Broken.plist", folder.path() + "/Broken.plist"},
                                  {"Large.plist", folder.path() + "/Large.plist"},
                                  {"Gone.plist", folder.path() + "/Gone.plist"}};
  const auto content = bundle.propertyList("RelayConfig");
  ASSERT_TRUE(content);
  EXPECT_EQ(std::get<0>(*content), (platform::PropertyListTexts{{"relayURL", "wss://relay"}}));
  EXPECT_FALSE(bundle.propertyList("Other"));
  EXPECT_EQ(std::get<1>(*bundle.propertyList("Broken")).description, "The property list is no dictionary.");
  EXPECT_EQ(std::get<1>(*bundle.propertyList("Large")).description, "The file is too large.");
  EXPECT_FALSE(std::get<1>(*bundle.propertyList("Gone")).description.empty());
}

TEST_F(MacBundleTest, ApplicationsLieInTwoFolders) {
  const auto folders = bundle.applicationDirectories();
  ASSERT_EQ(folders.size(), 2U);
  EXPECT_EQ(folders[0], "/Applications");
  EXPECT_TRUE(folders[1].starts_with('/') && folders[1].ends_with("/Applications") && folders[1] != folders[0]);
}

// ---- The generator

class MacRandomTest : public MacTest {};

TEST_F(MacRandomTest, FillsEveryByteOrNone) {
  macos::MacRandom random;
  std::vector<std::uint8_t> bytes(5);
  EXPECT_TRUE(random.fillSecurely(bytes));
  EXPECT_EQ(bytes, std::vector<std::uint8_t>(5, 7));  // As the fake fills them.
  mac->system.isGeneratorBroken = true;
  EXPECT_FALSE(random.fillSecurely(bytes));
  EXPECT_EQ(bytes, std::vector<std::uint8_t>(5, 0));
  EXPECT_TRUE(random.fillSecurely({}));
}

TEST_F(MacRandomTest, HasIdentitiesOfItsOwnEvenWhenTheGeneratorFails) {
  mac->system.isGeneratorBroken = true;
  macos::MacRandom random;
  EXPECT_NE(random.identityBytes(), random.identityBytes());
}

}  // namespace
}  // namespace quillard::test
