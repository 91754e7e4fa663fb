#include <algorithm>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "detection/PromptReader.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::simulated::ElementSpec;
using platform::simulated::NodeHandle;
using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;
namespace ax = platform::ax;

using Lines = std::vector<std::string>;

class PromptReaderTest : public testing::Test {
 protected:
  platform::simulated::SimulatedDesktop& desktop() { return world.desktop(); }

  PromptReading read(NodeHandle window, int limit = 80) {
    const auto scope = world.accessibility().beginReadScope();
    return PromptReader::readPrompt(*scope, {desktop().element(window), "App", "com.example.app", 1}, limit);
  }

  NodeHandle window(std::vector<ElementSpec> children) {
    return desktop().addWindow(
        application,
        {.role = "AXWindow", .title = "Window", .frame = Rect{0, 0, 400, 300}, .children = std::move(children)});
  }

  static ElementSpec text(std::string value, std::optional<Rect> frame = std::nullopt) {
    return {.role = "AXStaticText", .value = value, .frame = frame};
  }
  static ElementSpec button(std::string title) {
    return {.role = "AXButton", .title = title, .frame = Rect{0, 250, 80, 24}};
  }

  SimulatedWorld world{Seed{1}};
  platform::simulated::ApplicationHandle application = world.desktop().launch({.name = "App"});
};

// ---- Which element holds the prompt

TEST_F(PromptReaderTest, TheContentIsTheWindowWhenItIsADialogItself) {
  const auto dialog = desktop().open({.title = "Dialog", .buttons = {"OK"}, .extra = {{.role = "AXSheet"}}});
  EXPECT_EQ(read(dialog).content, desktop().element(dialog));
}

TEST_F(PromptReaderTest, TheContentIsTheFirstDialogInsideAnOrdinaryWindow) {
  const auto outer = window({});
  desktop().addChild(outer, {.role = "AXGroup", .modal = true, .children = {button("First")}});
  const auto group = desktop().addChild(outer, {.role = "AXGroup"});
  const auto inner = desktop().addChild(
      group, {.role = "AXSheet", .title = "Inner", .frame = Rect{5, 5, 100, 50}, .children = {button("Last")}});
  const auto reading = read(outer);
  EXPECT_EQ(reading.content, desktop().element(inner)) << "the walk takes the last child first";
  EXPECT_EQ(reading.evidence.role, "AXSheet");
  EXPECT_EQ(reading.evidence.title, "Inner");
  EXPECT_TRUE(reading.evidence.isModal);
  EXPECT_EQ(reading.frame, (DialogFrame{5, 5, 100, 50}));
  EXPECT_EQ(reading.evidence.buttonLabels, Lines{"Last"});
}

TEST_F(PromptReaderTest, TheContentIsLookedForAmongFortyDescendants) {
  for (const int position : {40, 41}) {
    const auto outer = window({});
    const auto inner = desktop().addChild(outer, {.role = "AXSheet"});
    for (int i = 1; i < position; ++i) desktop().addChild(outer, {.role = "AXGroup"});
    EXPECT_EQ(read(outer).content, desktop().element(position == 40 ? inner : outer)) << position;
  }
}

TEST_F(PromptReaderTest, TitleAndFrameFallBackToTheWindows) {
  const auto outer = window({{.role = "AXSheet"}});
  EXPECT_EQ(read(outer).evidence.title, "Window");
  EXPECT_EQ(read(outer).frame, (DialogFrame{0, 0, 400, 300}));
  const auto titled = window({{.role = "AXSheet", .title = ""}});
  EXPECT_EQ(read(titled).evidence.title, "") << "an empty title is a title";
  const auto bare = desktop().addWindow(application, {.role = "AXWindow"});
  EXPECT_EQ(read(bare).evidence.title, "");
  EXPECT_EQ(read(bare).frame, DialogFrame{});
}

TEST_F(PromptReaderTest, ADialogContainerIsASheetADialogOrModal) {
  const auto isContainer = [&](const ElementSpec& spec) {
    const auto node = desktop().addWindow(application, spec);
    return PromptReader::isDialogContainer(world.accessibility(), desktop().element(node));
  };
  EXPECT_TRUE(isContainer({.role = "AXSheet"}));
  EXPECT_TRUE(isContainer({.role = "AXWindow", .subrole = "AXDialog"}));
  EXPECT_TRUE(isContainer({.role = "AXWindow", .modal = true}));
  EXPECT_FALSE(isContainer({.role = "AXWindow", .subrole = "AXSystemDialog", .modal = false}));
  EXPECT_FALSE(isContainer({.role = "AXWindow", .attributes = {{"AXModal", std::int64_t{1}}}}));
}

// ---- Buttons

TEST_F(PromptReaderTest, ButtonsAreInTheWalksOrderWithLabelAndPlace) {
  const auto reading = read(window({button("Cancel"), button("Allow")}));
  EXPECT_EQ(reading.evidence.buttonLabels, (Lines{"Allow", "Cancel"}));
  EXPECT_EQ(reading.buttons.front(), (DialogButton{"Allow", "AXButton", 0, 250, 80, 24}));
}

TEST_F(PromptReaderTest, AButtonWithoutTitleIsCalledByItsDescription) {
  EXPECT_EQ(read(window({{.role = "AXButton", .title = "", .description = "Allow", .frame = Rect{0, 0, 9, 9}}}))
                .evidence.buttonLabels,
            Lines{"Allow"});
  EXPECT_EQ(
      read(window({{.role = "AXButton", .description = "Deny", .frame = Rect{0, 0, 9, 9}}})).evidence.buttonLabels,
      Lines{"Deny"});
}

TEST_F(PromptReaderTest, ButtonsWithoutLabelOrExtentAreIgnored) {
  EXPECT_EQ(read(window({{.role = "AXButton", .frame = Rect{0, 0, 9, 9}},
                         {.role = "AXButton", .title = "Flat", .frame = Rect{0, 0, 9, 0}},
                         {.role = "AXButton", .title = "Thin", .frame = Rect{0, 0, 0, 9}},
                         {.role = "AXButton", .title = "Inside out", .frame = Rect{0, 0, -9, 9}},
                         {.role = "AXButton", .title = "Nowhere"},
                         {.role = "AXLink", .title = "No button", .frame = Rect{0, 0, 9, 9}}}))
                .evidence.buttonLabels,
            Lines{});
}

TEST_F(PromptReaderTest, WalksAsFarAsTheLimitSays) {
  std::vector<ElementSpec> children{button("Beyond")};
  for (int i = 0; i < 79; ++i) children.push_back({.role = "AXGroup"});
  children.insert(children.begin() + 1, button("Within"));
  EXPECT_EQ(read(window(children), 80).evidence.buttonLabels, Lines{"Within"});
  EXPECT_EQ(read(window(children), 120).evidence.buttonLabels, (Lines{"Within", "Beyond"}));
}

// ---- Text lines

TEST_F(PromptReaderTest, TextIsTheValueElseTitleElseDescription) {
  EXPECT_EQ(read(window({{.role = "AXStaticText", .title = "T", .description = "D", .value = std::string(" V \n")}}))
                .evidence.messageLines,
            Lines{"V"});
  EXPECT_EQ(read(window({{.role = "AXStaticText", .title = "T", .description = "D", .value = std::string("\t ")}}))
                .evidence.messageLines,
            Lines{"T"});
  EXPECT_EQ(read(window({{.role = "AXTextField", .description = "D", .value = std::int64_t{5}}})).evidence.messageLines,
            Lines{"D"});
  EXPECT_EQ(read(window({{.role = "AXStaticText"}, {.role = "AXTextArea", .value = std::string("no")}}))
                .evidence.messageLines,
            Lines{});
}

TEST_F(PromptReaderTest, LinesStandAsShownInReadingOrder) {
  EXPECT_EQ(read(window({text("Third  line", Rect{10, 60, 9, 9}), text("Second", Rect{200, 20, 9, 9}),
                         text("FIRST", Rect{10, 20, 9, 9}), text("Last", Rect{0, 60.5, 9, 9})}))
                .evidence.messageLines,
            (Lines{"FIRST", "Second", "Third  line", "Last"}));
}

TEST_F(PromptReaderTest, LinesWithoutAPlaceFollowTheirNeighboursInTheWalk) {
  // The walk meets them from the last to the first.
  EXPECT_EQ(read(window({text("after top 2"), text("after top 1"), text("top", Rect{0, 10, 9, 9}), text("after bottom"),
                         text("bottom", Rect{0, 90, 9, 9}), text("before all")}))
                .evidence.messageLines,
            (Lines{"before all", "top", "after top 1", "after top 2", "bottom", "after bottom"}));
}

TEST_F(PromptReaderTest, LinesThatRepeatALineOrAButtonAreLeftOut) {
  EXPECT_EQ(
      read(window({button("Don’t Allow"), text("DON’T  ALLOW", Rect{0, 0, 9, 9}), text("Hello", Rect{0, 10, 9, 9}),
                   text(" hello ", Rect{0, 20, 9, 9}), text("Bye", Rect{0, 30, 9, 9})}))
          .evidence.messageLines,
      (Lines{"Hello", "Bye"}));
}

TEST_F(PromptReaderTest, ASecretIsNeverReadButKnownToBeAskedFor) {
  const auto secretField = [](std::optional<std::string> description) {
    return ElementSpec{.role = "AXTextField",
                       .subrole = "AXSecureTextField",
                       .description = std::move(description),
                       .value = std::string("hunter2")};
  };
  auto reading = read(window({secretField(std::nullopt)}));
  EXPECT_TRUE(reading.hasSecureTextField);
  EXPECT_EQ(reading.evidence.messageLines, Lines{"Password"});
  reading = read(window({secretField("Kennwort")}));
  EXPECT_TRUE(reading.hasSecureTextField);
  EXPECT_EQ(reading.evidence.messageLines, Lines{"Kennwort"});
  EXPECT_FALSE(read(window({text("hunter2")})).hasSecureTextField);
}

// A reader that gives away what no binding should.
class Indiscreet final : public platform::AXAttributeReader {
 public:
  explicit Indiscreet(platform::AXAttributeReader& reader) : reader(reader) {}
  platform::AXResult<platform::AXValue> copyAttributeValue(const platform::AXUIElement& element,
                                                           platform::AXAttribute name) override {
    if (name == ax::kValue) return platform::AXValue{std::string("hunter2")};
    return reader.copyAttributeValue(element, name);
  }
  platform::AXResult<std::vector<std::string>> copyActionNames(const platform::AXUIElement& element) override {
    return reader.copyActionNames(element);
  }

 private:
  platform::AXAttributeReader& reader;
};

TEST_F(PromptReaderTest, ASecretIsNotAskedForEvenWhereItWouldBeGiven) {
  const auto node = window({{.role = "AXTextField", .subrole = "AXSecureTextField", .description = "Code"}});
  Indiscreet reader{world.accessibility()};
  const auto reading = PromptReader::readPrompt(reader, {desktop().element(node), "App", std::nullopt, 1}, 80);
  EXPECT_EQ(reading.evidence.messageLines, Lines{"Code"});
}

// ---- The rest of the evidence

TEST_F(PromptReaderTest, NavigationIsSeenAmongTheDescendants) {
  for (const auto* role : {"AXToolbar", "AXOutline", "AXTabGroup", "AXSidebar"}) {
    EXPECT_TRUE(read(window({{.role = "AXGroup", .children = {{.role = role}}}})).evidence.hasNavigationChrome) << role;
  }
  EXPECT_FALSE(read(window({{.role = "AXTable"}})).evidence.hasNavigationChrome);
}

TEST_F(PromptReaderTest, TheOwnerIsPassedOn) {
  const auto node = window({});
  const auto scope = world.accessibility().beginReadScope();
  const auto reading =
      PromptReader::readPrompt(*scope, {desktop().element(node), "SecurityAgent", std::nullopt, 1}, 80);
  EXPECT_TRUE(reading.evidence.isKnownPromptService);
  EXPECT_EQ(reading.evidence.bundleIdentifier, std::nullopt);
  EXPECT_EQ(read(node).evidence.bundleIdentifier, "com.example.app");
  EXPECT_FALSE(read(node).evidence.isKnownPromptService);
}

TEST_F(PromptReaderTest, EachElementCostsOneRoundTripWithinAScope) {
  const auto node = window({text("One", Rect{0, 0, 9, 9}), button("Cancel"), button("Allow")});
  desktop().resetRoundTrips();
  (void)read(node);
  EXPECT_EQ(desktop().roundTrips(), 4U);
}

RC_GTEST_PROP(ReadingOrder, KeepsEveryDistinctLineAndSortsThoseWithAPlace, ()) {
  SimulatedWorld world{Seed{1}};
  auto& desktop = world.desktop();
  const auto window = desktop.addWindow(desktop.launch(), {.role = "AXWindow"});
  std::map<std::string, Rect> places;
  const int count = *rc::gen::inRange(0, 12);
  for (int i = 0; i < count; ++i) {
    const std::string line = "line " + std::to_string(i);
    ElementSpec spec{.role = "AXStaticText", .value = line};
    if (*rc::gen::arbitrary<bool>()) {
      places[line] = Rect{*rc::gen::inRange(0, 4) * 10.0, *rc::gen::inRange(0, 4) * 10.0, 5, 5};
      spec.frame = places[line];
    }
    desktop.addChild(window, spec);
  }
  const auto reading =
      PromptReader::readPrompt(world.accessibility(), {desktop.element(window), "App", std::nullopt, 1}, 80);
  const auto& lines = reading.evidence.messageLines;
  RC_ASSERT(std::set<std::string>(lines.begin(), lines.end()).size() == static_cast<std::size_t>(count));
  std::optional<Rect> previous;
  for (const auto& line : lines) {
    if (!places.contains(line)) continue;
    const Rect place = places[line];
    if (previous) RC_ASSERT(std::pair(previous->y, previous->x) <= std::pair(place.y, place.x));
    previous = place;
  }
}

// ---- What cannot be read

TEST_F(PromptReaderTest, ATextThatCannotBeReadIsLeftOutAsAWholeAndNoted) {
  const std::vector<platform::AXValue> unreadable{std::string("Password\xFF"), std::string(70'000, 'x'),
                                                  platform::AXUnreadableText{}};
  const std::vector<std::pair<std::string, std::string_view>> places{
      {"AXStaticText", ax::kValue},  {"AXTextField", ax::kValue},   {"AXStaticText", ax::kTitle},
      {"AXStaticText", ax::kRole},   {"AXTextField", ax::kSubrole}, {"AXButton", ax::kTitle},
      {"AXButton", ax::kDescription}};
  for (const auto& value : unreadable) {
    for (const auto& [role, attribute] : places) {
      const auto dialog = window({text("Shown."), button("OK")});
      const auto odd = desktop().addChild(dialog, {.role = role, .frame = Rect{0, 0, 80, 24}});
      desktop().setAttribute(odd, attribute, value);
      const auto reading = read(dialog);
      EXPECT_TRUE(reading.hasUnreadableText) << role << " " << attribute;
      EXPECT_EQ(reading.evidence.messageLines, Lines{"Shown."}) << role << " " << attribute;
      EXPECT_EQ(reading.evidence.buttonLabels, Lines{"OK"}) << role << " " << attribute;
    }
    const auto titled = window({text("Shown."), button("OK")});
    desktop().setAttribute(titled, ax::kTitle, value);
    EXPECT_TRUE(read(titled).hasUnreadableText);
    EXPECT_EQ(read(titled).evidence.title, "");
  }
}

TEST_F(PromptReaderTest, WhatIsReadInsteadDoesNotHideThatATextCouldNotBeRead) {
  const auto dialog = window({button("OK")});
  const auto odd = desktop().addChild(dialog, {.role = "AXStaticText", .title = "Harmless"});
  desktop().setAttributeError(odd, ax::kValue, platform::AXError::failure);
  EXPECT_TRUE(read(dialog).hasUnreadableText);
  EXPECT_EQ(read(dialog).evidence.messageLines, Lines{"Harmless"});
}

TEST_F(PromptReaderTest, AnOrdinaryPromptHasNoUnreadableText) {
  const auto dialog = window({text("Shown."), button("OK"), {.role = "AXGroup", .children = {text("Inside.")}}});
  const auto reading = read(dialog);
  EXPECT_FALSE(reading.hasUnreadableText);
  EXPECT_FALSE(reading.isCutOff);
  auto copy = reading;
  const auto scope = world.accessibility().beginReadScope();
  PromptReader::readBeyond(*scope, copy, 80);
  EXPECT_TRUE(copy.texts.beyond.empty());
}

TEST_F(PromptReaderTest, ReadsBoxesAndMenusInReadingOrderWhereItIsAskedTo) {
  double y = 0;
  const auto box = [&](const std::string& title, std::int64_t value) {
    return ElementSpec{
        .role = "AXCheckBox", .title = title, .value = platform::AXValue{value}, .frame = Rect{9, y += 30, 80, 20}};
  };
  const auto always = box("Always", 1);
  auto described = box("", 0);
  described.attributes[std::string(platform::ax::kDescription)] = platform::AXValue{std::string("Described")};
  const auto dialog = window({text("Shown."),
                              always,
                              described,
                              box("In part", 2),
                              {.role = "AXCheckBox", .frame = Rect{9, 200, 80, 20}},
                              {.role = "AXComboBox",
                               .title = " For how long? ",
                               .value = platform::AXValue{std::string("A day")},
                               .frame = Rect{9, 230, 80, 20}},
                              button("OK")});
  auto reading = read(dialog);
  EXPECT_EQ(reading.options.size(), 5U);
  EXPECT_TRUE(reading.texts.options.empty());
  const auto scope = world.accessibility().beginReadScope();
  PromptReader::readOptions(*scope, reading);
  const std::vector<PromptOption> expected{{PromptText::asItStands("Always"), BoxState::on},
                                           {PromptText::asItStands("Described"), BoxState::off},
                                           {PromptText::asItStands("In part"), BoxState::mixed},
                                           {PromptText::asItStands(""), std::nullopt},
                                           {PromptText::asItStands("For how long?"), std::nullopt, true, "A day"}};
  EXPECT_EQ(reading.texts.options, expected);
  EXPECT_EQ(reading.evidence.messageLines, Lines{"Shown."});
}

TEST_F(PromptReaderTest, NotesThatTheTitleOfABoxCouldNotBeRead) {
  auto reading = read(window({text("Shown."), {.role = "AXCheckBox", .title = "Broken\xFF"}, button("OK")}));
  EXPECT_FALSE(reading.hasUnreadableText);
  const auto scope = world.accessibility().beginReadScope();
  PromptReader::readOptions(*scope, reading);
  EXPECT_TRUE(reading.hasUnreadableText);
}

TEST_F(PromptReaderTest, NotesThatTheStateOfABoxCouldNotBeRead) {
  const auto dialog = window({text("Shown."), button("OK")});
  const auto box = desktop().addChild(dialog, {.role = "AXCheckBox", .title = "Always"});
  desktop().setAttributeError(box, ax::kValue, platform::AXError::cannotComplete);
  auto reading = read(dialog);
  EXPECT_FALSE(reading.hasUnreadableText);
  const auto scope = world.accessibility().beginReadScope();
  PromptReader::readOptions(*scope, reading);
  EXPECT_TRUE(reading.hasUnreadableText);
}

TEST_F(PromptReaderTest, ReadsAllBoxes) {
  std::vector<ElementSpec> children(40, {.role = "AXRadioButton", .title = "One"});
  EXPECT_EQ(read(window(std::move(children))).options.size(), 40U);
}

TEST_F(PromptReaderTest, ElementsThatCannotBeListedMayHideAText) {
  const auto dialog = window({text("Shown."), button("OK")});
  const auto closed = desktop().addChild(dialog, {.role = "AXGroup", .children = {text("Hidden.")}});
  desktop().setAttributeError(closed, ax::kChildren, platform::AXError::failure);
  EXPECT_TRUE(read(dialog).hasUnreadableText);
}

// A prompt whose walk ends before `beyond`, which stands first and is met last.
struct LongPromptTest : PromptReaderTest {
  PromptReading readWith(const ElementSpec& beyond, int fillers) {
    std::vector<ElementSpec> children{beyond};
    for (int i = 0; i < fillers; ++i) children.push_back({.role = "AXGroup"});
    children.push_back(text("Shown."));
    children.push_back(button("OK"));
    const auto dialog = window(std::move(children));
    auto reading = read(dialog);
    const auto scope = world.accessibility().beginReadScope();
    PromptReader::readBeyond(*scope, reading, 80);
    lines.clear();
    for (const auto& line : reading.texts.beyond) lines.push_back(line.shown);
    return reading;
  }
  Lines lines;
};

TEST_F(LongPromptTest, IsReadFurtherForWhatTells) {
  EXPECT_TRUE(readWith(text("Enter your password."), 90).isCutOff);
  EXPECT_EQ(lines, Lines{"Enter your password."});
  const auto secret = readWith({.role = "AXTextField", .subrole = "AXSecureTextField"}, 90);
  EXPECT_TRUE(secret.hasSecureTextField);
  EXPECT_FALSE(secret.hasUnreadableText);
  EXPECT_TRUE(readWith(text("Broken\xFF"), 90).hasUnreadableText);
  EXPECT_EQ(secret.evidence.messageLines, Lines{"Shown."}) << "what is shown stays as it was";
}

TEST_F(LongPromptTest, IsReadFurtherForBoxesAndMenus) {
  for (const auto* const role : {"AXCheckBox", "AXRadioButton", "AXComboBox"}) {
    const auto reading = readWith({.role = role, .title = "Always"}, 90);
    EXPECT_EQ(reading.options.size(), 1U) << role;
    const auto& parts = reading.evidence.structure;
    EXPECT_EQ(parts.checkBoxes + parts.radioButtons + parts.comboBoxes, 1) << role;
  }
}

TEST_F(LongPromptTest, IsUnreadableBeyondEvenThat) {
  EXPECT_FALSE(readWith(text("Last."), 116).hasUnreadableText) << "119 elements";
  EXPECT_EQ(lines, Lines{"Last."});
  EXPECT_TRUE(readWith(text("Enter your password."), 117).hasUnreadableText) << "120: the last one may have children";
  EXPECT_TRUE(readWith(text("Enter your password."), 200).hasUnreadableText);
  EXPECT_TRUE(lines.empty());
}

}  // namespace
}  // namespace quillard
