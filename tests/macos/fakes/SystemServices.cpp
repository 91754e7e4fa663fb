// Preferences, the main bundle, notices between processes, and property lists.

#include <cstdlib>
#include <cstring>
#include <memory>

#include <plist/plist.h>
#include <unistd.h>

#include "macos/fakes/MacSystem.h"

namespace quillard::fakes {
namespace {

MacSystem* living = nullptr;
int marker = 0;  // Its address stands for what has no content here.

Held plistObject(plist_t node);

Held plistDictionary(plist_t node) {
  std::vector<std::pair<Held, Held>> entries;
  plist_dict_iter step = nullptr;
  plist_dict_new_iter(node, &step);
  while (true) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(node, step, &key, &value);
    if (!value) break;
    entries.emplace_back(stringObject(key), plistObject(value));
    std::free(key);
  }
  std::free(step);
  return dictionaryObject(entries);
}

// Texts and dictionaries as they are; all else as a number.
Held plistObject(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_STRING:
      return stringObject(plist_get_string_ptr(node, nullptr));
    case PLIST_DICT:
      return plistDictionary(node);
    case PLIST_ARRAY:
      return arrayObject({});
    default:
      return integerObject(1);
  }
}

}  // namespace

MacSystem::MacSystem(platform::simulated::SimulatedDesktop& desktop,
                     platform::simulated::SimulatedSyntheticEvents& events)
    : MacSystem() {
  this->desktop = &desktop;
  this->events = &events;
}

MacSystem::MacSystem() {
  if (living) stopForMisuse("MacSystem", "there is one already");
  living = this;
}

MacSystem::~MacSystem() { living = nullptr; }

MacSystem& MacSystem::current() {
  if (!living) stopForMisuse("MacSystem", "there is none");
  return *living;
}

std::optional<pid_t> MacSystem::processWithKeyboard() const {
  if (hasFocus) return ::getpid();
  const auto front = desktop ? desktop->workspace().frontmostApplication() : std::nullopt;
  return front ? std::optional<pid_t>(front->processIdentifier) : std::nullopt;
}

void MacSystem::announce(const std::string& notice) const {
  const Held name = stringObject(notice);
  for (const auto& observer : std::vector(observers)) {
    if (observer.name != notice) continue;
    observer.callBack(CFNotificationCenterGetDistributedCenter(), const_cast<void*>(observer.observer),
                      static_cast<CFStringRef>(name.get()), nullptr, nullptr);
  }
}

}  // namespace quillard::fakes

using namespace quillard::fakes;

extern "C" {

// ---- Property lists
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data, CFOptionFlags, CFPropertyListFormat*,
                                               CFErrorRef* error) {
  const auto& bytes = checkedAs<__CFData>(data, Type::data, __func__).bytes;
  const auto* const text = reinterpret_cast<const char*>(bytes.data());
  const auto size = static_cast<std::uint32_t>(bytes.size());
  plist_t list = nullptr;
  if (size > 8 && std::memcmp(text, "bplist00", 8) == 0) {
    plist_from_bin(text, size, &list);
  } else {
    plist_from_xml(text, size, &list);
  }
  if (!list) {
    if (error) *error = new __CFError("The words of the system.");
    return nullptr;
  }
  Held object = plistObject(list);
  plist_free(list);
  return object.give();
}

CFStringRef CFErrorCopyDescription(CFErrorRef error) {
  return static_cast<CFStringRef>(stringObject(checkedAs<__CFError>(error, Type::error, __func__).words).give());
}

// ---- Preferences
const CFStringRef kCFPreferencesCurrentApplication = CFSTR("current application");

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef) {
  const auto& preferences = MacSystem::current().preferences;
  const auto found = preferences.find(utf8Of(key, __func__));
  return found == preferences.end() ? nullptr : CFRetain(found->second.get());
}

void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef) {
  auto& preferences = MacSystem::current().preferences;
  const std::string name = utf8Of(key, __func__);
  if (value) {
    preferences.insert_or_assign(name, Held::share(value));
  } else {
    preferences.erase(name);
  }
}

Boolean CFPreferencesAppSynchronize(CFStringRef) {
  ++MacSystem::current().preferenceWrites;
  return true;
}

// ---- The bundle
CFBundleRef CFBundleGetMainBundle(void) {
  return MacSystem::current().bundle.isThere ? reinterpret_cast<CFBundleRef>(&marker) : nullptr;
}

CFStringRef CFBundleGetIdentifier(CFBundleRef) {
  return static_cast<CFStringRef>(MacSystem::current().bundle.identifier.get());
}

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef, CFStringRef key) {
  const auto& information = MacSystem::current().bundle.information;
  const auto found = information.find(utf8Of(key, __func__));
  return found == information.end() ? nullptr : found->second.get();
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef) { return new __CFURL(MacSystem::current().bundle.path); }

CFURLRef CFBundleCopyResourceURL(CFBundleRef, CFStringRef name, CFStringRef type, CFStringRef) {
  const auto& resources = MacSystem::current().bundle.resources;
  const auto found = resources.find(utf8Of(name, __func__) + "." + utf8Of(type, __func__));
  return found == resources.end() ? nullptr : new __CFURL(found->second);
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8* buffer, CFIndex longest) {
  const auto& path = checkedAs<__CFURL>(url, Type::url, __func__).path;
  if (static_cast<CFIndex>(path.size()) >= longest) return false;
  std::memcpy(buffer, path.c_str(), path.size() + 1);
  return true;
}

// ---- Run loops and notices
const CFRunLoopMode kCFRunLoopDefaultMode = CFSTR("default mode");

CFRunLoopRef CFRunLoopGetMain(void) { return reinterpret_cast<CFRunLoopRef>(&marker); }

void CFRunLoopRemoveSource(CFRunLoopRef, CFRunLoopSourceRef source, CFRunLoopMode) {
  static_cast<void>(checked(source, Type::source, __func__));
  ++MacSystem::current().detachedSources;
}

CFNotificationCenterRef CFNotificationCenterGetDistributedCenter(void) {
  return reinterpret_cast<CFNotificationCenterRef>(&marker);
}

void CFNotificationCenterAddObserver(CFNotificationCenterRef, const void* observer, CFNotificationCallback callBack,
                                     CFStringRef name, const void*, CFNotificationSuspensionBehavior) {
  MacSystem::current().observers.push_back({observer, callBack, utf8Of(name, __func__)});
}

void CFNotificationCenterRemoveObserver(CFNotificationCenterRef, const void* observer, CFNotificationName name,
                                        const void*) {
  std::erase_if(MacSystem::current().observers, [&](const MacSystem::Observer& known) {
    return known.observer == observer && known.name == utf8Of(name, "CFNotificationCenterRemoveObserver");
  });
}

}  // extern "C"
