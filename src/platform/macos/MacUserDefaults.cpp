#include "platform/macos/MacUserDefaults.h"

#include <cmath>
#include <utility>

#include "foundation/Numbers.h"
#include "foundation/TextCatalogue.h"
#include "platform/macos/CFValues.h"

namespace quillard::macos {
namespace {

using platform::UserDefaultsValue;

constexpr CFIndex kNoLimit = CFIndex{4} * 1024 * 1024;  // Of our own texts, which are read whole.

template <class Ref>
CFValue asValue(const CFHandle<Ref>& handle) {
  return CFValue::retain(handle.get());
}

// Moments of the system count seconds from the year 2001, as a real number. To whole microseconds, so that what was
// stored is read back as it was.
Date dateFrom(CFAbsoluteTime time) {
  constexpr double kMicroseconds = 1e6;
  const double since1970 = std::round((time + kCFAbsoluteTimeIntervalSince1970) * kMicroseconds);
  return Date{Date::duration{truncatedToInteger(since1970)}};
}

CFAbsoluteTime timeFrom(Date date) {
  return std::chrono::duration<double>(date.time_since_epoch()).count() - kCFAbsoluteTimeIntervalSince1970;
}

struct Encoder {
  CFValue operator()(std::monostate) const { return {}; }
  CFValue operator()(bool value) const { return CFValue::retain(cfBoolean(value)); }
  CFValue operator()(double value) const { return asValue(makeNumber(value)); }
  CFValue operator()(const std::string& value) const { return asValue(makeString(value)); }
  CFValue operator()(const std::vector<std::string>& value) const {
    std::vector<CFHandle<CFStringRef>> strings;
    std::vector<CFTypeRef> elements;
    for (const auto& text : value) {
      strings.push_back(makeString(text));
      if (!strings.back()) return {};
      elements.push_back(strings.back().get());
    }
    return asValue(makeArray(std::move(elements)));
  }
  CFValue operator()(Date value) const { return CFValue::adopt(CFDateCreate(kCFAllocatorDefault, timeFrom(value))); }
  CFValue operator()(const std::vector<std::uint8_t>& value) const { return asValue(makeData(value)); }
};

UserDefaultsValue decoded(CFTypeRef value) {
  if (const auto boolean = booleanOf(value)) return *boolean;
  if (const auto number = numberOf(value)) return *number;
  if (auto text = textOf(value, kNoLimit)) return *std::move(text);
  if (auto texts = textsOf(value)) return *std::move(texts);
  if (auto bytes = bytesOf(value)) return *std::move(bytes);
  if (const auto date = cfCast<CFDateRef>(value)) return dateFrom(CFDateGetAbsoluteTime(date));
  return std::monostate{};
}

void store(std::string_view key, CFTypeRef value) {
  const auto name = makeString(key);
  if (!name) return;
  CFPreferencesSetAppValue(name.get(), value, kCFPreferencesCurrentApplication);
  static_cast<void>(CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication));
}

}  // namespace

std::optional<UserDefaultsValue> MacUserDefaults::object(std::string_view key) const {
  const auto name = makeString(key);
  if (!name) return std::nullopt;
  const auto value = CFValue::adopt(CFPreferencesCopyAppValue(name.get(), kCFPreferencesCurrentApplication));
  if (!value) return std::nullopt;
  return decoded(value.get());
}

void MacUserDefaults::set(std::string_view key, UserDefaultsValue value) {
  const CFValue content = std::visit(Encoder{}, value);
  if (content) store(key, content.get());
}

void MacUserDefaults::remove(std::string_view key) { store(key, nullptr); }

std::optional<std::string> MacUserDefaults::synchronize() {
  if (CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication) != Boolean{false}) return std::nullopt;
  return catalogued("The preferences of com.quillard.agent cannot be written.");
}

}  // namespace quillard::macos
