#include <gtest/gtest.h>

#include "platform/desktop/Accessibility.h"
#include "platform/linux/accessibility/Mapping.h"

namespace quillard::atspi {
namespace {

namespace ax = platform::ax;

constexpr double kNowhere = -2147483648.0;

NodeRecord record(Role role, const std::string& name = "", std::uint64_t states = bit(State::showing)) {
  return {.role = role, .states = states, .name = name};
}

TEST(Mapping, CallsAnObjectEnabledThatSaysSoInEitherWay) {
  EXPECT_TRUE(mapping::isEnabled(record(Role::pushButton, "OK", bit(State::enabled) | bit(State::sensitive))));
  EXPECT_TRUE(mapping::isEnabled(record(Role::pushButton, "OK", bit(State::enabled))));
  EXPECT_TRUE(mapping::isEnabled(record(Role::pushButton, "OK", bit(State::sensitive))));
  EXPECT_FALSE(mapping::isEnabled(record(Role::pushButton, "OK")));
}

TEST(Mapping, TellsATextToReadFromALabelAndFromAField) {
  EXPECT_TRUE(mapping::isDocument(record(Role::text)));
  EXPECT_FALSE(mapping::isDocument(record(Role::text, "", bit(State::editable))));
  EXPECT_FALSE(mapping::isDocument(record(Role::label)));
}

TEST(Mapping, TellsAlertsAndChoosersFromOtherWindows) {
  EXPECT_EQ(mapping::roleDescriptionOf(Role::alert), ax::kAlertDescription);
  for (const Role role : {Role::fileChooser, Role::colorChooser, Role::fontChooser}) {
    EXPECT_EQ(mapping::roleDescriptionOf(role), ax::kChooserDescription);
  }
  EXPECT_EQ(mapping::roleDescriptionOf(Role::dialog), "");
}

TEST(Mapping, GivesEachRoleItsAxRole) {
  const std::vector<std::pair<NodeRecord, std::string_view>> table{
      {record(Role::pushButton), "AXButton"},
      {record(Role::toggleButton), "AXCheckBox"},
      {record(Role::checkBox), "AXCheckBox"},
      {record(Role::radioButton), "AXRadioButton"},
      {record(Role::label), "AXStaticText"},
      {record(Role::staticText), "AXStaticText"},
      {record(Role::passwordText), "AXTextField"},
      {record(Role::text, "", bit(State::editable)), "AXTextField"},
      {record(Role::entry, "", bit(State::editable)), "AXTextField"},
      {record(Role::text), "AXStaticText"},
      {record(Role::toolBar), "AXToolbar"},
      {record(Role::tree), "AXOutline"},
      {record(Role::treeTable), "AXOutline"},
      {record(Role::pageTabList), "AXTabGroup"},
      {record(Role::icon), "AXImage"},
      {record(Role::image), "AXImage"},
      {record(Role::table), "AXTable"},
      {record(Role::list), "AXList"},
      {record(Role::listBox), "AXList"},
      {record(Role::slider), "AXSlider"},
      {record(Role::spinButton), "AXIncrementor"},
      {record(Role::calendar), "AXIncrementor"},
      {record(Role::progressBar), "AXProgressIndicator"},
      {record(Role::fileChooser), "AXBrowser"},
      {record(Role::colorChooser), "AXBrowser"},
      {record(Role::fontChooser), "AXBrowser"},
      {record(Role{39}), "AXGroup"},
      {record(Role{20}), "AXGroup"},
      {record(Role{0xffffffff}), "AXGroup"},
  };
  for (const auto& [node, role] : table) {
    EXPECT_EQ(mapping::roleOf(node, false), role) << static_cast<unsigned>(node.role);
  }
}

TEST(Mapping, AParagraphWithTextsInsideIsAGroup) {
  EXPECT_EQ(mapping::roleOf(record(Role::paragraph), false), ax::kStaticTextRole);
  EXPECT_EQ(mapping::roleOf(record(Role::paragraph), true), ax::kGroupRole);
  EXPECT_EQ(mapping::roleOf(record(Role::label), true), ax::kStaticTextRole);
}

TEST(Mapping, TellsToolkitsApart) {
  EXPECT_EQ(mapping::toolkitOf("gtk", "3.24.38"), Toolkit::gtk3);
  EXPECT_EQ(mapping::toolkitOf("GTK", "4.8.3"), Toolkit::gtk4);
  EXPECT_EQ(mapping::toolkitOf("gtk", ""), Toolkit::gtk3);
  EXPECT_EQ(mapping::toolkitOf("GTK", ""), Toolkit::gtk4);
  EXPECT_EQ(mapping::toolkitOf("Qt", "6.4.2"), Toolkit::qt);
  EXPECT_EQ(mapping::toolkitOf("Gecko", "100"), Toolkit::other);
  EXPECT_EQ(mapping::toolkitOf("", ""), Toolkit::other);
}

TEST(Mapping, Gtk4DoublesButtonNames) {
  const auto title = [](const char* name, const std::optional<std::string>& label = std::nullopt) {
    return mapping::buttonTitle(record(Role::pushButton, name), Toolkit::gtk4, label);
  };
  EXPECT_EQ(title("Don't Allow Don't Allow", "Don't Allow"), "Don't Allow");
  EXPECT_EQ(title("Don't Allow Don't Allow"), "Don't Allow");
  EXPECT_EQ(title("_OK OK"), "OK");
  EXPECT_EQ(title("_OK"), "OK");
  EXPECT_EQ(title("Close"), "Close");
  EXPECT_EQ(title("Allow Once"), "Allow Once");
  EXPECT_EQ(title("GtkButton"), "");
  EXPECT_EQ(title("GtkButton", "Allow"), "Allow");
}

TEST(Mapping, OtherToolkitsNameButtonsAsTheyAreShown) {
  for (const auto toolkit : {Toolkit::gtk3, Toolkit::qt, Toolkit::other}) {
    EXPECT_EQ(mapping::buttonTitle(record(Role::pushButton, "No No"), toolkit, std::nullopt), "No No");
    EXPECT_EQ(mapping::buttonTitle(record(Role::pushButton, "Open my_file"), toolkit, "x"), "Open my_file");
    EXPECT_EQ(mapping::nameOf(record(Role::entry, "GtkEntry"), toolkit), "GtkEntry");
  }
}

TEST(Mapping, ClassNamesOfGtk4AreNoNames) {
  for (const auto* name : {"GtkEntry", "GtkPasswordEntry", "AdwBin"}) {
    EXPECT_EQ(mapping::nameOf(record(Role::entry, name), Toolkit::gtk4), "") << name;
  }
  for (const auto* name : {"Gtk", "GtkEntry is the name", "Gtkentry", "Entry"}) {
    EXPECT_EQ(mapping::nameOf(record(Role::entry, name), Toolkit::gtk4), name);
  }
}

TEST(Mapping, TheTitleOfAWindowIsThatOfItsXWindow) {
  desktop::Window window{.name = "Permission"};
  EXPECT_EQ(mapping::windowTitle(record(Role::alert, "Question"), Toolkit::gtk3, &window), "Permission");
  EXPECT_EQ(mapping::windowTitle(record(Role::dialog, "Permission"), Toolkit::qt, nullptr), "Permission");
  window.name.clear();
  EXPECT_EQ(mapping::windowTitle(record(Role::dialog, "Permission"), Toolkit::qt, &window), "Permission");
}

TEST(Mapping, AMessageDialogWithoutATitleIsNotTitledByItsKind) {
  const desktop::Window window{};
  EXPECT_EQ(mapping::windowTitle(record(Role::alert, "Question"), Toolkit::gtk3, &window), "");
}

TEST(Mapping, ADialogIsOneByItsRoleItsXTypeItsModalityOrItsOwner) {
  EXPECT_TRUE(mapping::isDialogWindow(record(Role::dialog), nullptr));
  EXPECT_TRUE(mapping::isDialogWindow(record(Role::alert), nullptr));
  EXPECT_FALSE(mapping::isDialogWindow(record(Role{23}), nullptr));
  EXPECT_TRUE(mapping::isDialogWindow(record(Role{23}, "", bit(State::modal)), nullptr));
  const auto with = [](const desktop::Window& window) { return mapping::isDialogWindow(record(Role{23}), &window); };
  EXPECT_FALSE(with({}));
  EXPECT_TRUE(with({.type = desktop::WindowType::dialog}));
  EXPECT_TRUE(with({.isModal = true}));
  EXPECT_TRUE(with({.transientFor = 7}));
  EXPECT_FALSE(with({.type = desktop::WindowType::utility, .transientFor = 7}));
}

TEST(Mapping, AWindowThatWasClosedButIsKeptIsNotPresent) {
  const auto hidden = record(Role::dialog, "", 0);
  const desktop::Window window{};
  EXPECT_FALSE(mapping::isPresentWindow(hidden, Toolkit::qt, nullptr, true));
  EXPECT_FALSE(mapping::isPresentWindow(hidden, Toolkit::gtk3, nullptr, false));
  EXPECT_TRUE(mapping::isPresentWindow(hidden, Toolkit::qt, &window, true));
  EXPECT_TRUE(mapping::isPresentWindow(record(Role::dialog), Toolkit::qt, nullptr, false));
  EXPECT_FALSE(mapping::isPresentWindow(hidden, Toolkit::gtk4, nullptr, true));
  EXPECT_TRUE(mapping::isPresentWindow(hidden, Toolkit::gtk4, nullptr, false)) << "It never says that it is showing.";
  EXPECT_FALSE(mapping::isPresentWindow(record(Role::toolTip), Toolkit::qt, nullptr, false));
}

TEST(Mapping, WhatIsNotShowingIsHiddenWhereTheToolkitTells) {
  const auto hidden = record(Role::label, "x", 0);
  EXPECT_FALSE(mapping::isShown(hidden, Toolkit::gtk3, true));
  EXPECT_FALSE(mapping::isShown(hidden, Toolkit::qt, true));
  EXPECT_FALSE(mapping::isShown(hidden, Toolkit::other, true));
  EXPECT_TRUE(mapping::isShown(hidden, Toolkit::other, false)) << "Nothing in this window is told.";
  EXPECT_TRUE(mapping::isShown(hidden, Toolkit::gtk4, true));
  EXPECT_FALSE(mapping::isShown(record(Role::label, "x", bit(State::defunct)), Toolkit::gtk4, true));
}

TEST(Mapping, ContentWithoutAnExtentTakesNoRoomButASecretAlwaysCounts) {
  const auto with = [](Role role, std::optional<Rect> extents) {
    auto node = record(role);
    node.extents = extents;
    return mapping::takesNoRoom(node, Toolkit::gtk3);
  };
  EXPECT_TRUE(with(Role::label, Rect{0, 0, 0, 0}));
  EXPECT_TRUE(with(Role::label, Rect{5, 5, 10, 0}));
  EXPECT_TRUE(with(Role::label, Rect{kNowhere, kNowhere, 1, 1}));
  EXPECT_TRUE(with(Role::pushButton, Rect{5, 5, -1, 4}));
  EXPECT_FALSE(with(Role::label, Rect{5, 5, 10, 1}));
  EXPECT_FALSE(with(Role::label, std::nullopt)) << "Unknown is not empty.";
  EXPECT_FALSE(with(Role{39}, Rect{0, 0, 0, 0})) << "Containers may be empty around their content.";
  EXPECT_FALSE(with(Role::passwordText, Rect{0, 0, 0, 0}));
}

TEST(Mapping, TextsAreTheirNameAndElseTheirText) {
  auto node = record(Role::label, "Allow?");
  node.text = "other";
  EXPECT_EQ(mapping::textOf(node, Toolkit::gtk3), "Allow?");
  node.name = "";
  EXPECT_EQ(mapping::textOf(node, Toolkit::gtk3), "other");
  node.text = "";
  EXPECT_EQ(mapping::textOf(node, Toolkit::gtk3), std::nullopt);
  auto field = record(Role::entry, "Name of the field", bit(State::editable));
  field.text = "typed";
  EXPECT_EQ(mapping::textOf(field, Toolkit::gtk3), "typed");
}

TEST(Mapping, ASecretHasNoTextAndIsCalledPassword) {
  auto secret = record(Role::passwordText, "");
  secret.text = "planted-secret";
  EXPECT_EQ(mapping::textOf(secret, Toolkit::gtk4), std::nullopt);
  EXPECT_EQ(mapping::descriptionOf(secret, Toolkit::gtk3), "Password");
  secret.description = "PIN";
  EXPECT_EQ(mapping::descriptionOf(secret, Toolkit::gtk3), "PIN");
  EXPECT_EQ(mapping::descriptionOf(record(Role::entry), Toolkit::gtk3), "");
  for (const auto toolkit : {Toolkit::gtk3, Toolkit::gtk4, Toolkit::qt, Toolkit::other}) {
    EXPECT_FALSE(mapping::detailNeeds(secret, toolkit, false).text);
  }
}

TEST(Mapping, OnScreenExtentsAreTakenAsTheyAre) {
  auto node = record(Role::pushButton);
  node.extents = Rect{500, 400, 80, 30};
  const desktop::Window window{.clientBounds = {480, 380, 300, 200}};
  for (const auto toolkit : {Toolkit::gtk3, Toolkit::qt, Toolkit::other}) {
    EXPECT_EQ(mapping::frameOf(node, record(Role::dialog), toolkit, &window), (Rect{500, 400, 80, 30}));
  }
}

TEST(Mapping, Gtk4PlacesCountFromTheContentOfTheWindow) {
  auto node = record(Role::pushButton);
  node.extents = Rect{20, 30, 80, 30};
  auto dialog = record(Role::dialog);
  dialog.extents = Rect{0, 0, 390, 190};
  desktop::Window window{.clientBounds = {100, 200, 400, 200}};
  EXPECT_EQ(mapping::frameOf(node, dialog, Toolkit::gtk4, &window), (Rect{125, 235, 80, 30}))
      << "Without the property, half of what the two sizes differ by.";
  window.gtkFrame = desktop::Extents{.left = 14, .right = 14, .top = 12, .bottom = 17};
  EXPECT_EQ(mapping::frameOf(node, dialog, Toolkit::gtk4, &window), (Rect{134, 242, 80, 30}));
  EXPECT_EQ(mapping::frameOf(node, dialog, Toolkit::gtk4, nullptr), (Rect{20, 30, 80, 30}));
}

TEST(Mapping, SentinelsAreNoPlace) {
  auto node = record(Role::pushButton);
  node.extents = Rect{kNowhere, kNowhere, 1, 1};
  EXPECT_EQ(mapping::frameOf(node, node, Toolkit::gtk3, nullptr), std::nullopt);
  EXPECT_EQ(mapping::windowFrame(node, nullptr), std::nullopt);
  node.extents = std::nullopt;
  EXPECT_EQ(mapping::frameOf(node, node, Toolkit::gtk3, nullptr), std::nullopt);
}

TEST(Mapping, TheFrameOfAWindowIsWhatTheUserSeesOfIt) {
  desktop::Window window{.clientBounds = {100, 200, 400, 300},
                         .frame = {.left = 2, .right = 3, .top = 20, .bottom = 4}};
  EXPECT_EQ(mapping::windowFrame(record(Role::dialog), &window), (Rect{98, 180, 405, 324}));
  window.frame = {};
  window.gtkFrame = desktop::Extents{.left = 14, .right = 15, .top = 12, .bottom = 17};
  EXPECT_EQ(mapping::windowFrame(record(Role::dialog), &window), (Rect{114, 212, 371, 271}));
}

TEST(Mapping, OnlyWhatReadingAPromptNeedsIsAsked) {
  const auto needs = [](const NodeRecord& node) { return mapping::detailNeeds(node, Toolkit::gtk3, false); };
  EXPECT_FALSE(needs(record(Role{39}, "panel")).any());
  EXPECT_TRUE(needs(record(Role::pushButton, "Allow")).extents);
  EXPECT_FALSE(needs(record(Role::pushButton, "Allow")).description);
  EXPECT_TRUE(needs(record(Role::pushButton)).description);
  EXPECT_FALSE(needs(record(Role::label, "Text")).text);
  EXPECT_TRUE(needs(record(Role::label)).text);
  EXPECT_TRUE(needs(record(Role::entry, "Name")).text);
  EXPECT_TRUE(mapping::detailNeeds(record(Role{23}), Toolkit::gtk4, true).extents);
}

TEST(Mapping, TellsTheToolkitOfTheShellFromTheLibraryOfThatName) {
  EXPECT_EQ(mapping::toolkitOf("clutter", "43.8"), Toolkit::shell);
  EXPECT_EQ(mapping::toolkitOf("clutter", "3.38.4"), Toolkit::shell);
  EXPECT_EQ(mapping::toolkitOf("clutter", "1.26.4"), Toolkit::other);
}

// By the rectangles that KWin and GNOME Shell gave for windows of these toolkits.
TEST(Mapping, PlacesOfClientsOfWaylandCountFromTheirBufferOrWhatIsSeenOfIt) {
  NodeRecord button = record(Role::pushButton);
  button.extents = Rect{20, 30, 80, 30};
  NodeRecord dialog = record(Role::dialog);
  const auto placed = [&](Rect accessible, Rect buffer, desktop::Extents shadow) {
    dialog.extents = accessible;
    desktop::Window window{.id = 1, .clientBounds = buffer, .gtkFrame = shadow};
    window.hasRelativePlaces = true;
    return mapping::frameOf(button, dialog, Toolkit::gtk3, &window);
  };
  const desktop::Extents shadow{.left = 26, .right = 26, .top = 23, .bottom = 29};
  EXPECT_EQ(placed({0, 0, 430, 209}, {100, 200, 430, 209}, shadow), (Rect{120, 230, 80, 30})) << "with its shadow";
  EXPECT_EQ(placed({0, 0, 378, 157}, {100, 200, 430, 209}, shadow), (Rect{146, 253, 80, 30})) << "without it";
  EXPECT_EQ(placed({0, 0, 331, 100}, {100, 200, 337, 133}, {}), (Rect{123, 260, 80, 30})) << "below its title bar";
  EXPECT_EQ(placed({900, 700, 430, 209}, {900, 700, 430, 209}, {}), button.extents) << "on the screen already";
  dialog.extents = std::nullopt;
  desktop::Window window{.id = 1, .clientBounds = {100, 200, 430, 209}};
  window.hasRelativePlaces = true;
  EXPECT_EQ(mapping::frameOf(button, dialog, Toolkit::gtk3, &window), std::nullopt);
}

TEST(Mapping, TheNumberThatADesktopAddsToATitleIsNotShown) {
  NodeRecord dialog = record(Role::dialog);
  dialog.name = "Permission";
  const desktop::Window second{.id = 1, .name = "Permission <2>", .mayBeNumbered = true};
  EXPECT_EQ(mapping::windowTitle(dialog, Toolkit::gtk3, &second), "Permission");
  const desktop::Window other{.id = 1, .name = "Camera <2>", .mayBeNumbered = true};
  EXPECT_EQ(mapping::windowTitle(dialog, Toolkit::gtk3, &other), "Camera <2>");
}

}  // namespace
}  // namespace quillard::atspi
