// Two keychains in memory, which answer a process without entitlements as the real ones do: reading says that nothing
// is there, only writing says why.

#include <cstring>
#include <optional>

#include "macos/fakes/MacSystem.h"

using namespace quillard::fakes;

namespace {

using Items = std::map<Keychain::Name, std::vector<std::uint8_t>>;

struct Request {
  bool isProtected = false;
  bool mayAsk = true;
  bool wantsData = false;
  Keychain::Name name;
  std::optional<std::vector<std::uint8_t>> data;
};

bool isTrue(CFTypeRef value) { return value && CFBooleanGetValue(static_cast<CFBooleanRef>(value)); }

std::optional<std::vector<std::uint8_t>> dataIn(CFDictionaryRef query) {
  const void* const data = CFDictionaryGetValue(query, kSecValueData);
  if (!data) return std::nullopt;
  return checkedAs<__CFData>(data, Type::data, __func__).bytes;
}

// Absent when the request leaves out what every one of ours must say.
std::optional<Request> requestFrom(CFDictionaryRef query) {
  const void* const kind = CFDictionaryGetValue(query, kSecClass);
  const void* const service = CFDictionaryGetValue(query, kSecAttrService);
  const void* const account = CFDictionaryGetValue(query, kSecAttrAccount);
  const void* const place = CFDictionaryGetValue(query, kSecUseDataProtectionKeychain);
  if (!kind || !CFEqual(kind, kSecClassGenericPassword) || !service || !account || !place) return std::nullopt;
  const void* const interface = CFDictionaryGetValue(query, kSecUseAuthenticationUI);
  return Request{.isProtected = isTrue(place),
                 .mayAsk = !interface || !CFEqual(interface, kSecUseAuthenticationUIFail),
                 .wantsData = isTrue(CFDictionaryGetValue(query, kSecReturnData)),
                 .name = {utf8Of(service, __func__), utf8Of(account, __func__)},
                 .data = dataIn(query)};
}

Items& itemsOf(Keychain& keychain, const Request& request) {
  return request.isProtected ? keychain.protectedItems : keychain.fileItems;
}

// Why the request is refused before anything is looked for.
enum class Access { read, add, change, remove };
OSStatus refusal(Keychain& keychain, const Request& request, Access access) {
  if (keychain.refusal) return *keychain.refusal;
  if (request.isProtected) {
    if (request.mayAsk) ++keychain.userQuestions;
    if (keychain.entitlements == Entitlements::unvalidated) return errSecMissingEntitlement;
    if (keychain.entitlements == Entitlements::none)
      return access == Access::read ? errSecItemNotFound : errSecMissingEntitlement;
    return errSecSuccess;
  }
  const bool isOfAnotherBuild = keychain.itemsOfAnotherBuild.contains(request.name);
  if (isOfAnotherBuild && access == Access::add) return errSecDuplicateItem;
  const bool isWithheld = isOfAnotherBuild && access != Access::remove;
  if (!keychain.isFileLocked && !isWithheld) return errSecSuccess;
  if (!keychain.mayAskUser) return errSecInteractionNotAllowed;
  ++keychain.userQuestions;
  return errSecUserCanceled;
}

}  // namespace

extern "C" {

const CFStringRef kSecClass = CFSTR("class");
const CFStringRef kSecClassGenericPassword = CFSTR("generic password");
const CFStringRef kSecAttrService = CFSTR("service");
const CFStringRef kSecAttrAccount = CFSTR("account");
const CFStringRef kSecValueData = CFSTR("value data");
const CFStringRef kSecReturnData = CFSTR("return data");
const CFStringRef kSecMatchLimit = CFSTR("match limit");
const CFStringRef kSecMatchLimitOne = CFSTR("match limit one");
const CFStringRef kSecUseDataProtectionKeychain = CFSTR("data protection");
const CFStringRef kSecUseAuthenticationUI = CFSTR("authentication interface");
const CFStringRef kSecUseAuthenticationUIFail = CFSTR("authentication interface: fail");
const SecRandomRef kSecRandomDefault = nullptr;

OSStatus SecKeychainGetUserInteractionAllowed(Boolean* state) {
  *state = MacSystem::current().keychain.mayAskUser;
  return errSecSuccess;
}

OSStatus SecKeychainSetUserInteractionAllowed(Boolean state) {
  MacSystem::current().keychain.mayAskUser = state;
  return errSecSuccess;
}

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef* result) {
  Keychain& keychain = MacSystem::current().keychain;
  const auto request = requestFrom(query);
  if (!request || !request->wantsData) return errSecParam;
  if (const OSStatus status = refusal(keychain, *request, Access::read); status != errSecSuccess) return status;
  const Items& items = itemsOf(keychain, *request);
  const auto found = items.find(request->name);
  if (found == items.end()) return errSecItemNotFound;
  if (keychain.givesSomethingElse) {
    *result = stringObject("something else").give();
  } else if (!found->second.empty() || !keychain.givesNothingForEmptyData) {
    *result = new __CFData(found->second);
  }
  return errSecSuccess;
}

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef*) {
  Keychain& keychain = MacSystem::current().keychain;
  const auto request = requestFrom(attributes);
  if (!request || !request->data) return errSecParam;
  if (const OSStatus status = refusal(keychain, *request, Access::add); status != errSecSuccess) return status;
  return itemsOf(keychain, *request).emplace(request->name, *request->data).second ? errSecSuccess
                                                                                   : errSecDuplicateItem;
}

OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate) {
  Keychain& keychain = MacSystem::current().keychain;
  const auto request = requestFrom(query);
  const auto data = dataIn(attributesToUpdate);
  if (!request || !data) return errSecParam;
  if (const OSStatus status = refusal(keychain, *request, Access::change); status != errSecSuccess) return status;
  Items& items = itemsOf(keychain, *request);
  const auto found = items.find(request->name);
  if (found == items.end()) return errSecItemNotFound;
  found->second = *data;
  return errSecSuccess;
}

OSStatus SecItemDelete(CFDictionaryRef query) {
  Keychain& keychain = MacSystem::current().keychain;
  const auto request = requestFrom(query);
  if (!request) return errSecParam;
  if (const OSStatus status = refusal(keychain, *request, Access::remove); status != errSecSuccess) return status;
  if (!request->isProtected && keychain.itemsOfAnotherBuild.erase(request->name) == 1) return errSecSuccess;
  return itemsOf(keychain, *request).erase(request->name) == 1 ? errSecSuccess : errSecItemNotFound;
}

CFStringRef SecCopyErrorMessageString(OSStatus status, void*) {
  if (status == errSecParam) return nullptr;
  return static_cast<CFStringRef>(stringObject("Words for " + std::to_string(status)).give());
}

int SecRandomCopyBytes(SecRandomRef, size_t count, void* bytes) {
  std::memset(bytes, 7, count);
  return MacSystem::current().isGeneratorBroken ? -1 : errSecSuccess;
}

}  // extern "C"
