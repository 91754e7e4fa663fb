#pragma once

#include <string>
#include <variant>
#include <vector>

#include "companion/relay/app/RelayCommandLine.h"

namespace quillard::relayserver {

// What `quillard-relay setup` was asked for.
struct RelaySetupOptions {
  std::string domain;          // Under which phones and computers reach the relay.
  std::string tlsCertificate;  // Both or none: without them, a proxy on the same computer does TLS.
  std::string tlsKey;
  bool wantsRegistrationKey = false;
  bool replaces = false;   // An earlier configuration may go.
  std::string root = "/";  // Where etc/ is; another one for tests.
  std::string page;        // The folder of the phones' page.
};

[[nodiscard]] std::variant<RelaySetupOptions, CommandLineMessage> readSetupOptions(
    const std::vector<std::string>& arguments);

// Writes the configuration, and what else the service needs for it, checks what it has written, and says what to do
// next. Nothing is written where an earlier configuration stands, unless `replaces`.
[[nodiscard]] CommandLineMessage setUpRelay(const RelaySetupOptions& options);

}  // namespace quillard::relayserver
