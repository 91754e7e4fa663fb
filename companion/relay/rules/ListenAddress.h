#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "companion/relay/rules/ClientAddress.h"

namespace quillard::relayserver {

// An address to listen at. Port 0: any that is free.
struct ListenAddress {
  IpAddress address;
  std::uint16_t port = 0;

  // "127.0.0.1:8080", "[::1]:8080".
  [[nodiscard]] static std::optional<ListenAddress> parse(std::string_view text);
};

}  // namespace quillard::relayserver
