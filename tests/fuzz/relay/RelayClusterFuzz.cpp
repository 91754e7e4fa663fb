#include <string>

#include "companion/relay/cluster/ClusterMirror.h"
#include "companion/relay/cluster/EtcdMessages.h"
#include "fuzz/FuzzTarget.h"

using namespace quillard::relayserver;
using quillard::fuzz::require;

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
  mirror.apply({{text, text, 1}, {"pairing/a", text, 2}, {"relay/a", text, 3}, {"home/a", text, 4}});
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
