#include "platform/macos/MacAccessibility.h"

#include <utility>

#include "platform/macos/AXElement.h"
#include "platform/macos/AXRequests.h"
#include "platform/macos/AXValues.h"
#include "platform/macos/CFValues.h"
#include "platform/macos/DistributedNotice.h"
#include "platform/macos/MacReadScope.h"
#include "platform/macos/WindowInfo.h"

namespace quillard::macos {
namespace {

using platform::AXError;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;

constexpr std::string_view kTrustNotice = "com.apple.accessibility.api";

// This system keeps the answer itself: it always has one.
platform::ProcessTrust askForTrust() {
  const auto options = makeDictionary({{kAXTrustedCheckOptionPrompt, kCFBooleanFalse}});
  const bool isTrusted = AXIsProcessTrustedWithOptions(options.get()) != 0;
  return isTrusted ? platform::ProcessTrust::granted : platform::ProcessTrust::denied;
}

}  // namespace

MacAccessibility::MacAccessibility(AXCalls calls, platform::Executors& executors, Seconds messagingTimeout)
    : calls(std::move(calls)),
      messagingTimeout(messagingTimeout),
      mainThread(executors.mainThread()),
      trust(askForTrust, executors) {
  boundRequests(createSystemWide());
}

AXResult<AXValue> MacAccessibility::copyAttributeValue(const AXUIElement& element, platform::AXAttribute name) {
  const AXElement* const own = askableElementOf(element);
  if (!own) return AXError::invalidUIElement;
  if (calls.wouldAskThisProcess(*own)) return AXError::noValue;
  return calls.run([&] { return readAttribute(*own, name); });
}

AXResult<std::vector<std::string>> MacAccessibility::copyActionNames(const AXUIElement& element) {
  const AXElement* const own = askableElementOf(element);
  if (!own) return AXError::invalidUIElement;
  if (calls.wouldAskThisProcess(*own)) return AXError::noValue;
  return calls.run([&] { return readActionNames(*own); });
}

platform::SubscriptionHandle MacAccessibility::observeTrustChanges(std::function<void()> onChange) {
  return observeDistributedNotice(kTrustNotice, mainThread, std::move(onChange));
}

AXUIElement MacAccessibility::createApplication(std::int32_t processIdentifier) {
  auto application = elementFrom(CFHandle<AXUIElementRef>::adopt(AXUIElementCreateApplication(processIdentifier)),
                                 AXElementKind::application);
  boundRequests(application);
  return application;
}

AXUIElement MacAccessibility::createSystemWide() {
  return elementFrom(CFHandle<AXUIElementRef>::adopt(AXUIElementCreateSystemWide()), AXElementKind::systemWide);
}

// Where requests are made, though it is none: no documentation says that it may be made elsewhere.
void MacAccessibility::boundRequests(const AXUIElement& element) {
  const AXElement* const own = elementOf(element);
  const auto seconds = static_cast<float>(messagingTimeout.count());
  calls.run([&] { static_cast<void>(AXUIElementSetMessagingTimeout(own->get(), seconds)); });
}

std::unique_ptr<platform::AXReadScope> MacAccessibility::beginReadScope() {
  return std::make_unique<MacReadScope>(calls);
}

std::optional<std::int32_t> MacAccessibility::processIdentifier(const AXUIElement& element) {
  const AXElement* const own = elementOf(element);
  const pid_t process = own ? processOf(*own) : 0;
  if (process <= 0) return std::nullopt;
  return process;
}

AXError MacAccessibility::setAttributeValue(const AXUIElement& element, platform::AXAttribute name,
                                            const AXValue& value) {
  const AXElement* const own = askableElementOf(element);
  if (!own) return AXError::invalidUIElement;
  const auto string = makeString(name);
  const CFValue content = cfValueFrom(value);
  if (!string || !content) return AXError::illegalArgument;
  return calls.run([&] { return errorFrom(AXUIElementSetAttributeValue(own->get(), string.get(), content.get())); });
}

AXError MacAccessibility::performAction(const AXUIElement& element, platform::AXAction action) {
  const AXElement* const own = askableElementOf(element);
  if (!own) return AXError::invalidUIElement;
  const auto string = makeString(action);
  if (!string) return AXError::illegalArgument;
  return calls.run([&] { return errorFrom(AXUIElementPerformAction(own->get(), string.get())); });
}

AXResult<AXUIElement> MacAccessibility::copyElementAtPosition(const AXUIElement& within, Point point) {
  const AXElement* const own = askableElementOf(within);
  if (!own) return AXError::invalidUIElement;
  if (own->elementKind() == AXElementKind::systemWide && isOwnWindowAt(point)) return AXError::noValue;
  return calls.run([&]() -> AXResult<AXUIElement> {
    CFHandle<AXUIElementRef> hit;
    const auto error = AXUIElementCopyElementAtPosition(own->get(), static_cast<float>(point.x),
                                                        static_cast<float>(point.y), hit.out());
    if (error != kAXErrorSuccess) return errorFrom(error);
    if (!cfCast<AXUIElementRef>(hit.get())) return AXError::noValue;
    return elementFrom(std::move(hit));
  });
}

}  // namespace quillard::macos
