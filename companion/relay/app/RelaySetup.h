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
  bool isBehindTunnel = false;  // Something else than Caddy does TLS.
  bool replaces = false;        // An earlier configuration is put aside.
  std::string root = "/";       // Where etc/ is; another one for tests.
  std::string pushContact;      // Whom push services may write to; empty: the relay's own address.
  bool wakesNoPhones = false;
  std::string page;  // The folder of the phones' page.
};

[[nodiscard]] std::variant<RelaySetupOptions, CommandLineMessage> readSetupOptions(
    const std::vector<std::string>& arguments);
void withSetupCommandLine(const UseCommandLine& use);

// Writes the configuration, and what else the service needs for it, checks what it has written, and says what to do
// next. Nothing is written where any of these files stands, unless `replaces`: then the earlier ones are kept beside
// the new ones, with ".old" at their ends. All of it is written or nothing.
[[nodiscard]] CommandLineMessage setUpRelay(const RelaySetupOptions& options);

}  // namespace quillard::relayserver
