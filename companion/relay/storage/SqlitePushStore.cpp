#include <sqlite3.h>

#include "companion/relay/storage/SqlitePairingStore.h"
#include "companion/relay/storage/SqliteStatement.h"

// What of pushes outlives the process.
namespace quillard::relayserver {

std::optional<std::string> SqlitePairingStore::pushSecret() {
  Statement found(*this, "SELECT secret FROM push_secret WHERE one = 1");
  return found.step() ? std::optional(found.text(0)) : std::nullopt;
}

void SqlitePairingStore::offerPushSecret(const std::string& secret) {
  Statement(*this, "INSERT OR IGNORE INTO push_secret (one, secret) VALUES (1, CAST(? AS BLOB))").with(secret).run();
}

std::vector<PushSubscription> SqlitePairingStore::pushSubscriptions(const std::string& pairingID) {
  std::vector<PushSubscription> all;
  Statement found(*this,
                  "SELECT device, id, endpoint, sealed, state, at FROM push_subscriptions WHERE pairing = ? "
                  "ORDER BY at, device");
  for (found.with(pairingID); found.step();) {
    const auto state = found.number(4);
    if (state < 0 || state > static_cast<std::int64_t>(PushSubscription::State::expired)) {
      throw Failure{"The database holds a subscription in no known state."};
    }
    all.push_back({.deviceID = found.text(0),
                   .id = found.text(1),
                   .endpoint = found.text(2),
                   .sealed = found.text(3),
                   .state = static_cast<PushSubscription::State>(state),
                   .at = found.number(5)});
  }
  return all;
}

void SqlitePairingStore::keepPushSubscription(const std::string& pairingID, const PushSubscription& subscription,
                                              std::size_t most) {
  inTransaction([&] {
    Statement(*this,
              "INSERT OR REPLACE INTO push_subscriptions (pairing, device, id, endpoint, sealed, state, at) "
              "SELECT ?1, ?2, ?3, ?4, ?5, ?6, ?7 WHERE EXISTS (SELECT 1 FROM pairings WHERE id = ?1)")
        .with(pairingID)
        .with(subscription.deviceID)
        .with(subscription.id)
        .with(subscription.endpoint)
        .with(subscription.sealed)
        .with(static_cast<std::int64_t>(subscription.state))
        .with(subscription.at)
        .run();
    Statement(*this,
              "DELETE FROM push_subscriptions WHERE pairing = ?1 AND device IN "
              "(SELECT device FROM push_subscriptions WHERE pairing = ?1 AND device <> ?2 "
              "ORDER BY at DESC, device DESC LIMIT -1 OFFSET ?3)")
        .with(pairingID)
        .with(subscription.deviceID)
        .with(static_cast<std::int64_t>(most) - 1)
        .run();
  });
}

void SqlitePairingStore::erasePushSubscriptions(const std::string& pairingID, const std::string& deviceID) {
  Statement(*this, "DELETE FROM push_subscriptions WHERE pairing = ?1 AND (?2 = '' OR device = ?2)")
      .with(pairingID)
      .with(deviceID)
      .run();
}

}  // namespace quillard::relayserver
