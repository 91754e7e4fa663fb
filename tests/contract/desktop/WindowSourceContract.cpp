#include "contract/desktop/WindowSourceContract.h"

#include <algorithm>
#include <optional>

#include "platform/linux/windows/WindowListing.h"

// What the agent relies on in a source of windows, whichever desktop it asks.
namespace quillard::test {
namespace {

using desktop::Window;
using desktop::WindowCoverage;
using desktop::WindowsSnapshot;

constexpr desktop::WindowID kForeign = desktop::WindowID{1} << 50U;  // Of no source.

class World {
 public:
  explicit World(const WindowSourceCase& source) : binding(source.make()) {}

  [[nodiscard]] std::optional<Window> windowOf(std::int32_t process) {
    for (const auto& window : binding->windows().snapshot().windows) {
      if (window.processIdentifier == process) return window;
    }
    return std::nullopt;
  }
  // Zero: it is not listed.
  [[nodiscard]] desktop::WindowID idOf(std::int32_t process) {
    const auto window = windowOf(process);
    return window ? window->id : 0;
  }
  // Opened, listed, and in front.
  std::int32_t open(const std::string& title) {
    const auto process = binding->open(title);
    EXPECT_TRUE(binding->eventually([&] {
      const auto window = windowOf(process);
      return window && window->isMapped && binding->windows().snapshot().active == window->id;
    })) << title;
    return process;
  }

  const std::unique_ptr<WindowSourceBinding> binding;
};

#define WORLD_OR_SKIP                                                                          \
  if (const auto missing = GetParam().whyMissing(); !missing.empty()) GTEST_SKIP() << missing; \
  World world(GetParam())

TEST_P(WindowSourceContract, AWindowIsListedWithItsOwnerItsTitleAndItsPlace) {
  WORLD_OR_SKIP;
  const auto process = world.open("Permission");
  const auto window = world.windowOf(process);
  ASSERT_TRUE(window);
  EXPECT_EQ(window->name, "Permission");
  EXPECT_FALSE(window->isHidden);
  const auto bounds = desktop::visibleBounds(*window);
  EXPECT_GE(bounds.width, 80);
  EXPECT_GE(bounds.height, 40);
  const auto snapshot = world.binding->windows().snapshot();
  EXPECT_EQ(snapshot.coverage, WindowCoverage::all);
  EXPECT_TRUE(desktop::isOnScreen(*window, snapshot));
}

TEST_P(WindowSourceContract, AWindowKeepsItsIdentifierAndNoOtherHasIt) {
  WORLD_OR_SKIP;
  const auto first = world.open("Twin");
  const auto identifier = world.idOf(first);
  const auto second = world.open("Twin");
  EXPECT_EQ(world.idOf(first), identifier);
  EXPECT_NE(world.idOf(second), identifier);
}

TEST_P(WindowSourceContract, ARaisedWindowIsInFrontWithTheKeyboard) {
  WORLD_OR_SKIP;
  const auto below = world.open("Below");
  (void)world.open("Above");
  const auto identifier = world.idOf(below);
  EXPECT_TRUE(world.binding->windows().activate(identifier));
  EXPECT_TRUE(world.binding->eventually([&] { return world.binding->windows().snapshot().active == identifier; }));
}

TEST_P(WindowSourceContract, AWindowThatIsAskedToCloseGoes) {
  WORLD_OR_SKIP;
  const auto process = world.open("Permission");
  EXPECT_TRUE(world.binding->windows().close(world.idOf(process)));
  EXPECT_TRUE(world.binding->eventually([&] { return !world.windowOf(process); }));
}

TEST_P(WindowSourceContract, AWindowThatHasGoneIsListedNoLonger) {
  WORLD_OR_SKIP;
  const auto process = world.open("Permission");
  world.binding->kill(process);
  EXPECT_TRUE(world.binding->eventually([&] { return !world.windowOf(process); }));
  EXPECT_EQ(world.binding->windows().coverage(), WindowCoverage::all) << "An empty desktop is known to be empty.";
}

TEST_P(WindowSourceContract, AWindowOfAnotherSourceCannotBeAskedForAnything) {
  WORLD_OR_SKIP;
  (void)world.open("Permission");
  EXPECT_FALSE(world.binding->windows().activate(kForeign));
  EXPECT_FALSE(world.binding->windows().close(kForeign));
}

TEST_P(WindowSourceContract, ObserversHearOfWindowsThatComeAndGo) {
  WORLD_OR_SKIP;
  std::optional<WindowsSnapshot> told;
  const auto subscription = world.binding->changes().observe([&](const WindowsSnapshot& now) { told = now; });
  const auto process = world.open("Permission");
  const auto isTold = [&] {
    return told && std::any_of(told->windows.begin(), told->windows.end(),
                               [&](const Window& window) { return window.processIdentifier == process; });
  };
  EXPECT_TRUE(world.binding->eventually(isTold));
  world.binding->kill(process);
  EXPECT_TRUE(world.binding->eventually([&] { return !isTold(); }));
  EXPECT_EQ(world.binding->changes().lastSnapshot(), *told);
}

TEST_P(WindowSourceContract, ADesktopThatCannotBeAskedIsNotAnEmptyOne) {
  WORLD_OR_SKIP;
  (void)world.open("Permission");
  world.binding->lose();
  EXPECT_TRUE(
      world.binding->eventually([&] { return world.binding->windows().snapshot().coverage == WindowCoverage::none; }));
  EXPECT_EQ(world.binding->windows().snapshot(), WindowsSnapshot{});
  EXPECT_FALSE(world.binding->windows().activate(1));
}

}  // namespace
}  // namespace quillard::test
