#include "platform/macos/AXRequests.h"

#include <algorithm>
#include <utility>

#include "platform/macos/AXValues.h"
#include "platform/macos/CFValues.h"

namespace quillard::macos {
namespace {

using platform::AXError;
using platform::AXResult;
using platform::AXValue;
namespace ax = platform::ax;

constexpr auto kPlaceOfEachError = static_cast<AXCopyMultipleAttributeOptions>(0);

AXResult<CFHandle<CFArrayRef>> copySlots(const AXElement& element, const std::vector<platform::AXAttribute>& names) {
  std::vector<CFHandle<CFStringRef>> strings;
  std::vector<CFTypeRef> values;
  for (const platform::AXAttribute name : names) {
    strings.push_back(makeString(name));
    if (!strings.back()) return AXError::illegalArgument;
    values.push_back(strings.back().get());
  }
  const auto wanted = makeArray(std::move(values));
  CFHandle<CFArrayRef> slots;
  const auto error =
      AXUIElementCopyMultipleAttributeValues(element.get(), wanted.get(), kPlaceOfEachError, slots.out());
  if (error != kAXErrorSuccess) return errorFrom(error);
  const auto count = static_cast<CFIndex>(names.size());
  if (!cfCast<CFArrayRef>(slots.get()) || CFArrayGetCount(slots.get()) != count) return AXError::failure;
  return slots;
}

AXResult<AXValue> readOne(const AXElement& element, platform::AXAttribute name) {
  const auto string = makeString(name);
  if (!string) return AXError::illegalArgument;
  CFValue value;
  const auto error = AXUIElementCopyAttributeValue(element.get(), string.get(), value.out());
  if (error != kAXErrorSuccess) return errorFrom(error);
  return valueFrom(value.get());
}

// One request in most cases; two of an application that does not answer a list of questions.
AXResult<AXValue> readValue(const AXElement& element) {
  auto both = readAttributes(element, {ax::kSubrole, ax::kValue});
  if (both.hasValue()) return std::move(both).value()[1];
  if (!isBatchRefused(both.error())) return both.error();
  if (const auto refusal = refusalOfValue(readOne(element, ax::kSubrole))) return *refusal;
  return readOne(element, ax::kValue);
}

}  // namespace

AXResult<AXValue> readAttribute(const AXElement& element, platform::AXAttribute name) {
  return name == ax::kValue ? readValue(element) : readOne(element, name);
}

AXResult<AXAnswers> readAttributes(const AXElement& element, const std::vector<platform::AXAttribute>& names) {
  const auto slots = copySlots(element, names);
  if (!slots.hasValue()) return slots.error();
  const auto slot = [&](platform::AXAttribute name) {
    const auto index = std::find(names.begin(), names.end(), name) - names.begin();
    return valueFrom(CFArrayGetValueAtIndex(slots.value().get(), static_cast<CFIndex>(index)));
  };
  AXAnswers answers;
  answers.reserve(names.size());
  for (const platform::AXAttribute name : names) {
    const auto refusal = name == ax::kValue ? refusalOfValue(slot(ax::kSubrole)) : std::nullopt;
    answers.push_back(refusal ? AXResult<AXValue>(*refusal) : slot(name));
  }
  return answers;
}

std::optional<AXError> refusalOfValue(const AXResult<AXValue>& subrole) {
  if (subrole.hasValue()) {
    const auto* const text = std::get_if<std::string>(&subrole.value());
    if (!text) return AXError::failure;  // It has one, and it is not known which.
    return *text == ax::kSecureTextFieldSubrole ? std::optional(AXError::noValue) : std::nullopt;
  }
  const AXError error = subrole.error();
  const bool hasNone = error == AXError::noValue || error == AXError::attributeUnsupported;
  return hasNone ? std::nullopt : std::optional(error);
}

bool isBatchRefused(AXError error) {
  return error == AXError::failure || error == AXError::notImplemented || error == AXError::illegalArgument ||
         error == AXError::attributeUnsupported;
}

AXResult<std::vector<std::string>> readActionNames(const AXElement& element) {
  CFHandle<CFArrayRef> names;
  const auto error = AXUIElementCopyActionNames(element.get(), names.out());
  if (error != kAXErrorSuccess) return errorFrom(error);
  auto texts = textsOf(names.get());
  if (!texts) return AXError::failure;
  return *std::move(texts);
}

}  // namespace quillard::macos
