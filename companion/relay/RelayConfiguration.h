#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "companion/relay/ClientAddress.h"
#include "companion/relay/RelayLimits.h"

namespace quillard::relayserver {

// An address to listen at. Port 0: any that is free.
struct ListenAddress {
  IpAddress address;
  std::uint16_t port = 0;

  // "127.0.0.1:8080", "[::1]:8080".
  [[nodiscard]] static std::optional<ListenAddress> parse(std::string_view text);
};

struct RelayConfiguration {
  std::vector<ListenAddress> listen;
  std::optional<ListenAddress> metrics;
  std::string database;
  std::string page;  // Empty: none is served.
  std::string tlsCertificate;
  std::string tlsKey;  // Both or none.
  bool isBehindProxy = false;
  std::vector<IpNetwork> trustedProxies;  // None unless behind a proxy.
  RelayLimits limits;

  [[nodiscard]] bool hasTls() const { return !tlsCertificate.empty(); }
};

enum class ExitCode : int { fine = 0, wrongUsage = 2, cannotDoHere = 3 };

// What is to be said instead of serving: help, the version, or what is wrong.
struct SaySomething {
  std::string text;
  ExitCode exitCode = ExitCode::fine;
};

// From flags, else environment (QUILLARD_RELAY_...), else the configuration file, else the defaults.
[[nodiscard]] std::variant<RelayConfiguration, SaySomething> readConfiguration(
    const std::vector<std::string>& arguments);

}  // namespace quillard::relayserver
