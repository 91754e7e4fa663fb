#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <ApplicationServices/ApplicationServices.h>
#include <Security/Security.h>

#include "platform/desktop/Accessibility.h"
#include "platform/desktop/SyntheticEvents.h"

namespace quillard::fakes {

// The system's objects as plain ones with a count. There is no list of them, so that a leak checker sees each that
// is lost; only their number is known.
enum class Type : CFTypeID {
  null = 6,
  string,
  number,
  boolean,
  array,
  dictionary,
  data,
  date,
  url,
  error,
  element,
  box,
  event,
  eventSource,
  observer,
  source,
};

// How many live that are not immortal.
[[nodiscard]] long liveObjects();

struct Object {
  explicit Object(Type type, bool isImmortal = false);
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object();
  [[nodiscard]] virtual bool equals(const Object& other) const { return this == &other; }
  [[nodiscard]] virtual CFHashCode hash() const { return reinterpret_cast<CFHashCode>(this); }

  const Type type;
  const bool isImmortal;
  mutable std::atomic<long> count{1};
};

// Stops the process, naming the function that was called with what it must not be called with.
[[noreturn]] void stopForMisuse(const char* function, const char* what);

// `object`, which must be one of that type.
[[nodiscard]] const Object& checked(CFTypeRef object, Type type, const char* function);
template <class Struct>
[[nodiscard]] const Struct& checkedAs(CFTypeRef object, Type type, const char* function) {
  return static_cast<const Struct&>(checked(object, type, function));
}

// Holds one count, for the fakes' own use.
class Held {
 public:
  Held() = default;
  static Held take(CFTypeRef object) {
    Held held;
    held.object = object;
    return held;
  }
  static Held share(CFTypeRef object) { return take(object ? CFRetain(object) : nullptr); }
  Held(const Held& other) : Held(share(other.object)) {}
  Held(Held&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
  Held& operator=(Held other) noexcept {
    std::swap(object, other.object);
    return *this;
  }
  ~Held() {
    if (object) CFRelease(object);
  }
  [[nodiscard]] CFTypeRef get() const { return object; }
  // The caller's count now.
  [[nodiscard]] CFTypeRef give() { return std::exchange(object, nullptr); }

 private:
  CFTypeRef object = nullptr;
};

[[nodiscard]] Held stringObject(const std::string& utf8);
[[nodiscard]] std::string utf8Of(CFTypeRef string, const char* function);
[[nodiscard]] Held arrayObject(const std::vector<Held>& elements);
[[nodiscard]] Held dictionaryObject(const std::vector<std::pair<Held, Held>>& entries);
[[nodiscard]] Held integerObject(std::int64_t value);
[[nodiscard]] Held realObject(double value);
[[nodiscard]] Held booleanObject(bool value);

}  // namespace quillard::fakes

// The types that the declarations leave open.
struct __CFString final : quillard::fakes::Object {
  explicit __CFString(std::u16string units, bool isImmortal = false)
      : Object(quillard::fakes::Type::string, isImmortal), units(std::move(units)) {}
  [[nodiscard]] bool equals(const Object& other) const override {
    return units == static_cast<const __CFString&>(other).units;
  }
  [[nodiscard]] CFHashCode hash() const override { return std::hash<std::u16string>{}(units); }
  const std::u16string units;
};

struct __CFNull final : quillard::fakes::Object {
  __CFNull() : Object(quillard::fakes::Type::null, true) {}
};

struct __CFNumber final : quillard::fakes::Object {
  explicit __CFNumber(std::int64_t value)
      : Object(quillard::fakes::Type::number), isReal(false), integer(value), real(static_cast<double>(value)) {}
  explicit __CFNumber(double value) : Object(quillard::fakes::Type::number), isReal(true), real(value) {}
  [[nodiscard]] bool equals(const Object& other) const override {
    return real == static_cast<const __CFNumber&>(other).real;
  }
  [[nodiscard]] CFHashCode hash() const override { return std::hash<double>{}(real); }
  const bool isReal;
  const std::int64_t integer = 0;
  const double real;
};

struct __CFBoolean final : quillard::fakes::Object {
  explicit __CFBoolean(bool value) : Object(quillard::fakes::Type::boolean, true), value(value) {}
  const bool value;
};

struct __CFArray final : quillard::fakes::Object {
  explicit __CFArray(std::vector<quillard::fakes::Held> elements)
      : Object(quillard::fakes::Type::array), elements(std::move(elements)) {}
  const std::vector<quillard::fakes::Held> elements;
};

struct __CFDictionary final : quillard::fakes::Object {
  explicit __CFDictionary(std::vector<std::pair<quillard::fakes::Held, quillard::fakes::Held>> entries)
      : Object(quillard::fakes::Type::dictionary), entries(std::move(entries)) {}
  const std::vector<std::pair<quillard::fakes::Held, quillard::fakes::Held>> entries;
};

struct __CFData final : quillard::fakes::Object {
  explicit __CFData(std::vector<std::uint8_t> bytes) : Object(quillard::fakes::Type::data), bytes(std::move(bytes)) {}
  const std::vector<std::uint8_t> bytes;
};

struct __CFDate final : quillard::fakes::Object {
  explicit __CFDate(CFAbsoluteTime at) : Object(quillard::fakes::Type::date), at(at) {}
  const CFAbsoluteTime at;
};

struct __CFURL final : quillard::fakes::Object {
  explicit __CFURL(std::string path) : Object(quillard::fakes::Type::url), path(std::move(path)) {}
  const std::string path;
};

struct __CFError final : quillard::fakes::Object {
  explicit __CFError(std::string words) : Object(quillard::fakes::Type::error), words(std::move(words)) {}
  const std::string words;
};

// The time-out belongs to this very object, as the system has it: not to others that are equal to it.
struct __AXUIElement final : quillard::fakes::Object {
  __AXUIElement(quillard::platform::AXUIElement handle, pid_t process)
      : Object(quillard::fakes::Type::element), handle(std::move(handle)), process(process) {}
  [[nodiscard]] bool equals(const Object& other) const override {
    return handle == static_cast<const __AXUIElement&>(other).handle;
  }
  [[nodiscard]] CFHashCode hash() const override { return handle.get().hashValue(); }
  const quillard::platform::AXUIElement handle;
  const pid_t process;  // 0: of the whole system.
  mutable float timeout = 0;
};

struct __AXValue final : quillard::fakes::Object {
  __AXValue(AXValueType kind, std::vector<std::uint8_t> content)
      : Object(quillard::fakes::Type::box), kind(kind), content(std::move(content)) {}
  const AXValueType kind;
  const std::vector<std::uint8_t> content;
};

struct __CGEventSource final : quillard::fakes::Object {
  __CGEventSource() : Object(quillard::fakes::Type::eventSource) {}
};

struct __CGEvent final : quillard::fakes::Object {
  explicit __CGEvent(std::unique_ptr<quillard::platform::SyntheticEvent> event)
      : Object(quillard::fakes::Type::event), event(std::move(event)) {}
  const std::unique_ptr<quillard::platform::SyntheticEvent> event;
};

struct __CFRunLoopSource final : quillard::fakes::Object {
  __CFRunLoopSource() : Object(quillard::fakes::Type::source) {}
};

struct __AXObserver final : quillard::fakes::Object {
  __AXObserver() : Object(quillard::fakes::Type::observer) {}
  __CFRunLoopSource* const source = new __CFRunLoopSource;
  ~__AXObserver() override { CFRelease(source); }
};
