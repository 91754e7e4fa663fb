#pragma once

#include <string>

#include "platform/linux/storage/FileSecrets.h"
#include "platform/process/Environment.h"
#include "platform/storage/SecretStore.h"
#include "values/Time.h"

namespace quillard::xdg {

// Where this system keeps secrets. The data-protection keychain is the Secret Service of the user's session, in its
// default keyring; the file keychain is one private file in the user's data folder.
//
// Of the Secret Service: a locked keyring is `interactionNotAllowed`, and nothing ever asks the user to unlock it; no
// service, no bus or no default keyring is `missingEntitlement`; a service that does not answer within `timeout`, for
// one operation as a whole, is `other`.
class SecretServiceStore final : public platform::SecretStore {
 public:
  static constexpr Seconds kTimeout{5};

  // `environment` is the process's own, in which the session bus is looked for, and outlives this object. `dataFolder`
  // as from `dataFolder`.
  SecretServiceStore(const platform::Environment& environment, std::string dataFolder, Seconds timeout = kTimeout);

  [[nodiscard]] platform::SecretReading copyMatching(platform::SecretPlace place, std::string_view service,
                                                     std::string_view account) override;
  [[nodiscard]] platform::SecretStatus add(platform::SecretPlace place, std::string_view service,
                                           std::string_view account, const Secret& data) override;
  [[nodiscard]] platform::SecretStatus update(platform::SecretPlace place, std::string_view service,
                                              std::string_view account, const Secret& data) override;
  [[nodiscard]] platform::SecretStatus remove(platform::SecretPlace place, std::string_view service,
                                              std::string_view account) override;

 private:
  // What `use(session)` returns, or the status that says why there is no session.
  template <class Result, class Use>
  Result inService(Use use);

  const platform::Environment& environment;
  const Seconds timeout;
  FileSecrets file;
};

}  // namespace quillard::xdg
