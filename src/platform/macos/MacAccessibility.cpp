#include "platform/macos/MacAccessibility.h"

#include <utility>

#include "platform/macos/AXAddressee.h"
#include "platform/macos/AXElement.h"
#include "platform/macos/AXRequests.h"
#include "platform/macos/AXValues.h"
#include "platform/macos/CFValues.h"
#include "platform/macos/DistributedNotice.h"
#include "platform/macos/MacReadScope.h"

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

MacAccessibility::MacAccessibility(AXCalls calls, FrontmostProcess frontmost, platform::Executors& executors,
                                   Seconds messagingTimeout)
    : calls(calls),
      frontmost(std::move(frontmost)),
      messagingTimeout(messagingTimeout),
      mainThread(executors.mainThread()),
      trust(askForTrust, executors) {
  boundRequests(createSystemWide());
}

// What `request` answers, where requests are made, of the element that is to be asked, or why none is.
template <class Answer, class Request>
Answer MacAccessibility::ask(const AXUIElement& element, Request request) {
  return calls.run([&]() -> Answer {
    const auto addressee = addresseeOf(element);
    return addressee.hasValue() ? request(*elementOf(addressee.value())) : Answer(addressee.error());
  });
}

AXResult<AXValue> MacAccessibility::copyAttributeValue(const AXUIElement& element, platform::AXAttribute name) {
  if (!isQuestionOfFocus(element, name)) {
    return ask<AXResult<AXValue>>(element, [&](const AXElement& asked) { return readAttribute(asked, name); });
  }
  return calls.run([&]() -> AXResult<AXValue> {
    const auto addressee = addresseeOfFocus(applicationWithKeyboard(*elementOf(element), frontmost));
    if (!addressee.hasValue()) return addressee.error();
    return readAttribute(*elementOf(addressee.value()), name);
  });
}

AXResult<std::vector<std::string>> MacAccessibility::copyActionNames(const AXUIElement& element) {
  return ask<AXResult<std::vector<std::string>>>(element, readActionNames);
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
  return std::make_unique<MacReadScope>(calls, frontmost);
}

std::optional<std::int32_t> MacAccessibility::processIdentifier(const AXUIElement& element) {
  const AXElement* const own = elementOf(element);
  const pid_t process = own ? processOf(*own) : 0;
  if (process <= 0) return std::nullopt;
  return process;
}

AXError MacAccessibility::setAttributeValue(const AXUIElement& element, platform::AXAttribute name,
                                            const AXValue& value) {
  const auto string = makeString(name);
  const CFValue content = cfValueFrom(value);
  return ask<AXError>(element, [&](const AXElement& asked) {
    if (!string || !content) return AXError::illegalArgument;
    return errorFrom(AXUIElementSetAttributeValue(asked.get(), string.get(), content.get()));
  });
}

AXError MacAccessibility::performAction(const AXUIElement& element, platform::AXAction action) {
  const auto string = makeString(action);
  return ask<AXError>(element, [&](const AXElement& asked) {
    return string ? errorFrom(AXUIElementPerformAction(asked.get(), string.get())) : AXError::illegalArgument;
  });
}

AXResult<AXUIElement> MacAccessibility::copyElementAtPosition(const AXUIElement& within, Point point) {
  return calls.run([&] { return elementAt(within, point); });
}

}  // namespace quillard::macos
