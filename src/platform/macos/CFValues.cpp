#include "platform/macos/CFValues.h"

namespace quillard::macos {

std::optional<std::string> textOf(CFTypeRef value, CFIndex longest) {
  const auto string = cfCast<CFStringRef>(value);
  if (!string) return std::nullopt;
  const CFIndex length = CFStringGetLength(string);
  if (length > longest) return std::nullopt;
  constexpr CFIndex kMostBytesOfAUnit = 3;  // A pair of units takes four.
  std::string text(static_cast<std::size_t>(length * kMostBytesOfAUnit), '\0');
  CFIndex used = 0;
  // Without a substitute it stops at what it cannot convert.
  const CFIndex converted =
      CFStringGetBytes(string, CFRangeMake(0, length), kCFStringEncodingUTF8, 0, false,
                       reinterpret_cast<UInt8*>(text.data()), static_cast<CFIndex>(text.size()), &used);
  if (converted != length) return std::nullopt;
  text.resize(static_cast<std::size_t>(used));
  return text;
}

std::optional<bool> booleanOf(CFTypeRef value) {
  const auto boolean = cfCast<CFBooleanRef>(value);
  if (!boolean) return std::nullopt;
  return CFBooleanGetValue(boolean) != 0;
}

std::optional<std::int64_t> integerOf(CFTypeRef value) {
  const auto number = cfCast<CFNumberRef>(value);
  if (!number || CFNumberIsFloatType(number)) return std::nullopt;
  std::int64_t integer = 0;
  if (!CFNumberGetValue(number, kCFNumberSInt64Type, &integer)) return std::nullopt;
  return integer;
}

std::optional<double> numberOf(CFTypeRef value) {
  const auto number = cfCast<CFNumberRef>(value);
  if (!number) return std::nullopt;
  double real = 0;
  // False for a large integer that loses digits: near enough, it was converted all the same.
  static_cast<void>(CFNumberGetValue(number, kCFNumberDoubleType, &real));
  return real;
}

std::optional<std::vector<std::uint8_t>> bytesOf(CFTypeRef value) {
  const auto data = cfCast<CFDataRef>(value);
  if (!data) return std::nullopt;
  const UInt8* const bytes = CFDataGetBytePtr(data);
  return std::vector<std::uint8_t>(bytes, bytes + CFDataGetLength(data));
}

std::optional<std::vector<std::string>> textsOf(CFTypeRef value) {
  const auto array = cfCast<CFArrayRef>(value);
  if (!array) return std::nullopt;
  std::vector<std::string> texts;
  for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
    auto text = textOf(CFArrayGetValueAtIndex(array, i));
    if (!text) return std::nullopt;
    texts.push_back(*std::move(text));
  }
  return texts;
}

CFHandle<CFStringRef> makeString(std::string_view text) {
  const char* const bytes = text.empty() ? "" : text.data();  // An empty view may point nowhere.
  return CFHandle<CFStringRef>::adopt(
      CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes),
                              static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

CFHandle<CFNumberRef> makeInteger(std::int64_t number) {
  return CFHandle<CFNumberRef>::adopt(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &number));
}

CFHandle<CFNumberRef> makeNumber(double number) {
  return CFHandle<CFNumberRef>::adopt(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &number));
}

CFHandle<CFDataRef> makeData(std::span<const std::uint8_t> bytes) {
  return CFHandle<CFDataRef>::adopt(
      CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
}

CFHandle<CFArrayRef> makeArray(std::vector<CFTypeRef> values) {
  return CFHandle<CFArrayRef>::adopt(
      CFArrayCreate(kCFAllocatorDefault, values.data(), static_cast<CFIndex>(values.size()), &kCFTypeArrayCallBacks));
}

CFHandle<CFDictionaryRef> makeDictionary(const std::vector<std::pair<CFTypeRef, CFTypeRef>>& entries) {
  std::vector<CFTypeRef> keys;
  std::vector<CFTypeRef> values;
  for (const auto& [key, value] : entries) {
    keys.push_back(key);
    values.push_back(value);
  }
  return CFHandle<CFDictionaryRef>::adopt(
      CFDictionaryCreate(kCFAllocatorDefault, keys.data(), values.data(), static_cast<CFIndex>(keys.size()),
                         &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

}  // namespace quillard::macos
