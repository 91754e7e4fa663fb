#pragma once

#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "desktop/PrivateDesktop.h"
#include "private-desktop/DesktopKind.h"

namespace quillard::privatedesktop {

inline void PrintTo(DesktopKind kind, std::ostream* out) { *out << nameOf(kind); }

}  // namespace quillard::privatedesktop

namespace quillard::test {

using privatedesktop::DesktopKind;

// Desktops whose packages each ./test installs, besides openbox, on which most tests run.
inline const auto kSmallDesktops = testing::Values(DesktopKind::sway, DesktopKind::xfwm4, DesktopKind::marco);
// Those whose packages only ./test --long installs.
inline const auto kLargeDesktops = testing::Values(DesktopKind::weston, DesktopKind::kwin, DesktopKind::gnome);

// For INSTANTIATE_TEST_SUITE_P.
inline std::string nameOfKind(const testing::TestParamInfo<DesktopKind>& kind) {
  return privatedesktop::nameOf(kind.param);
}

// Leaves a test whose desktop this machine has no programs for, and prints what is missing.
#define QUILLARD_SKIP_WITHOUT(kind)                                                                \
  do {                                                                                             \
    if (const auto missing = quillard::privatedesktop::missingFor(kind)) GTEST_SKIP() << *missing; \
  } while (false)

}  // namespace quillard::test
