#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace quillard::relayserver {

// The text of one message, shared by all connections that it waits for.
using MessageText = std::shared_ptr<const std::string>;

enum class CloseCode : std::uint16_t {
  malformedMessage = 1003,
  tooManyMessages = 1008,
  tooBig = 1009,
  stopping = 1012,
  tooSlow = 1013,
  replaced = 4001,
  revoked = 4002,
  removed = 4003,
};

// One WebSocket connection, as the rooms use it. None of these calls comes back to the caller before it returns.
class RelayPeer {
 public:
  enum class Sending { refused, underWay, written };

  RelayPeer() = default;
  RelayPeer(const RelayPeer&) = delete;
  RelayPeer& operator=(const RelayPeer&) = delete;
  virtual ~RelayPeer() = default;

  // Queues the text. Refused, and nothing is queued: more would wait for the reader than may. Written: all of it is
  // out. Under way: with a `number`, which is not zero, the rooms are told what became of it, once and later: see
  // PairingRooms::didWrite. Also when the peer is not in a room any more.
  [[nodiscard]] virtual Sending send(const MessageText& text, std::uint64_t number) = 0;
  virtual void ping() = 0;
  // Sends a close message with this code. What still waits is dropped.
  virtual void close(CloseCode code) = 0;
  // Ends the connection without a close message: the other end does not answer any more, or may not keep anything.
  virtual void abort() = 0;
  // What the relay keeps for it, in bytes: a message that has not arrived as a whole, and what waits to be sent; of a
  // text that waits for others as well, its share.
  [[nodiscard]] virtual std::size_t heldBytes() const = 0;
};

}  // namespace quillard::relayserver
