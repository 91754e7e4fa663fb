#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/macos/CFHandle.h"

namespace quillard::macos {

// Between CoreFoundation's values and ours. Values come from other programs and from outside: each type is checked, and
// what is of another type, or null, is absent. None of these takes a count of what it is given. Any thread.

// UTF-16 units. Longer texts are absent: the core does not read them, and they are not copied for that. (An element's
// text that is absent here is handed over as an unreadable one.)
inline constexpr CFIndex kLongestText = CFIndex{64} * 1024;

// Absent, too, when the text is no whole Unicode, as a half of a surrogate pair is.
[[nodiscard]] std::optional<std::string> textOf(CFTypeRef value, CFIndex longest = kLongestText);
[[nodiscard]] std::optional<bool> booleanOf(CFTypeRef value);
// Of a number that is an integer. A truth value is no number here.
[[nodiscard]] std::optional<std::int64_t> integerOf(CFTypeRef value);
// Of any number.
[[nodiscard]] std::optional<double> numberOf(CFTypeRef value);
[[nodiscard]] std::optional<std::vector<std::uint8_t>> bytesOf(CFTypeRef value);
// Absent when any of its elements is no text.
[[nodiscard]] std::optional<std::vector<std::string>> textsOf(CFTypeRef value);

// Empty when `text` is no UTF-8.
[[nodiscard]] CFHandle<CFStringRef> makeString(std::string_view text);
[[nodiscard]] CFHandle<CFNumberRef> makeInteger(std::int64_t number);
[[nodiscard]] CFHandle<CFNumberRef> makeNumber(double number);
[[nodiscard]] CFHandle<CFDataRef> makeData(std::span<const std::uint8_t> bytes);
[[nodiscard]] CFHandle<CFArrayRef> makeArray(std::vector<CFTypeRef> values);
[[nodiscard]] CFHandle<CFDictionaryRef> makeDictionary(const std::vector<std::pair<CFTypeRef, CFTypeRef>>& entries);

// The truth values are never released.
[[nodiscard]] inline CFBooleanRef cfBoolean(bool value) { return value ? kCFBooleanTrue : kCFBooleanFalse; }

}  // namespace quillard::macos
