#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/sway/SwayTree.h"
#include "platform/linux/windows/WindowListing.h"

namespace quillard::sway {
namespace {

using desktop::Window;
using desktop::WindowCoverage;

// As sway 1.7 says it, shortened: a floating window of GTK 3 with sway's title bar, and one on top of it.
constexpr const char* kTwoWindows =
    R"({"id":1,"type":"root","name":"root","rect":{"x":0,"y":0,"width":1280,"height":800},
  "focused":false,"nodes":[
   {"id":2147483647,"type":"output","name":"__i3","nodes":[
     {"id":2147483646,"type":"workspace","name":"__i3_scratch","nodes":[],"floating_nodes":[]}],"floating_nodes":[]},
   {"id":3,"type":"output","name":"HEADLESS-1","floating_nodes":[],"nodes":[
     {"id":4,"type":"workspace","name":"1","num":1,"nodes":[],"floating_nodes":[
       {"id":5,"type":"floating_con","name":"Other","app_id":"zenity","pid":21910,"focused":false,"visible":true,
        "shell":"xdg_shell","rect":{"x":551,"y":340,"width":178,"height":122},
        "window_rect":{"x":2,"y":0,"width":174,"height":120},"deco_rect":{"x":551,"y":315,"width":178,"height":25},
        "geometry":{"x":0,"y":0,"width":174,"height":120},"nodes":[],"floating_nodes":[]},
       {"id":6,"type":"floating_con","name":"Permission","app_id":"zenity","pid":21909,"focused":true,"visible":true,
        "shell":"xdg_shell","rect":{"x":504,"y":340,"width":272,"height":122},
        "window_rect":{"x":2,"y":0,"width":268,"height":120},"deco_rect":{"x":504,"y":315,"width":272,"height":25},
        "geometry":{"x":0,"y":0,"width":268,"height":120},"nodes":[],"floating_nodes":[]}]}]}]})";

// A tree with one window, of which `window` are the members.
std::string treeOf(const std::string& window, const std::string& workspace = "1") {
  return R"({"type":"root","nodes":[{"type":"output","nodes":[{"id":4,"type":"workspace","name":")" + workspace +
         R"(","nodes":[{)" + window + "}]}]}]}";
}

// The only window of such a tree.
Window only(const std::string& window, const std::string& workspace = "1") {
  const auto tree = parseTree(treeOf(window, workspace));
  if (!tree || tree->windows.size() != 1) {
    ADD_FAILURE() << window;
    return {};
  }
  return tree->windows[0];
}

TEST(SwayTree, SaysWhichWindowsThereAreWhoseTheyAreAndWhichHasTheKeyboard) {
  const auto tree = parseTree(kTwoWindows);
  ASSERT_TRUE(tree);
  EXPECT_EQ(tree->coverage, WindowCoverage::all);
  EXPECT_EQ(tree->screen, (Size{1280, 800}));
  EXPECT_EQ(tree->currentDesktop, 4U);
  ASSERT_EQ(tree->windows.size(), 2U);
  const auto& front = tree->windows[1];
  EXPECT_EQ(tree->active, front.id);
  EXPECT_EQ(containerOf(front.id), 6);
  EXPECT_EQ(front.processIdentifier, 21909);
  EXPECT_EQ(front.name, "Permission");
  EXPECT_EQ(front.className, "zenity");
  EXPECT_TRUE(front.isMapped);
  EXPECT_FALSE(front.isHidden);
  EXPECT_TRUE(front.hasRelativePlaces);
}

TEST(SwayTree, AWindowIsSeenWithItsTitleBarAndItsContentLiesBelow) {
  const auto tree = parseTree(kTwoWindows);
  ASSERT_TRUE(tree && tree->windows.size() == 2);
  EXPECT_EQ(tree->windows[1].clientBounds, (Rect{506, 340, 268, 120}));
  EXPECT_EQ(desktop::visibleBounds(tree->windows[1]), (Rect{504, 315, 272, 147}));
}

TEST(SwayTree, AShadowReachesBeyondWhatIsSeen) {
  const auto window = only(R"("id":7,"pid":9,"visible":true,"rect":{"x":100,"y":100,"width":300,"height":200},
    "window_rect":{"x":0,"y":0,"width":300,"height":200},"geometry":{"x":26,"y":23,"width":300,"height":200})");
  EXPECT_EQ(window.clientBounds, (Rect{74, 77, 352, 246}));
  EXPECT_EQ(desktop::visibleBounds(window), (Rect{100, 100, 300, 200}));
}

TEST(SwayTree, AWindowOfTheScratchpadIsPutAway) {
  const auto window = only(R"("id":7,"pid":9,"visible":false)", "__i3_scratch");
  EXPECT_TRUE(window.isHidden);
  EXPECT_FALSE(window.isMapped);
}

TEST(SwayTree, AWindowOfAnotherWorkspaceIsNotSeenButNotPutAway) {
  const auto window = only(R"("id":7,"pid":9,"visible":false)");
  EXPECT_FALSE(window.isHidden);
  EXPECT_FALSE(window.isMapped);
}

TEST(SwayTree, AnXProgramTellsItsPlacesOnTheScreen) {
  const auto window = only(R"("id":7,"pid":9,"shell":"xwayland","window":4194307,
    "window_properties":{"class":"Zenity","window_type":"dialog"})");
  EXPECT_FALSE(window.hasRelativePlaces);
  EXPECT_EQ(window.className, "Zenity");
  EXPECT_EQ(window.type, desktop::WindowType::dialog);
}

TEST(SwayTree, IdentifiersAreThoseOfNoOtherSource) {
  EXPECT_EQ(containerOf(windowOf(6)), 6);
  EXPECT_GT(windowOf(1), 0xFFFFFFFFU) << "as no window of the X server";
  for (const desktop::WindowID foreign : {desktop::WindowID{0}, desktop::WindowID{6}, desktop::WindowID{0xFFFFFFFF},
                                          desktop::WindowID{1} << 41U, ~desktop::WindowID{0}}) {
    EXPECT_EQ(containerOf(foreign), std::nullopt) << foreign;
  }
}

TEST(SwayTree, WhatIsOddInOneWindowReadsAsNotSaid) {
  const auto window = only(R"("id":7,"pid":9,"name":3,"app_id":null,"visible":"yes","rect":{"x":1e300,"y":0},
    "geometry":[],"window_properties":7,"shell":{})");
  EXPECT_EQ(window.name, "");
  EXPECT_EQ(window.className, "");
  EXPECT_FALSE(window.isMapped);
  EXPECT_EQ(window.clientBounds, Rect{});
}

TEST(SwayTree, AWindowWithoutAnIdentifierOrAProcessIsNone) {
  for (const char* window : {R"("id":7)", R"("pid":9)", R"("id":7,"pid":0)", R"("id":7,"pid":-4)", R"("id":0,"pid":9)",
                             R"("id":-1,"pid":9)", R"("id":7,"pid":4294967296)", R"("id":1.5,"pid":9)",
                             R"("id":"7","pid":9)", R"("id":9007199254740993,"pid":9)"}) {
    const auto tree = parseTree(treeOf(window));
    ASSERT_TRUE(tree) << window;
    EXPECT_TRUE(tree->windows.empty()) << window;
  }
}

TEST(SwayTree, ATitleOfBrokenTextHidesNoOtherWindow) {
  const auto window = only("\"id\":7,\"pid\":9,\"name\":\"a\xFF\xC3z\"");
  EXPECT_EQ(window.name, "a??z");
}

TEST(SwayTree, BrokenTextLeavesTheOtherCharactersAsTheyAre) {
  const auto window = only("\"id\":7,\"pid\":9,\"name\":\"Größe \xC3 – 🔑\xF0\x9F\",\"app_id\":\"é\"");
  EXPECT_EQ(window.name, "Größe ? – 🔑??");
  EXPECT_EQ(window.className, "é");
}

TEST(SwayTree, OfMoreWindowsThanAreReadNothingIsKnown) {
  const auto treeWith = [](std::size_t count) {
    std::string nodes;
    for (std::size_t i = 1; i <= count; ++i) {
      nodes += (i == 1 ? "" : ",") + std::string(R"({"id":)") + std::to_string(i) + R"(,"pid":9})";
    }
    return parseTree(R"({"type":"root","nodes":[)" + nodes + "]}");
  };
  ASSERT_TRUE(treeWith(kMostWindows));
  EXPECT_EQ(treeWith(kMostWindows)->windows.size(), kMostWindows);
  EXPECT_FALSE(treeWith(kMostWindows + 1));
}

TEST(SwayTree, NoTreeIsNoEmptyDesktop) {
  std::string deep;
  for (int i = 0; i < 200; ++i) deep += R"({"type":"root","nodes":[)";
  for (const std::string& text :
       std::vector<std::string>{"", "{", "[]", "null", "7", "{}", R"({"type":"workspace"})", R"({"type":7})", deep,
                                std::string("{\"type\":\"root\"\0}", 16), R"({"type":"root"} x)"}) {
    EXPECT_EQ(parseTree(text), std::nullopt) << text.substr(0, 40);
  }
  EXPECT_TRUE(parseTree(R"({"type":"root"})")) << "nothing is open";
}

TEST(SwayTree, ReadsWhatAnEventAndAReplySay) {
  EXPECT_EQ(changeOf(R"({"change":"new","container":{"id":5}})"), "new");
  for (const char* event : {"", "[]", "{}", R"({"change":5})", "{"}) EXPECT_EQ(changeOf(event), "") << event;
  EXPECT_TRUE(isSuccess(R"([{"success":true}])"));
  EXPECT_TRUE(isSuccess(R"({"success":true})"));
  for (const char* reply : {"", "[]", "{}", R"([{"success":false}])", R"([{"success":true},{"success":false}])", "[7]",
                            R"({"success":1})"}) {
    EXPECT_FALSE(isSuccess(reply)) << reply;
  }
}

}  // namespace
}  // namespace quillard::sway
