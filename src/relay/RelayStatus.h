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
  bool isAsleep = false;  // Its page is hidden, by its own word.
  bool operator==(const RelayPhoneStatus&) const = default;
};

// Why a relay that could be reached does not let this computer in.
enum class RelayRefusal {
  tokenUnknown,    // 401: it does not know the pairing, or knows it with another token, or the computer by another key.
  pairingRevoked,  // 410: it calls the pairing revoked. Only its word for it.
};

// What the agent knows of the relay and of the phones behind it.
struct RelayConnectionStatus {
  bool relayConnected = false;
  bool phoneConnected = false;
  std::int64_t phoneCount = 0;
  std::vector<RelayPhoneStatus> phones;
  // By any of the three: an older relay only counts phones, and does not name them.
  [[nodiscard]] bool isPhonePresent() const { return phoneConnected || phoneCount > 0 || !phones.empty(); }
  bool operator==(const RelayConnectionStatus&) const = default;
};

}  // namespace quillard
