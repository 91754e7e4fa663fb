#include "platform/simulated/SimulatedSecretStore.h"

namespace quillard::platform::simulated {

namespace {

const SecretStatus kNotFound{SecretStatusCode::itemNotFound, "The item was not found (-25300)."};
const SecretStatus kThereAlready{SecretStatusCode::other, "The item is there already (-25299)."};

bool isSuccess(const SecretStatus& status) { return status.code == SecretStatusCode::success; }

}  // namespace

void SimulatedSecretStore::fail(SecretPlace place, const std::set<SecretOperation>& operations,
                                const SecretStatus& status) {
  const MutexLock lock{mutex};
  for (const auto operation : operations) failures[{place, operation}] = status;
}

void SimulatedSecretStore::fail(SecretPlace place, const SecretStatus& status) {
  using enum SecretOperation;
  fail(place, {copyMatching, add, update, remove}, status);
}

void SimulatedSecretStore::recover(SecretPlace place) {
  const MutexLock lock{mutex};
  std::erase_if(failures, [&](const auto& failure) { return failure.first.first == place; });
}

std::optional<std::string> SimulatedSecretStore::stored(SecretPlace place, std::string_view account) const {
  const MutexLock lock{mutex};
  for (const auto& [key, data] : items) {
    if (std::get<0>(key) == place && std::get<2>(key) == account) return std::string(data.text());
  }
  return std::nullopt;
}

std::vector<std::pair<SecretOperation, SecretPlace>> SimulatedSecretStore::calls() const {
  const MutexLock lock{mutex};
  return made;
}

SecretStatus SimulatedSecretStore::begin(SecretOperation operation, SecretPlace place) {
  made.emplace_back(operation, place);
  const auto failure = failures.find({place, operation});
  return failure == failures.end() ? SecretStatus{} : failure->second;
}

SecretReading SimulatedSecretStore::copyMatching(SecretPlace place, std::string_view service,
                                                 std::string_view account) {
  const MutexLock lock{mutex};
  if (auto status = begin(SecretOperation::copyMatching, place); !isSuccess(status)) return {std::move(status), {}};
  const auto item = items.find({place, std::string(service), std::string(account)});
  if (item == items.end()) return {kNotFound, {}};
  return {{}, item->second};
}

SecretStatus SimulatedSecretStore::add(SecretPlace place, std::string_view service, std::string_view account,
                                       const Secret& data) {
  const MutexLock lock{mutex};
  if (auto status = begin(SecretOperation::add, place); !isSuccess(status)) return status;
  return items.emplace(Key{place, service, account}, data).second ? SecretStatus{} : kThereAlready;
}

SecretStatus SimulatedSecretStore::update(SecretPlace place, std::string_view service, std::string_view account,
                                          const Secret& data) {
  const MutexLock lock{mutex};
  if (auto status = begin(SecretOperation::update, place); !isSuccess(status)) return status;
  const auto item = items.find({place, std::string(service), std::string(account)});
  if (item == items.end()) return kNotFound;
  item->second = data;
  return {};
}

SecretStatus SimulatedSecretStore::remove(SecretPlace place, std::string_view service, std::string_view account) {
  const MutexLock lock{mutex};
  if (auto status = begin(SecretOperation::remove, place); !isSuccess(status)) return status;
  return items.erase({place, std::string(service), std::string(account)}) > 0 ? SecretStatus{} : kNotFound;
}

}  // namespace quillard::platform::simulated
