#pragma once

#include <optional>
#include <string>
#include <string_view>

#import <Foundation/Foundation.h>

// Between the system's texts and ours. For Objective-C++ only.
namespace quillard::macos {

// Absent when `text` is nil, or no whole Unicode, as a half of a surrogate pair is. Ends at a NUL character.
[[nodiscard]] inline std::optional<std::string> textFrom(NSString* _Nullable text) {
  const char* const bytes = text.UTF8String;
  if (!bytes) return std::nullopt;
  return std::string(bytes);
}

// Nil when `text` is no UTF-8.
[[nodiscard]] inline NSString* _Nullable nsTextOrNil(std::string_view text) {
  return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding];
}

// Empty when `text` is no UTF-8: our own texts, which always are.
[[nodiscard]] inline NSString* _Nonnull nsText(std::string_view text) {
  NSString* const converted = nsTextOrNil(text);
  return converted ? converted : @"";
}

}  // namespace quillard::macos
