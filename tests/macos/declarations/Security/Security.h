#pragma once

// What the binding uses of keychains and of the secure generator, from public documentation.

#include <CoreFoundation/CoreFoundation.h>
#include <stddef.h>

extern "C" {

enum : OSStatus {
  errSecSuccess = 0,
  errSecParam = -50,
  errSecUserCanceled = -128,
  errSecNotAvailable = -25291,
  errSecAuthFailed = -25293,
  errSecDuplicateItem = -25299,
  errSecItemNotFound = -25300,
  errSecInteractionNotAllowed = -25308,
  errSecMissingEntitlement = -34018,
};

extern const CFStringRef kSecClass;
extern const CFStringRef kSecClassGenericPassword;
extern const CFStringRef kSecAttrService;
extern const CFStringRef kSecAttrAccount;
extern const CFStringRef kSecValueData;
extern const CFStringRef kSecReturnData;
extern const CFStringRef kSecMatchLimit;
extern const CFStringRef kSecMatchLimitOne;
extern const CFStringRef kSecUseDataProtectionKeychain QUILLARD_SINCE(10.15);
extern const CFStringRef kSecUseAuthenticationUI QUILLARD_DEPRECATED(10.11, 11.0);
extern const CFStringRef kSecUseAuthenticationUIFail QUILLARD_DEPRECATED(10.11, 11.0);

OSStatus SecKeychainGetUserInteractionAllowed(Boolean* state) QUILLARD_DEPRECATED(10.2, 10.10);
OSStatus SecKeychainSetUserInteractionAllowed(Boolean state) QUILLARD_DEPRECATED(10.2, 10.10);

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef* result);
OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef* result);
OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate);
OSStatus SecItemDelete(CFDictionaryRef query);
QUILLARD_RETURNS_RETAINED CFStringRef SecCopyErrorMessageString(OSStatus status, void* reserved);

typedef const struct __SecRandom* SecRandomRef;
extern const SecRandomRef kSecRandomDefault;
int SecRandomCopyBytes(SecRandomRef generator, size_t count, void* bytes);

}  // extern "C"
