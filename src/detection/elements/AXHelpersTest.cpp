#include <cmath>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "detection/elements/AXHelpers.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard {
namespace {

using platform::AXError;
using platform::AXUIElement;
using platform::simulated::ElementSpec;
using platform::simulated::NodeHandle;
using platform::simulated::Seed;
using platform::simulated::SimulatedDesktop;
using platform::simulated::SimulatedWorld;
namespace ax = platform::ax;

class AXHelpersTest : public testing::Test {
 protected:
  SimulatedDesktop& desktop() { return world.desktop(); }
  platform::Accessibility& live() { return world.accessibility(); }
  AXUIElement element(NodeHandle node) { return desktop().element(node); }
  NodeHandle window(const ElementSpec& spec = {.role = "AXWindow"}) { return desktop().addWindow(application, spec); }

  // A chain of `length` groups below `top`; the last of them.
  NodeHandle chain(NodeHandle top, int length) {
    for (int i = 0; i < length; ++i) top = desktop().addChild(top, {.role = "AXGroup"});
    return top;
  }

  // Titles of the elements, in order.
  std::string titles(const std::vector<AXUIElement>& elements) {
    std::string titles;
    for (const auto& one : elements) titles += AXHelpers::stringAttribute(live(), one, ax::kTitle).value_or("?");
    return titles;
  }

  SimulatedWorld world{Seed{1}};
  platform::simulated::ApplicationHandle application = world.desktop().launch({.name = "App"});
};

TEST_F(AXHelpersTest, ReadValuesOfTheRightKind) {
  const auto node = window({.role = "AXWindow", .title = "Title", .modal = true});
  desktop().setAttribute(node, "Other", element(node));
  EXPECT_EQ(AXHelpers::stringAttribute(live(), element(node), ax::kTitle), "Title");
  EXPECT_EQ(AXHelpers::boolAttribute(live(), element(node), ax::kModal), true);
  EXPECT_EQ(AXHelpers::elementAttribute(live(), element(node), "Other"), element(node));
  EXPECT_EQ(AXHelpers::role(live(), element(node)), "AXWindow");
  EXPECT_EQ(AXHelpers::subrole(live(), element(node)), "");
}

TEST_F(AXHelpersTest, TakeAValueOfAnotherKindForAMissingOne) {
  const auto node = window();
  const std::vector<platform::AXValue> values{
      platform::AXForeignValue{}, true, std::int64_t{1}, 1.0, std::string{"1"}, Point{}, Size{}, Rect{}, element(node),
      std::vector{element(node)}};
  for (const auto& value : values) {
    desktop().setAttribute(node, "Value", value);
    const auto read = element(node);
    EXPECT_EQ(AXHelpers::stringAttribute(live(), read, "Value").has_value(),
              std::holds_alternative<std::string>(value));
    EXPECT_EQ(AXHelpers::boolAttribute(live(), read, "Value").has_value(), std::holds_alternative<bool>(value));
    EXPECT_EQ(AXHelpers::elementAttribute(live(), read, "Value").has_value(),
              std::holds_alternative<AXUIElement>(value));
    EXPECT_EQ(AXHelpers::children(live(), read, "Value").size(),
              std::holds_alternative<std::vector<AXUIElement>>(value) ? 1U : 0U);
  }
}

TEST_F(AXHelpersTest, ReadNothingFromAStaleHandleOrAnError) {
  const auto node = window({.role = "AXWindow", .title = "Title", .frame = Rect{0, 0, 10, 10}});
  const auto stale = element(node);
  desktop().setAttributeError(node, ax::kTitle, AXError::cannotComplete);
  EXPECT_EQ(AXHelpers::stringAttribute(live(), stale, ax::kTitle), std::nullopt);
  desktop().close(node);
  EXPECT_EQ(AXHelpers::stringAttribute(live(), stale, ax::kRole), std::nullopt);
  EXPECT_EQ(AXHelpers::frame(live(), stale), std::nullopt);
  EXPECT_TRUE(AXHelpers::children(live(), stale).empty());
  EXPECT_TRUE(AXHelpers::actionNames(live(), stale).empty());
  EXPECT_TRUE(AXHelpers::deeplyNestedChildren(live(), stale, 10).empty());
  EXPECT_EQ(AXHelpers::nearestWindow(live(), stale, 10), std::nullopt);
}

TEST_F(AXHelpersTest, TellTextOfWhichAByteIsLost) {
  const auto node = window();
  const auto read = [&] { return AXHelpers::readText(live(), element(node), ax::kTitle); };
  for (const std::string lost : {"Enter the pass\uFFFDword", "\uFFFD"}) {
    desktop().setAttribute(node, ax::kTitle, lost);
    EXPECT_TRUE(read().isUnreadable);
    EXPECT_EQ(read().text, lost) << "It is shown as the application has it.";
  }
  desktop().setAttribute(node, ax::kTitle, std::string("Enter the word\uFFFC"));
  EXPECT_FALSE(read().isUnreadable);
}

TEST_F(AXHelpersTest, TellTextThatCannotBeReadFromTextThatIsNotThere) {
  const auto node = window();
  const auto read = [&] { return AXHelpers::readText(live(), element(node), ax::kTitle); };
  const std::vector<platform::AXValue> unreadable{std::string("Allow\xFF"), std::string("\xC3"),
                                                  std::string(AXHelpers::kLongestText + 1, 'x'),
                                                  platform::AXUnreadableText{}};
  for (const auto& value : unreadable) {
    desktop().setAttribute(node, ax::kTitle, value);
    EXPECT_TRUE(read().isUnreadable);
    EXPECT_EQ(read().text, std::nullopt);
  }
  for (const platform::AXValue& absent : {platform::AXValue{std::int64_t{7}}, platform::AXValue{true}}) {
    desktop().setAttribute(node, ax::kTitle, absent);
    EXPECT_FALSE(read().isUnreadable) << "it is no text";
    EXPECT_EQ(read().text, std::nullopt);
  }
  for (const auto error : {AXError::failure, AXError::cannotComplete}) {
    desktop().setAttributeError(node, ax::kTitle, error);
    EXPECT_TRUE(read().isUnreadable);
  }
  for (const auto error : {AXError::noValue, AXError::attributeUnsupported, AXError::notImplemented,
                           AXError::invalidUIElement, AXError::apiDisabled}) {
    desktop().setAttributeError(node, ax::kTitle, error);
    EXPECT_FALSE(read().isUnreadable);
  }
  desktop().setAttribute(node, ax::kTitle, std::string());
  EXPECT_EQ(read().text, "");
}

TEST_F(AXHelpersTest, DescendantsSayWhetherTheyAreAll) {
  const auto root = window();
  desktop().addChild(root, {.title = "A"});
  const auto second = desktop().addChild(root, {.title = "B", .children = {{.title = "C"}}});
  const auto walk = [&](int limit) { return AXHelpers::descendants(live(), element(root), limit); };
  EXPECT_TRUE(walk(4).isComplete);
  EXPECT_FALSE(walk(3).isComplete) << "whether the last one has children was not asked";
  EXPECT_FALSE(walk(2).isComplete);
  EXPECT_FALSE(walk(0).isComplete);
  EXPECT_EQ(titles(walk(4).elements), "BCA");
  for (const auto error : {AXError::failure, AXError::cannotComplete}) {
    desktop().setAttributeError(second, ax::kChildren, error);
    EXPECT_FALSE(walk(80).isComplete);
    EXPECT_EQ(titles(walk(80).elements), "BA");
  }
  for (const auto error : {AXError::noValue, AXError::attributeUnsupported, AXError::invalidUIElement}) {
    desktop().setAttributeError(second, ax::kChildren, error);
    EXPECT_TRUE(walk(80).isComplete);
  }
}

TEST_F(AXHelpersTest, TakeTextThatIsNoUtf8OrTooLongForMissing) {
  const auto node = window();
  desktop().setAttribute(node, ax::kTitle, std::string("Allow\xFF"));
  EXPECT_EQ(AXHelpers::stringAttribute(live(), element(node), ax::kTitle), std::nullopt);
  desktop().setAttribute(node, ax::kTitle, std::string(AXHelpers::kLongestText, 'x'));
  EXPECT_TRUE(AXHelpers::stringAttribute(live(), element(node), ax::kTitle).has_value());
  desktop().setAttribute(node, ax::kTitle, std::string(AXHelpers::kLongestText + 1, 'x'));
  EXPECT_EQ(AXHelpers::stringAttribute(live(), element(node), ax::kTitle), std::nullopt);
}

TEST_F(AXHelpersTest, ListActionsWindowsAndChildrenInThePlatformsOrder) {
  const auto first = window({.role = "AXWindow", .title = "1", .actions = {"AXRaise", "AXConfirm"}});
  desktop().addChild(first, {.title = "a"});
  desktop().addChild(first, {.title = "b"});
  EXPECT_EQ(AXHelpers::actionNames(live(), element(first)), (std::vector<std::string>{"AXRaise", "AXConfirm"}));
  EXPECT_EQ(titles(AXHelpers::children(live(), element(first))), "ab");
  EXPECT_EQ(AXHelpers::windows(live(), desktop().element(application)), std::vector{element(first)});
}

// ---- Focus

TEST_F(AXHelpersTest, FindTheFocusOfTheWholeDesktop) {
  EXPECT_EQ(AXHelpers::focusedWindow(live(), live()), std::nullopt);
  const auto node = window();
  const auto button = desktop().addChild(node, {.role = "AXButton"});
  desktop().focusElement(button);
  EXPECT_EQ(AXHelpers::focusedWindow(live(), live()), element(node));
  EXPECT_EQ(AXHelpers::focusedElement(live(), live()), element(button));
}

TEST_F(AXHelpersTest, AskingForTheFocusBoundsEveryLaterWait) {
  const auto node = window();
  desktop().hang(application);
  (void)AXHelpers::focusedWindow(live(), live());
  const auto before = world.time().monotonicNow();
  (void)AXHelpers::role(live(), element(node));
  EXPECT_EQ(world.time().monotonicNow() - before, std::chrono::milliseconds(200));
}

// ---- Frames

TEST_F(AXHelpersTest, BuildAFrameFromPositionAndSize) {
  const auto node = window({.role = "AXWindow", .frame = Rect{-10.5, 20, 300, 0}});
  EXPECT_EQ(AXHelpers::frame(live(), element(node)), (Rect{-10.5, 20, 300, 0}));
  desktop().removeAttribute(node, ax::kSize);
  EXPECT_EQ(AXHelpers::frame(live(), element(node)), std::nullopt);
  desktop().setAttribute(node, ax::kSize, Point{300, 200});
  EXPECT_EQ(AXHelpers::frame(live(), element(node)), std::nullopt);
  desktop().setAttribute(node, ax::kSize, Size{300, 200});
  desktop().removeAttribute(node, ax::kPosition);
  EXPECT_EQ(AXHelpers::frame(live(), element(node)), std::nullopt);
}

TEST_F(AXHelpersTest, TakeAFrameThatIsNoPlaceForMissing) {
  const auto node = window({.role = "AXWindow", .frame = Rect{0, 0, 10, 10}});
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double bad : {std::nan(""), infinity, -infinity, 1e19, -1e19}) {
    desktop().setAttribute(node, ax::kPosition, Point{bad, 0});
    EXPECT_EQ(AXHelpers::frame(live(), element(node)), std::nullopt) << bad;
  }
  desktop().setAttribute(node, ax::kPosition, Point{-2147483648.0, -2147483648.0});
  EXPECT_EQ(AXHelpers::frame(live(), element(node)), (Rect{-2147483648.0, -2147483648.0, 10, 10}));
}

// ---- Ancestors

TEST_F(AXHelpersTest, NearestWindowLooksAtTheElementItselfFirst) {
  const auto node = window();
  EXPECT_EQ(AXHelpers::nearestWindow(live(), element(node), 1), element(node));
}

TEST_F(AXHelpersTest, NearestWindowLooksAtAsManyElementsAsTheLimitSays) {
  const auto node = window();
  const auto button = desktop().addChild(chain(node, 1), {.role = "AXButton"});
  EXPECT_EQ(AXHelpers::nearestWindow(live(), element(button), 2), std::nullopt);
  EXPECT_EQ(AXHelpers::nearestWindow(live(), element(button), 3), element(node));
}

TEST_F(AXHelpersTest, NearestWindowStopsAtASheet) {
  const auto sheet = desktop().addChild(window(), {.role = "AXSheet"});
  EXPECT_EQ(AXHelpers::nearestWindow(live(), element(chain(sheet, 3)), 20), element(sheet));
}

TEST_F(AXHelpersTest, NearestWindowEndsWhereAParentCannotBeRead) {
  const auto node = window();
  const auto middle = chain(node, 1);
  const auto leaf = chain(middle, 1);
  desktop().setAttributeError(middle, ax::kParent, AXError::noValue);
  EXPECT_EQ(AXHelpers::nearestWindow(live(), element(leaf), 20), std::nullopt);
  desktop().setAttribute(middle, ax::kParent, std::string("window"));
  EXPECT_EQ(AXHelpers::nearestWindow(live(), element(leaf), 20), std::nullopt);
  desktop().setAttribute(middle, ax::kParent, element(leaf));
  EXPECT_EQ(AXHelpers::nearestWindow(live(), element(leaf), 20), std::nullopt) << "each is the other's parent";
}

TEST_F(AXHelpersTest, NearestButtonReadsNothingForALimitBelowOne) {
  const auto button = desktop().addChild(window(), {.role = "AXButton"});
  const auto inside = desktop().addChild(button, {.role = "AXStaticText"});
  desktop().resetRoundTrips();
  EXPECT_EQ(AXHelpers::nearestButton(live(), element(button), 0), std::nullopt);
  EXPECT_EQ(AXHelpers::nearestButton(live(), element(button), -1), std::nullopt);
  EXPECT_EQ(desktop().roundTrips(), 0U);
  EXPECT_EQ(AXHelpers::nearestButton(live(), element(button), 1), element(button));
  EXPECT_EQ(AXHelpers::nearestButton(live(), element(inside), 8), element(button));
}

// ---- Descendants

TEST_F(AXHelpersTest, DeeplyNestedChildrenVisitTheLastChildFirst) {
  const auto root = window();
  desktop().addChild(root, {.title = "A"});
  desktop().addChild(root, {.title = "B", .children = {{.title = "C"}}});
  EXPECT_EQ(titles(AXHelpers::deeplyNestedChildren(live(), element(root), 3)), "BCA");
  EXPECT_EQ(titles(AXHelpers::deeplyNestedChildren(live(), element(root), 2)), "BC");
  EXPECT_EQ(titles(AXHelpers::deeplyNestedChildren(live(), element(root), 0)), "");
  EXPECT_EQ(titles(AXHelpers::deeplyNestedChildren(live(), element(root), -5)), "");
}

TEST_F(AXHelpersTest, DeeplyNestedChildrenEndInATreeThatBitesItsTail) {
  const auto root = window({.role = "AXWindow", .title = "r"});
  const auto child = desktop().addChild(root, {.title = "c"});
  desktop().setAttribute(child, ax::kChildren, std::vector{element(root), element(child)});
  EXPECT_EQ(titles(AXHelpers::deeplyNestedChildren(live(), element(root), 6)), "cccccc");
}

TEST_F(AXHelpersTest, DeeplyNestedChildrenTakeUnreadableChildrenForNone) {
  const auto root = window();
  desktop().addChild(root, {.title = "A"});
  const auto closed = desktop().addChild(root, {.title = "B", .children = {{.title = "C"}}});
  desktop().setAttributeError(closed, ax::kChildren, AXError::failure);
  EXPECT_EQ(titles(AXHelpers::deeplyNestedChildren(live(), element(root), 80)), "BA");
}

// The walk in its plainest form: recursive, over a tree of our own.
struct Tree {
  std::string title;
  std::vector<Tree> children;
};

Tree randomTree(int depth) {
  static int next;
  if (depth == 0) next = 0;
  Tree tree{std::string(1, static_cast<char>('a' + next++ % 26)), {}};
  if (depth < 4) {
    for (int left = *rc::gen::inRange(0, 4 - depth); left > 0; --left) tree.children.push_back(randomTree(depth + 1));
  }
  return tree;
}

void build(SimulatedDesktop& desktop, NodeHandle parent, const Tree& tree) {
  for (const auto& child : tree.children) build(desktop, desktop.addChild(parent, {.title = child.title}), child);
}

void walk(const Tree& tree, std::string& titles) {
  for (auto child = tree.children.rbegin(); child != tree.children.rend(); ++child) {
    titles += child->title;
    walk(*child, titles);
  }
}

RC_GTEST_PROP(DeeplyNestedChildren, AreTheFirstOfTheRecursiveWalk, ()) {
  SimulatedWorld world{Seed{1}};
  auto& desktop = world.desktop();
  const auto tree = randomTree(0);
  const auto root = desktop.addWindow(desktop.launch(), {.role = "AXWindow"});
  build(desktop, root, tree);
  std::string expected;
  walk(tree, expected);
  const int limit = *rc::gen::inRange(-1, 30);
  std::string actual;
  for (const auto& element : AXHelpers::deeplyNestedChildren(world.accessibility(), desktop.element(root), limit)) {
    actual += *AXHelpers::stringAttribute(world.accessibility(), element, ax::kTitle);
  }
  RC_ASSERT(actual == expected.substr(0, static_cast<std::size_t>(std::max(limit, 0))));
}

RC_GTEST_PROP(NearestWindow, IsFoundExactlyWhenTheLimitReachesIt, ()) {
  SimulatedWorld world{Seed{1}};
  auto& desktop = world.desktop();
  const auto window = desktop.addWindow(desktop.launch(), {.role = "AXWindow"});
  const int depth = *rc::gen::inRange(0, 25);
  const int limit = *rc::gen::inRange(-2, 28);
  auto node = window;
  for (int i = 0; i < depth; ++i) node = desktop.addChild(node, {.role = "AXGroup"});
  const auto found = AXHelpers::nearestWindow(world.accessibility(), desktop.element(node), limit);
  RC_ASSERT(found.has_value() == (limit >= depth + 1));
  if (found) RC_ASSERT(*found == desktop.element(window));
}

}  // namespace
}  // namespace quillard
