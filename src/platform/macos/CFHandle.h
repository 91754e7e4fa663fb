#pragma once

#include <utility>

#include <CoreFoundation/CoreFoundation.h>

namespace quillard::macos {

// One count of a CoreFoundation object, released when the handle goes; each handle holds one of its own. `Ref` is the
// object's pointer type, CFStringRef for example. May be empty.
template <class Ref>
class CFHandle {
 public:
  CFHandle() = default;
  // Takes over the count that a function with Create or Copy in its name has given.
  [[nodiscard]] static CFHandle adopt(Ref object) {
    CFHandle handle;
    handle.object = object;
    return handle;
  }
  // Takes a count of its own of what a function with Get in its name has given.
  [[nodiscard]] static CFHandle retain(Ref object) {
    if (object) CFRetain(object);
    return adopt(object);
  }

  CFHandle(const CFHandle& other) : object(other.object) {
    if (object) CFRetain(object);
  }
  CFHandle(CFHandle&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
  CFHandle& operator=(const CFHandle& other) {
    if (this != &other) *this = CFHandle(other);
    return *this;
  }
  CFHandle& operator=(CFHandle&& other) noexcept {
    std::swap(object, other.object);
    return *this;
  }
  ~CFHandle() {
    if (object) CFRelease(object);
  }

  [[nodiscard]] Ref get() const { return object; }
  explicit operator bool() const { return object != nullptr; }

  // For functions that hand out a count through a parameter. Only while the handle is empty.
  [[nodiscard]] Ref* out() { return &object; }

 private:
  Ref object = nullptr;
};

using CFValue = CFHandle<CFTypeRef>;

// The number of each type that values are asked for.
template <class Ref>
[[nodiscard]] CFTypeID typeNumber();
template <>
[[nodiscard]] inline CFTypeID typeNumber<CFNullRef>() {
  return CFNullGetTypeID();
}
template <>
[[nodiscard]] inline CFTypeID typeNumber<CFStringRef>() {
  return CFStringGetTypeID();
}
template <>
[[nodiscard]] inline CFTypeID typeNumber<CFNumberRef>() {
  return CFNumberGetTypeID();
}
template <>
[[nodiscard]] inline CFTypeID typeNumber<CFBooleanRef>() {
  return CFBooleanGetTypeID();
}
template <>
[[nodiscard]] inline CFTypeID typeNumber<CFArrayRef>() {
  return CFArrayGetTypeID();
}
template <>
[[nodiscard]] inline CFTypeID typeNumber<CFDictionaryRef>() {
  return CFDictionaryGetTypeID();
}
template <>
[[nodiscard]] inline CFTypeID typeNumber<CFDataRef>() {
  return CFDataGetTypeID();
}
template <>
[[nodiscard]] inline CFTypeID typeNumber<CFDateRef>() {
  return CFDateGetTypeID();
}

// `object` when it is of that type; null when it is of another, or null itself. Takes no count.
template <class Ref>
[[nodiscard]] Ref cfCast(CFTypeRef object) {
  if (!object || CFGetTypeID(object) != typeNumber<Ref>()) return nullptr;
  return static_cast<Ref>(object);
}

}  // namespace quillard::macos
