#include "contract/desktop/DesktopContract.h"

namespace quillard::test {
namespace {

namespace ax = platform::ax;
using platform::DesktopCapability;
using platform::KeyCode;
using platform::MouseEventType;

constexpr Seconds kBetweenEvents{0.08};

// Everything that a click or a key press posts, one after the other.
template <class Post>
void click(DesktopBinding& binding, Point point, const Post& post) {
  for (const auto type : {MouseEventType::moved, MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
    const auto event = binding.syntheticEvents().createMouseEvent(type, point);
    ASSERT_TRUE(event);
    post(*event);
    binding.clock().sleep(kBetweenEvents);
  }
}

template <class Post>
void pressKey(DesktopBinding& binding, KeyCode key, const Post& post) {
  for (const bool isDown : {true, false}) {
    const auto event = binding.syntheticEvents().createKeyboardEvent(key, isDown);
    ASSERT_TRUE(event);
    post(*event);
    binding.clock().sleep(kBetweenEvents);
  }
}

// Where no input can be sent, none is said to have been posted, and nobody gets any.
void expectNoInput(DesktopBinding& binding, PromptProgram& program, Point point) {
  auto& events = binding.syntheticEvents();
  const auto isRefused = [&](const std::unique_ptr<platform::SyntheticEvent>& event) {
    if (!event) return true;
    events.postToProcess(program.processIdentifier(), *event);
    return !events.postToDesktop(*event, program.processIdentifier());
  };
  for (const auto type : {MouseEventType::moved, MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
    EXPECT_TRUE(isRefused(events.createMouseEvent(type, point)));
  }
  for (const bool isDown : {true, false}) EXPECT_TRUE(isRefused(events.createKeyboardEvent(KeyCode::space, isDown)));
  binding.clock().sleep(kBetweenEvents);
  EXPECT_TRUE(program.presses().empty());
}

TEST_P(SyntheticEventsContract, AClickAtTheCentreOfAButtonPressesIt) {
  const auto program = binding->show({.at = Point{200, 200}});
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  const auto frame = AXHelpers::frame(accessibility(), *allow);
  ASSERT_TRUE(frame);
  if (lacks(DesktopCapability::syntheticInput)) return expectNoInput(*binding, *program, center(*frame));
  click(*binding, center(*frame), [&](const auto& event) {
    EXPECT_TRUE(binding->syntheticEvents().postToProcess(program->processIdentifier(), event));
  });
  EXPECT_TRUE(binding->eventually([&] { return !program->presses().empty(); }));
  EXPECT_EQ(program->presses(), std::vector<std::string>{"Allow"});
}

TEST_P(SyntheticEventsContract, AClickWhereTheHardwareEntersPressesWhatIsUnderThePoint) {
  const auto program = binding->show({.at = Point{200, 200}});
  const auto deny = button(*program, "Don't Allow");
  ASSERT_TRUE(deny);
  const auto frame = AXHelpers::frame(accessibility(), *deny);
  ASSERT_TRUE(frame);
  if (lacks(DesktopCapability::syntheticInput)) return expectNoInput(*binding, *program, center(*frame));
  click(*binding, center(*frame), [&](const auto& event) {
    EXPECT_TRUE(binding->syntheticEvents().postToDesktop(event, program->processIdentifier()));
  });
  EXPECT_TRUE(binding->eventually([&] { return !program->presses().empty(); }));
  EXPECT_EQ(program->presses(), std::vector<std::string>{"Don't Allow"});
}

TEST_P(SyntheticEventsContract, SpacePressesTheFocusedButton) {
  const auto program = binding->show({});
  (void)binding->workspace().activate(program->processIdentifier());
  const auto allow = button(*program, "Allow");
  ASSERT_TRUE(allow);
  if (lacks(DesktopCapability::syntheticInput)) return expectNoInput(*binding, *program, {});
  if (accessibility().setAttributeValue(*allow, ax::kFocused, true) != platform::AXError::success) {
    // GTK 4 lets no other program move its focus. What matters is that the caller is not told it had moved.
    EXPECT_NE(AXHelpers::focusedElement(accessibility(), accessibility()), std::optional{*allow});
    return;
  }
  EXPECT_TRUE(binding->eventually(
      [&] { return AXHelpers::focusedElement(accessibility(), accessibility()) == std::optional{*allow}; }));
  // The desktop may know it a moment later than the program.
  pressKey(*binding, KeyCode::space, [&](const auto& event) {
    EXPECT_TRUE(binding->eventually(
        [&] { return binding->syntheticEvents().postToProcess(program->processIdentifier(), event); }));
  });
  EXPECT_TRUE(binding->eventually([&] { return !program->presses().empty(); }));
  EXPECT_EQ(program->presses(), std::vector<std::string>{"Allow"});
}

TEST_P(SyntheticEventsContract, AClickForOneProgramNeverReachesAnotherThatCoversIt) {
  const auto below = binding->show({.title = "Below", .at = Point{200, 200}});
  const auto allow = button(*below, "Allow");
  ASSERT_TRUE(allow);
  const auto frame = AXHelpers::frame(accessibility(), *allow);
  ASSERT_TRUE(frame);
  const auto above = binding->show({.title = "Below", .at = Point{200, 200}});
  if (lacks(DesktopCapability::syntheticInput)) return expectNoInput(*binding, *above, center(*frame));
  (void)accessibility().performAction(window(*above), ax::kRaiseAction);
  click(*binding, center(*frame),
        [&](const auto& event) { binding->syntheticEvents().postToProcess(below->processIdentifier(), event); });
  binding->clock().sleep(Seconds{0.2});
  EXPECT_TRUE(above->presses().empty());
}

}  // namespace
}  // namespace quillard::test
