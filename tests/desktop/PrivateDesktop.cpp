#include "desktop/PrivateDesktop.h"

#include "desktop/FailureScreenshots.h"
#include "desktop/Screenshot.h"

namespace quillard::test {

PrivateDesktop::PrivateDesktop(const Options& options) : privatedesktop::PrivateDesktop(options) {
  if (!display().empty()) FailureScreenshots::add(display());
}

PrivateDesktop::~PrivateDesktop() {
  if (!display().empty()) FailureScreenshots::remove(display());
}

void PrivateDesktop::screenshot(const std::string& path) const { saveScreenshot(display(), path); }

}  // namespace quillard::test
