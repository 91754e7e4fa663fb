#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/SimulatedStatusWindow.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::platform::simulated {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SimulatedStatusWindowTest : public testing::Test {
 protected:
  static std::string nameOf(StatusWindowButton button) { return "button " + std::to_string(static_cast<int>(button)); }
  std::vector<std::string> takeEvents() {
    time.runUntilIdle();
    return std::exchange(events, {});
  }
  void popUp() {
    view->popUpMenu(StatusWindowButton::notificationPauseSecondary, {{"One"}, {""}, {"Two"}, {"Three", false}},
                    [this](std::size_t index) { events.push_back("item " + std::to_string(index)); });
  }

  VirtualTime time{Seed{1}};
  SimulatedStatusWindowViews views{time};
  std::vector<std::string> events;
  std::unique_ptr<StatusWindowView> view =
      views.makeStatusWindowView({.onButton = [this](StatusWindowButton b) { events.push_back(nameOf(b)); },
                                  .onWillClose = [this] { events.emplace_back("close"); },
                                  .onAppearanceChange = [this] { events.emplace_back("appearance"); }});
  SimulatedStatusWindow& window = views.window();
};

TEST_F(SimulatedStatusWindowTest, OnlyWhatIsShownAndEnabledCanBeClicked) {
  EXPECT_FALSE(window.click(StatusWindowButton::unpairPhone)) << "hidden window";
  view->show();
  EXPECT_FALSE(window.click(StatusWindowButton::unpairPhone)) << "no content";
  StatusWindowContent content;
  content.unpairPhoneButton = ButtonContent{"Unpair"};
  content.update.secondaryButton = ButtonContent{.title = "Later", .isEnabled = false};
  view->setContent(content);
  EXPECT_FALSE(window.click(StatusWindowButton::pairingAction)) << "absent";
  EXPECT_FALSE(window.click(StatusWindowButton::updateSecondary)) << "disabled";
  EXPECT_TRUE(window.click(StatusWindowButton::unpairPhone));
  EXPECT_THAT(events, IsEmpty()) << "in a later turn";
  EXPECT_THAT(takeEvents(), ElementsAre(nameOf(StatusWindowButton::unpairPhone)));
  EXPECT_EQ(window.content(), content);
  EXPECT_EQ(window.contentCount(), 1);
}

TEST_F(SimulatedStatusWindowTest, EveryButtonHasItsPlaceInTheContent) {
  StatusWindowContent content;
  std::vector<std::optional<ButtonContent>*> places{&content.pairingActionButton, &content.pairAnotherButton,
                                                    &content.unpairPhoneButton};
  content.question.emplace();
  content.programs.emplace();
  content.muted.emplace();
  content.relay.emplace();
  for (auto* row :
       {&content.installLocation, &content.accessibility, &content.loginItem, &content.update,
        &content.notificationPause, &*content.question, &*content.programs, &*content.muted, &*content.relay}) {
    places.push_back(&row->primaryButton);
    places.push_back(&row->secondaryButton);
  }
  ASSERT_EQ(places.size(), static_cast<std::size_t>(StatusWindowButton::none));
  for (std::size_t i = 0; i < places.size(); ++i) *places[i] = ButtonContent{std::to_string(i)};
  for (std::size_t i = 0; i < places.size(); ++i) {
    EXPECT_EQ(buttonOf(content, static_cast<StatusWindowButton>(i)), ButtonContent{std::to_string(i)});
    EXPECT_EQ(buttonOf({}, static_cast<StatusWindowButton>(i)), std::nullopt);
  }
  EXPECT_EQ(buttonOf(content, StatusWindowButton::none), std::nullopt);
}

TEST_F(SimulatedStatusWindowTest, ThePhonesHaveOneButtonEach) {
  StatusWindowContent content;
  content.phones.resize(2);
  content.phones[1].secondaryButton = ButtonContent{"Unpair…"};
  EXPECT_EQ(buttonOf(content, phoneButton(0)), std::nullopt);
  EXPECT_EQ(buttonOf(content, phoneButton(1)), ButtonContent{"Unpair…"});
  EXPECT_EQ(buttonOf(content, phoneButton(2)), std::nullopt);
  EXPECT_EQ(phoneRowOf(phoneButton(kMostPhoneRows)), std::nullopt);
}

TEST_F(SimulatedStatusWindowTest, OneItemOfAMenuCanBeChosenOnce) {
  view->show();
  EXPECT_FALSE(window.chooseMenuItem("One"));
  popUp();
  EXPECT_THAT(window.menuTitles(), ElementsAre("One", "", "Two", "Three"));
  EXPECT_EQ(window.menu()->under, StatusWindowButton::notificationPauseSecondary);
  EXPECT_FALSE(window.chooseMenuItem("Four"));
  EXPECT_FALSE(window.chooseMenuItem(""));
  EXPECT_FALSE(window.chooseMenuItem("Three"));
  EXPECT_TRUE(window.chooseMenuItem("Two"));
  EXPECT_FALSE(window.chooseMenuItem("Two"));
  EXPECT_THAT(takeEvents(), ElementsAre("item 2"));
}

TEST_F(SimulatedStatusWindowTest, AMenuGoesWithoutAChoiceWhenItIsDismissedOrItsWindowCloses) {
  view->show();
  popUp();
  EXPECT_TRUE(window.dismissMenu());
  EXPECT_FALSE(window.dismissMenu());
  EXPECT_FALSE(window.chooseMenuItem("One"));
  popUp();
  view->close();
  EXPECT_THAT(window.menuTitles(), IsEmpty());
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(SimulatedStatusWindowTest, TellsOfTheUsersClosingOnly) {
  EXPECT_FALSE(window.closeByUser());
  view->show();
  EXPECT_TRUE(view->isVisible());
  EXPECT_TRUE(window.closeByUser());
  EXPECT_TRUE(window.closeByUser());
  EXPECT_THAT(takeEvents(), ElementsAre("close"));
  EXPECT_FALSE(view->isVisible());
  view->show();
  view->close();
  EXPECT_FALSE(window.isVisible());
  EXPECT_THAT(takeEvents(), IsEmpty());
  EXPECT_EQ(window.showCount(), 2);
}

TEST_F(SimulatedStatusWindowTest, ADestroyedViewIsToldNothing) {
  view->show();
  window.changeAppearance();
  EXPECT_THAT(takeEvents(), ElementsAre("appearance"));
  popUp();
  window.chooseMenuItem("One");
  window.changeAppearance();
  window.closeByUser();
  view.reset();
  EXPECT_THAT(takeEvents(), IsEmpty());
  EXPECT_FALSE(window.isVisible());
}

}  // namespace
}  // namespace quillard::platform::simulated
