// Texts, numbers, lists: CoreFoundation's objects.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "macos/fakes/Objects.h"

struct QuillardArrayCallBacks {};
struct QuillardDictionaryKeyCallBacks {};
struct QuillardDictionaryValueCallBacks {};

namespace quillard::fakes {
namespace {

std::atomic<long> live{0};

const __CFNull kNull;
const __CFBoolean kTrue{true};
const __CFBoolean kFalse{false};

// The units of well-formed UTF-8; absent for other bytes.
std::optional<std::u16string> unitsOf(const std::string& utf8) {
  std::u16string units;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    const int more = lead < 0x80 ? 0 : lead >= 0xC2 && lead < 0xE0 ? 1 : lead >= 0xE0 && lead < 0xF0 ? 2 : 3;
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || i + static_cast<std::size_t>(more) >= utf8.size()) {
      return std::nullopt;
    }
    char32_t character = more == 0 ? lead : lead & (0x3FU >> static_cast<unsigned>(more));
    for (int step = 1; step <= more; ++step) {
      const auto byte = static_cast<unsigned char>(utf8[i + static_cast<std::size_t>(step)]);
      if ((byte & 0xC0U) != 0x80) return std::nullopt;
      character = character << 6U | (byte & 0x3FU);
    }
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (character < kSmallest[more] || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000)) {
      return std::nullopt;
    }
    if (character < 0x10000) {
      units += static_cast<char16_t>(character);
    } else {
      units += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10U));
      units += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FFU));
    }
    i += static_cast<std::size_t>(more) + 1;
  }
  return units;
}

std::string encoded(char32_t character) {
  if (character < 0x80) return {static_cast<char>(character)};
  std::string bytes;
  unsigned shift = character < 0x800 ? 6 : character < 0x10000 ? 12 : 18;
  bytes += static_cast<char>((character < 0x800 ? 0xC0U : character < 0x10000 ? 0xE0U : 0xF0U) | character >> shift);
  while (shift > 0) {
    shift -= 6;
    bytes += static_cast<char>(0x80U | (character >> shift & 0x3FU));
  }
  return bytes;
}

// How many units at `at` make one character: none for a half of a pair.
int unitsOfCharacter(const std::u16string& units, std::size_t at, std::size_t end) {
  if (units[at] < 0xD800 || units[at] > 0xDFFF) return 1;
  const bool isPair = units[at] < 0xDC00 && at + 1 < end && units[at + 1] >= 0xDC00 && units[at + 1] <= 0xDFFF;
  return isPair ? 2 : 0;
}

char32_t characterAt(const std::u16string& units, std::size_t at, int count) {
  if (count == 1) return units[at];
  return 0x10000 + (static_cast<char32_t>(units[at] - 0xD800) << 10U) + static_cast<char32_t>(units[at + 1] - 0xDC00);
}

}  // namespace

long liveObjects() { return live; }

Object::Object(Type type, bool isImmortal) : type(type), isImmortal(isImmortal) {
  if (!isImmortal) ++live;
}

Object::~Object() {
  if (!isImmortal) --live;
}

void stopForMisuse(const char* function, const char* what) {
  std::fprintf(stderr, "%s: %s\n", function, what);
  std::abort();
}

const Object& checked(CFTypeRef object, Type type, const char* function) {
  if (!object) stopForMisuse(function, "called with null");
  const auto& known = *static_cast<const Object*>(object);
  if (known.count <= 0) stopForMisuse(function, "called with an object that is gone");
  if (known.type != type) stopForMisuse(function, "called with an object of another type");
  return known;
}

Held stringObject(const std::string& utf8) {
  auto units = unitsOf(utf8);
  return Held::take(new __CFString(units ? *std::move(units) : u"\xD800"));
}

std::string utf8Of(CFTypeRef string, const char* function) {
  const auto& units = checkedAs<__CFString>(string, Type::string, function).units;
  std::string text;
  for (std::size_t i = 0; i < units.size();) {
    const int count = unitsOfCharacter(units, i, units.size());
    if (count == 0) stopForMisuse(function, "called with a broken text");
    text += encoded(characterAt(units, i, count));
    i += static_cast<std::size_t>(count);
  }
  return text;
}

Held arrayObject(const std::vector<Held>& elements) { return Held::take(new __CFArray(elements)); }
Held dictionaryObject(const std::vector<std::pair<Held, Held>>& entries) {
  return Held::take(new __CFDictionary(entries));
}
Held integerObject(std::int64_t value) { return Held::take(new __CFNumber(value)); }
Held realObject(double value) { return Held::take(new __CFNumber(value)); }
Held booleanObject(bool value) { return Held::take(value ? kCFBooleanTrue : kCFBooleanFalse); }

}  // namespace quillard::fakes

using namespace quillard::fakes;

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFNullRef kCFNull = &kNull;
CFTypeID CFNullGetTypeID(void) { return static_cast<CFTypeID>(Type::null); }
const CFBooleanRef kCFBooleanTrue = &kTrue;
const CFBooleanRef kCFBooleanFalse = &kFalse;
const CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;
const CFArrayCallBacks kCFTypeArrayCallBacks{};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{};

CFTypeRef CFRetain(CFTypeRef object) {
  if (!object) stopForMisuse(__func__, "called with null");
  const auto& known = *static_cast<const Object*>(object);
  if (!known.isImmortal) ++known.count;
  return object;
}

void CFRelease(CFTypeRef object) {
  if (!object) stopForMisuse(__func__, "called with null");
  const auto& known = *static_cast<const Object*>(object);
  if (!known.isImmortal && --known.count == 0) delete &known;
}

CFTypeID CFGetTypeID(CFTypeRef object) {
  if (!object) stopForMisuse(__func__, "called with null");
  return static_cast<CFTypeID>(static_cast<const Object*>(object)->type);
}

Boolean CFEqual(CFTypeRef one, CFTypeRef other) {
  if (!one || !other) stopForMisuse(__func__, "called with null");
  const auto& first = *static_cast<const Object*>(one);
  const auto& second = *static_cast<const Object*>(other);
  return first.type == second.type && first.equals(second);
}

CFHashCode CFHash(CFTypeRef object) {
  if (!object) stopForMisuse(__func__, "called with null");
  return static_cast<const Object*>(object)->hash();
}

CFStringRef quillardConstantString(const char* text) {
  static std::mutex mutex;
  static auto& constants = *new std::map<std::string, const __CFString*>;
  const std::scoped_lock lock(mutex);
  auto& constant = constants[text];
  if (!constant) constant = new __CFString(*unitsOf(text), true);
  return constant;
}

CFTypeID CFStringGetTypeID(void) { return static_cast<CFTypeID>(Type::string); }

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex count, CFStringEncoding encoding,
                                    Boolean) {
  if (!bytes || encoding != kCFStringEncodingUTF8 || count < 0) stopForMisuse(__func__, "called for another encoding");
  auto units = unitsOf(std::string(bytes, bytes + count));
  return units ? new __CFString(*std::move(units)) : nullptr;
}

CFIndex CFStringGetLength(CFStringRef string) {
  return static_cast<CFIndex>(checkedAs<__CFString>(string, Type::string, __func__).units.size());
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding, UInt8 lossByte, Boolean,
                         UInt8* buffer, CFIndex longest, CFIndex* used) {
  const auto& units = checkedAs<__CFString>(string, Type::string, __func__).units;
  const auto end = static_cast<std::size_t>(range.location + range.length);
  if (encoding != kCFStringEncodingUTF8 || lossByte != 0 || range.location < 0 || end > units.size()) {
    stopForMisuse(__func__, "called for what this fake does not do");
  }
  auto at = static_cast<std::size_t>(range.location);
  CFIndex written = 0;
  while (at < end) {
    const int count = unitsOfCharacter(units, at, end);
    if (count == 0) break;
    const std::string bytes = encoded(characterAt(units, at, count));
    if (written + static_cast<CFIndex>(bytes.size()) > longest) break;
    std::copy(bytes.begin(), bytes.end(), buffer + written);
    written += static_cast<CFIndex>(bytes.size());
    at += static_cast<std::size_t>(count);
  }
  if (used) *used = written;
  return static_cast<CFIndex>(at) - range.location;
}

CFTypeID CFBooleanGetTypeID(void) { return static_cast<CFTypeID>(Type::boolean); }
Boolean CFBooleanGetValue(CFBooleanRef boolean) {
  return checkedAs<__CFBoolean>(boolean, Type::boolean, __func__).value;
}
CFTypeID CFNumberGetTypeID(void) { return static_cast<CFTypeID>(Type::number); }

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
  if (type == kCFNumberSInt64Type) return new __CFNumber(*static_cast<const std::int64_t*>(value));
  if (type == kCFNumberDoubleType) return new __CFNumber(*static_cast<const double*>(value));
  stopForMisuse(__func__, "called for another type");
}

Boolean CFNumberIsFloatType(CFNumberRef number) { return checkedAs<__CFNumber>(number, Type::number, __func__).isReal; }

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
  const auto& known = checkedAs<__CFNumber>(number, Type::number, __func__);
  if (type == kCFNumberDoubleType) {
    *static_cast<double*>(value) = known.real;
    return known.isReal || static_cast<std::int64_t>(known.real) == known.integer;
  }
  if (type != kCFNumberSInt64Type || known.isReal) stopForMisuse(__func__, "called for another type");
  *static_cast<std::int64_t*>(value) = known.integer;
  return true;
}

CFTypeID CFDataGetTypeID(void) { return static_cast<CFTypeID>(Type::data); }
CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
  return new __CFData(std::vector<std::uint8_t>(bytes, bytes + length));
}
CFIndex CFDataGetLength(CFDataRef data) {
  return static_cast<CFIndex>(checkedAs<__CFData>(data, Type::data, __func__).bytes.size());
}
const UInt8* CFDataGetBytePtr(CFDataRef data) { return checkedAs<__CFData>(data, Type::data, __func__).bytes.data(); }

CFTypeID CFDateGetTypeID(void) { return static_cast<CFTypeID>(Type::date); }
CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime at) { return new __CFDate(at); }
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date) { return checkedAs<__CFDate>(date, Type::date, __func__).at; }

CFTypeID CFArrayGetTypeID(void) { return static_cast<CFTypeID>(Type::array); }

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count, const CFArrayCallBacks* callBacks) {
  if (callBacks != &kCFTypeArrayCallBacks) stopForMisuse(__func__, "called for a list that holds no counts");
  std::vector<Held> elements;
  for (CFIndex i = 0; i < count; ++i) {
    if (!values[i]) stopForMisuse(__func__, "called with a null element");
    elements.push_back(Held::share(values[i]));
  }
  return new __CFArray(std::move(elements));
}

CFIndex CFArrayGetCount(CFArrayRef array) {
  return static_cast<CFIndex>(checkedAs<__CFArray>(array, Type::array, __func__).elements.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  const auto& elements = checkedAs<__CFArray>(array, Type::array, __func__).elements;
  if (index < 0 || static_cast<std::size_t>(index) >= elements.size()) stopForMisuse(__func__, "index past the end");
  return elements[static_cast<std::size_t>(index)].get();
}

CFTypeID CFDictionaryGetTypeID(void) { return static_cast<CFTypeID>(Type::dictionary); }

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values, CFIndex count,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  if (keyCallBacks != &kCFTypeDictionaryKeyCallBacks || valueCallBacks != &kCFTypeDictionaryValueCallBacks) {
    stopForMisuse(__func__, "called for a dictionary that holds no counts");
  }
  std::vector<std::pair<Held, Held>> entries;
  for (CFIndex i = 0; i < count; ++i) {
    if (!keys[i] || !values[i]) stopForMisuse(__func__, "called with a null entry");
    entries.emplace_back(Held::share(keys[i]), Held::share(values[i]));
  }
  return new __CFDictionary(std::move(entries));
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
  return static_cast<CFIndex>(checkedAs<__CFDictionary>(dictionary, Type::dictionary, __func__).entries.size());
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  for (const auto& [name, value] : checkedAs<__CFDictionary>(dictionary, Type::dictionary, __func__).entries) {
    if (CFEqual(name.get(), key)) return value.get();
  }
  return nullptr;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values) {
  for (const auto& [name, value] : checkedAs<__CFDictionary>(dictionary, Type::dictionary, __func__).entries) {
    *keys++ = name.get();
    *values++ = value.get();
  }
}

}  // extern "C"
