#include <string>
#include <variant>

#include "companion/relay/cluster/ClusterMirror.h"
#include "companion/relay/cluster/EtcdMessages.h"
#include "companion/relay/push/VapidKey.h"
#include "foundation/StrictJson.h"
#include "fuzz/FuzzTarget.h"

using namespace quillard::relayserver;
using quillard::fuzz::require;

namespace {

// What relays write of phones that are woken; a part of it stands in messages as it is.
void checkPush(const std::string& text) {
  if (const auto record = readPushSubscription(text, "A")) {
    require(readPushSubscription(valueOf(*record), "A") == record, "It reads as written.");
    const auto message =
        quillard::parseStrictJson(std::string(R"({"deviceID":"A")") + (record->sealed.empty() ? "" : ",") +
                                  record->sealed + R"(,"refused":true})");
    require(std::holds_alternative<quillard::Json>(message), "What is sealed can stand in a message.");
    require(std::get<quillard::Json>(message).size() <= 3, "And is one member there.");
  }
  if (const auto record = readPushSecretRecord(text)) {
    require(readPushSecretRecord(valueOf(*record)) == record, "It reads as written.");
    (void)VapidKey::fromSecret(record->secret);
  }
  if (const auto record = readTombstoneRecord(text))
    require(readTombstoneRecord(valueOf(*record)) == record, "It reads as written.");
}

}  // namespace

// What the members of etcd say, what stands in its keys and values, and where other relays are said to be.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(quillard::fuzz::textOf(data, size));
  if (const auto result = etcd::readTransaction(text, "quillard/"))
    require(result->revision > 0, "A store has a revision.");
  (void)etcd::readRange(text, "quillard/");
  (void)etcd::readTakenLease(text);
  (void)etcd::readKeptLease(text);
  (void)etcd::readAuthentication(text);
  (void)etcd::readError(text);
  const auto line = etcd::readWatchLine(text, "quillard/");
  ClusterMirror mirror({});
  if (const auto* events = std::get_if<std::vector<ClusterEvent>>(&line)) {
    mirror.apply(*events);
  }
  mirror.apply({{text, text, 1},
                {"pairing/a", text, 2},
                {"relay/a", text, 3},
                {"home/a", text, 4},
                {"push/a/B", text, 5},
                {"vapid/secret", text, 6},
                {"revoked/a", text, 7}});
  for (const auto& one : mirror.pushSubscriptions("a"))
    require(one.deviceID == "B", "A phone has the name of its key.");
  checkPush(text);
  if (const auto record = readPairingRecord(text))
    require(readPairingRecord(valueOf(*record)) == record, "It reads as written.");
  if (const auto record = readHomeRecord(text))
    require(readHomeRecord(valueOf(*record)) == record, "It reads as written.");
  if (const auto record = readRelayRecord(text))
    require(readRelayRecord(valueOf(*record)) == record, "It reads as written.");
  if (const auto address = PeerAddress::parse(text)) {
    require(PeerAddress::parse(address->text()) == address, "An address reads as it is written.");
  }
  return 0;
}
