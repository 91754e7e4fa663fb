#include <algorithm>
#include <array>

#include "contract/desktop/DesktopContract.h"

namespace quillard::test {
namespace {

using platform::DesktopCapability;
using platform::UnreadableProgram;

bool isNamed(const std::vector<UnreadableProgram>& programs, std::int32_t processIdentifier) {
  return std::any_of(programs.begin(), programs.end(), [&](const UnreadableProgram& program) {
    return program.processIdentifier == processIdentifier && !program.name.empty();
  });
}

TEST_P(DesktopCapabilitiesContract, WhatThisDesktopLacksIsSaidWithItsReasonAndNothingElse) {
  const auto missing = binding->missing();
  for (const auto capability : {DesktopCapability::windowList, DesktopCapability::frontmostApplication,
                                DesktopCapability::screenCoordinates, DesktopCapability::syntheticInput}) {
    EXPECT_TRUE(binding->eventually([&] {  // One that has just come up may not have answered yet.
      const auto limitation = capabilities().limitation(capability);
      return limitation ? missing.contains(capability) && !limitation->reason.empty() : !missing.contains(capability);
    })) << static_cast<int>(capability);
  }
}

TEST_P(DesktopCapabilitiesContract, AProgramThatCanBeReadIsNotNamedUnreadable) {
  const auto program = binding->show({});
  const auto found = capabilities().unreadablePrograms();
  if (found.isKnown()) {
    EXPECT_FALSE(isNamed(found.value(), program->processIdentifier()));
  } else {
    EXPECT_NE(found.limitation().reason, "");
  }
}

// Where that is not known, it is not said that there are none either.
TEST_P(DesktopCapabilitiesContract, AProgramWhoseWindowsCannotBeReadIsNamedOrNothingIsClaimed) {
  const auto readable = binding->show({});
  const auto unreadable = binding->showUnreadable();
  EXPECT_TRUE(binding->eventually([&] {
    const auto found = capabilities().unreadablePrograms();
    if (!found.isKnown()) return !found.limitation().reason.empty();
    return unreadable && isNamed(found.value(), unreadable->processIdentifier()) &&
           !isNamed(found.value(), readable->processIdentifier());
  }));
}

}  // namespace
}  // namespace quillard::test
