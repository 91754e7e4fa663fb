#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/network/WebSocket.h"
#include "platform/process/Console.h"
#include "platform/process/Executors.h"
#include "relay/RelayStatus.h"
#include "values/Secret.h"

namespace quillard {

// What a connection reports to its owner, on the connection's queue.
struct RelayConnectionEvents {
  std::function<void()> opened;
  // Closed, failed or disconnected: nothing that was sent counts any more.
  std::function<void()> lost;
  // The relay does not let this computer in: comes after `lost`, and the connection is stopped.
  std::function<void(RelayRefusal)> refused;
  std::function<void(const platform::WebSocketMessage&)> received;
};

// One WebSocket to the relay at a time, opened again 3 s after it drops, for as long as it is wanted: no growing delay,
// no limit. States: stopped -> connecting -> open -> waiting -> connecting ..., and stopped again from any of them.
//
// Where asking again would be answered in the same way, the connection stops by itself and says why: the relay does not
// know the token, or calls the pairing revoked. Its owner does what can help and connects again.
//
// Reports of a socket that was let go are void. A socket's end is reported once, by the receive that is always under
// way, and leads to one reconnect. What comes later from a socket that is no longer the present one is ignored: each
// completion carries the number of its socket. All calls and events on `queue`; events never come from inside a call,
// except `lost` from `disconnect`.
class RelayConnection : public std::enable_shared_from_this<RelayConnection> {
 public:
  // The references outlive the connection. `relaySecret` is the bearer token, `computerKey` what
  // proves who is the computer; empty: it is not sent.
  RelayConnection(std::string url, Secret relaySecret, Secret computerKey, platform::SerialExecutor& queue,
                  platform::WebSockets& webSockets, platform::Console& console, RelayConnectionEvents events);

  // Nothing happens while there is a socket.
  void connect();
  // Sends a close message (1001, going away) and stays stopped.
  void disconnect();

  [[nodiscard]] bool isOpen() const { return isSocketOpen; }

  // Sends one text frame, or drops it when the socket is not open: nothing waits for a later one. `completion` comes
  // exactly once, perhaps from inside this call, with whether the frame was handed to the network; never after this
  // object is gone.
  void send(std::string text, std::function<void(bool)> completion);

 private:
  platform::WebSocketRequest request() const;
  void socketOpened(std::uint64_t number);
  void receiveNext();
  void socketReceived(std::uint64_t number, const platform::WebSocketReceipt& receipt);
  void socketEnded(const platform::WebSocketEnd& end);
  void stopRefused(RelayRefusal refusal);
  void sendEnded(std::uint64_t sendNumber, const std::optional<platform::TransportError>& error);
  void forgetTask();
  void reconnectLater();

  const std::string url;
  const Secret relaySecret;
  const Secret computerKey;
  platform::SerialExecutor& queue;
  platform::WebSockets& webSockets;
  platform::Console& console;
  const RelayConnectionEvents events;

  std::unique_ptr<platform::WebSocketTask> task;  // Empty: stopped or waiting.
  std::uint64_t taskNumber = 0;                   // Of the present or last task.
  platform::TaskHandle reconnectTask;             // Not empty: waiting.
  bool isSocketOpen = false;
  bool shouldReconnect = false;
  std::map<std::uint64_t, std::function<void(bool)>> pendingSends;  // By age.
  std::uint64_t sendCount = 0;
};

}  // namespace quillard
