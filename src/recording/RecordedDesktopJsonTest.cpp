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
  return R"({"format": "quillard.recorded-desktop", "version": 2, )" + std::string(members) + "}";
}

std::string elementsWith(std::string_view elements) {
  return desktopWith(R"("elements": [)" + std::string(elements) + "]");
}

// One element "w" with these members.
std::string elementWith(std::string_view members) {
  return elementsWith(R"({"id": "w")" + (members.empty() ? "" : ", " + std::string(members)) + "}");
}

RecordedElement elementOf(const RecordedDesktop& desktop) { return desktop.elements.at("w"); }

constexpr std::string_view kByHand = R"({
  "format": "quillard.recorded-desktop",
  "version": 2,
  "applications": [
    {"processIdentifier":412,"name":"Files","bundleIdentifier":"org.example.files","activationPolicy":"accessory","frontmost":true,"element":"#1"}
  ],
  "focusedElement": "erase",
  "windowList": [
    {"ownerProcessIdentifier":412,"ownerName":"Files","layer":0,"alpha":1,"bounds":[40,60,320,140.5]}
  ],
  "elements": [
    {"id":"#1","process":412,"role":"AXApplication","windows":["#2"]},
    {"id":"#2","process":412,"parent":"#1","role":"AXWindow","attributes":{"AXDefaultButton":{"element":"erase"},"AXMinimized":false,"AXPosition":{"point":[40,60]},"AXSize":{"size":[320,140.5]},"AXSubrole":"AXDialog","AXTitle":"Erase disk?"},"actions":["AXRaise"],"children":["#10","erase"]},
    {"id":"#10","process":412,"parent":"#2","role":"AXStaticText","attributes":{"AXValue":"This cannot be undone."}},
    {"id":"erase","process":412,"parent":"#2","role":"AXButton","attributes":{"AXTitle":"Erase"},"actions":["AXPress"],"children":[]}
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
  EXPECT_EQ(desktop.elements.at("#2"),
            (RecordedElement{.processIdentifier = 412,
                             .attributes = {{"AXRole", "AXWindow"},
                                            {"AXSubrole", "AXDialog"},
                                            {"AXTitle", "Erase disk?"},
                                            {"AXPosition", Point{40, 60}},
                                            {"AXSize", Size{320, 140.5}},
                                            {"AXParent", ElementReference{"#1"}},
                                            {"AXDefaultButton", ElementReference{"erase"}},
                                            {"AXMinimized", false},
                                            {"AXChildren", std::vector<ElementId>{"#10", "erase"}}},
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

TEST(RecordedDesktopJson, WritesOneElementALineInTheOrderOfTheIds) {
  EXPECT_EQ(recordedDesktopText(read(kByHand)), kByHand);
}

TEST(RecordedDesktopJson, WritesAnEmptyDesktopAsEmptyLists) {
  EXPECT_EQ(recordedDesktopText({}), R"({
  "format": "quillard.recorded-desktop",
  "version": 2,
  "applications": [],
  "windowList": [],
  "elements": []
}
)");
}

TEST(RecordedDesktopJson, ImpliesNothing) {
  EXPECT_EQ(read(R"({"format": "quillard.recorded-desktop", "version": 2})"), RecordedDesktop{});
  EXPECT_EQ(elementOf(read(elementWith(""))), RecordedElement{});
  const auto desktop = read(desktopWith(
      R"("applications": [{"processIdentifier": 7, "name": null, "element": "a"}], "elements": [{"id": "a"}])"));
  ASSERT_EQ(desktop.applications.size(), 1U);
  EXPECT_EQ(desktop.applications.front(),
            (RecordedApplication{.application = {.processIdentifier = 7}, .element = "a"}));
}

TEST(RecordedDesktopJson, ANullMemberIsAbsent) {
  EXPECT_EQ(elementOf(read(elementWith(
                R"("process": null, "parent": null, "role": null, "attributes": null, "actions": null,
                   "windows": null, "children": null)"))),
            RecordedElement{});
}

TEST(RecordedDesktopJson, KeepsEveryKindOfValue) {
  const auto desktop = read(elementWith(R"("attributes": {
    "text": "t", "bytes": {"bytes": "ff41"}, "true": true, "integer": -9223372036854775808, "number": 5.0,
    "nan": {"number": "nan"}, "inf": {"number": "inf"}, "-inf": {"number": "-inf"},
    "point": {"point": [1, {"number": "inf"}]}, "size": {"size": [1.5, 2]}, "rect": {"rect": [1, 2, 3, 4]},
    "element": {"element": "w"}, "elements": {"elements": ["w", "w"]}, "foreign": {"foreign": true}, "unreadable": {"unreadable": true},
    "error": {"error": "cannotComplete"}})"));
  auto attributes = elementOf(desktop).attributes;
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
  EXPECT_EQ(attributes["unreadable"], RecordedValue{platform::AXUnreadableText{}});
  EXPECT_EQ(attributes["error"], RecordedValue{AXError::cannotComplete});
  EXPECT_EQ(read(recordedDesktopText(desktop)), desktop);
}

TEST(RecordedDesktopJson, KeepsAttributesOfAnUnusualKindThatHaveAMemberOfTheirOwn) {
  const auto desktop = read(elementWith(R"("attributes": {"AXParent": {"error": "noValue"}, "AXRole": 5,
    "AXWindows": {"element": "w"}, "AXChildren": {"error": "cannotComplete"}}, "actions": {"error": "failure"})"));
  EXPECT_EQ(elementOf(desktop), (RecordedElement{.attributes = {{"AXParent", AXError::noValue},
                                                                {"AXRole", std::int64_t{5}},
                                                                {"AXWindows", ElementReference{"w"}},
                                                                {"AXChildren", AXError::cannotComplete}},
                                                 .actionNames = AXError::failure}));
  EXPECT_EQ(read(recordedDesktopText(desktop)), desktop);
}

// One element is listed twice, and another holds the window that holds it.
TEST(RecordedDesktopJson, KeepsGraphsThatAreNoTrees) {
  const auto desktop =
      read(elementsWith(R"({"id": "w", "children": ["a", "a"]}, {"id": "a", "children": ["w", "a"]})"));
  EXPECT_EQ(desktop.elements.at("w").attributes.at("AXChildren"), (RecordedValue{std::vector<ElementId>{"a", "a"}}));
  EXPECT_EQ(desktop.elements.at("a").attributes.at("AXChildren"), (RecordedValue{std::vector<ElementId>{"w", "a"}}));
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
      {R"({"format": "desktop", "version": 2})", "format: This is no recorded desktop."},
      {R"({"format": 1, "version": 2})", "format: Expected a text."},
      {R"({"format": "quillard.recorded-desktop"})", "version: The member is missing."},
      {R"({"format": "quillard.recorded-desktop", "version": 1})", "version: Only version 2 can be read."},
      {R"({"format": "quillard.recorded-desktop", "version": 3})", "version: Only version 2 can be read."},
      {R"({"format": "quillard.recorded-desktop", "version": "2"})", "version: Expected a whole number in range."},
      {desktopWith(R"("version": 2)"), "version: The member stands twice."},
      {desktopWith(R"("window": [])"), "window: The member is not known."},
      {desktopWith(R"("cut": 1)"), "cut: Expected true or false."},
      {desktopWith(R"("focusedWindow": "w")"), "focusedWindow: No element has the id \"w\"."},
      {desktopWith(R"("focusedElement": 1)"), "focusedElement: Expected a text."},
      {desktopWith(R"("elements": {})"), "elements: Expected a list."},
      {desktopWith(R"("elements": [1])"), "elements[0]: Expected an object."},
      {desktopWith(R"("elements": [null])"), "elements[0]: Expected an object."},
      {desktopWith(R"("elements": ["w"])"), "elements[0]: Expected an object."},
      {desktopWith(R"("elements": [[[[[[[]]]]]]])"), "The JSON text is nested too deeply."},
  };
  for (const auto& [text, error] : table) EXPECT_EQ(errorOf(text), error) << text;
}

TEST(RecordedDesktopJson, RefusesApplicationsThatAreNone) {
  const std::vector<BadText> table{
      {R"({})", ": Expected a list."},
      {R"([1])", "[0]: Expected an object."},
      {R"(["w"])", "[0]: Expected an object."},
      {R"([{"element": "w"}])", "[0].processIdentifier: The member is missing."},
      {R"([{"processIdentifier": 7}])", "[0].element: The member is missing."},
      {R"([{"processIdentifier": 7, "element": {}}])", "[0].element: Expected a text."},
      {R"([{"processIdentifier": 7, "element": "gone"}])", "[0].element: No element has the id \"gone\"."},
      {R"([{"processIdentifier": 2147483648}])", "[0].processIdentifier: Expected a whole number in range."},
      {R"([{"processIdentifier": 1.5}])", "[0].processIdentifier: Expected a whole number in range."},
      {R"([{"processIdentifier": 7, "element": "w"}, {"processIdentifier": 7, "element": "w"}])",
       "[1].processIdentifier: The process identifier 7 is there twice."},
      {R"([{"processIdentifier": 7, "name": {"bytes": "4"}}])", "[0].name: Expected a text."},
      {R"([{"processIdentifier": 7, "activationPolicy": "usual"}])",
       "[0].activationPolicy: Expected \"regular\", \"accessory\" or \"prohibited\"."},
      {R"([{"processIdentifier": 7, "frontmost": true, "element": "w"},
           {"processIdentifier": 8, "frontmost": true, "element": "w"}])",
       "[1].frontmost: Only one application can be frontmost."},
      {R"([{"processIdentifier": 7, "active": "yes"}])", "[0].active: Expected true or false."},
      {R"([{"processIdentifier": 7, "element": "w", "title": "b"}])", "[0].title: The member is not known."},
  };
  for (const auto& [text, error] : table) {
    EXPECT_EQ(errorOf(desktopWith(R"("elements": [{"id": "w"}], "applications": )" + text)), "applications" + error)
        << text;
  }
}

TEST(RecordedDesktopJson, RefusesElementsThatAreNone) {
  const std::vector<BadText> table{
      {R"("tilte": "OK")", "tilte: The member is not known."},
      {R"("process": "x")", "process: Expected a whole number in range."},
      {R"("parent": 1)", "parent: Expected a text."},
      {R"("parent": "gone")", "parent: No element has the id \"gone\"."},
      {R"("role": [])", "role: Expected a text."},
      {R"("windows": "w")", "windows: Expected a list of ids of elements."},
      {R"("windows": ["gone"])", "windows: No element has the id \"gone\"."},
      {R"("children": ["w", "gone"])", "children: No element has the id \"gone\"."},
      {R"("children": [[]])", "children: Expected a list of ids of elements."},
      {R"("children": [{"id": "b"}])", "children: Expected a list of ids of elements."},
      {R"("actions": ["AXPress", 1])", "actions: Expected a list of names, or an error."},
      {R"("actions": {"point": [1, 2]})", "actions: Expected a list of names, or an error."},
      {R"("attributes": [])", "attributes: Expected an object."},
      {R"("attributes": {"a": null})", "attributes.a: Expected a value."},
      {R"("attributes": {"a": []})", "attributes.a: Expected a value."},
      {R"("attributes": {"a": {}})", "attributes.a: Expected a value: an object of one member that says its kind."},
      {R"("attributes": {"a": {"text": "a"}})",
       "attributes.a: Expected a value: an object of one member that says its kind."},
      {R"("attributes": {"a": {"bytes": "FF"}})", "attributes.a: Expected bytes in lower-case hexadecimal."},
      {R"("attributes": {"a": {"error": "success"}})", "attributes.a: Expected the name of an error."},
      {R"("attributes": {"a": {"element": "gone"}})", "attributes.a: No element has the id \"gone\"."},
      {R"("attributes": {"a": {"elements": ["gone"]}})", "attributes.a: No element has the id \"gone\"."},
      {R"("attributes": {"a": {"elements": "gone"}})", "attributes.a: Expected a list of ids of elements."},
      {R"("attributes": {"a": {"number": 1}})", "attributes.a: Expected \"nan\", \"inf\" or \"-inf\"."},
      {R"("attributes": {"a": {"point": [1]}})", "attributes.a: Expected a point: [x, y]."},
      {R"("attributes": {"a": {"size": "wide"}})", "attributes.a: Expected a size: [width, height]."},
      {R"("attributes": {"a": {"rect": [1, 2, 3, "4"]}})", "attributes.a: Expected [x, y, width, height]."},
      {R"("attributes": {"a": {"foreign": false}})", "attributes.a: Expected true."},
      {R"("attributes": {"a": {"unreadable": 1}})", "attributes.a: Expected true."},
      {R"("attributes": {"a": 9223372036854775808})", "attributes.a: The whole number is too large."},
      {R"("role": "a", "attributes": {"AXRole": "b"})",
       "attributes.AXRole: The attribute is there twice: it has a member of its own."},
      {R"("parent": "w", "attributes": {"AXParent": {"element": "w"}})",
       "attributes.AXParent: The attribute is there twice: it has a member of its own."},
      {R"("children": [], "attributes": {"AXChildren": {"error": "noValue"}})",
       "attributes.AXChildren: The attribute is there twice: it has a member of its own."},
  };
  for (const auto& [text, error] : table) EXPECT_EQ(errorOf(elementWith(text)), "elements[0]." + error) << text;
}

TEST(RecordedDesktopJson, RefusesIdsThatAreNone) {
  EXPECT_EQ(errorOf(elementsWith("{}")), "elements[0].id: The member is missing.");
  EXPECT_EQ(errorOf(elementsWith(R"({"id": ""})")), "elements[0].id: An id is not empty.");
  EXPECT_EQ(errorOf(elementsWith(R"({"id": 3})")), "elements[0].id: Expected a text.");
  EXPECT_EQ(errorOf(elementsWith(R"({"id": "a"}, {"id": "a"})")), "elements[1].id: The id \"a\" is there twice.");
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
  EXPECT_EQ(errorOf(std::string(RecordedDesktopLimits{}.json.bytes + 1, ' ')), "The JSON text is too long.");
}

std::string errorWithin(const RecordedDesktopLimits& limits, const std::string& text) {
  const auto outcome = readRecordedDesktop(text, limits);
  const auto* error = std::get_if<JsonError>(&outcome);
  return error ? error->description() : "no error";
}

TEST(RecordedDesktopJson, RefusesTooManyEntries) {
  const auto two = elementsWith(R"({"id": "a"}, {"id": "b"})");
  EXPECT_EQ(errorWithin({.elements = 2}, two), "no error");
  EXPECT_EQ(errorWithin({.elements = 1}, two), "elements: There are more than 1 entries.");
  const auto windows = desktopWith(R"("windowList": [{}, {}, {}])");
  EXPECT_EQ(errorWithin({.windowListEntries = 3}, windows), "no error");
  EXPECT_EQ(errorWithin({.windowListEntries = 2}, windows), "windowList: There are more than 2 entries.");
  const auto applications = desktopWith(
      R"("applications": [{"processIdentifier": 1, "element": "a"}, {"processIdentifier": 2, "element": "a"}],
         "elements": [{"id": "a"}])");
  EXPECT_EQ(errorWithin({.applications = 2}, applications), "no error");
  EXPECT_EQ(errorWithin({.applications = 1}, applications), "applications: There are more than 1 entries.");
}

// Each lies inside the one before it; the last one holds `end`, too.
std::string chainOf(int length, const std::string& end) {
  std::string elements;
  for (int i = 1; i <= length; ++i) {
    const auto inside = i < length ? "\"" + std::to_string(i + 1) + "\"" : end;
    elements +=
        std::string(i == 1 ? "" : ", ") + R"({"id": ")" + std::to_string(i) + R"(", "children": [)" + inside + "]}";
  }
  return elementsWith(elements);
}

TEST(RecordedDesktopJson, RefusesElementsThatLieTooDeep) {
  const RecordedDesktopLimits limits{.elementDepth = 12};
  EXPECT_EQ(errorWithin(limits, chainOf(12, "")), "no error");
  EXPECT_EQ(errorWithin(limits, chainOf(13, "")), "elements: The element \"13\" lies deeper than 12 elements.");
  EXPECT_EQ(errorWithin(limits, chainOf(12, "\"1\"")), "no error") << "a circle";
  EXPECT_EQ(errorWithin(limits, chainOf(13, "\"1\"")), "elements: The element \"13\" lies deeper than 12 elements.");
  EXPECT_EQ(errorOf(chainOf(2000, "")), "no error");
  EXPECT_EQ(errorOf(chainOf(2001, "")), "elements: The element \"2001\" lies deeper than 2000 elements.");
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

  static rc::Gen<std::string> id() {
    return rc::gen::oneOf(
        rc::gen::map(rc::gen::inRange(1, 12), [](int position) { return "#" + std::to_string(position); }),
        rc::gen::element<std::string>("#01", "w", "é", "\"", " "));
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
