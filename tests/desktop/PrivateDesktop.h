#pragma once

#include <string>

#include "private-desktop/DesktopBus.h"
#include "private-desktop/PrivateDesktop.h"
#include "private-desktop/Waiting.h"

namespace quillard::test {

using privatedesktop::DesktopBus;
using privatedesktop::DesktopProgram;
using privatedesktop::kTimeout;
using privatedesktop::waitFor;

// A private desktop of a test. One of the usual kind is of the kind that QUILLARD_TEST_DESKTOP names, where that is
// set, so that a suite can be run on another one: "marco", "sway". While it lives, a failed expectation leaves a
// picture of its screen below the build folder, and prints where.
class PrivateDesktop : public privatedesktop::PrivateDesktop {
 public:
  explicit PrivateDesktop(const Options& options = {});
  PrivateDesktop(const PrivateDesktop&) = delete;
  PrivateDesktop& operator=(const PrivateDesktop&) = delete;
  ~PrivateDesktop();

  // Writes the whole screen as PNG. There must be a display.
  void screenshot(const std::string& path) const;
};

}  // namespace quillard::test
