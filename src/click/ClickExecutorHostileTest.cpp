#include <algorithm>
#include <cstdint>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "click/ClickExecutor.h"
#include "support/ClickWorld.h"

// Prompts that do anything but go away when they are pressed. Whatever they do, nothing but the approved button of the
// approved prompt is pressed, and what the click says is true.
namespace quillard {
namespace {

using platform::AXError;
using platform::simulated::AXRequest;
using platform::simulated::DialogSpec;
using platform::simulated::LateActions;
using platform::simulated::NodeHandle;
using platform::simulated::PressEffect;
using samples::ClickWorld;
namespace ax = platform::ax;

using Lines = std::vector<std::string>;

constexpr auto kGone = std::nullopt;
constexpr auto kStillPresent = ClickError::promptStillPresent;
constexpr auto kNotFound = ClickError::buttonNotFound;

DialogSpec nextQuestion(ClickWorld& world, const PressEffect& effect = PressEffect::closes()) {
  auto next = world.question(effect);
  next.lines = {"App wants to erase your files."};
  return next;
}

// Another prompt with the same buttons in the same place.
NodeHandle openAbove(ClickWorld& world) { return world.desktop().open(world.application, nextQuestion(world)); }

void replacePrompt(ClickWorld& world) {
  world.desktop().close(world.prompt);
  openAbove(world);
}

// The text, wherever it stands by now.
void askSomethingElse(ClickWorld& world) {
  for (const auto child : world.desktop().children(world.prompt)) {
    const auto role = world.desktop().attribute(child, ax::kRole);
    if (!role.hasValue() || std::get<std::string>(role.value()) != "AXStaticText") continue;
    world.desktop().setAttribute(child, ax::kValue, std::string{"Something else?"});
    return;
  }
}

void coverWithAnotherApplication(ClickWorld& world) {
  const auto other = world.desktop().launch({.name = "Other", .active = true});
  world.desktop().open(other, world.question());
}

void swapAttribute(ClickWorld& world, NodeHandle a, NodeHandle b, std::string_view name) {
  const auto ofA = world.desktop().attribute(a, name);
  const auto ofB = world.desktop().attribute(b, name);
  if (!ofA.hasValue() || !ofB.hasValue()) return;
  world.desktop().setAttribute(a, name, ofB.value());
  world.desktop().setAttribute(b, name, ofA.value());
}

void nameWindowButtons(ClickWorld& world, std::string_view label) {
  const auto button = world.desktop().findButton(world.prompt, label);
  if (!button) return;
  world.desktop().setAttribute(world.prompt, ax::kDefaultButton, world.desktop().element(*button));
  world.desktop().setAttribute(world.prompt, ax::kCancelButton, world.desktop().element(*button));
}

// ---- The truth table

struct Row {
  const char* what;
  std::function<void(ClickWorld&)> arrange;  // Opens and approves the prompt, and what else there is.
  std::optional<ClickError> outcome;
  int rightPresses;
};

void refuseFocus(ClickWorld& world) {
  world.desktop().setAttributeError(world.button(), ax::kFocused, AXError::attributeUnsupported);
}

std::function<void(ClickWorld&)> prompt(const PressEffect& effect, std::function<void(ClickWorld&)> more = {}) {
  return [effect, more = std::move(more)](ClickWorld& world) {
    world.approve(world.question(effect));
    if (more) more(world);
  };
}

// The approved one is the last; the window names the other one.
std::function<void(ClickWorld&)> twins(const std::function<void(ClickWorld&)>& more = {}) {
  return [more](ClickWorld& world) {
    auto dialog = world.question(PressEffect::doesNothing());
    dialog.buttons = {"Deny", "Allow", "Allow"};
    world.approve(dialog);
    if (more) more(world);
  };
}

// In a refused press the application takes none of the ways that go through accessibility; mouse and keys press by hand
// and are refused as well.
const std::vector<Row>& truthTable() {
  static const PressEffect nothing = PressEffect::doesNothing();
  static const std::vector<Row> rows{
      {"closes immediately", prompt(PressEffect::closes()), kGone, 1},
      {"answers an error, but acted", prompt(PressEffect::failsButCloses(AXError::cannotComplete)), kGone, 1},
      {"answers success, does nothing", prompt(nothing), kStillPresent, 10},
      {"refuses every press", prompt(PressEffect::fails(AXError::failure)), kStillPresent, 0},
      {"closes after 0.2 s", prompt(PressEffect::closesAfter(Seconds{0.2})), kGone, 1},
      {"closes after 1.0 s", prompt(PressEffect::closesAfter(Seconds{1.0})), kGone, 1},
      {"closes after 4.0 s", prompt(PressEffect::closesAfter(Seconds{4.0})), kGone, 1},
      {"has a successor that looks the same",
       [](ClickWorld& world) { world.approve(world.question(PressEffect::opensNext(nextQuestion(world)))); }, kGone, 1},
      {"has a successor that looks the same after 1 s",
       prompt(PressEffect::runs([](auto& desktop, NodeHandle pressed) {
                desktop.later(Seconds{1}, [&desktop, pressed] { desktop.close(pressed); });
              }),
              [](ClickWorld& world) { world.desktop().later(Seconds{1}, [&world] { replacePrompt(world); }); }),
       kGone, 1},
      {"answers an error, but has a successor that looks the same",
       [](ClickWorld& world) {
         world.approve(world.question(
             PressEffect::runs([&world](auto&, NodeHandle) { replacePrompt(world); }, AXError::cannotComplete)));
       },
       kGone, 1},
      {"gets a second prompt that looks the same above it",
       prompt(nothing, [](ClickWorld& world) { openAbove(world); }), kStillPresent, 10},
      {"is replaced by one that looks the same before anything is done", prompt(nothing, replacePrompt), kNotFound, 0},
      {"asks something else in the same window before anything is done", prompt(nothing, askSomethingElse), kNotFound,
       0},
      {"makes its buttons anew when it is pressed",
       [](ClickWorld& world) {
         world.approve(world.question(PressEffect::runs([&world](auto& desktop, NodeHandle pressed) {
           const auto frame = desktop.frame(pressed);
           desktop.addChild(world.prompt, {.role = "AXButton",
                                           .title = "Allow",
                                           .frame = frame,
                                           .actions = {"AXPress"},
                                           .effects = {{"AXPress", world.noted(PressEffect::closes())}}});
           desktop.close(pressed);
         })));
       },
       kGone, 2},
      {"cannot take the focus", prompt(nothing, refuseFocus), kStillPresent, 8},
      {"cannot take the focus, which is on a sibling",
       prompt(nothing,
              [](ClickWorld& world) {
                refuseFocus(world);
                world.desktop().setAttributeError(world.prompt, ax::kFocused, AXError::failure);
                world.desktop().focusElement(world.button("Always Allow"));
                world.events.setReturnPressesFocusedButton(true);
              }),
       kStillPresent, 6},
      {"has another default button that confirms, too",
       prompt(nothing, [](ClickWorld& world) { nameWindowButtons(world, "Always Allow"); }), kStillPresent, 5},
      {"names no default button, and has two that confirm",
       prompt(nothing, [](ClickWorld& world) { world.desktop().removeAttribute(world.prompt, ax::kDefaultButton); }),
       kStillPresent, 5},
      {"does not say which is the default button",
       prompt(nothing,
              [](ClickWorld& world) {
                world.desktop().setAttributeError(world.prompt, ax::kDefaultButton, AXError::cannotComplete);
              }),
       kStillPresent, 5},
      {"hit test lands on a sibling",
       prompt(nothing,
              [](ClickWorld& world) {
                world.desktop().setHitTest([&world](auto) { return world.button("Always Allow"); });
              }),
       kStillPresent, 7},
      {"hit test lands on the window",
       prompt(nothing, [](ClickWorld& world) { world.desktop().setHitTest([&world](auto) { return world.prompt; }); }),
       kStillPresent, 7},
      {"hit test lands on nothing",
       prompt(nothing,
              [](ClickWorld& world) {
                world.desktop().setHitTest([](auto) { return platform::AXResult<NodeHandle>{AXError::noValue}; });
              }),
       kStillPresent, 7},
      {"hit test lands on a button of the same label in another window",
       prompt(nothing,
              [](ClickWorld& world) {
                const auto other = openAbove(world);
                world.desktop().setHitTest(
                    [&world, other](auto) { return *world.desktop().findButton(other, "Allow"); });
              }),
       kStillPresent, 7},
      {"has a second button of the same label, the default one", twins(), kStillPresent, 5},
      {"hit test lands on a second button of the same label",
       twins([](ClickWorld& world) { world.desktop().setHitTest([&world](auto) { return world.button("Allow"); }); }),
       kStillPresent, 2},
      {"has a default button that cannot be pressed by a request",
       prompt(PressEffect::doesNothing(), [](ClickWorld& world) { world.desktop().setActions(world.button(), {}); }),
       kStillPresent, 7},
      {"loses all events", prompt(nothing, [](ClickWorld& world) { world.events.setLosesEvents(true); }), kStillPresent,
       4},
      {"is of an application that hangs",
       prompt(nothing,
              [](ClickWorld& world) { world.desktop().hang(world.application, LateActions::performedOnUnhang); }),
       ClickError::promptNotReadable, 0},
      {"is of an application that ends when it is pressed",
       [](ClickWorld& world) {
         world.approve(world.question(PressEffect::runs(
             [&world](auto& desktop, NodeHandle) { desktop.terminate(world.application); }, AXError::cannotComplete)));
       },
       kGone, 1},
  };
  return rows;
}

void expectTheTruth(ClickWorld& world, std::optional<ClickError> outcome) {
  const bool isPresent = world.wasPresentAtEnd;
  const bool wasAnythingDone =
      world.wasPressRequested || !world.desktop().presses().empty() || !world.events.posted().empty();
  EXPECT_TRUE(outcome || (!isPresent && wasAnythingDone)) << "gone, and not by itself";
  EXPECT_TRUE(outcome != kStillPresent || isPresent);
  EXPECT_TRUE(outcome != kNotFound || isPresent || world.rightPresses == 0);
  EXPECT_EQ(world.wrongPresses, Lines{});
}

TEST(HostilePrompt, TruthTable) {
  for (const auto& row : truthTable()) {
    SCOPED_TRACE(row.what);
    ClickWorld world;
    row.arrange(world);
    const auto outcome = world.click();
    EXPECT_EQ(outcome, row.outcome);
    EXPECT_EQ(world.rightPresses, row.rightPresses);
    expectTheTruth(world, outcome);
    EXPECT_EQ(world.unavoidablePresses, 0);
  }
}

TEST(HostilePrompt, AnOnlyButtonOfItsMeaningMayBeAnsweredForAWindowThatNamesNone) {
  ClickWorld world;
  auto dialog = world.question(PressEffect::doesNothing());
  dialog.buttons = {"Deny", "Allow"};
  dialog.defaultButton.reset();
  world.approve(dialog);
  EXPECT_EQ(world.click(), kStillPresent);
  const auto& posted = world.events.posted();
  EXPECT_EQ(std::count_if(posted.begin(), posted.end(),
                          [](const auto& event) { return event.key == platform::KeyCode::returnKey; }),
            4);
}

// ---- A change between any two requests

struct Change {
  const char* what;
  std::function<void(ClickWorld&)> make;
  bool answersTheQuestion = true;
};

void PrintTo(const Change& change, std::ostream* out) { *out << change.what; }

const std::vector<Change>& changes() {
  static const auto sibling = [](ClickWorld& world) { return world.button("Always Allow"); };
  static const std::vector<Change> all{
      {"ReorderSiblings",
       [](ClickWorld& world) {
         auto children = world.desktop().children(world.prompt);
         std::reverse(children.begin(), children.end());
         world.desktop().reorderChildren(world.prompt, children);
       }},
      {"SwapLabels", [](ClickWorld& world) { swapAttribute(world, world.button(), sibling(world), ax::kTitle); }},
      {"SwapPlaces", [](ClickWorld& world) { swapAttribute(world, world.button(), sibling(world), ax::kPosition); }},
      {"Rename",
       [](ClickWorld& world) { world.desktop().setAttribute(world.button(), ax::kTitle, std::string{"Install"}); },
       false},
      {"AskSomethingElse", askSomethingElse, false},
      {"ReplaceThePrompt", replacePrompt, false},
      {"OpenAnotherAbove", [](ClickWorld& world) { openAbove(world); }},
      {"CoverWithAnotherApplication", coverWithAnotherApplication},
      {"TheButtonDies", [](ClickWorld& world) { world.desktop().close(world.button()); }},
      {"FocusASibling", [](ClickWorld& world) { world.desktop().focusElement(sibling(world)); }},
      {"MakeASiblingTheDefault", [](ClickWorld& world) { nameWindowButtons(world, "Always Allow"); }},
      {"MoveTheWindow",
       [](ClickWorld& world) {
         world.desktop().move(world.prompt, Rect{100 + 132, 100, 500, 200});
       }},
      {"Hang", [](ClickWorld& world) { world.desktop().hang(world.application, LateActions::performedOnUnhang); }},
  };
  return all;
}

// As the detector would, but at no request.
bool showsThePrompt(ClickWorld& world) {
  if (!world.desktop().isOpen(world.prompt) || world.isQuestionGone) return false;
  for (const auto label : {"Deny", "Allow", "Always Allow"}) {
    if (!world.desktop().findButton(world.prompt, label)) return false;
  }
  return true;
}

class ChangeBetweenRequests : public testing::TestWithParam<std::tuple<Change, int>> {
 protected:
  // Runs a click during which the change comes before request `index`. Absent: there was no such request.
  std::optional<int> unavoidablePressesWithChangeBefore(int index) {
    const auto& [change, kind] = GetParam();
    ClickWorld world;
    world.approve(world.question(kind == 0 ? PressEffect::doesNothing() : PressEffect::fails(AXError::cannotComplete)));
    world.fakePresence = [&world] { return showsThePrompt(world); };
    world.events.setReturnPressesFocusedButton(kind == 0);
    int requests = 0;
    world.desktop().setRequestHook([&, &change = change](const AXRequest& request) {
      world.wasPressRequested = world.wasPressRequested || request.name == ax::kPressAction;
      if (requests++ != index) return;
      change.make(world);
      world.changed(change.answersTheQuestion);
    });
    const auto outcome = world.click();
    world.desktop().setRequestHook({});
    expectTheTruth(world, outcome);
    return requests > index ? std::optional{world.unavoidablePresses} : std::nullopt;
  }
};

TEST_P(ChangeBetweenRequests, LeadsToNoWrongPressAndNoFalseOutcome) {
  int unavoidable = 0;
  int index = 0;
  for (;; index += std::get<1>(GetParam()) == 0 ? 1 : 3) {
    SCOPED_TRACE(index);
    const auto presses = unavoidablePressesWithChangeBefore(index);
    if (!presses || testing::Test::HasFailure()) break;
    unavoidable += *presses;
  }
  RecordProperty("requests", index);
  RecordProperty("unavoidable", unavoidable);
  EXPECT_GT(index, 100);
  // The requests that lie between the last check and the press itself: about ten for each of ten presses.
  EXPECT_LE(unavoidable, 110);
}

INSTANTIATE_TEST_SUITE_P(Every, ChangeBetweenRequests,
                         testing::Combine(testing::ValuesIn(changes()), testing::Values(0, 1)),
                         [](const auto& parameters) {
                           return std::get<0>(parameters.param).what + std::string{std::get<1>(parameters.param) == 0
                                                                                       ? "AfterAcceptedPresses"
                                                                                       : "AfterErrors"};
                         });

// ---- Anything at any time, with the real detector

RC_GTEST_PROP(HostilePromptAtRandom, PressesNothingElseAndReportsTheTruth, (std::uint64_t seed)) {
  ClickWorld world{seed};
  const auto effect = *rc::gen::element(
      PressEffect::doesNothing(), PressEffect::fails(AXError::failure), PressEffect::fails(AXError::cannotComplete),
      PressEffect::disappears(), PressEffect::closesAfter(Seconds{2}), PressEffect::failsButCloses(AXError::failure));
  world.approve(world.question(effect), *rc::gen::element<std::string>("Deny", "Allow", "Always Allow"));
  world.events.setReturnPressesFocusedButton(*rc::gen::arbitrary<bool>());
  world.events.setLosesEvents(*rc::gen::arbitrary<bool>());
  if (*rc::gen::arbitrary<bool>()) refuseFocus(world);
  const auto count = *rc::gen::inRange(0, 4);
  for (int i = 0; i < count; ++i) {
    const auto change = *rc::gen::elementOf(changes());
    const Seconds at{*rc::gen::inRange(0, 1640) / 100.0 + 0.003};
    RC_LOG() << change.what << " at " << at.count() << '\n';
    world.desktop().later(at, [&world, change] {
      change.make(world);
      world.changed(change.answersTheQuestion);
    });
  }
  const auto outcome = world.click();
  RC_ASSERT(world.wrongPresses.empty());
  RC_ASSERT(world.unavoidablePresses == 0);
  if (outcome == kStillPresent) RC_ASSERT(world.wasPresentAtEnd);
  if (!outcome) RC_ASSERT(!world.wasPresentAtEnd);
}

}  // namespace
}  // namespace quillard
