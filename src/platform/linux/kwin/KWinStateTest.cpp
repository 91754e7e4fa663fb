#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/kwin/KWinScripting.h"
#include "platform/linux/kwin/KWinScripts.h"
#include "platform/linux/kwin/KWinState.h"
#include "platform/linux/windows/WindowListing.h"

namespace quillard::kwin {
namespace {

using desktop::Window;
using desktop::WindowType;

constexpr const char* kFirst = "{535313cc-489d-408a-a13b-7d916c4a3e5b}";
constexpr const char* kSecond = "{a90504cd-a07b-4ae2-b064-dad9b4488053}";

// A window of that identifier, with these further members.
std::string window(const std::string& identifier, const std::string& more = "") {
  return R"({"id":")" + identifier + "\"" + (more.empty() ? "" : ",") + more + "}";
}

std::string state(const std::vector<std::string>& windows, const std::string& more = "") {
  std::string list;
  for (const auto& each : windows) list += (list.empty() ? "" : ",") + each;
  return R"({"windows":[)" + list + "]" + (more.empty() ? "" : ",") + more + "}";
}

Window only(const std::string& more) {
  WindowNumbers numbers;
  const auto parsed = parseState(state({window(kFirst, more)}), numbers);
  if (!parsed || parsed->windows.size() != 1) {
    ADD_FAILURE() << more;
    return {};
  }
  return parsed->windows[0];
}

// As KWin 5.27 told of a dialog of GTK 3 with its own title bar.
TEST(KWinState, SaysWhatKWinTellsOfAWindow) {
  const auto dialog = only(R"("pid":5933,"title":"Permission","app":"zenity","kind":"dialog","x11":false,
    "minimized":false,"desktop":1,"modal":true,"parent":null,"frame":[506,325,268,149],"buffer":[506,354,268,120],
    "opacity":1,"above":false,"below":false,"skipTaskbar":true,"order":0)");
  EXPECT_EQ(dialog.processIdentifier, 5933);
  EXPECT_EQ(dialog.name, "Permission");
  EXPECT_EQ(dialog.className, "zenity");
  EXPECT_EQ(dialog.type, WindowType::dialog);
  EXPECT_TRUE(dialog.isModal);
  EXPECT_TRUE(dialog.isMapped);
  EXPECT_TRUE(dialog.skipsTaskbar);
  EXPECT_TRUE(dialog.hasRelativePlaces);
  EXPECT_EQ(dialog.desktop, 1U);
  EXPECT_EQ(dialog.clientBounds, (Rect{506, 354, 268, 120}));
  EXPECT_EQ(desktop::visibleBounds(dialog), (Rect{506, 325, 268, 149}));
}

TEST(KWinState, AShadowReachesBeyondWhatIsSeen) {
  const auto window = only(R"("frame":[100,100,300,200],"buffer":[74,77,352,252])");
  EXPECT_EQ(window.clientBounds, (Rect{74, 77, 352, 252}));
  EXPECT_EQ(desktop::visibleBounds(window), (Rect{100, 100, 300, 200}));
}

TEST(KWinState, TheOrderIsFromBottomToTopAndOneIsActive) {
  WindowNumbers numbers;
  const auto parsed =
      parseState(state({window(kFirst, R"("title":"top","order":1)"), window(kSecond, R"("title":"bottom","order":0)")},
                       std::string(R"("active":")") + kFirst + R"(","current":2,"screen":[1280,800])"),
                 numbers);
  ASSERT_TRUE(parsed && parsed->windows.size() == 2);
  EXPECT_EQ(parsed->windows[0].name, "bottom");
  EXPECT_EQ(parsed->active, parsed->windows[1].id);
  EXPECT_EQ(parsed->currentDesktop, 2U);
  EXPECT_EQ(parsed->screen, (Size{1280, 800}));
  EXPECT_EQ(parsed->coverage, desktop::WindowCoverage::all);
}

TEST(KWinState, AMinimisedWindowIsPutAwayAndOneOfAnotherDesktopIsNot) {
  EXPECT_TRUE(only(R"("minimized":true)").isHidden);
  EXPECT_FALSE(only(R"("minimized":true)").isMapped);
  const auto elsewhere = only(R"("desktop":3)");
  EXPECT_FALSE(elsewhere.isHidden);
  EXPECT_EQ(elsewhere.desktop, 3U);
  EXPECT_EQ(only(R"("desktop":0)").desktop, std::nullopt) << "on all of them";
}

TEST(KWinState, AWindowKeepsItsNumberAndNoOtherEverHasIt) {
  WindowNumbers numbers;
  const auto numberOf = [&](const std::string& text) {
    const auto parsed = parseState(text, numbers);
    return parsed && !parsed->windows.empty() ? parsed->windows[0].id : 0;
  };
  const auto first = numberOf(state({window(kFirst)}));
  EXPECT_EQ(numberOf(state({window(kFirst)})), first);
  EXPECT_EQ(numbers.identifierOf(first), kFirst);
  EXPECT_NE(numberOf(state({window(kSecond)})), first);
  EXPECT_EQ(numbers.identifierOf(first), std::nullopt) << "It has gone.";
  EXPECT_NE(numberOf(state({window(kFirst)})), first);
  EXPECT_GT(first, desktop::WindowID{1} << 41U) << "as none of another source";
}

TEST(KWinState, WhatIsOddInOneWindowReadsAsNotSaid) {
  const auto odd = only(R"("pid":-1,"title":7,"kind":[],"x11":"no","minimized":1,"desktop":1e9,"modal":null,
    "parent":"{}","frame":[1,2,3],"buffer":{},"opacity":7,"order":"x")");
  EXPECT_EQ(odd.processIdentifier, std::nullopt);
  EXPECT_EQ(odd.name, "");
  EXPECT_EQ(odd.type, WindowType::normal);
  EXPECT_EQ(odd.desktop, std::nullopt);
  EXPECT_EQ(odd.transientFor, std::nullopt);
  EXPECT_EQ(odd.clientBounds, Rect{});
  EXPECT_EQ(odd.opacity, 1);
  EXPECT_EQ(only(R"("frame":[1,2,-3,4])").clientBounds, Rect{});
  EXPECT_EQ(only(R"("frame":[1e300,2,3,4])").clientBounds, Rect{});
}

TEST(KWinState, AWindowWithoutAnIdentifierIsLeftOut) {
  WindowNumbers numbers;
  const auto parsed = parseState(
      R"({"windows":[7,null,{},{"id":7},{"id":""},{"id":"{}"},{"id":"\"; quit(); \""},{"id":"{535313CC-489d-408a-a13b-7d916c4a3e5b}"}]})",
      numbers);
  ASSERT_TRUE(parsed);
  EXPECT_TRUE(parsed->windows.empty());
}

TEST(KWinState, AnythingElseIsNoEmptyDesktop) {
  WindowNumbers numbers;
  std::string many = window(kFirst);
  for (std::size_t i = 0; i < kMostWindows; ++i) many += "," + window(kFirst);
  for (const std::string& text :
       std::vector<std::string>{"", "{", "[]", "null", "{}", R"({"windows":{}})", R"({"windows":null})",
                                R"({"windows":[]} x)", R"({"windows":[],"windows":[]})", state({many})}) {
    EXPECT_EQ(parseState(text, numbers), std::nullopt) << text.substr(0, 40);
  }
  EXPECT_TRUE(parseState(state({}), numbers)) << "nothing is open";
}

TEST(KWinScripts, NameTheirAddresseeAndTheirWindow) {
  EXPECT_NE(watchingScript(":1.42").find(R"(callDBus(":1.42", "/windows", "com.quillard.Windows", "tell",)"),
            std::string::npos);
  const auto raise = requestScript(WindowRequest::activate, kFirst);
  EXPECT_NE(raise.find(kFirst), std::string::npos);
  EXPECT_NE(raise.find("activeWindow = w"), std::string::npos);
  EXPECT_NE(requestScript(WindowRequest::close, kFirst).find("closeWindow()"), std::string::npos);
}

TEST(KWinScripts, OnlyWhatHasKWinsFormCanStandInOne) {
  EXPECT_TRUE(isWindowIdentifier(kFirst));
  for (const char* text : {"", "{}", "535313cc-489d-408a-a13b-7d916c4a3e5b", "{535313cc-489d-408a-a13b-7d916c4a3e5\"}",
                           "{535313cc-489d-408a-a13b-7d916c4a3e5b}x", "{535313cc-489d-408a-a13b-7d916c4a3e5g}"}) {
    EXPECT_FALSE(isWindowIdentifier(text)) << text;
  }
}

TEST(KWinScripts, AFileSaysWhoseItIs) {
  EXPECT_EQ(ownerOfScript(scriptNameOf(4711)), 4711);
  EXPECT_EQ(ownerOfScript(requestScriptNameOf(4711, 0)), 4711);
  for (const char* name :
       {"", "quillard-windows-.js", "quillard-windows-0.js", "quillard-windows--4.js", "quillard-windows-12",
        "quillard-windows-12x.js", "windows-12.js", "quillard-windows-99999999999.js", "quillard-request-1.js",
        "quillard-request-0-2.js", "quillard-request-1-.js", "quillard-request-1-2-3.js", "quillard-request-.js"}) {
    EXPECT_EQ(ownerOfScript(name), std::nullopt) << name;
  }
}

}  // namespace
}  // namespace quillard::kwin
