#pragma once

#include <optional>
#include <string>
#include <vector>

#include "companion/relay/rules/ClientAddress.h"
#include "companion/relay/rules/ListenAddress.h"
#include "companion/relay/rules/LogLine.h"
#include "companion/relay/rules/RelayLimits.h"

namespace quillard::relayserver {

// What a relay is started with. All of it was checked, except for what is at the paths.
struct RelayConfiguration {
  std::vector<ListenAddress> listen;
  std::optional<ListenAddress> metrics;  // Absent: none are served.
  std::string database;                  // The file that pairings are stored in.
  std::string page;                      // Empty: none is served.
  std::string tlsCertificate;
  std::string tlsKey;               // Both or none.
  std::string registrationKeyFile;  // Empty: registering needs no key.
  bool isBehindProxy = false;
  std::vector<IpNetwork> trustedProxies;  // None unless behind a proxy.
  LogFormat logFormat = LogFormat::text;
  std::chrono::seconds drain{0};  // From the signal to stop until connections are closed.
  RelayLimits limits;

  [[nodiscard]] bool hasTls() const { return !tlsCertificate.empty(); }
};

}  // namespace quillard::relayserver
