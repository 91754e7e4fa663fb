#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "channel/ChannelLines.h"
#include "channel/ChannelMessage.h"
#include "platform/process/LocalSockets.h"

namespace quillard {

// What a client is told. Neither is empty; either may destroy the client.
struct ChannelClientEvents {
  std::function<void(const ChannelMessage&)> onMessage;
  // The agent closed the connection or has ended, or sent what is no message of this version. Once, and nothing after
  // it.
  std::function<void()> onEnd;
};

// One connection to the agent that runs for this user, on the side of whoever asks it something. Main thread.
class ChannelClient {
 public:
  // `sockets` outlives this.
  ChannelClient(platform::LocalSockets& sockets, ChannelClientEvents events)
      : sockets(sockets), events(std::move(events)) {}

  // Once. Unless connected, nothing ever comes.
  platform::LocalConnectOutcome open();
  void send(std::string_view line);
  // Nothing is sent or reported afterwards.
  void close();

 private:
  void received(std::string_view bytes);
  void end();

  platform::LocalSockets& sockets;
  const ChannelClientEvents events;
  ChannelLines lines;
  std::unique_ptr<platform::LocalConnection> connection;  // Present while it is open.
  const std::shared_ptr<const char> life = std::make_shared<const char>('\0');
};

}  // namespace quillard
