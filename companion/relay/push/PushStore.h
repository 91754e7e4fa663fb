#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "companion/relay/rules/PairingStore.h"

namespace quillard::relayserver {

// A phone's subscription, as the relay keeps it.
struct PushSubscription {
  enum class State {
    good,
    refused,  // The push service refused the relay the last time.
    expired,  // The push service does not know it; of it, the identifier alone is kept, to know it again.
  };
  std::string deviceID;
  std::string id;        // Of this endpoint.
  std::string endpoint;  // A secret.
  std::string sealed;    // See PushSubscribeMessage.
  State state = State::good;
  std::int64_t at = 0;  // When it was kept, in seconds since 1970.
  bool operator==(const PushSubscription&) const = default;
  // Of memory, roughly.
  [[nodiscard]] std::size_t bytes() const {
    return sizeof(*this) + deviceID.size() + id.size() + endpoint.size() + sealed.size();
  }
};

// What of pushes outlives the process. Subscriptions go with their pairing and their phone, however these go. Every
// operation throws PairingStore::Failure.
class PushStore {
 public:
  PushStore() = default;
  PushStore(const PushStore&) = delete;
  PushStore& operator=(const PushStore&) = delete;
  virtual ~PushStore() = default;

  // The secret of the relay's key. Absent: there is none yet.
  virtual std::optional<std::string> pushSecret() = 0;
  // Kept unless there is one; another relay's may be kept instead. To be read again afterwards.
  virtual void offerPushSecret(const std::string& secret) = 0;

  // Of a pairing, the oldest first.
  virtual std::vector<PushSubscription> pushSubscriptions(const std::string& pairingID) = 0;
  // How much memory the subscriptions of all pairings take; 0 where they are on the disk alone.
  [[nodiscard]] virtual std::size_t subscriptionBytes() const { return 0; }
  // In the place of the phone's earlier one. Keeps the newest `most` of the pairing; of a pairing that is not kept,
  // none.
  virtual void keepPushSubscription(const std::string& pairingID, const PushSubscription& subscription,
                                    std::size_t most) = 0;
  // Calls `done` once what was written of this phone before is kept wherever it is to be kept, or is known not to be:
  // from inside the call for a store that has it then. Never, where the store ends first.
  virtual void whenKept(const std::string& pairingID, const std::string& deviceID, std::function<void(bool)> done) {
    (void)pairingID;
    (void)deviceID;
    done(true);
  }
  // `deviceID` empty: all of the pairing.
  virtual void erasePushSubscriptions(const std::string& pairingID, const std::string& deviceID) = 0;
};

}  // namespace quillard::relayserver
