#include <filesystem>

#include <gtest/gtest.h>

#include "support/GoldenImage.h"
#include "window/ShownWindow.h"
#include "window/StatusWindowStates.h"

namespace quillard {
namespace {

using test::ShownWindow;
using test::Theme;

const char* nameOf(Theme theme) { return theme == Theme::dark ? "dark" : "light"; }

// The picture as it is now lies below the build folder.
void expectPicture(const std::string& name, const QImage& picture) {
  const std::filesystem::path folder{QUILLARD_PICTURES};
  std::filesystem::create_directories(folder);
  const auto now = (folder / name).string();
  ASSERT_TRUE(picture.save(QString::fromStdString(now), "PNG"));
  const auto difference = samples::difference(samples::goldenImage("window/" + name, picture), picture);
  EXPECT_TRUE(difference.isSmall()) << now << ": same size " << difference.isSameSize << ", mean difference "
                                    << difference.mean << ", largest in a patch " << difference.patch;
}

class StatusWindowPictures : public testing::TestWithParam<Theme> {
 protected:
  [[nodiscard]] static std::string fileOf(const std::string& state) {
    return state + "-" + nameOf(GetParam()) + ".png";
  }
};

TEST_P(StatusWindowPictures, AreAsTheyWereApproved) {
  for (const auto& state : test::statusWindowStates()) {
    ShownWindow window{state.content, GetParam()};
    expectPicture(fileOf(state.name), window.picture());
  }
}

// What differs from a Mac in the words, and where it shows.
TEST_P(StatusWindowPictures, OfAComputerAreAsTheyWereApproved) {
  for (const auto language : {Language::english, Language::german}) {
    for (const auto& state : test::statusWindowStatesOn(language)) {
      const bool isShown = state.name.ends_with("-ready-to-scan") || state.name.ends_with("-phones");
      if (!isShown) continue;
      ShownWindow window{state.content, GetParam()};
      expectPicture(fileOf(state.name), window.picture());
    }
  }
}

// What is high, as it opens on a screen of 1366 by 768.
TEST_P(StatusWindowPictures, OfASmallScreenAreAsTheyWereApproved) {
  constexpr QSize kRoom{1366, 698};
  for (const auto& state : test::allStatusWindowStates()) {
    const bool isShown = state.name == "computer-phones" || state.name == "german-phones" ||
                         state.name == "german-pairing-another" || state.name == "german-unreadable-programs";
    if (!isShown) continue;
    ShownWindow window{state.content, GetParam()};
    window.takeWidth(dynamic_cast<const qt::StatusPage&>(window.page()).sizeFor(kRoom).width());
    expectPicture(fileOf("small-screen-" + state.name), window.picture());
  }
}

TEST_P(StatusWindowPictures, ShowThePauseMenuUnderItsButton) {
  ShownWindow window{test::statusWindowStates().at(6).content, GetParam()};
  window->popUpMenu(StatusWindowButton::notificationPauseSecondary,
                    {{"Pause for 4 Hours"}, {"Pause until Tomorrow"}, {"Pause Forever"}, {""}, {"Resume Now"}}, {});
  ShownWindow::settle();
  auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
  ASSERT_TRUE(menu);
  menu->setActiveAction(menu->actions().at(1));
  expectPicture(fileOf("pause-menu"), window.picture());
}

TEST_P(StatusWindowPictures, ShowTheFieldForARelaysAddress) {
  ShownWindow window{test::statusWindowStates().at(14).content, GetParam()};
  window->askForText({.title = "Relay",
                      .explanation = "The address that its operator gives, such as relay.example. Phones that are "
                                     "paired over another relay have to be paired again.",
                      .text = "ftp://relay.example",
                      .accept = "Use Relay"},
                     [](const std::string&) { return "Only wss and https addresses can be used."; });
  ShownWindow::settle();
  auto* const field = dynamic_cast<qt::TextField*>(QApplication::activeModalWidget());
  ASSERT_TRUE(field);
  QKeyEvent enter{QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier};
  QApplication::sendEvent(field, &enter);
  ShownWindow::settle();
  expectPicture(fileOf("relay-field"), field->grab().toImage());
}

TEST_P(StatusWindowPictures, FitANarrowWindow) {
  ShownWindow narrow{test::statusWindowStates().at(1).content, GetParam(), 400};
  expectPicture(fileOf("narrow"), narrow.picture());
}

TEST(StatusWindowPicture, OfLongTextsIsAsItWasApproved) {
  ShownWindow window{test::withLongTexts(test::statusWindowStates().at(5).content)};
  expectPicture("long-texts-light.png", window.picture());
}

INSTANTIATE_TEST_SUITE_P(Themes, StatusWindowPictures, testing::Values(Theme::light, Theme::dark),
                         [](const auto& tested) { return nameOf(tested.param); });

TEST(GoldenPictures, TellDifferentStatesApart) {
  const auto states = test::statusWindowStates();
  ShownWindow paired{states.at(5).content};
  ShownWindow ready{states.at(4).content};
  ShownWindow narrower{states.at(5).content, Theme::light, 940};
  ShownWindow dark{states.at(5).content, Theme::dark};
  const QImage picture = paired.picture();
  EXPECT_TRUE(samples::difference(picture, picture).isSmall());
  EXPECT_FALSE(samples::difference(picture, ready.picture()).isSmall());
  EXPECT_FALSE(samples::difference(picture, narrower.picture()).isSmall());
  EXPECT_FALSE(samples::difference(picture, dark.picture()).isSmall());
}

}  // namespace
}  // namespace quillard
