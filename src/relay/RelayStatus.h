#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillard {

// One phone, as the relay reports it.
struct RelayPhoneStatus {
  std::string deviceID;
  std::string deviceName;
  std::optional<std::string> platform;
  std::optional<bool> connected;
  bool operator==(const RelayPhoneStatus&) const = default;
};

// What the agent knows of the relay and of the phones behind it.
struct RelayConnectionStatus {
  bool relayConnected = false;
  bool phoneConnected = false;
  std::int64_t phoneCount = 0;
  std::vector<RelayPhoneStatus> phones;
  bool operator==(const RelayConnectionStatus&) const = default;
};

}  // namespace quillard
