#include "platform/macos/AXValues.h"

#include <optional>
#include <utility>
#include <vector>

#include "platform/macos/AXElement.h"
#include "platform/macos/CFValues.h"

namespace quillard::macos {
namespace {

using platform::AXForeignValue;
using platform::AXResult;
using platform::AXUIElement;
using platform::AXValue;

template <class Content>
std::optional<Content> contentOf(AXValueRef box, AXValueType type) {
  Content content{};
  if (AXValueGetType(box) != type || !AXValueGetValue(box, type, &content)) return std::nullopt;
  return content;
}

AXResult<AXValue> boxContent(AXValueRef box) {
  if (const auto point = contentOf<CGPoint>(box, kAXValueTypeCGPoint)) {
    return AXValue(Point{.x = point->x, .y = point->y});
  }
  if (const auto size = contentOf<CGSize>(box, kAXValueTypeCGSize)) {
    return AXValue(Size{.width = size->width, .height = size->height});
  }
  if (const auto rect = contentOf<CGRect>(box, kAXValueTypeCGRect)) {
    return AXValue(
        Rect{.x = rect->origin.x, .y = rect->origin.y, .width = rect->size.width, .height = rect->size.height});
  }
  if (const auto error = contentOf<::AXError>(box, kAXValueTypeAXError)) {
    // An error that says that there was none says nothing about the value.
    return *error == kAXErrorSuccess ? platform::AXError::noValue : errorFrom(*error);
  }
  return AXValue(AXForeignValue{});
}

// A list of anything but elements is foreign as a whole.
AXValue listContent(CFArrayRef array) {
  std::vector<AXUIElement> elements;
  const CFIndex count = CFArrayGetCount(array);
  elements.reserve(static_cast<std::size_t>(count));
  for (CFIndex i = 0; i < count; ++i) {
    const auto element = cfCast<AXUIElementRef>(CFArrayGetValueAtIndex(array, i));
    if (!element) return AXForeignValue{};
    elements.push_back(elementFrom(CFHandle<AXUIElementRef>::retain(element)));
  }
  return elements;
}

CFValue makeBox(AXValueType type, const void* content) { return CFValue::adopt(AXValueCreate(type, content)); }

template <class Ref>
CFValue asValue(const CFHandle<Ref>& handle) {
  return CFValue::retain(handle.get());
}

CFTypeRef systemElement(const AXUIElement& element) {
  const AXElement* const own = elementOf(element);
  return own ? own->get() : nullptr;
}

struct ValueMaker {
  CFValue operator()(AXForeignValue) const { return {}; }
  CFValue operator()(platform::AXUnreadableText) const { return {}; }
  CFValue operator()(bool value) const { return CFValue::retain(cfBoolean(value)); }
  CFValue operator()(std::int64_t value) const { return asValue(makeInteger(value)); }
  CFValue operator()(double value) const { return asValue(makeNumber(value)); }
  CFValue operator()(const std::string& value) const { return asValue(makeString(value)); }
  CFValue operator()(Point value) const {
    const CGPoint point{value.x, value.y};
    return makeBox(kAXValueTypeCGPoint, &point);
  }
  CFValue operator()(Size value) const {
    const CGSize size{value.width, value.height};
    return makeBox(kAXValueTypeCGSize, &size);
  }
  CFValue operator()(const Rect& value) const {
    const CGRect rect{{value.x, value.y}, {value.width, value.height}};
    return makeBox(kAXValueTypeCGRect, &rect);
  }
  CFValue operator()(const AXUIElement& value) const { return CFValue::retain(systemElement(value)); }
  CFValue operator()(const std::vector<AXUIElement>& value) const {
    std::vector<CFTypeRef> elements;
    for (const auto& element : value) {
      elements.push_back(systemElement(element));
      if (!elements.back()) return {};
    }
    return asValue(makeArray(std::move(elements)));
  }
};

}  // namespace

platform::AXError errorFrom(::AXError error) {
  switch (error) {
    case kAXErrorSuccess:
      return platform::AXError::success;
    case kAXErrorIllegalArgument:
      return platform::AXError::illegalArgument;
    case kAXErrorInvalidUIElement:
      return platform::AXError::invalidUIElement;
    case kAXErrorCannotComplete:
      return platform::AXError::cannotComplete;
    case kAXErrorAttributeUnsupported:
      return platform::AXError::attributeUnsupported;
    case kAXErrorActionUnsupported:
      return platform::AXError::actionUnsupported;
    case kAXErrorNotImplemented:
      return platform::AXError::notImplemented;
    case kAXErrorAPIDisabled:
      return platform::AXError::apiDisabled;
    case kAXErrorNoValue:
      return platform::AXError::noValue;
    default:
      return platform::AXError::failure;
  }
}

AXResult<AXValue> valueFrom(CFTypeRef value) {
  if (!value || cfCast<CFNullRef>(value)) return platform::AXError::noValue;
  if (cfCast<CFStringRef>(value)) {
    auto text = textOf(value);
    return text ? AXValue(*std::move(text)) : AXValue(platform::AXUnreadableText{});
  }
  if (const auto boolean = booleanOf(value)) return AXValue(*boolean);
  if (const auto integer = integerOf(value)) return AXValue(*integer);
  if (const auto number = numberOf(value)) return AXValue(*number);
  if (const auto element = cfCast<AXUIElementRef>(value)) {
    return AXValue(elementFrom(CFHandle<AXUIElementRef>::retain(element)));
  }
  if (const auto array = cfCast<CFArrayRef>(value)) return listContent(array);
  if (const auto box = cfCast<AXValueRef>(value)) return boxContent(box);
  return AXValue(AXForeignValue{});
}

CFValue cfValueFrom(const AXValue& value) { return std::visit(ValueMaker{}, value); }

}  // namespace quillard::macos
