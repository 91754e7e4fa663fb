#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "recording/RecordedDesktopJson.h"

namespace quillard::recording {
namespace {

namespace ax = platform::ax;
using platform::AXError;

RecordedDesktop read(std::string_view text) {
  auto outcome = readRecordedDesktop(text);
  if (const auto* error = std::get_if<JsonError>(&outcome)) {
    ADD_FAILURE() << error->description();
    return {};
  }
  return std::get<RecordedDesktop>(std::move(outcome));
}

std::string errorOf(std::string_view text) {
  const auto outcome = readRecordedDesktop(text);
  const auto* error = std::get_if<JsonError>(&outcome);
  return error ? error->description() : "no error";
}

std::string desktopWith(std::string_view members) {
  return R"({"format": "quillard.recorded-desktop", "version": 1, )" + std::string(members) + "}";
}

// One application with one window with these members.
std::string windowWith(std::string_view members) {
  return desktopWith(R"("applications": [{"windows": [{)" + std::string(members) + "}]}]");
}

RecordedElement windowOf(const RecordedDesktop& desktop) { return desktop.elements.at("#2"); }

constexpr std::string_view kByHand = R"({
  "format": "quillard.recorded-desktop",
  "version": 1,
  "applications": [
    {
      "processIdentifier": 412,
      "name": "Files",
      "bundleIdentifier": "org.example.files",
      "activationPolicy": "accessory",
      "frontmost": true,
      "windows": [
        {
          "subrole": "AXDialog",
          "title": "Erase disk?",
          "modal": true,
          "frame": [40, 60, 320, 140.5],
          "attributes": {"AXDefaultButton": {"element": "erase"}, "AXMinimized": false},
          "children": [
            {"role": "AXStaticText", "value": "This cannot be undone.", "frame": [60, 80, 280, 20]},
            {"id": "erase", "role": "AXButton", "title": "Erase", "frame": [260, 160, 80, 24]}
          ]
        }
      ]
    }
  ],
  "focusedElement": "erase",
  "windowList": [
    {"ownerProcessIdentifier": 412, "ownerName": "Files", "layer": 0, "alpha": 1, "bounds": [40, 60, 320, 140.5]}
  ]
}
)";

TEST(RecordedDesktopJson, ReadsWhatAPersonWrote) {
  const auto desktop = read(kByHand);
  ASSERT_EQ(desktop.applications.size(), 1U);
  const auto& application = desktop.applications.front();
  EXPECT_EQ(application.application,
            (platform::RunningApplication{.processIdentifier = 412,
                                          .localizedName = "Files",
                                          .bundleIdentifier = "org.example.files",
                                          .activationPolicy = platform::ActivationPolicy::accessory}));
  EXPECT_TRUE(application.isFrontmost);
  EXPECT_EQ(desktop.elements.at(application.element).attributes,
            (RecordedAttributes{{"AXRole", "AXApplication"}, {"AXWindows", std::vector<ElementId>{"#2"}}}));
  EXPECT_EQ(windowOf(desktop), (RecordedElement{.processIdentifier = 412,
                                                .attributes = {{"AXRole", "AXWindow"},
                                                               {"AXSubrole", "AXDialog"},
                                                               {"AXTitle", "Erase disk?"},
                                                               {"AXModal", true},
                                                               {"AXPosition", Point{40, 60}},
                                                               {"AXSize", Size{320, 140.5}},
                                                               {"AXParent", ElementReference{"#1"}},
                                                               {"AXDefaultButton", ElementReference{"erase"}},
                                                               {"AXMinimized", false},
                                                               {"AXChildren", std::vector<ElementId>{"#3", "erase"}}},
                                                .actionNames = std::vector<std::string>{"AXRaise"}}));
  EXPECT_EQ(std::get<0>(desktop.elements.at("erase").actionNames), std::vector<std::string>{"AXPress"});
  EXPECT_EQ(desktop.focusedElement, "erase");
  EXPECT_EQ(desktop.windowList,
            (std::vector<RecordedWindowListEntry>{{.entry = {.ownerProcessIdentifier = 412,
                                                             .ownerName = "Files",
                                                             .layer = 0,
                                                             .alpha = 1.0,
                                                             .bounds = Rect{40, 60, 320, 140.5}}}}));
}

TEST(RecordedDesktopJson, WritesWhatAPersonWouldWrite) { EXPECT_EQ(recordedDesktopText(read(kByHand)), kByHand); }

TEST(RecordedDesktopJson, ExpectsAlmostNothing) {
  EXPECT_EQ(read(R"({"format": "quillard.recorded-desktop", "version": 1})"), RecordedDesktop{});
  const auto desktop = read(desktopWith(R"("applications": [{}, {"name": null}])"));
  ASSERT_EQ(desktop.applications.size(), 2U);
  EXPECT_EQ(desktop.applications[0].application.processIdentifier, 1001);
  EXPECT_EQ(desktop.applications[1].application.processIdentifier, 1002);
  EXPECT_EQ(desktop.elements.size(), 2U);
}

TEST(RecordedDesktopJson, NullTakesAnExpectedAttributeAway) {
  const auto desktop = read(windowWith(
      R"("role": null, "children": null, "actions": null, "process": null, "attributes": {"AXParent": null})"));
  EXPECT_EQ(windowOf(desktop), RecordedElement{});
  EXPECT_EQ(read(recordedDesktopText(desktop)), desktop);
}

TEST(RecordedDesktopJson, GivesNoElementAnIdThatAnotherHas) {
  const auto desktop = read(windowWith(R"("children": [{}, {"id": "#3"}])"));
  EXPECT_EQ(windowOf(desktop).attributes.at("AXChildren"), (RecordedValue{std::vector<ElementId>{"#3'", "#3"}}));
}

TEST(RecordedDesktopJson, KeepsEveryKindOfValue) {
  const auto desktop = read(windowWith(R"("attributes": {
    "text": "t", "bytes": {"bytes": "ff41"}, "true": true, "integer": -9223372036854775808, "number": 5.0,
    "nan": {"number": "nan"}, "inf": {"number": "inf"}, "-inf": {"number": "-inf"},
    "point": {"point": [1, {"number": "inf"}]}, "size": {"size": [1.5, 2]}, "rect": {"rect": [1, 2, 3, 4]},
    "element": {"element": "w"}, "elements": {"elements": ["w", "w"]}, "foreign": {"foreign": true},
    "error": {"error": "cannotComplete"}}, "id": "w")"));
  auto attributes = desktop.elements.at("w").attributes;
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(attributes["text"], RecordedValue{"t"});
  EXPECT_EQ(attributes["bytes"], RecordedValue{"\xFF\x41"});
  EXPECT_EQ(attributes["true"], RecordedValue{true});
  EXPECT_EQ(attributes["integer"], RecordedValue{INT64_MIN});
  EXPECT_EQ(attributes["number"], RecordedValue{5.0});
  EXPECT_TRUE(std::isnan(std::get<double>(attributes["nan"])));
  EXPECT_EQ(attributes["inf"], RecordedValue{infinity});
  EXPECT_EQ(attributes["-inf"], RecordedValue{-infinity});
  EXPECT_EQ(attributes["point"], (RecordedValue{Point{1, infinity}}));
  EXPECT_EQ(attributes["size"], (RecordedValue{Size{1.5, 2}}));
  EXPECT_EQ(attributes["rect"], (RecordedValue{Rect{1, 2, 3, 4}}));
  EXPECT_EQ(attributes["element"], RecordedValue{ElementReference{"w"}});
  EXPECT_EQ(attributes["elements"], (RecordedValue{std::vector<ElementId>{"w", "w"}}));
  EXPECT_EQ(attributes["foreign"], RecordedValue{platform::AXForeignValue{}});
  EXPECT_EQ(attributes["error"], RecordedValue{AXError::cannotComplete});
  EXPECT_EQ(read(recordedDesktopText(desktop)), desktop);
}

// One element is listed twice, and another holds the window that holds it.
TEST(RecordedDesktopJson, KeepsGraphsThatAreNoTrees) {
  const auto desktop = read(windowWith(R"("id": "w", "children": [{"id": "a", "children": ["w", "a"]}, "a"])"));
  EXPECT_EQ(desktop.elements.at("w").attributes.at("AXChildren"), (RecordedValue{std::vector<ElementId>{"a", "a"}}));
  EXPECT_EQ(desktop.elements.at("a").attributes.at("AXChildren"), (RecordedValue{std::vector<ElementId>{"w", "a"}}));
  EXPECT_EQ(read(recordedDesktopText(desktop)), desktop);
}

TEST(RecordedDesktopJson, CutsATreeThatIsTooDeepIntoPieces) {
  RecordedDesktop desktop;
  constexpr int kDepth = 2000;
  for (int i = 1; i <= kDepth; ++i) {
    auto& element = desktop.elements["#" + std::to_string(i)];
    if (i < kDepth) element.attributes["AXChildren"] = std::vector<ElementId>{"#" + std::to_string(i + 1)};
  }
  desktop.applications = {{.element = "#1"}};
  EXPECT_EQ(read(recordedDesktopText(desktop)), desktop);
}

struct BadText {
  std::string text;
  std::string error;
};

TEST(RecordedDesktopJson, RefusesWhatIsNoRecordedDesktop) {
  const std::vector<BadText> table{
      {"", "The text is not valid JSON."},
      {"[]", "Expected an object."},
      {"{}", "format: The member is missing."},
      {R"({"format": "desktop", "version": 1})", "format: This is no recorded desktop."},
      {R"({"format": 1, "version": 1})", "format: Expected a text."},
      {R"({"format": "quillard.recorded-desktop"})", "version: The member is missing."},
      {R"({"format": "quillard.recorded-desktop", "version": 2})", "version: Only version 1 can be read."},
      {R"({"format": "quillard.recorded-desktop", "version": "1"})", "version: Expected a whole number in range."},
      {desktopWith(R"("version": 1)"), "version: The member stands twice."},
      {desktopWith(R"("window": [])"), "window: The member is not known."},
      {desktopWith(R"("cut": 1)"), "cut: Expected true or false."},
      {desktopWith(R"("focusedWindow": "w")"), "focusedWindow: No element has the id \"w\"."},
      {desktopWith(R"("focusedElement": 1)"), "focusedElement: Expected a text."},
      {desktopWith(R"("id": "w", "focusedElement": "w")"), "id: The member is not known."},
      {desktopWith(R"("elements": {})"), "elements: Expected a list."},
      {desktopWith(R"("elements": [1])"), "elements[0]: Expected an object."},
      {desktopWith(R"("elements": [null])"), "elements[0]: Expected an object."},
      {desktopWith(std::string(R"("elements": )") + std::string(600, '[') + std::string(600, ']')),
       "The JSON text is nested too deeply."},
  };
  for (const auto& [text, error] : table) EXPECT_EQ(errorOf(text), error) << text;
}

TEST(RecordedDesktopJson, RefusesApplicationsThatAreNone) {
  const std::vector<BadText> table{
      {R"({})", ": Expected a list."},
      {R"([1])", "[0]: Expected an object."},
      {R"(["w"])", "[0]: Expected an object."},
      {R"([{"processIdentifier": 2147483648}])", "[0].processIdentifier: Expected a whole number in range."},
      {R"([{"processIdentifier": 1.5}])", "[0].processIdentifier: Expected a whole number in range."},
      {R"([{"processIdentifier": 7}, {"processIdentifier": 7}])",
       "[1].processIdentifier: The process identifier 7 stands twice."},
      {R"([{"name": {"bytes": "4"}}])", "[0].name: Expected a text."},
      {R"([{"activationPolicy": "usual"}])",
       "[0].activationPolicy: Expected \"regular\", \"accessory\" or \"prohibited\"."},
      {R"([{"frontmost": true}, {"frontmost": true}])", "[1].frontmost: Only one application can be frontmost."},
      {R"([{"active": "yes"}])", "[0].active: Expected true or false."},
      {R"([{"element": "gone"}])", "[0].element: No element has the id \"gone\"."},
      {R"([{"id": "a"}, {"element": "a", "title": "b"}])", "[1].title: The member is not known."},
      {R"([{"title": "b", "colour": "red"}])", "[0].colour: The member is not known."},
  };
  for (const auto& [text, error] : table) {
    EXPECT_EQ(errorOf(desktopWith(R"("applications": )" + text)), "applications" + error) << text;
  }
}

TEST(RecordedDesktopJson, RefusesElementsThatAreNone) {
  const std::vector<BadText> table{
      {R"("id": "")", "id: An id is not empty."},
      {R"("id": 3)", "id: Expected a text."},
      {R"("id": "w", "children": [{"id": "w"}])", "children[0].id: The id stands twice."},
      {R"("children": ["gone"])", "children[0]: No element has the id \"gone\"."},
      {R"("children": ["#2"])", "children[0]: No element has the id \"#2\"."},
      {R"("children": [[]])", "children[0]: Expected an object."},
      {R"("children": [{"children": [{"tilte": "OK"}]}])", "children[0].children[0].tilte: The member is not known."},
      {R"("process": "x")", "process: Expected a whole number in range."},
      {R"("title": [])", "title: Expected a value."},
      {R"("title": {})", "title: Expected a value: an object of one member that says its kind."},
      {R"("title": {"text": "a"})", "title: Expected a value: an object of one member that says its kind."},
      {R"("title": {"bytes": "FF"})", "title: Expected bytes in lower-case hexadecimal."},
      {R"("title": "a", "attributes": {"AXTitle": "b"})", "title: The attribute stands twice."},
      {R"("frame": [1, 2, 3, 4], "attributes": {"AXSize": 1})", "frame: The attribute stands twice."},
      {R"("children": [], "attributes": {"AXChildren": null})", "children: The attribute stands twice."},
      {R"("frame": [1, 2, 3])", "frame: Expected [x, y, width, height]."},
      {R"("frame": [1, 2, 3, "4"])", "frame: Expected [x, y, width, height]."},
      {R"("actions": ["AXPress", 1])", "actions: Expected a list of names, or an error."},
      {R"("actions": {"point": [1, 2]})", "actions: Expected a list of names, or an error."},
      {R"("attributes": [])", "attributes: Expected an object."},
      {R"("attributes": {"a": {"error": "success"}})", "attributes.a: Expected the name of an error."},
      {R"("attributes": {"a": {"element": "gone"}})", "attributes.a: No element has the id \"gone\"."},
      {R"("attributes": {"a": {"elements": ["gone"]}})", "attributes.a: No element has the id \"gone\"."},
      {R"("attributes": {"a": {"elements": "gone"}})", "attributes.a: Expected a list of ids of elements."},
      {R"("attributes": {"a": {"number": 1}})", "attributes.a: Expected \"nan\", \"inf\" or \"-inf\"."},
      {R"("attributes": {"a": {"point": [1]}})", "attributes.a: Expected a point: [x, y]."},
      {R"("attributes": {"a": {"size": "wide"}})", "attributes.a: Expected a size: [width, height]."},
      {R"("attributes": {"a": {"foreign": false}})", "attributes.a: Expected true."},
      {R"("value": 9223372036854775808)", "value: The whole number is too large."},
  };
  for (const auto& [text, error] : table) {
    EXPECT_EQ(errorOf(windowWith(text)), "applications[0].windows[0]." + error) << text;
  }
}

TEST(RecordedDesktopJson, RefusesWindowListsThatAreNone) {
  const std::vector<BadText> table{
      {R"({})", ": Expected a list."},
      {R"([[]])", "[0]: Expected an object."},
      {R"([{"name": "a"}])", "[0].name: The member is not known."},
      {R"([{"ownerName": 1}])", "[0].ownerName: Expected a text."},
      {R"([{"layer": 1e30}])", "[0].layer: Expected a whole number in range."},
      {R"([{}, {"alpha": "1"}])", "[1].alpha: Expected a number."},
      {R"([{"bounds": {"rect": [1, 2, 3, 4]}}])", "[0].bounds: Expected [x, y, width, height]."},
  };
  for (const auto& [text, error] : table) {
    EXPECT_EQ(errorOf(desktopWith(R"("windowList": )" + text)), "windowList" + error) << text;
  }
}

TEST(RecordedDesktopJson, RefusesATextThatIsTooLong) {
  EXPECT_EQ(errorOf(std::string(kRecordedDesktopLimits.bytes + 1, ' ')), "The JSON text is too long.");
}

// Groups, each of them an element too.
std::string desktopOfGroups(std::size_t groups, std::size_t elementsPerGroup) {
  std::string group = R"({"children": [{})";
  for (std::size_t i = 2; i < elementsPerGroup; ++i) group += ",{}";
  std::string list = group + "]}";
  for (std::size_t i = 1; i < groups; ++i) list += "," + group + "]}";
  return desktopWith(R"("elements": [)" + list + "]");
}

TEST(RecordedDesktopJson, RefusesTooManyElements) {
  EXPECT_EQ(errorOf(desktopOfGroups(kRecordedDesktopElements / 100 + 1, 100)), "There are too many elements.");
  EXPECT_EQ(read(desktopOfGroups(50, 100)).elements.size(), 5000U);
}

// Random desktops: few ids, so that lists repeat elements and run in circles, and every kind of value everywhere.
class DesktopGenerator {
 public:
  RecordedDesktop desktop() {
    RecordedDesktop desktop;
    const auto chosen = someOf(id(), 10);
    ids.assign(chosen.begin(), chosen.end());
    for (const auto& id : ids) desktop.elements[id] = element();
    const int applications = ids.empty() ? 0 : *rc::gen::inRange(0, 4);
    const int frontmost = *rc::gen::inRange(0, 4);
    for (int i = 0; i < applications; ++i) desktop.applications.push_back(application(i * 7, i == frontmost));
    if (!ids.empty()) desktop.focusedWindow = maybe(rc::gen::elementOf(ids));
    if (!ids.empty()) desktop.focusedElement = maybe(rc::gen::elementOf(ids));
    for (int i = *rc::gen::inRange(0, 3); i > 0; --i) desktop.windowList.push_back(windowListEntry());
    desktop.isCut = *rc::gen::arbitrary<bool>();
    return desktop;
  }

 private:
  template <class T>
  static std::optional<T> maybe(const rc::Gen<T>& generator) {
    return *rc::gen::arbitrary<bool>() ? std::optional<T>(*generator) : std::nullopt;
  }

  static std::set<std::string> someOf(const rc::Gen<std::string>& generator, int most) {
    std::set<std::string> chosen;
    for (int i = *rc::gen::inRange(0, most + 1); i > 0; --i) chosen.insert(*generator);
    return chosen;
  }

  // Such as the reader gives itself, such as it gives itself in need, and others.
  static rc::Gen<std::string> id() {
    return rc::gen::oneOf(
        rc::gen::map(rc::gen::inRange(1, 12), [](int position) { return "#" + std::to_string(position); }),
        rc::gen::element<std::string>("#1'", "#2'", "w", "é", "\"", " "));
  }

  static double number() {
    const double infinity = std::numeric_limits<double>::infinity();
    return *rc::gen::oneOf(rc::gen::arbitrary<double>(),
                           rc::gen::element(0.0, -0.0, 1.0, 0.1, -12.0, 1e300, 5e-324, 9007199254740993.0, infinity,
                                            -infinity, std::numeric_limits<double>::quiet_NaN()));
  }

  static std::string text() {
    return *rc::gen::oneOf(rc::gen::arbitrary<std::string>(), rc::gen::string<std::string>(),
                           rc::gen::element<std::string>("AXWindow", "AXButton", "AXGroup", "\xFF", "\xED\xA0\x80",
                                                         "\xEF\xBF\xBF", std::string("\0a", 2), "{\"bytes\": 1}"));
  }

  std::vector<ElementId> list() { return *rc::gen::container<std::vector<ElementId>>(rc::gen::elementOf(ids)); }

  RecordedValue value() {
    switch (*rc::gen::inRange(0, 11)) {
      case 0:
        return platform::AXForeignValue{};
      case 1:
        return *rc::gen::arbitrary<bool>();
      case 2:
        return *rc::gen::oneOf(rc::gen::arbitrary<std::int64_t>(), rc::gen::element(INT64_MIN, INT64_MAX));
      case 3:
        return number();
      case 4:
        return text();
      case 5:
        return Point{number(), number()};
      case 6:
        return Size{number(), number()};
      case 7:
        return Rect{number(), number(), number(), number()};
      case 8:
        return ElementReference{*rc::gen::elementOf(ids)};
      case 9:
        return list();
      default:
        return AXError{*rc::gen::inRange(1, 10)};
    }
  }

  RecordedElement element() {
    RecordedElement element{.processIdentifier = maybe(rc::gen::element(0, 7, -1))};
    const auto names = rc::gen::element<std::string>("AXRole", "AXSubrole", "AXTitle", "AXDescription", "AXValue",
                                                     "AXModal", "AXParent", "AXPosition", "AXSize", "AXWindows",
                                                     "AXChildren", "AXFocused", "role", "");
    for (const auto& name : someOf(names, 10)) {
      element.attributes[name] = value();
    }
    if (*rc::gen::arbitrary<bool>()) element.attributes["AXChildren"] = list();
    if (*rc::gen::arbitrary<bool>()) element.attributes["AXParent"] = ElementReference{*rc::gen::elementOf(ids)};
    if (*rc::gen::arbitrary<bool>()) {
      element.actionNames = AXError{*rc::gen::inRange(1, 10)};
    } else {
      for (int i = *rc::gen::inRange(0, 3); i > 0; --i) std::get<0>(element.actionNames).push_back(text());
    }
    return element;
  }

  RecordedApplication application(std::int32_t processIdentifier, bool isFrontmost) {
    const auto optionalText = [] { return *rc::gen::arbitrary<bool>() ? std::optional(text()) : std::nullopt; };
    return {.application = {.processIdentifier = processIdentifier,
                            .localizedName = optionalText(),
                            .bundleIdentifier = optionalText(),
                            .activationPolicy = platform::ActivationPolicy{*rc::gen::inRange(0, 3)},
                            .isActive = *rc::gen::arbitrary<bool>(),
                            .isHidden = *rc::gen::arbitrary<bool>(),
                            .isTerminated = *rc::gen::arbitrary<bool>()},
            .isFrontmost = isFrontmost,
            .missedTimeout = *rc::gen::arbitrary<bool>(),
            .element = *rc::gen::elementOf(ids)};
  }

  static RecordedWindowListEntry windowListEntry() {
    RecordedWindowListEntry recorded{.isOnScreen = *rc::gen::arbitrary<bool>()};
    if (*rc::gen::arbitrary<bool>()) return recorded;
    recorded.entry = {.ownerProcessIdentifier = *rc::gen::arbitrary<std::int32_t>(),
                      .ownerName = text(),
                      .windowName = text(),
                      .layer = *rc::gen::arbitrary<std::int64_t>(),
                      .alpha = number(),
                      .bounds = Rect{number(), number(), number(), number()}};
    return recorded;
  }

  std::vector<ElementId> ids;
};

RC_GTEST_PROP(RecordedDesktopJson, ReadsWhatItWroteToTheLastBit, ()) {
  const auto desktop = DesktopGenerator{}.desktop();
  const auto text = recordedDesktopText(desktop);
  const auto outcome = readRecordedDesktop(text);
  if (const auto* error = std::get_if<JsonError>(&outcome)) RC_FAIL(error->description() + "\n" + text);
  RC_ASSERT(std::get<RecordedDesktop>(outcome) == desktop);
  RC_ASSERT(recordedDesktopText(std::get<RecordedDesktop>(outcome)) == text);
}

}  // namespace
}  // namespace quillard::recording
