#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "foundation/Mutex.h"
#include "platform/linux/storage/PrivateFile.h"
#include "platform/storage/SecretStore.h"

namespace quillard::xdg {

// Secrets in one private file, "secrets" in the user's data folder. In clear: what guards them is that the file is this
// user's alone.
//
// A file that is not as it should be is `accessDenied` (another user's, open to others, a link) or `other` (broken,
// unreadable); it is then never written to, for it may still hold what it cannot show. Any thread.
class FileSecrets {
 public:
  // `folder` as from `dataFolder`.
  explicit FileSecrets(std::string folder);

  [[nodiscard]] platform::SecretReading copyMatching(std::string_view service, std::string_view account);
  [[nodiscard]] platform::SecretStatus add(std::string_view service, std::string_view account, const Secret& data);
  [[nodiscard]] platform::SecretStatus update(std::string_view service, std::string_view account, const Secret& data);
  [[nodiscard]] platform::SecretStatus remove(std::string_view service, std::string_view account);

 private:
  using Key = std::pair<std::string, std::string>;  // Service, account.
  using Items = std::map<Key, Secret>;
  // No file: no items.
  std::variant<Items, platform::SecretStatus> load() QUILLARD_REQUIRES(mutex);
  platform::SecretStatus save(const Items& items) QUILLARD_REQUIRES(mutex);

  Mutex mutex;
  const PrivateFile file;
};

}  // namespace quillard::xdg
