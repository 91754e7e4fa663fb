#pragma once

#include <optional>
#include <string>
#include <vector>

#include "companion/relay/rules/PushMessages.h"
#include "companion/relay/rules/RelayTime.h"

namespace quillard::relayserver {

// What the rooms ask of whoever wakes phones that sleep. What comes of it later comes back through
// PairingRooms::tellAgent and tellPhone, never from inside these operations.
class RoomPush {
 public:
  RoomPush() = default;
  RoomPush(const RoomPush&) = delete;
  RoomPush& operator=(const RoomPush&) = delete;
  virtual ~RoomPush() = default;

  // The relay's public key. Absent: there is none yet.
  [[nodiscard]] virtual std::optional<std::string> publicKey() const = 0;

  struct Answer {
    std::string toPhone;                 // Empty: it is told later, and so is the agent's list.
    std::vector<std::string> toAgent{};  // Results of pushes that have ended by it.
    bool hasChanged = false;             // Something was written, and the agent's list is another one.
  };
  virtual Answer subscribe(const std::string& pairingID, const std::string& deviceID,
                           const PushSubscribeMessage& message, Moment now) = 0;
  virtual Answer unsubscribe(const std::string& pairingID, const std::string& deviceID, Moment now) = 0;
  // The list for the agent. Absent: it cannot be read now.
  struct List {
    std::string text;
    bool isEmpty = true;
  };
  [[nodiscard]] virtual std::optional<List> list(const std::string& pairingID) = 0;
  // The result, where it is known already.
  [[nodiscard]] virtual std::optional<std::string> send(const std::string& pairingID, PushSendMessage message,
                                                        Moment now) = 0;
  // Nothing is sent there any more. `deviceID` empty: all of the pairing's phones.
  virtual void forget(const std::string& pairingID, const std::string& deviceID) = 0;
};

}  // namespace quillard::relayserver
