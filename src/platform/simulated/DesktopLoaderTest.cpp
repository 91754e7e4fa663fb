#include <chrono>
#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/DesktopLoader.h"
#include "platform/simulated/SimulatedWorld.h"
#include "recording/DesktopRecorder.h"
#include "recording/RecordedDesktopJson.h"

namespace quillard::platform::simulated {
namespace {

using recording::recordDesktop;
using recording::RecordedDesktop;
using namespace std::chrono_literals;

class DesktopLoaderTest : public testing::Test {
 protected:
  static RecordedDesktop record(SimulatedWorld& world) {
    return recordDesktop(world.accessibility(), world.workspace(), world.windowList());
  }
  // Loads a recording of `world` and records that.
  RecordedDesktop loadedAgain(const RecordedDesktop& recorded) {
    loadDesktop(recorded, copy.desktop());
    return record(copy);
  }
  void expectTheSameAgain() {
    const RecordedDesktop recorded = record(world);
    const RecordedDesktop again = loadedAgain(recorded);
    EXPECT_EQ(again, recorded) << recording::recordedDesktopText(recorded) << recording::recordedDesktopText(again);
  }

  SimulatedWorld world{Seed{1}};
  SimulatedDesktop& desktop = world.desktop();
  SimulatedWorld copy{Seed{2}};
};

TEST_F(DesktopLoaderTest, ADesktopIsTheSameAfterRecordingAndLoading) {
  const auto app = desktop.launch({.name = "App", .bundleIdentifier = "com.example.app", .active = true});
  const auto agent = desktop.launch({.name = "Agent", .policy = ActivationPolicy::accessory});
  const auto hidden = desktop.launch({.name = "Hidden", .hidden = true, .processIdentifier = 77});
  const auto document = desktop.addWindow(
      app, {.role = "AXWindow", .title = "Document", .frame = Rect{0, 0, 900, 700}, .actions = {"AXRaise"}});
  const auto sheet =
      desktop.openSheet(document, {.title = "Save?", .lines = {"Unsaved."}, .buttons = {"Don't", "Save"}});
  desktop.open(agent, {.title = "Allow?", .buttons = {"Deny", "Allow"}, .defaultButton = "Allow"});
  desktop.open(hidden, {.title = "Nobody sees this"});
  desktop.focusElement(*desktop.findButton(sheet, "Save"));
  expectTheSameAgain();
}

TEST_F(DesktopLoaderTest, OddElementsAreTheSameToo) {
  const auto app = desktop.launch({.name = "App", .active = true});
  const auto window = desktop.open(app, {.title = "Odd", .lines = {"a", "b"}, .buttons = {"OK"}});
  const auto parts = desktop.children(window);
  desktop.setAttribute(parts[0], "AXChildren", std::vector{desktop.element(window), desktop.element(parts[1])});
  desktop.setAttributeError(parts[1], "AXValue", AXError::cannotComplete);
  desktop.setAttribute(parts[1], "AXRole", 5);
  desktop.setActionsError(parts[2], AXError::notImplemented);
  desktop.removeAttribute(window, "AXSize");
  desktop.setAttributeError(window, "AXFocused", AXError::attributeUnsupported);
  const auto alone = desktop.addElement(app, {.role = "AXButton", .title = "Alone", .actions = {"AXPress"}});
  desktop.setAttribute(window, "AXCancelButton", desktop.element(alone));
  desktop.setAttribute(app, "AXTitle", "Not its name");
  desktop.setAttributeError(app, "AXFocusedUIElement", AXError::attributeUnsupported);
  expectTheSameAgain();
}

TEST_F(DesktopLoaderTest, TheWindowListIsTheSameWhateverItSaysOfTheWindows) {
  const auto app = desktop.launch({.name = "App"});
  const auto first = desktop.open(app, {.title = "first"});
  desktop.addWindowEntry(
      {.ownerProcessIdentifier = 3, .ownerName = "Shield", .layer = 25, .bounds = Rect{0, 0, 50, 50}});
  const auto second = desktop.open(app, {.title = "second"});
  const auto third = desktop.open(app, {.title = "third"});
  desktop.overrideWindowEntry(second, [](WindowListEntry& entry) { entry.alpha = 0.5; });
  desktop.overrideWindowEntry(third, [](WindowListEntry& entry) { entry.bounds = std::nullopt; });
  desktop.setListed(first, false);
  expectTheSameAgain();
}

TEST_F(DesktopLoaderTest, AFocusedWindowOfAnUnknownProcessIsTheSame) {
  desktop.launch({.name = "App", .active = true});
  const auto service = desktop.launch({.name = "Service", .processIdentifier = 500, .listed = false});
  const auto prompt = desktop.open(service, {.title = "Password", .buttons = {"OK"}});
  desktop.setSystemWideAttribute("AXFocusedWindow", desktop.element(prompt));
  const RecordedDesktop recorded = record(world);
  ASSERT_TRUE(recorded.focusedWindow.has_value());
  EXPECT_EQ(loadedAgain(recorded), recorded);
  EXPECT_FALSE(copy.workspace().runningApplication(500).has_value());
}

TEST_F(DesktopLoaderTest, LoadedPromptsCanBePressedAndClose) {
  const auto app = desktop.launch({.name = "App"});
  desktop.open(app, {.title = "Erase?", .buttons = {"Cancel", "Erase"}});
  loadDesktop(record(world), copy.desktop());
  ASSERT_EQ(copy.desktop().windows(app).size(), 1U);
  const auto prompt = copy.desktop().windows(app).front();
  EXPECT_TRUE(copy.desktop().pressByHand(*copy.desktop().findButton(prompt, "Erase")));
  EXPECT_EQ(copy.desktop().pressed(prompt), "Erase");
  EXPECT_EQ(copy.desktop().attribute(app, "AXWindows").value(), AXValue{std::vector<AXUIElement>{}});
  EXPECT_TRUE(copy.windowList().copyWindowInfo(WindowListOptions::all).empty());
}

TEST_F(DesktopLoaderTest, WhatIsWrittenByHandLoadsUnderItsIds) {
  const auto parsed = recording::readRecordedDesktop(R"({
    "format": "quillard.recorded-desktop", "version": 2,
    "applications": [
      {"processIdentifier": 7, "name": "Files", "frontmost": true, "missedTimeout": true, "element": "files"}],
    "focusedElement": "erase",
    "elements": [
      {"id": "files", "process": 7, "role": "AXApplication", "windows": ["prompt"]},
      {"id": "prompt", "process": 7, "parent": "files", "role": "AXWindow", "children": ["erase"],
       "attributes": {"AXTitle": "Erase?", "AXPosition": {"point": [40, 60]}, "AXSize": {"size": [320, 140]}}},
      {"id": "erase", "process": 7, "parent": "prompt", "role": "AXButton", "attributes": {"AXTitle": "Erase"},
       "actions": ["AXPress"]}]})");
  ASSERT_TRUE(std::holds_alternative<RecordedDesktop>(parsed)) << std::get<JsonError>(parsed).description();
  const LoadedNodes nodes = loadDesktop(std::get<RecordedDesktop>(parsed), desktop);
  EXPECT_EQ(desktop.findButton(nodes.at("prompt"), "Erase"), nodes.at("erase"));
  EXPECT_EQ(desktop.systemWideAttribute("AXFocusedUIElement").value(), AXValue{desktop.element(nodes.at("erase"))});
  const Instant before = world.time().monotonicNow();
  EXPECT_EQ(world.accessibility().copyAttributeValue(desktop.element(nodes.at("prompt")), "AXTitle").error(),
            AXError::cannotComplete);
  EXPECT_EQ(world.time().monotonicNow() - before, kMessagingTimeout);
}

}  // namespace
}  // namespace quillard::platform::simulated
