#include "platform/linux/storage/SecretServiceStore.h"

#include <utility>

#include "platform/linux/storage/SecretServiceSession.h"
#include "platform/linux/storage/SessionBusAddress.h"

namespace quillard::xdg {

using platform::SecretPlace;
using platform::SecretReading;
using platform::SecretStatus;
using platform::SecretStatusCode;

SecretServiceStore::SecretServiceStore(const platform::Environment& environment, std::string dataFolder,
                                       Seconds timeout)
    : environment(environment), timeout(timeout), file(std::move(dataFolder)) {}

template <class Result, class Use>
Result SecretServiceStore::inService(Use use) {
  // GLib would start a bus of its own where there is none.
  if (!sessionBusAddress(environment)) {
    return Result{SecretStatus{SecretStatusCode::missingEntitlement, "There is no session bus."}};
  }
  const auto opened = SecretServiceSession::open(timeout);
  if (const auto* status = std::get_if<SecretStatus>(&opened)) return Result{*status};
  return use(*std::get<std::unique_ptr<SecretServiceSession>>(opened));
}

SecretReading SecretServiceStore::copyMatching(SecretPlace place, std::string_view service, std::string_view account) {
  if (place == SecretPlace::fileKeychain) return file.copyMatching(service, account);
  return inService<SecretReading>([&](SecretServiceSession& session) { return session.read(service, account); });
}

SecretStatus SecretServiceStore::add(SecretPlace place, std::string_view service, std::string_view account,
                                     const Secret& data) {
  if (place == SecretPlace::fileKeychain) return file.add(service, account, data);
  return inService<SecretStatus>([&](SecretServiceSession& session) { return session.add(service, account, data); });
}

SecretStatus SecretServiceStore::update(SecretPlace place, std::string_view service, std::string_view account,
                                        const Secret& data) {
  if (place == SecretPlace::fileKeychain) return file.update(service, account, data);
  return inService<SecretStatus>([&](SecretServiceSession& session) { return session.update(service, account, data); });
}

SecretStatus SecretServiceStore::remove(SecretPlace place, std::string_view service, std::string_view account) {
  if (place == SecretPlace::fileKeychain) return file.remove(service, account);
  return inService<SecretStatus>([&](SecretServiceSession& session) { return session.remove(service, account); });
}

}  // namespace quillard::xdg
