#include "platform/macos/PropertyList.h"

#include <utility>
#include <vector>

#include "foundation/PropertyListShape.h"
#include "platform/macos/CFValues.h"

namespace quillard::macos {
namespace {

using platform::PropertyListTexts;
using platform::ResourceError;

PropertyListTexts textsIn(CFDictionaryRef dictionary) {
  const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
  std::vector<CFTypeRef> keys(count);
  std::vector<CFTypeRef> values(count);
  CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
  PropertyListTexts texts;
  for (std::size_t i = 0; i < count; ++i) {
    auto key = textOf(keys[i]);
    auto text = textOf(values[i]);
    if (key && text) texts.insert_or_assign(*std::move(key), *std::move(text));
  }
  return texts;
}

std::string descriptionOf(CFErrorRef error) {
  if (!error) return "The property list is malformed.";
  const auto words = CFHandle<CFStringRef>::adopt(CFErrorCopyDescription(error));
  return textOf(words.get()).value_or("The property list is malformed.");
}

}  // namespace

std::variant<PropertyListTexts, ResourceError> readPropertyList(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return ResourceError{"The property list is empty."};
  if (const auto refusal = refusalOfPropertyList(bytes)) return ResourceError{std::string(*refusal)};
  const auto data = makeData(bytes);
  CFHandle<CFErrorRef> error;
  const auto list = CFValue::adopt(
      CFPropertyListCreateWithData(kCFAllocatorDefault, data.get(), kCFPropertyListImmutable, nullptr, error.out()));
  if (!list) return ResourceError{descriptionOf(error.get())};
  const auto dictionary = cfCast<CFDictionaryRef>(list.get());
  if (!dictionary) return ResourceError{"The property list is no dictionary."};
  return textsIn(dictionary);
}

}  // namespace quillard::macos
