#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/storage/SecretStore.h"

namespace quillard::platform::simulated {

enum class SecretOperation { copyMatching, add, update, remove };

// Secrets in memory; outlives the agent under test to simulate its next run. Empty, and in working order, at first. Any
// thread.
class SimulatedSecretStore final : public SecretStore {
 public:
  // From now on these operations fail in this place, and change nothing.
  void fail(SecretPlace place, const std::set<SecretOperation>& operations, const SecretStatus& status);
  // As all operations.
  void fail(SecretPlace place, const SecretStatus& status);
  void recover(SecretPlace place);

  // What a place holds under `account`, of any service, whether or not it can be read.
  [[nodiscard]] std::optional<std::string> stored(SecretPlace place, std::string_view account) const;
  // All calls of the agent, oldest first.
  [[nodiscard]] std::vector<std::pair<SecretOperation, SecretPlace>> calls() const;

  [[nodiscard]] SecretReading copyMatching(SecretPlace place, std::string_view service,
                                           std::string_view account) override;
  [[nodiscard]] SecretStatus add(SecretPlace place, std::string_view service, std::string_view account,
                                 const Secret& data) override;
  [[nodiscard]] SecretStatus update(SecretPlace place, std::string_view service, std::string_view account,
                                    const Secret& data) override;
  [[nodiscard]] SecretStatus remove(SecretPlace place, std::string_view service, std::string_view account) override;

 private:
  using Key = std::tuple<SecretPlace, std::string, std::string>;  // Place, service, account.

  [[nodiscard]] SecretStatus begin(SecretOperation operation, SecretPlace place) QUILLARD_REQUIRES(mutex);

  mutable Mutex mutex;
  std::map<Key, Secret> items QUILLARD_GUARDED_BY(mutex);
  std::map<std::pair<SecretPlace, SecretOperation>, SecretStatus> failures QUILLARD_GUARDED_BY(mutex);
  std::vector<std::pair<SecretOperation, SecretPlace>> made QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::platform::simulated
