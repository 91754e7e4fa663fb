#include "platform/macos/MacSecretStore.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <Security/Security.h>

#include "foundation/Mutex.h"
#include "platform/macos/CFValues.h"

namespace quillard::macos {
namespace {

using platform::SecretPlace;
using platform::SecretReading;
using platform::SecretStatus;
using platform::SecretStatusCode;

using Entries = std::vector<std::pair<CFTypeRef, CFTypeRef>>;

SecretStatusCode codeFrom(OSStatus status) {
  switch (status) {
    case errSecSuccess:
      return SecretStatusCode::success;
    case errSecItemNotFound:
      return SecretStatusCode::itemNotFound;
    case errSecMissingEntitlement:
      return SecretStatusCode::missingEntitlement;
    case errSecInteractionNotAllowed:
      return SecretStatusCode::interactionNotAllowed;
    case errSecAuthFailed:
    case errSecUserCanceled:
      return SecretStatusCode::accessDenied;
    default:
      return SecretStatusCode::other;
  }
}

SecretStatus statusFrom(OSStatus status) {
  if (status == errSecSuccess) return {};
  const auto message = CFHandle<CFStringRef>::adopt(SecCopyErrorMessageString(status, nullptr));
  const std::string words = textOf(message.get()).value_or("The keychain refused");
  return {codeFrom(status), words + " (" + std::to_string(status) + ")"};
}

SecretStatus noText() { return {SecretStatusCode::other, "A name of a secret is no UTF-8."}; }

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

// Such an entry keeps the data-protection keychain from asking the user. The system wants a context object of another
// language in its place now, but goes on taking it.
std::pair<CFTypeRef, CFTypeRef> neverAsk() { return {kSecUseAuthenticationUI, kSecUseAuthenticationUIFail}; }

// Keeps the keychain in a file from asking the user while this lives: it looks at no entry of a request, only at this
// switch, which is one for the whole process and has no successor. Afterwards the switch is as it was.
class Silence {
 public:
  Silence() {
    SecKeychainGetUserInteractionAllowed(&wasAllowed);
    SecKeychainSetUserInteractionAllowed(false);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  ~Silence() { SecKeychainSetUserInteractionAllowed(wasAllowed); }

 private:
  static Mutex& mutexOfAll() {
    static Mutex mutex;
    return mutex;
  }

  const MutexLock lock{mutexOfAll()};  // One after another, or the last to go leaves what the first one found.
  Boolean wasAllowed = true;
};

#pragma GCC diagnostic pop

// What the request answers. `place` may not ask the user meanwhile.
template <class Request>
OSStatus withoutAsking(SecretPlace place, Request request) {
  std::optional<Silence> silence;
  if (place == SecretPlace::fileKeychain) silence.emplace();
  return request();
}

// What names one item, and what else a request says of it. The entries hold no counts: the names do while this lives.
class Query {
 public:
  Query(SecretPlace place, std::string_view service, std::string_view account)
      : service(makeString(service)), account(makeString(account)) {
    if (!isWhole()) return;
    entries = {{kSecClass, kSecClassGenericPassword},
               {kSecAttrService, this->service.get()},
               {kSecAttrAccount, this->account.get()},
               {kSecUseDataProtectionKeychain, cfBoolean(place == SecretPlace::dataProtectionKeychain)},
               neverAsk()};
  }
  [[nodiscard]] bool isWhole() const { return service && account; }
  [[nodiscard]] CFHandle<CFDictionaryRef> with(const Entries& more) const {
    Entries all = entries;
    all.insert(all.end(), more.begin(), more.end());
    return makeDictionary(all);
  }

 private:
  const CFHandle<CFStringRef> service;
  const CFHandle<CFStringRef> account;
  Entries entries;
};

}  // namespace

SecretReading MacSecretStore::copyMatching(SecretPlace place, std::string_view service, std::string_view account) {
  const Query query(place, service, account);
  if (!query.isWhole()) return {noText(), {}};
  const auto request = query.with({{kSecReturnData, kCFBooleanTrue}, {kSecMatchLimit, kSecMatchLimitOne}});
  CFValue result;
  const OSStatus status = withoutAsking(place, [&] { return SecItemCopyMatching(request.get(), result.out()); });
  if (status != errSecSuccess) return {statusFrom(status), {}};
  if (!result) return {};  // There, and nothing in it.
  const auto data = cfCast<CFDataRef>(result.get());
  if (!data) return {{SecretStatusCode::other, "The keychain gave something else than data."}, {}};
  return {{}, Secret(std::span(CFDataGetBytePtr(data), static_cast<std::size_t>(CFDataGetLength(data))))};
}

SecretStatus MacSecretStore::add(SecretPlace place, std::string_view service, std::string_view account,
                                 const Secret& data) {
  const Query query(place, service, account);
  if (!query.isWhole()) return noText();
  const auto content = makeData(data.view());
  const auto attributes = query.with({{kSecValueData, content.get()}});
  return statusFrom(withoutAsking(place, [&] { return SecItemAdd(attributes.get(), nullptr); }));
}

SecretStatus MacSecretStore::update(SecretPlace place, std::string_view service, std::string_view account,
                                    const Secret& data) {
  const Query query(place, service, account);
  if (!query.isWhole()) return noText();
  const auto content = makeData(data.view());
  const auto changes = makeDictionary({{kSecValueData, content.get()}});
  const auto request = query.with({});
  return statusFrom(withoutAsking(place, [&] { return SecItemUpdate(request.get(), changes.get()); }));
}

SecretStatus MacSecretStore::remove(SecretPlace place, std::string_view service, std::string_view account) {
  const Query query(place, service, account);
  if (!query.isWhole()) return noText();
  const auto request = query.with({});
  return statusFrom(withoutAsking(place, [&] { return SecItemDelete(request.get()); }));
}

}  // namespace quillard::macos
