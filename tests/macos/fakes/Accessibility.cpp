// The accessibility interface over the simulated desktop, with its hung, slow, dead and untrusted applications, in
// virtual time.

#include <cstring>

#include <unistd.h>

#include "macos/fakes/MacSystem.h"

using namespace quillard::fakes;
using quillard::platform::Accessibility;
using quillard::platform::AXForeignValue;
using quillard::platform::AXResult;
using quillard::platform::AXUIElement;
using quillard::platform::AXValue;
using quillard::platform::ProcessTrust;

namespace {

using Error = quillard::platform::AXError;

constexpr quillard::Seconds kTimeoutOfTheSystem{6};

::AXError systemError(Error error) {
  switch (error) {
    case Error::success:
      return kAXErrorSuccess;
    case Error::failure:
      return kAXErrorFailure;
    case Error::illegalArgument:
      return kAXErrorIllegalArgument;
    case Error::invalidUIElement:
      return kAXErrorInvalidUIElement;
    case Error::cannotComplete:
      return kAXErrorCannotComplete;
    case Error::attributeUnsupported:
      return kAXErrorAttributeUnsupported;
    case Error::actionUnsupported:
      return kAXErrorActionUnsupported;
    case Error::notImplemented:
      return kAXErrorNotImplemented;
    case Error::apiDisabled:
      return kAXErrorAPIDisabled;
    case Error::noValue:
      return kAXErrorNoValue;
  }
  return kAXErrorFailure;
}

const __AXUIElement& known(AXUIElementRef element, const char* function) {
  return checkedAs<__AXUIElement>(element, Type::element, function);
}

Held elementObject(const AXUIElement& handle) {
  const auto process = MacSystem::current().desktop->accessibility().processIdentifier(handle);
  return Held::take(new __AXUIElement(handle, process.value_or(0)));
}

template <class Content>
Held boxObject(AXValueType kind, const Content& content) {
  return Held::take(AXValueCreate(kind, &content));
}

struct Maker {
  Held operator()(AXForeignValue) const { return dictionaryObject({}); }
  // A half of a pair, which is no whole text.
  Held operator()(quillard::platform::AXUnreadableText) const { return Held::take(new __CFString(u"\xD83D")); }
  Held operator()(bool value) const { return booleanObject(value); }
  Held operator()(std::int64_t value) const { return integerObject(value); }
  Held operator()(double value) const { return realObject(value); }
  Held operator()(const std::string& value) const { return stringObject(value); }
  Held operator()(quillard::Point value) const { return boxObject(kAXValueTypeCGPoint, CGPoint{value.x, value.y}); }
  Held operator()(quillard::Size value) const {
    return boxObject(kAXValueTypeCGSize, CGSize{value.width, value.height});
  }
  Held operator()(const quillard::Rect& value) const {
    return boxObject(kAXValueTypeCGRect, CGRect{{value.x, value.y}, {value.width, value.height}});
  }
  Held operator()(const AXUIElement& value) const { return elementObject(value); }
  Held operator()(const std::vector<AXUIElement>& value) const {
    std::vector<Held> elements;
    for (const auto& element : value) elements.push_back(elementObject(element));
    return arrayObject(elements);
  }
};

// Of the kinds that the agent sets.
AXValue valueOf(CFTypeRef value, const char* function) {
  switch (static_cast<Type>(CFGetTypeID(value))) {
    case Type::boolean:
      return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
    case Type::string:
      return utf8Of(value, function);
    case Type::element:
      return known(static_cast<AXUIElementRef>(value), function).handle;
    default:
      return AXForeignValue{};
  }
}

// The interface of the desktop, ready for one request to `element`. Null when there is none. The real one answers for
// this process on the thread that asks, and there is nothing here that could. The system-wide element hands questions
// to whoever has the keyboard or the window, which may be this process at any time.
Accessibility* interfaceFor(const __AXUIElement& element, const char* function) {
  const MacSystem& system = MacSystem::current();
  if (element.process == ::getpid()) stopForMisuse(function, "called for this very process");
  if (element.process == 0) stopForMisuse(function, "called for whichever process has the focus");
  if (!system.desktop) return nullptr;
  Accessibility& accessibility = system.desktop->accessibility();
  const float own = element.timeout > 0 ? element.timeout : system.processTimeout;
  system.desktop->setMessagingTimeout(own > 0 ? quillard::Seconds{own} : kTimeoutOfTheSystem);
  return &accessibility;
}

// Belief: the system answers by itself who has the keyboard, without asking that application. Belief: it knows no
// focused window, which is an attribute of applications.
::AXError answerOfSystemWide(const std::string& attribute, CFTypeRef* value) {
  const MacSystem& system = MacSystem::current();
  if (attribute == "AXFocusedUIElement") stopForMisuse(__func__, "called for whichever process has the focus");
  if (!system.desktop || system.desktop->accessibility().isProcessTrusted() != ProcessTrust::granted) {
    return kAXErrorAPIDisabled;
  }
  if (attribute != "AXFocusedApplication") return kAXErrorAttributeUnsupported;
  if (system.focusedApplicationError) return *system.focusedApplicationError;
  const auto process = system.processWithKeyboard();
  if (!process) return kAXErrorNoValue;
  *value = AXUIElementCreateApplication(*process);
  return kAXErrorSuccess;
}

// What stands in the place of one attribute, in an answer to it alone or to many questions.
AXResult<Held> content(const std::string& name, const AXResult<AXValue>& answer) {
  const OddAnswers& odd = MacSystem::current().odd;
  if (const auto found = odd.values.find(name); found != odd.values.end()) return found->second;
  if (!answer.hasValue()) return answer.error();
  return std::visit(Maker{}, answer.value());
}

Held slot(const std::string& name, const AXResult<AXValue>& answer) {
  const OddAnswers& odd = MacSystem::current().odd;
  if (const auto found = odd.errors.find(name); found != odd.errors.end()) {
    return boxObject(kAXValueTypeAXError, found->second);
  }
  const auto held = content(name, answer);
  return held.hasValue() ? held.value() : boxObject(kAXValueTypeAXError, systemError(held.error()));
}

// The application has acted, and answers nothing for a while, this request to begin with.
::AXError holdUp(Accessibility& accessibility, const __AXUIElement& element) {
  MacSystem& system = MacSystem::current();
  const quillard::platform::simulated::ApplicationHandle application{element.process};
  system.desktop->hang(application, quillard::platform::simulated::LateActions::performedOnUnhang);
  system.underWay.push_back(system.loop->postAfter(
      system.odd.busyAfterActing, [&desktop = *system.desktop, application] { desktop.unhang(application); }));
  return systemError(accessibility.copyAttributeValue(element.handle, "AXRole").error());
}

// Errors of the request as a whole; others are of one attribute.
bool isOfTheWholeRequest(Error error, bool missedTimeout) {
  return missedTimeout || error == Error::apiDisabled || error == Error::invalidUIElement;
}

}  // namespace

extern "C" {

CFStringRef kAXTrustedCheckOptionPrompt = CFSTR("AXTrustedCheckOptionPrompt");

Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options) {
  MacSystem& system = MacSystem::current();
  const auto* const prompt =
      options ? static_cast<CFBooleanRef>(CFDictionaryGetValue(options, kAXTrustedCheckOptionPrompt)) : nullptr;
  if (prompt && CFBooleanGetValue(prompt)) ++system.trustQuestions;
  return system.desktop &&
         system.desktop->accessibility().isProcessTrusted() == quillard::platform::ProcessTrust::granted;
}

CFTypeID AXUIElementGetTypeID(void) { return static_cast<CFTypeID>(Type::element); }

AXUIElementRef AXUIElementCreateApplication(pid_t process) {
  return new __AXUIElement(MacSystem::current().desktop->accessibility().createApplication(process), process);
}

AXUIElementRef AXUIElementCreateSystemWide(void) {
  return new __AXUIElement(MacSystem::current().desktop->accessibility().createSystemWide(), 0);
}

::AXError AXUIElementSetMessagingTimeout(AXUIElementRef element, float seconds) {
  if (seconds < 0) return kAXErrorIllegalArgument;
  const auto& target = known(element, __func__);
  (target.process == 0 ? MacSystem::current().processTimeout : target.timeout) = seconds;
  return kAXErrorSuccess;
}

::AXError AXUIElementGetPid(AXUIElementRef element, pid_t* process) {
  *process = known(element, __func__).process;
  return kAXErrorSuccess;
}

::AXError AXUIElementCopyAttributeValue(AXUIElementRef element, CFStringRef attribute, CFTypeRef* value) {
  const auto& target = known(element, __func__);
  if (target.process == 0) return answerOfSystemWide(utf8Of(attribute, __func__), value);
  Accessibility* const accessibility = interfaceFor(target, __func__);
  if (!accessibility) return kAXErrorAPIDisabled;
  const std::string name = utf8Of(attribute, __func__);
  MacSystem::current().asked.insert(name);
  const auto answer = accessibility->copyAttributeValue(target.handle, name);
  const OddAnswers& odd = MacSystem::current().odd;
  if (const auto found = odd.errors.find(name); found != odd.errors.end()) return found->second;
  auto held = content(name, answer);
  if (!held.hasValue()) return systemError(held.error());
  *value = std::move(held).value().give();
  return kAXErrorSuccess;
}

::AXError AXUIElementCopyMultipleAttributeValues(AXUIElementRef element, CFArrayRef attributes,
                                                 AXCopyMultipleAttributeOptions options, CFArrayRef* values) {
  if (options != 0) stopForMisuse(__func__, "called to stop at the first error");
  const auto& target = known(element, __func__);
  Accessibility* const accessibility = interfaceFor(target, __func__);
  if (!accessibility) return kAXErrorAPIDisabled;
  const OddAnswers& odd = MacSystem::current().odd;
  const auto scope = accessibility->beginReadScope();  // So that all of it is one request.
  std::vector<Held> slots;
  for (CFIndex i = 0; i < CFArrayGetCount(attributes); ++i) {
    const std::string name = utf8Of(CFArrayGetValueAtIndex(attributes, i), __func__);
    MacSystem::current().asked.insert(name);
    const auto answer = scope->copyAttributeValue(target.handle, name);
    if (isOfTheWholeRequest(answer.error(), scope->missedTimeout(target.handle))) return systemError(answer.error());
    slots.push_back(slot(name, answer));
  }
  if (odd.batchError) return *odd.batchError;
  if (odd.givesNullArrays) return kAXErrorSuccess;
  if (odd.batchLength) slots.resize(static_cast<std::size_t>(*odd.batchLength), booleanObject(true));
  *values = static_cast<CFArrayRef>(arrayObject(slots).give());
  return kAXErrorSuccess;
}

::AXError AXUIElementCopyActionNames(AXUIElementRef element, CFArrayRef* names) {
  const auto& target = known(element, __func__);
  Accessibility* const accessibility = interfaceFor(target, __func__);
  if (!accessibility) return kAXErrorAPIDisabled;
  const auto answer = accessibility->copyActionNames(target.handle);
  if (!answer.hasValue()) return systemError(answer.error());
  const OddAnswers& odd = MacSystem::current().odd;
  if (odd.givesNullArrays) return kAXErrorSuccess;
  std::vector<Held> strings;
  for (const auto& name : answer.value()) strings.push_back(stringObject(name));
  Held list = odd.actionNames ? *odd.actionNames : arrayObject(strings);
  *names = static_cast<CFArrayRef>(list.give());
  return kAXErrorSuccess;
}

::AXError AXUIElementSetAttributeValue(AXUIElementRef element, CFStringRef attribute, CFTypeRef value) {
  const auto& target = known(element, __func__);
  Accessibility* const accessibility = interfaceFor(target, __func__);
  if (!accessibility) return kAXErrorAPIDisabled;
  return systemError(
      accessibility->setAttributeValue(target.handle, utf8Of(attribute, __func__), valueOf(value, __func__)));
}

::AXError AXUIElementPerformAction(AXUIElementRef element, CFStringRef action) {
  const auto& target = known(element, __func__);
  Accessibility* const accessibility = interfaceFor(target, __func__);
  if (!accessibility) return kAXErrorAPIDisabled;
  const std::string name = utf8Of(action, __func__);
  const auto answer = accessibility->performAction(target.handle, name);
  const MacSystem& system = MacSystem::current();
  if (answer != Error::success || name != "AXPress") return systemError(answer);
  if (system.odd.busyAfterActing > quillard::Seconds::zero()) return holdUp(*accessibility, target);
  return system.odd.answerAfterActing.value_or(kAXErrorSuccess);
}

// Belief: an application answers `noValue` for a point at which its windows let everything through.
::AXError AXUIElementCopyElementAtPosition(AXUIElementRef within, float x, float y, AXUIElementRef* element) {
  const auto& target = known(within, __func__);
  Accessibility* const accessibility = interfaceFor(target, __func__);
  if (!accessibility) return kAXErrorAPIDisabled;
  const auto hit = accessibility->copyElementAtPosition(target.handle, {x, y});
  if (!hit.hasValue()) return systemError(hit.error());
  *element = static_cast<AXUIElementRef>(elementObject(hit.value()).give());
  return kAXErrorSuccess;
}

CFTypeID AXValueGetTypeID(void) { return static_cast<CFTypeID>(Type::box); }

AXValueRef AXValueCreate(AXValueType type, const void* value) {
  constexpr std::size_t kSizes[] = {
      0, sizeof(CGPoint), sizeof(CGSize), sizeof(CGRect), sizeof(CFRange), sizeof(::AXError)};
  const auto* const bytes = static_cast<const std::uint8_t*>(value);
  return new __AXValue(type, std::vector<std::uint8_t>(bytes, bytes + kSizes[type]));
}

AXValueType AXValueGetType(AXValueRef value) { return checkedAs<__AXValue>(value, Type::box, __func__).kind; }

Boolean AXValueGetValue(AXValueRef value, AXValueType type, void* result) {
  const auto& box = checkedAs<__AXValue>(value, Type::box, __func__);
  if (box.kind != type) return false;
  std::memcpy(result, box.content.data(), box.content.size());
  return true;
}

::AXError AXObserverRemoveNotification(AXObserverRef observer, AXUIElementRef element, CFStringRef notification) {
  static_cast<void>(checkedAs<__AXObserver>(observer, Type::observer, __func__));
  MacSystem::current().removedNotifications.emplace_back(utf8Of(notification, __func__),
                                                         known(element, __func__).process);
  return kAXErrorNotificationNotRegistered;
}

CFRunLoopSourceRef AXObserverGetRunLoopSource(AXObserverRef observer) {
  return checkedAs<__AXObserver>(observer, Type::observer, __func__).source;
}

}  // extern "C"
