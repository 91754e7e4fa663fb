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
  std::unique_ptr<StatusWindowView> view = views.makeStatusWindowView(
      {.onButton = [this](StatusWindowButton b) { events.push_back("button " + std::to_string(static_cast<int>(b))); },
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
  EXPECT_THAT(takeEvents(), ElementsAre("button 1"));
  EXPECT_EQ(window.content(), content);
  EXPECT_EQ(window.contentCount(), 1);
}

TEST_F(SimulatedStatusWindowTest, EveryButtonHasItsPlaceInTheContent) {
  StatusWindowContent content;
  content.pairingActionButton = ButtonContent{"0"};
  content.unpairPhoneButton = ButtonContent{"1"};
  int next = 2;
  for (auto* row : {&content.installLocation, &content.accessibility, &content.loginItem, &content.update,
                    &content.notificationPause}) {
    row->primaryButton = ButtonContent{std::to_string(next++)};
    row->secondaryButton = ButtonContent{std::to_string(next++)};
  }
  for (int i = 0; i < next; ++i) {
    EXPECT_EQ(buttonOf(content, static_cast<StatusWindowButton>(i)), ButtonContent{std::to_string(i)});
    EXPECT_EQ(buttonOf({}, static_cast<StatusWindowButton>(i)), std::nullopt);
  }
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
