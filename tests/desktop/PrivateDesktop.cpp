#include "desktop/PrivateDesktop.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "desktop/FailureScreenshots.h"
#include "desktop/Screenshot.h"

namespace quillard::test {

namespace {

PrivateDesktop::Options ofRequestedKind(PrivateDesktop::Options options) {
  const char* const requested = std::getenv("QUILLARD_TEST_DESKTOP");
  if (!requested || options.kind != privatedesktop::DesktopKind::openbox) return options;
  const auto kind = privatedesktop::kindNamed(requested);
  if (!kind) throw std::runtime_error(std::string("QUILLARD_TEST_DESKTOP names no kind of desktop: ") + requested);
  if (const auto missing = privatedesktop::missingFor(*kind)) throw std::runtime_error(*missing);
  options.kind = *kind;
  return options;
}

}  // namespace

PrivateDesktop::PrivateDesktop(const Options& options) : privatedesktop::PrivateDesktop(ofRequestedKind(options)) {
  if (!display().empty()) FailureScreenshots::add(display());
}

PrivateDesktop::~PrivateDesktop() {
  if (!display().empty()) FailureScreenshots::remove(display());
}

void PrivateDesktop::screenshot(const std::string& path) const { saveScreenshot(display(), path); }

}  // namespace quillard::test
