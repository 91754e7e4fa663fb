#include "platform/macos/AXAddressee.h"

#include <set>
#include <utility>

#include <unistd.h>

#include "platform/macos/AXValues.h"
#include "platform/macos/WindowInfo.h"

namespace quillard::macos {
namespace {

using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
namespace ax = platform::ax;

bool isOwn(const AXElement& element) { return processOf(element) == ::getpid(); }

AXUIElement applicationElement(std::int32_t process) {
  return elementFrom(CFHandle<AXUIElementRef>::adopt(AXUIElementCreateApplication(process)),
                     AXElementKind::application);
}

AXResult<AXUIElement> hitOf(const AXElement& application, Point point) {
  CFHandle<AXUIElementRef> hit;
  const auto error = AXUIElementCopyElementAtPosition(application.get(), static_cast<float>(point.x),
                                                      static_cast<float>(point.y), hit.out());
  if (error != kAXErrorSuccess) return errorFrom(error);
  if (!cfCast<AXUIElementRef>(hit.get()) || CFEqual(hit.get(), application.get())) return AXError::noValue;
  return elementFrom(std::move(hit));
}

AXResult<AXUIElement> hitAnywhere(Point point) {
  // Above these, the system's own programs have windows as large as the screen that let everything through.
  constexpr std::int64_t kHighestDialog = 8;
  constexpr std::size_t kMostAsked = 8;
  const auto windows = windowsAt(point);
  if (!windows) return AXError::failure;
  std::set<std::int32_t> asked;
  for (const auto& window : *windows) {
    const auto process = window.ownerProcessIdentifier.value_or(0);
    if (process == ::getpid()) return AXError::noValue;
    if (process < 1 || !asked.insert(process).second) continue;
    const auto application = applicationElement(process);
    auto hit = hitOf(*elementOf(application), point);
    if (hit.hasValue() || window.layer.value_or(0) <= kHighestDialog) return hit;
    if (asked.size() == kMostAsked) return AXError::failure;
  }
  return AXError::noValue;
}

}  // namespace

AXResult<AXUIElement> applicationWithKeyboard(const AXElement& systemWide, const FrontmostProcess& frontmost) {
  CFValue value;
  const auto error = AXUIElementCopyAttributeValue(systemWide.get(), CFSTR("AXFocusedApplication"), value.out());
  if (error == kAXErrorAPIDisabled) return AXError::apiDisabled;
  if (const auto application = error == kAXErrorSuccess ? cfCast<AXUIElementRef>(value.get()) : nullptr) {
    return elementFrom(CFHandle<AXUIElementRef>::retain(application), AXElementKind::application);
  }
  const auto process = frontmost ? frontmost() : std::nullopt;
  if (process && *process >= 1) return applicationElement(*process);
  return error == kAXErrorCannotComplete ? AXError::cannotComplete : AXError::noValue;
}

AXResult<AXUIElement> addresseeOf(const AXUIElement& element) {
  const AXElement* const own = elementOf(element);
  if (!own || isOwn(*own)) return AXError::invalidUIElement;
  if (own->elementKind() == AXElementKind::systemWide) return AXError::attributeUnsupported;
  return element;
}

AXResult<AXUIElement> addresseeOfFocus(const AXResult<AXUIElement>& applicationWithKeyboard) {
  if (!applicationWithKeyboard.hasValue()) return applicationWithKeyboard;
  if (isOwn(*elementOf(applicationWithKeyboard.value()))) return AXError::noValue;
  return applicationWithKeyboard;
}

bool isQuestionOfFocus(const AXUIElement& element, platform::AXAttribute name) {
  const AXElement* const own = elementOf(element);
  return own && own->elementKind() == AXElementKind::systemWide &&
         (name == ax::kFocusedWindow || name == ax::kFocusedUIElement);
}

AXResult<AXUIElement> elementAt(const AXUIElement& within, Point point) {
  const AXElement* const own = elementOf(within);
  if (own && own->elementKind() == AXElementKind::systemWide) return hitAnywhere(point);
  const auto addressee = addresseeOf(within);
  return addressee.hasValue() ? hitOf(*elementOf(addressee.value()), point) : addressee;
}

}  // namespace quillard::macos
