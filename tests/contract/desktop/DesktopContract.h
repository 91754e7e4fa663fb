#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "contract/desktop/DesktopBinding.h"
#include "detection/elements/AXHelpers.h"

namespace quillard::test {

// What the agent relies on in the desktop, whatever the binding. Each binding instantiates all of these suites. Of what
// a desktop says that it cannot do (`limitation`), the tests ask for the honest refusal instead.
class DesktopContract : public testing::TestWithParam<DesktopCase> {
 protected:
  void SetUp() override {
    if (!binding) GTEST_SKIP() << *GetParam().whyMissing();
  }

  platform::Accessibility& accessibility() { return binding->accessibility(); }
  platform::DesktopCapabilities& capabilities() { return binding->capabilities(); }
  // Whether this desktop says that it lacks it.
  [[nodiscard]] bool lacks(platform::DesktopCapability capability) {
    return capabilities().limitation(capability).has_value();
  }

  [[nodiscard]] platform::AXUIElement application(const PromptProgram& program) {
    return accessibility().createApplication(program.processIdentifier());
  }
  // The prompt's window; a failure, and the application itself, when it has none.
  [[nodiscard]] platform::AXUIElement window(const PromptProgram& program, platform::AXAttributeReader& reader) {
    const auto windows = AXHelpers::windows(reader, application(program));
    EXPECT_FALSE(windows.empty());
    return windows.empty() ? application(program) : windows.front();
  }
  // The same, read as it is now: a busy machine may let a program miss its time-out.
  [[nodiscard]] platform::AXUIElement window(const PromptProgram& program) {
    EXPECT_TRUE(
        binding->eventually([&] { return !AXHelpers::windows(accessibility(), application(program)).empty(); }));
    return window(program, accessibility());
  }

  [[nodiscard]] std::vector<platform::AXUIElement> elements(const PromptProgram& program, std::string_view role,
                                                            platform::AXAttributeReader& reader) {
    std::vector<platform::AXUIElement> found;
    for (const auto& element : AXHelpers::deeplyNestedChildren(reader, window(program, reader), 80)) {
      if (AXHelpers::role(reader, element) == role) found.push_back(element);
    }
    return found;
  }
  // The same, read as they are now.
  [[nodiscard]] std::vector<platform::AXUIElement> elements(const PromptProgram& program, std::string_view role) {
    std::vector<platform::AXUIElement> found;
    EXPECT_TRUE(binding->eventually([&] {
      found.clear();
      const auto windows = AXHelpers::windows(accessibility(), application(program));
      if (!windows.empty()) found = elements(program, role, accessibility());
      return !found.empty();
    })) << role;
    return found;
  }
  [[nodiscard]] std::optional<platform::AXUIElement> button(const PromptProgram& program, const std::string& label) {
    std::optional<platform::AXUIElement> found;
    EXPECT_TRUE(binding->eventually([&] {
      for (const auto& element : elements(program, platform::ax::kButtonRole)) {
        if (AXHelpers::stringAttribute(accessibility(), element, platform::ax::kTitle) == label) found = element;
      }
      return found.has_value();
    })) << "no button "
        << label;
    return found;
  }
  [[nodiscard]] static Point center(const Rect& rect) { return {rect.x + rect.width / 2, rect.y + rect.height / 2}; }

  // Null where this machine cannot have the desktop.
  const std::unique_ptr<DesktopBinding> binding = GetParam().whyMissing() ? nullptr : GetParam().make();
};

class AccessibilityContract : public DesktopContract {
 protected:
  // Where it cannot be told what lies at a point, nothing is said to lie there: whoever clicks asks that first.
  void expectNoHit(const platform::AXUIElement& element) {
    const auto frame = AXHelpers::frame(accessibility(), element);
    ASSERT_TRUE(frame);
    const auto hit = accessibility().copyElementAtPosition(accessibility().createSystemWide(), center(*frame));
    EXPECT_FALSE(hit.hasValue());
  }
};
class ReadScopeContract : public DesktopContract {};
class WorkspaceContract : public DesktopContract {};
class WindowListContract : public DesktopContract {};
class SyntheticEventsContract : public DesktopContract {};
class DesktopCapabilitiesContract : public DesktopContract {};
class PromptContract : public DesktopContract {};

[[nodiscard]] inline std::string caseName(const testing::TestParamInfo<DesktopCase>& info) { return info.param.name; }

// Instantiates every suite for the cases that `CASES` gives.
#define QUILLARD_DESKTOP_CONTRACT(NAME, CASES)                                  \
  INSTANTIATE_TEST_SUITE_P(NAME, AccessibilityContract, CASES, caseName);       \
  INSTANTIATE_TEST_SUITE_P(NAME, ReadScopeContract, CASES, caseName);           \
  INSTANTIATE_TEST_SUITE_P(NAME, WorkspaceContract, CASES, caseName);           \
  INSTANTIATE_TEST_SUITE_P(NAME, WindowListContract, CASES, caseName);          \
  INSTANTIATE_TEST_SUITE_P(NAME, SyntheticEventsContract, CASES, caseName);     \
  INSTANTIATE_TEST_SUITE_P(NAME, DesktopCapabilitiesContract, CASES, caseName); \
  INSTANTIATE_TEST_SUITE_P(NAME, PromptContract, CASES, caseName)

}  // namespace quillard::test
