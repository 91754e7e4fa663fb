#include <gtest/gtest.h>

#include "platform/simulated/SimulatedSyntheticEvents.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::platform::simulated {
namespace {

class SimulatedSyntheticEventsTest : public testing::Test {
 protected:
  NodeHandle openDialog(ApplicationHandle owner) {
    return world.desktop().open(owner, {.title = "Erase?",
                                        .buttons = {"Cancel", "Erase", "Help"},
                                        .frame = Rect{100, 100, 500, 200},
                                        .effect = PressEffect::doesNothing(),
                                        .defaultButton = "Erase",
                                        .cancelButton = "Cancel"});
  }
  Point centreOf(std::string_view label) {
    const Rect frame = *world.desktop().frame(*world.desktop().findButton(dialog, label));
    return {frame.x + frame.width / 2, frame.y + frame.height / 2};
  }
  void click(Point point, std::optional<std::int32_t> process) {
    for (const auto type : {MouseEventType::moved, MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
      post(*events.createMouseEvent(type, point), process);
    }
  }
  void type(KeyCode key, std::optional<std::int32_t> process) {
    for (const bool isDown : {true, false}) post(*events.createKeyboardEvent(key, isDown), process);
  }
  void post(const SyntheticEvent& event, std::optional<std::int32_t> process) {
    EXPECT_TRUE(process ? events.postToProcess(*process, event) : events.postToDesktop(event, std::nullopt));
  }

  SimulatedWorld world{Seed{3}};
  SimulatedSyntheticEvents events{world.desktop(), world.time()};
  ApplicationHandle application = world.desktop().launch({.name = "App", .active = true});
  NodeHandle dialog = openDialog(application);
};

TEST_F(SimulatedSyntheticEventsTest, AClickPressesTheButtonUnderThePointer) {
  click(centreOf("Help"), std::nullopt);
  EXPECT_EQ(world.desktop().pressed(dialog), "Help");
  EXPECT_EQ(world.desktop().presses().size(), 1U);
}

TEST_F(SimulatedSyntheticEventsTest, AClickInAnotherWindowAboveGoesThereUnlessItIsPostedToTheProcess) {
  const auto above = openDialog(world.desktop().launch({.name = "Above"}));
  click(centreOf("Help"), std::nullopt);
  EXPECT_EQ(world.desktop().pressed(dialog), std::nullopt);
  EXPECT_EQ(world.desktop().pressed(above), "Help");
  click(centreOf("Help"), application.processIdentifier);
  EXPECT_EQ(world.desktop().pressed(dialog), "Help");
}

TEST_F(SimulatedSyntheticEventsTest, AButtonThatWasNotUnderThePointerAllTheTimeIsNotPressed) {
  post(*events.createMouseEvent(MouseEventType::leftMouseDown, centreOf("Help")), std::nullopt);
  post(*events.createMouseEvent(MouseEventType::leftMouseUp, centreOf("Cancel")), std::nullopt);
  EXPECT_TRUE(world.desktop().presses().empty());
}

TEST_F(SimulatedSyntheticEventsTest, KeysPressTheFocusedDefaultAndCancelButtons) {
  world.desktop().setFocusedElement(*world.desktop().findButton(dialog, "Help"));
  const std::pair<KeyCode, std::string> expected[] = {
      {KeyCode::space, "Help"}, {KeyCode::returnKey, "Erase"}, {KeyCode::escape, "Cancel"}};
  for (const auto& [key, label] : expected) {
    type(key, std::nullopt);
    EXPECT_EQ(world.desktop().pressed(dialog), label);
  }
  events.setReturnPressesFocusedButton(true);
  type(KeyCode::returnKey, std::nullopt);
  EXPECT_EQ(world.desktop().pressed(dialog), "Help");
  EXPECT_EQ(world.desktop().presses().size(), 4U);
}

TEST_F(SimulatedSyntheticEventsTest, KeysGoToTheFrontUnlessTheyArePostedToTheProcess) {
  const auto other = world.desktop().launch({.name = "Other", .active = true});
  type(KeyCode::returnKey, std::nullopt);
  EXPECT_TRUE(world.desktop().presses().empty());
  const auto front = openDialog(other);
  type(KeyCode::returnKey, std::nullopt);
  EXPECT_EQ(world.desktop().pressed(front), "Erase");
  type(KeyCode::escape, application.processIdentifier);
  EXPECT_EQ(world.desktop().pressed(dialog), "Cancel");
}

TEST_F(SimulatedSyntheticEventsTest, SpaceWithoutAFocusedButtonPressesNothing) {
  type(KeyCode::space, std::nullopt);
  EXPECT_TRUE(world.desktop().presses().empty());
}

TEST_F(SimulatedSyntheticEventsTest, CanFailToCreateAnEventAndLoseWhatIsPosted) {
  events.failCreation(1);
  EXPECT_NE(events.createKeyboardEvent(KeyCode::space, true), nullptr);
  EXPECT_EQ(events.createKeyboardEvent(KeyCode::space, false), nullptr);
  EXPECT_EQ(events.creations(), 2U);
  events.setLosesEvents(true);
  type(KeyCode::returnKey, std::nullopt);
  EXPECT_TRUE(world.desktop().presses().empty());
  ASSERT_EQ(events.posted().size(), 2U);
  EXPECT_EQ(events.posted()[0].key, KeyCode::returnKey);
  EXPECT_TRUE(events.posted()[0].isDown);
  EXPECT_FALSE(events.posted()[1].isDown);
}

TEST_F(SimulatedSyntheticEventsTest, AHungApplicationTakesNothing) {
  world.desktop().hang(application);
  type(KeyCode::returnKey, std::nullopt);
  click(centreOf("Help"), std::nullopt);
  EXPECT_TRUE(world.desktop().presses().empty());
}

}  // namespace
}  // namespace quillard::platform::simulated
