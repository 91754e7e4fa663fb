#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/x11/WindowProperties.h"

namespace quillard::x11 {
namespace {

constexpr WindowID kRoot = 0x100;
constexpr WindowID kWindow = 0x200;

const Atoms& atoms() {
  static const Atoms atoms = [] {
    Atoms made;
    for (std::size_t i = 0; i < kAtomCount; ++i) made[static_cast<Atom>(i)] = static_cast<std::uint32_t>(1000 + i);
    return made;
  }();
  return atoms;
}

Property numbers(Atom type, std::initializer_list<std::uint32_t> values) {
  Property property{.type = atoms()[type], .format = 32};
  for (const std::uint32_t value : values) {
    property.bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
  }
  return property;
}

Property text(Atom type, std::string bytes) { return {.type = atoms()[type], .format = 8, .bytes = std::move(bytes)}; }

Property states(std::initializer_list<Atom> names) {
  Property property{.type = atoms()[Atom::atom], .format = 32};
  for (const Atom name : names) {
    const std::uint32_t value = atoms()[name];
    property.bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
  }
  return property;
}

Window read(RawWindow raw, std::optional<std::uint32_t> currentDesktop = 0) {
  raw.id = kWindow;
  return readWindow(raw, {.atoms = atoms(), .hostName = "here", .root = kRoot, .currentDesktop = currentDesktop});
}

TEST(WindowProperties, ReadsAnOrdinaryWindow) {
  const Window window = read({
      .processIdentifier = numbers(Atom::cardinal, {4711}),
      .clientMachine = text(Atom::string, "here"),
      .name = text(Atom::utf8String, "Grüße"),
      .legacyName = text(Atom::string, "Gruesse"),
      .classHint = text(Atom::string, std::string{"zenity\0Zenity\0", 14}),
      .type = states({Atom::typeDialog, Atom::typeNormal}),
      .state = states({Atom::netWMStateModal, Atom::netWMStateSkipTaskbar, Atom::netWMStateAbove}),
      .legacyState = numbers(Atom::wmState, {1, 0}),
      .desktop = numbers(Atom::cardinal, {2}),
      .transientFor = numbers(Atom::window, {0x300}),
      .frame = numbers(Atom::cardinal, {1, 2, 3, 4}),
      .gtkFrame = numbers(Atom::cardinal, {14, 14, 12, 17}),
      .opacity = numbers(Atom::cardinal, {0x7FFFFFFF}),
      .clientBounds = {10, 20, 300, 200},
      .isViewable = true,
  });
  EXPECT_EQ(window.id, kWindow);
  EXPECT_EQ(window.processIdentifier, 4711);
  EXPECT_EQ(window.name, "Grüße");
  EXPECT_EQ(window.className, "Zenity");
  EXPECT_EQ(window.type, WindowType::dialog);
  EXPECT_TRUE(window.isModal);
  EXPECT_TRUE(window.skipsTaskbar);
  EXPECT_TRUE(window.isAbove);
  EXPECT_FALSE(window.isBelow);
  EXPECT_FALSE(window.isHidden);
  EXPECT_TRUE(window.isMapped);
  EXPECT_EQ(window.desktop, 2U);
  EXPECT_EQ(window.transientFor, 0x300U);
  EXPECT_EQ(window.clientBounds, (Rect{10, 20, 300, 200}));
  EXPECT_EQ(window.frame, (Extents{.left = 1, .right = 2, .top = 3, .bottom = 4}));
  EXPECT_EQ(window.gtkFrame, (Extents{.left = 14, .right = 14, .top = 12, .bottom = 17}));
  EXPECT_NEAR(window.opacity, 0.5, 1e-6);
}

TEST(WindowProperties, AWindowThatSaysNothingIsAnOrdinaryOne) { EXPECT_EQ(read({}), (Window{.id = kWindow})); }

TEST(WindowProperties, TakesProcessNumbersOfThisMachineOnly) {
  const Property plausible = numbers(Atom::cardinal, {4711});
  EXPECT_EQ(read({.processIdentifier = plausible}).processIdentifier, 4711);
  EXPECT_EQ(read({.processIdentifier = plausible, .clientMachine = text(Atom::string, "here")}).processIdentifier,
            4711);
  const std::vector<RawWindow> rejected{
      {.processIdentifier = plausible, .clientMachine = text(Atom::string, "there")},
      {.processIdentifier = plausible, .clientMachine = numbers(Atom::cardinal, {1})},
      {.processIdentifier = numbers(Atom::cardinal, {0})},
      {.processIdentifier = numbers(Atom::cardinal, {0x80000000})},
      {.processIdentifier = numbers(Atom::window, {4711})},
      {.processIdentifier = text(Atom::string, "4711")},
      {.processIdentifier = {.type = atoms()[Atom::cardinal], .format = 16, .bytes = "ab"}},
      {.processIdentifier = {.type = atoms()[Atom::cardinal], .format = 32, .bytes = "abc"}},
  };
  for (const auto& raw : rejected) EXPECT_EQ(read(raw).processIdentifier, std::nullopt);
}

struct NameCase {
  const char* what;
  Property name;
  Property legacyName;
  std::string expected;
};

TEST(WindowProperties, NamesAreReadFromWhatIsText) {
  const Property legacy = text(Atom::string, "legacy");
  const std::vector<NameCase> cases{
      {"UTF-8 wins", text(Atom::utf8String, "modern"), legacy, "modern"},
      {"an empty name is a name", text(Atom::utf8String, ""), legacy, ""},
      {"no UTF-8", text(Atom::utf8String, "bad \xC3\x28"), legacy, "legacy"},
      {"cut short", {atoms()[Atom::utf8String], 8, "half", false}, legacy, "legacy"},
      {"too long", text(Atom::utf8String, std::string(kLongestText + 1, 'x')), legacy, "legacy"},
      {"as long as may be", text(Atom::utf8String, std::string(kLongestText, 'x')), legacy,
       std::string(kLongestText, 'x')},
      {"numbers", numbers(Atom::cardinal, {1, 2}), legacy, "legacy"},
      {"text of 32 bits", {atoms()[Atom::utf8String], 32, "abcd", true}, legacy, "legacy"},
      {"Latin-1",
       {},
       text(Atom::string,
            "Stra\xDF"
            "e"),
       "Straße"},
      {"up to the zero byte", text(Atom::utf8String, std::string{"a\0b", 3}), legacy, "a"},
      {"neither", {}, {}, ""},
      {"a type of its own", {4321, 8, "compound", true}, {4321, 8, "compound", true}, ""},
  };
  for (const auto& entry : cases) {
    EXPECT_EQ(read({.name = entry.name, .legacyName = entry.legacyName}).name, entry.expected) << entry.what;
  }
}

TEST(WindowProperties, TheClassIsTheSecondOfTwoTexts) {
  EXPECT_EQ(read({.classHint = text(Atom::string, std::string{"a\0B\0", 4})}).className, "B");
  EXPECT_EQ(read({.classHint = text(Atom::string, std::string{"a\0B", 3})}).className, "B");
  EXPECT_EQ(read({.classHint = text(Atom::string, "alone")}).className, "");
  EXPECT_EQ(read({.classHint = text(Atom::string, std::string{"\0", 1})}).className, "");
  EXPECT_EQ(read({.classHint = numbers(Atom::cardinal, {0})}).className, "");
}

TEST(WindowProperties, TheFirstKnownTypeCounts) {
  const auto unknown = numbers(Atom::atom, {1});
  EXPECT_EQ(read({.type = states({Atom::netWMName, Atom::typeDock, Atom::typeNormal})}).type, WindowType::dock);
  EXPECT_EQ(read({.type = states({Atom::typePopupMenu})}).type, WindowType::menu);
  EXPECT_EQ(read({.type = unknown}).type, WindowType::other);
  EXPECT_EQ(read({.type = numbers(Atom::cardinal, {7})}).type, WindowType::normal);
  EXPECT_EQ(read({.transientFor = numbers(Atom::window, {0x300})}).type, WindowType::dialog);
  EXPECT_EQ(read({.transientFor = numbers(Atom::window, {kRoot})}).type, WindowType::dialog);
}

TEST(WindowProperties, AWindowIsTransientForAnotherWindowOnly) {
  EXPECT_EQ(read({.transientFor = numbers(Atom::window, {kRoot})}).transientFor, std::nullopt);
  EXPECT_EQ(read({.transientFor = numbers(Atom::window, {kWindow})}).transientFor, std::nullopt);
  EXPECT_EQ(read({.transientFor = numbers(Atom::window, {0})}).transientFor, std::nullopt);
}

struct StateCase {
  const char* what;
  std::optional<std::uint32_t> legacyState;
  bool saysHidden;
  std::optional<std::uint32_t> desktop;
  bool isViewable;
  bool isHidden;
  bool isMapped;
};

TEST(WindowProperties, TellsMinimisedWindowsFromThoseOfOtherDesktops) {
  const std::vector<StateCase> cases{
      {"on the screen", 1, false, 0, true, false, true},
      {"minimised", 3, true, 0, false, true, false},
      {"minimised, where hidden is not stated", 3, false, 0, false, true, false},
      {"on another desktop", 3, false, 1, false, false, true},
      {"minimised on another desktop", 3, true, 1, false, true, false},
      {"withdrawn", 0, false, 0, true, false, false},
      {"window without an owner, on the screen", std::nullopt, false, std::nullopt, true, false, true},
      {"window without an owner, not mapped", std::nullopt, false, std::nullopt, false, false, false},
      {"a state that does not exist", 77, false, 0, true, false, true},
  };
  for (const auto& entry : cases) {
    RawWindow raw{.isViewable = entry.isViewable};
    if (entry.legacyState) raw.legacyState = numbers(Atom::wmState, {*entry.legacyState, 0});
    if (entry.saysHidden) raw.state = states({Atom::netWMStateHidden});
    if (entry.desktop) raw.desktop = numbers(Atom::cardinal, {*entry.desktop});
    const Window window = read(raw);
    EXPECT_EQ(window.isHidden, entry.isHidden) << entry.what;
    EXPECT_EQ(window.isMapped, entry.isMapped) << entry.what;
  }
}

TEST(WindowProperties, AWindowOfAllDesktopsIsOfNoneInParticular) {
  EXPECT_EQ(read({.desktop = numbers(Atom::cardinal, {0xFFFFFFFF})}).desktop, std::nullopt);
  EXPECT_EQ(read({.desktop = text(Atom::string, "0000")}).desktop, std::nullopt);
}

TEST(WindowProperties, FramesThatCannotBeAreNone) {
  EXPECT_EQ(read({.frame = numbers(Atom::cardinal, {1, 2, 3})}).frame, Extents{});
  EXPECT_EQ(read({.frame = numbers(Atom::cardinal, {1, 2, 3, 40000})}).frame, Extents{});
  EXPECT_EQ(read({.gtkFrame = numbers(Atom::cardinal, {1, 2, 3, 0xFFFFFFFF})}).gtkFrame, std::nullopt);
}

TEST(WindowProperties, OpacityGoesFromNothingToAll) {
  EXPECT_EQ(read({.opacity = numbers(Atom::cardinal, {0})}).opacity, 0);
  EXPECT_EQ(read({.opacity = numbers(Atom::cardinal, {0xFFFFFFFF})}).opacity, 1);
  EXPECT_EQ(read({.opacity = text(Atom::string, "none")}).opacity, 1);
}

TEST(WindowProperties, ListsAreReadUpToTheirLimit) {
  EXPECT_EQ(numbersOf(numbers(Atom::window, {1, 2, 3}), atoms()[Atom::window], 2), (std::vector<std::uint32_t>{1, 2}));
  EXPECT_TRUE(numbersOf(numbers(Atom::window, {1}), atoms()[Atom::cardinal], 2).empty());
  EXPECT_TRUE(numbersOf({}, 0, 2).empty());
}

}  // namespace
}  // namespace quillard::x11
