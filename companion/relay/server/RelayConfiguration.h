#pragma once

#include <optional>
#include <string>
#include <vector>

#include "companion/relay/cluster/ClusterRecords.h"
#include "companion/relay/push/PushLimits.h"
#include "companion/relay/rules/ClientAddress.h"
#include "companion/relay/rules/ListenAddress.h"
#include "companion/relay/rules/LogLine.h"
#include "companion/relay/rules/RelayLimits.h"

namespace quillard::relayserver {

// Of a relay that is one of several. See docs/relay.md.
struct ClusterConfiguration {
  std::vector<PeerAddress> engine;  // etcd's members.
  bool isEngineEncrypted = false;
  std::string user;  // Empty: etcd asks for none.
  std::string passwordFile;
  std::string name;                    // Of this relay.
  ListenAddress listen;                // For the other relays.
  std::optional<PeerAddress> address;  // Where they reach it; absent: where it listens.
  std::string certificate;             // Of this relay among the others; empty, as is its key: in clear, for tests.
  std::string key;
  std::string authority;  // Who has signed theirs, and etcd's.
  std::string prefix = "quillard/";
};

// Of a relay that wakes phones. See docs/relay.md.
struct PushConfiguration {
  std::string contact;             // Whom push services may write to.
  std::vector<std::string> hosts;  // As PushHosts has them.
  std::string authority;           // A file; empty: the system's.
  bool allowsPrivateAddresses = false;
  PushLimits limits;
};

// What a relay is started with. All of it was checked, except for what is at the paths.
struct RelayConfiguration {
  std::vector<ListenAddress> listen;
  std::optional<ListenAddress> metrics;  // Absent: none are served.
  std::string database;                  // The file that pairings are stored in.
  std::string page;                      // Empty: none is served.
  std::vector<std::string> pageOrigins;  // Where it is served besides; see RelayService.
  std::string tlsCertificate;
  std::string tlsKey;               // Both or none.
  std::string registrationKeyFile;  // Empty: registering needs no key.
  bool isBehindProxy = false;
  std::vector<IpNetwork> trustedProxies;  // None unless behind a proxy.
  LogFormat logFormat = LogFormat::text;
  std::chrono::seconds drain{0};  // From the signal to stop until connections are closed.
  RelayLimits limits;
  std::optional<ClusterConfiguration> cluster;  // Absent: it is the only one.

  std::optional<PushConfiguration> push;  // Absent: it wakes no phones.

  [[nodiscard]] bool hasTls() const { return !tlsCertificate.empty(); }
};

}  // namespace quillard::relayserver
