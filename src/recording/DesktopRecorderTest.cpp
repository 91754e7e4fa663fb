#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recording/DesktopRecorder.h"
#include "recording/RecordedDesktopJson.h"

namespace quillard::recording {
namespace {

namespace ax = platform::ax;
using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;
using platform::RunningApplication;

class FakeReference : public platform::AXElementReference {
 public:
  FakeReference(std::string name) : name(std::move(name)) {}
  bool isEqual(const AXElementReference& other) const override {
    return name == dynamic_cast<const FakeReference&>(other).name;
  }
  std::size_t hashValue() const override { return std::hash<std::string>{}(name); }
  const std::string name;
};

// A new handle at each call, as bindings give them.
AXUIElement element(const std::string& name) { return AXUIElement{std::make_shared<FakeReference>(name)}; }
const std::string& nameOf(const AXUIElement& element) { return dynamic_cast<const FakeReference&>(element.get()).name; }

std::vector<AXUIElement> elements(const std::vector<std::string>& names) {
  std::vector<AXUIElement> handles;
  for (const auto& name : names) handles.push_back(element(name));
  return handles;
}

struct FakeElement {
  std::int32_t processIdentifier = 7;
  std::map<std::string, AXResult<AXValue>, std::less<>> attributes;
  AXResult<std::vector<std::string>> actionNames = AXError::actionUnsupported;
};

// Elements by name; the application with process 7 is "app 7". One process may hang from some read on.
class FakeDesktop : public platform::Accessibility, public platform::Workspace, public platform::WindowList {
 public:
  std::map<std::string, FakeElement> elementsByName;
  std::vector<RunningApplication> applications;
  std::optional<RunningApplication> frontmost;
  std::vector<platform::WindowListEntry> onScreen;
  std::vector<platform::WindowListEntry> all;
  std::optional<std::int32_t> hangingProcess;
  int readsBeforeItHangs = 0;
  int scopes = 0;
  int liveReads = 0;
  std::set<std::pair<std::string, std::string>> reads;

  AXResult<AXValue> read(const AXUIElement& of, std::string_view name) {
    reads.emplace(nameOf(of), name);
    const auto found = elementsByName.find(nameOf(of));
    if (found == elementsByName.end()) return AXError::invalidUIElement;
    if (hangs(found->second.processIdentifier)) return AXError::cannotComplete;
    const auto attribute = found->second.attributes.find(name);
    return attribute == found->second.attributes.end() ? AXError::attributeUnsupported : attribute->second;
  }
  bool isHanging(std::int32_t process) const { return hangingProcess == process && readsBeforeItHangs <= 0; }

  AXResult<AXValue> copyAttributeValue(const AXUIElement& of, platform::AXAttribute name) override {
    ++liveReads;
    return read(of, name);
  }
  AXResult<std::vector<std::string>> copyActionNames(const AXUIElement& of) override {
    return elementsByName.at(nameOf(of)).actionNames;
  }
  platform::ProcessTrust isProcessTrusted() override { return platform::ProcessTrust::granted; }
  platform::ProcessTrust lastKnownProcessTrust() override { return platform::ProcessTrust::granted; }
  void refreshProcessTrust(std::function<void(platform::ProcessTrust)>) override {}
  platform::SubscriptionHandle observeTrustChanges(std::function<void()>) override { return nullptr; }
  AXUIElement createApplication(std::int32_t process) override { return element("app " + std::to_string(process)); }
  AXUIElement createSystemWide() override { return element("system"); }
  std::unique_ptr<platform::AXReadScope> beginReadScope() override;
  std::optional<std::int32_t> processIdentifier(const AXUIElement& of) override {
    const auto found = elementsByName.find(nameOf(of));
    return found == elementsByName.end() ? std::nullopt : std::optional(found->second.processIdentifier);
  }
  AXError setAttributeValue(const AXUIElement&, platform::AXAttribute, const AXValue&) override {
    return AXError::failure;
  }
  AXError performAction(const AXUIElement&, platform::AXAction) override { return AXError::failure; }
  AXResult<AXUIElement> copyElementAtPosition(const AXUIElement&, Point) override { return AXError::failure; }

  std::vector<RunningApplication> runningApplications() override { return applications; }
  std::optional<RunningApplication> frontmostApplication() override { return frontmost; }
  std::optional<RunningApplication> runningApplication(std::int32_t) override { return std::nullopt; }
  bool activate(std::int32_t) override { return false; }
  bool unhide(std::int32_t) override { return false; }
  bool terminate(std::int32_t) override { return false; }
  bool openURL(std::string_view) override { return false; }
  bool openFolder(std::string_view) override { return false; }
  platform::SubscriptionHandle observe(std::function<void(const platform::WorkspaceEvent&)>) override {
    return nullptr;
  }

  platform::Finding<std::vector<platform::WindowListEntry>> readWindowInfo(
      platform::WindowListOptions options) override {
    return options == platform::WindowListOptions::all ? all : onScreen;
  }
  platform::SubscriptionHandle observeChanges(std::function<void()>) override { return nullptr; }
  platform::SubscriptionHandle observeUnlistedWindows(std::function<void()>) override { return nullptr; }

 private:
  bool hangs(std::int32_t process) {
    if (hangingProcess != process) return false;
    return isHanging(process) || readsBeforeItHangs-- <= 0;
  }
};

class FakeScope : public platform::AXReadScope {
 public:
  explicit FakeScope(FakeDesktop& desktop) : desktop(desktop) {}
  AXResult<AXValue> copyAttributeValue(const AXUIElement& of, platform::AXAttribute name) override {
    return desktop.read(of, name);
  }
  AXResult<std::vector<std::string>> copyActionNames(const AXUIElement& of) override {
    return desktop.copyActionNames(of);
  }
  void prepareApplications(std::span<const AXUIElement>, int) override {}
  bool missedTimeout(const AXUIElement& of) const override {
    const auto process = desktop.processIdentifier(of);
    return process && desktop.isHanging(*process);
  }
  std::optional<platform::DesktopReadFailure> desktopFailure() const override { return std::nullopt; }

 private:
  FakeDesktop& desktop;
};

std::unique_ptr<platform::AXReadScope> FakeDesktop::beginReadScope() {
  ++scopes;
  return std::make_unique<FakeScope>(*this);
}

FakeElement fake(std::string_view role, std::map<std::string, AXResult<AXValue>, std::less<>> attributes = {}) {
  attributes.emplace(ax::kRole, AXValue{std::string(role)});
  return {.attributes = std::move(attributes)};
}

AXValue text(const char* value) { return std::string(value); }

// "Files" (process 7) asks whether to erase a disk.
class DesktopRecorderTest : public ::testing::Test {
 protected:
  DesktopRecorderTest() {
    desktop.applications = {
        {.processIdentifier = 7, .localizedName = "Files", .bundleIdentifier = "org.example.files"}};
    desktop.frontmost = desktop.applications.front();
    auto& all = desktop.elementsByName;
    all["app 7"] = fake("AXApplication", {{"AXTitle", text("Files")},
                                          {"AXWindows", AXValue{elements({"window"})}},
                                          {"AXFocusedWindow", AXValue{element("window")}}});
    all["window"] = fake("AXWindow", {{"AXTitle", text("Erase disk 7?")},
                                      {"AXModal", AXValue{true}},
                                      {"AXPosition", AXValue{Point{1, 2}}},
                                      {"AXSize", AXValue{Size{3, 4}}},
                                      {"AXParent", AXValue{element("app 7")}},
                                      {"AXValue", AXError::noValue},
                                      {"AXDefaultButton", AXValue{element("erase")}},
                                      {"AXChildren", AXValue{elements({"message", "field", "erase"})}}});
    all["window"].actionNames = std::vector<std::string>{"AXRaise", "Move to Jane"};
    all["message"] = fake("AXStaticText", {{"AXValue", text("Jane's disk")}});
    all["field"] = fake("AXTextField", {{"AXValue", text("Erase")}});
    all["erase"] = fake("AXButton", {{"AXTitle", text("Erase")}, {"AXValue", AXValue{std::int64_t{5}}}});
    all["erase"].actionNames = std::vector<std::string>{"AXPress"};
    all["system"] = fake("AXSystemWide", {{"AXFocusedWindow", AXValue{element("window")}},
                                          {"AXFocusedUIElement", AXValue{element("field")}}});
  }

  RecordedDesktop record(const RecordingLimits& limits = {}, const RecordingPrivacy& privacy = {}) {
    return recordDesktop(desktop, desktop, desktop, limits, privacy);
  }

  // The recorded element whose title or value this is.
  static RecordedElement elementSaying(const RecordedDesktop& recorded, const std::string& words) {
    for (const auto& [id, element] : recorded.elements) {
      for (const auto& [name, value] : element.attributes) {
        if (value == RecordedValue{words}) return element;
      }
    }
    ADD_FAILURE() << "Nothing says " << words;
    return {};
  }

  FakeDesktop desktop;
};

TEST_F(DesktopRecorderTest, RecordsApplicationsWithTheirTrees) {
  const auto recorded = record();
  ASSERT_EQ(recorded.applications.size(), 1U);
  const RecordedApplication application = recorded.applications.front();
  EXPECT_EQ(application.application, desktop.applications.front());
  EXPECT_TRUE(application.isFrontmost);
  EXPECT_FALSE(application.missedTimeout);
  EXPECT_FALSE(recorded.isCut);
  EXPECT_EQ(recorded.elements.at(application.element).attributes.at("AXWindows"),
            (RecordedValue{std::vector<ElementId>{"#2"}}));
  EXPECT_EQ(recorded.elements.at("#2"),
            (RecordedElement{.processIdentifier = 7,
                             .attributes = {{"AXRole", "AXWindow"},
                                            {"AXTitle", "Erase disk 7?"},
                                            {"AXModal", true},
                                            {"AXPosition", Point{1, 2}},
                                            {"AXSize", Size{3, 4}},
                                            {"AXParent", ElementReference{"#1"}},
                                            {"AXValue", AXError::noValue},
                                            {"AXDefaultButton", ElementReference{"#5"}},
                                            {"AXChildren", std::vector<ElementId>{"#3", "#4", "#5"}}},
                             .actionNames = std::vector<std::string>{"AXRaise", "Move to Jane"}}));
  EXPECT_EQ(recorded.elements.at("#5").attributes.at("AXValue"), RecordedValue{std::int64_t{5}});
  EXPECT_EQ(recorded.focusedWindow, "#2");
  EXPECT_EQ(recorded.focusedElement, "#4");
}

TEST_F(DesktopRecorderTest, ReadsAllInOneScope) {
  record();
  EXPECT_EQ(desktop.scopes, 1);
  EXPECT_EQ(desktop.liveReads, 0);
}

TEST_F(DesktopRecorderTest, RecordsTheApplicationInFrontEvenWhenItIsNotListed) {
  desktop.applications.push_back({.processIdentifier = 8, .isTerminated = true});
  desktop.frontmost = RunningApplication{.processIdentifier = 9};
  const auto recorded = record();
  ASSERT_EQ(recorded.applications.size(), 2U);  // The one that has ended is left out.
  EXPECT_FALSE(recorded.applications[0].isFrontmost);
  EXPECT_EQ(recorded.applications[1].application.processIdentifier, 9);
  EXPECT_TRUE(recorded.applications[1].isFrontmost);
}

TEST_F(DesktopRecorderTest, RecordsGraphsThatAreNoTreesOnce) {
  desktop.elementsByName["erase"].attributes.emplace("AXChildren", AXValue{elements({"window", "erase", "message"})});
  const auto recorded = record();
  EXPECT_EQ(recorded.elements.at("#5").attributes.at("AXChildren"),
            (RecordedValue{std::vector<ElementId>{"#2", "#5", "#3"}}));
  EXPECT_EQ(recorded.elements.size(), 5U);
  EXPECT_FALSE(recorded.isCut);
}

TEST_F(DesktopRecorderTest, RecordsWhatStandsOutsideAllWindowsWhenSomethingRefersToIt) {
  desktop.elementsByName["popover"] =
      fake("AXSheet", {{"AXTitle", text("Popover")}, {"AXChildren", AXValue{elements({"inside"})}}});
  desktop.elementsByName["popover"].processIdentifier = 12;
  desktop.elementsByName["inside"] = fake("AXButton", {{"AXTitle", text("Inside")}});
  desktop.elementsByName["system"].attributes.insert_or_assign("AXFocusedWindow", AXValue{element("popover")});
  const auto recorded = record();
  ASSERT_TRUE(recorded.focusedWindow);
  EXPECT_EQ(recorded.elements.at(*recorded.focusedWindow).processIdentifier, 12);
  EXPECT_EQ(elementSaying(recorded, "Inside").processIdentifier, 12);
}

TEST_F(DesktopRecorderTest, RecordsAHungApplicationAsFarAsItAnswered) {
  desktop.applications.push_back({.processIdentifier = 8});
  desktop.elementsByName["app 8"] = fake("AXApplication", {{"AXTitle", text("Other")}});
  desktop.elementsByName["app 8"].processIdentifier = 8;
  desktop.hangingProcess = 7;
  desktop.readsBeforeItHangs = 35;  // The application, its window, and all but the children of the first child.
  const auto recorded = record();
  ASSERT_EQ(recorded.applications.size(), 2U);
  EXPECT_TRUE(recorded.applications[0].missedTimeout);
  EXPECT_FALSE(recorded.applications[1].missedTimeout);
  EXPECT_EQ(elementSaying(recorded, "Erase disk 7?").attributes.at("AXChildren"),
            (RecordedValue{std::vector<ElementId>{"#3"}}));
  EXPECT_EQ(recorded.elements.at("#3").attributes.at("AXChildren"), RecordedValue{AXError::cannotComplete});
  EXPECT_EQ(recorded.elements.at("#3").attributes.at("AXValue"), RecordedValue{"Jane's disk"});
  EXPECT_EQ(elementSaying(recorded, "Other").processIdentifier, 8);
}

TEST_F(DesktopRecorderTest, StopsAtTheElementsOfAWindow) {
  const auto recorded = record({.elementsPerWindow = 2});
  EXPECT_EQ(recorded.elements.at("#2").attributes.at("AXChildren"), (RecordedValue{std::vector<ElementId>{"#3"}}));
  EXPECT_TRUE(recorded.isCut);
  EXPECT_FALSE(record({.elementsPerWindow = 4}).isCut);
}

TEST_F(DesktopRecorderTest, StopsAtTheDepthOfATree) {
  const auto recorded = record({.depth = 1});
  EXPECT_EQ(recorded.elements.at("#2").attributes.at("AXChildren"), (RecordedValue{std::vector<ElementId>{}}));
  EXPECT_TRUE(recorded.isCut);
  EXPECT_FALSE(record({.depth = 2}).isCut);
}

TEST_F(DesktopRecorderTest, StopsAtTheWindowsOfAnApplication) {
  desktop.elementsByName["second"] = fake("AXWindow");
  desktop.elementsByName["app 7"].attributes.insert_or_assign("AXWindows", AXValue{elements({"window", "second"})});
  const auto recorded = record({.windowsPerApplication = 1});
  EXPECT_EQ(recorded.elements.at("#1").attributes.at("AXWindows"), (RecordedValue{std::vector<ElementId>{"#2"}}));
  EXPECT_TRUE(recorded.isCut);
  EXPECT_FALSE(record({.windowsPerApplication = 2}).isCut);
}

// Elements that keep leading to further ones would otherwise go on for ever.
TEST_F(DesktopRecorderTest, StopsAtElementsOutsideAllWindowsToo) {
  for (int i = 0; i < 50; ++i) {
    desktop.elementsByName["chain " + std::to_string(i)] =
        fake("AXGroup", {{"AXParent", AXValue{element("chain " + std::to_string(i + 1))}}});
  }
  desktop.elementsByName["system"].attributes.insert_or_assign("AXFocusedUIElement", AXValue{element("chain 0")});
  const auto recorded = record({.windowsPerApplication = 3});
  EXPECT_EQ(recorded.elements.size(), 5U + 3U);
  EXPECT_TRUE(recorded.isCut);
  EXPECT_EQ(recorded.elements.at("#8").attributes.at("AXParent"), RecordedValue{AXError::noValue});
}

TEST_F(DesktopRecorderTest, NeverAsksASecureFieldForItsText) {
  auto& field = desktop.elementsByName["field"];
  field.attributes.insert_or_assign("AXSubrole", text("AXSecureTextField"));
  field.attributes.insert_or_assign("AXChildren", AXValue{elements({"message"})});
  record();
  EXPECT_FALSE(desktop.reads.contains({"field", "AXValue"}));
  EXPECT_FALSE(desktop.reads.contains({"field", "AXChildren"}));
  EXPECT_TRUE(desktop.reads.contains({"erase", "AXValue"}));
}

TEST_F(DesktopRecorderTest, AsksNoFieldThatDoesNotSayWhetherItIsSecure) {
  desktop.elementsByName["field"].attributes.insert_or_assign("AXSubrole", AXError::cannotComplete);
  record();
  EXPECT_FALSE(desktop.reads.contains({"field", "AXValue"}));
}

TEST_F(DesktopRecorderTest, TellsWindowsOnScreenFromTheOthers) {
  const platform::WindowListEntry front{.ownerName = "Files", .windowName = "a"};
  const platform::WindowListEntry twin{.ownerName = "Files", .windowName = "b"};
  const platform::WindowListEntry hidden{.ownerName = "Files", .windowName = "c"};
  const platform::WindowListEntry late{.ownerName = "Files", .windowName = "d"};  // Opened between the two questions.
  desktop.onScreen = {front, twin};
  desktop.all = {hidden, front, twin, twin, late};
  EXPECT_EQ(record().windowList, (std::vector<RecordedWindowListEntry>{
                                     {front, true}, {twin, true}, {hidden, false}, {twin, false}, {late, false}}));
}

TEST_F(DesktopRecorderTest, MasksWhatPeopleWroteButNotWhatProgramsAreMadeOf) {
  desktop.onScreen = desktop.all = {{.ownerName = "Files", .windowName = "Jane's disk"}};
  const auto recorded = record({}, {.maskTexts = true, .knownTexts = {"erase"}});
  EXPECT_EQ(recorded.applications.front().application.localizedName, "Files");
  EXPECT_EQ(recorded.elements.at("#1").attributes.at("AXTitle"), RecordedValue{"Files"});
  EXPECT_EQ(recorded.elements.at("#2").attributes.at("AXTitle"), RecordedValue{"Xxxxx xxxx 0?"});
  EXPECT_EQ(recorded.elements.at("#2").attributes.at("AXRole"), RecordedValue{"AXWindow"});
  EXPECT_EQ(std::get<0>(recorded.elements.at("#2").actionNames), (std::vector<std::string>{"AXRaise", "Xxxx xx Xxxx"}));
  EXPECT_EQ(recorded.elements.at("#3").attributes.at("AXValue"), RecordedValue{"Xxxx'x xxxx"});
  EXPECT_EQ(recorded.elements.at("#5").attributes.at("AXTitle"), RecordedValue{"Erase"});
  EXPECT_EQ(recorded.windowList.front().entry,
            (platform::WindowListEntry{.ownerName = "Files", .windowName = "Xxxx'x xxxx"}));
}

TEST_F(DesktopRecorderTest, MasksWhatStandsInATextFieldEvenWhenTheWordIsKnown) {
  const RecordingPrivacy privacy{.maskTexts = true, .knownTexts = {"erase"}};
  EXPECT_EQ(record({}, privacy).elements.at("#4").attributes.at("AXValue"), RecordedValue{"Xxxxx"});
  desktop.elementsByName["field"].attributes.insert_or_assign("AXValue", AXValue{std::int64_t{1234}});
  EXPECT_EQ(record({}, privacy).elements.at("#4").attributes.at("AXValue"), RecordedValue{std::int64_t{0}});
}

TEST_F(DesktopRecorderTest, IsReadAsItWasWritten) {
  const auto recorded = record();
  EXPECT_EQ(std::get<RecordedDesktop>(readRecordedDesktop(recordedDesktopText(recorded))), recorded);
}

}  // namespace
}  // namespace quillard::recording
