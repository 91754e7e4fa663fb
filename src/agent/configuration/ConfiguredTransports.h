#pragma once

#include <functional>
#include <memory>

#include "agent/configuration/AgentConfiguration.h"
#include "platform/network/Http.h"
#include "platform/network/WebSocket.h"

namespace quillard {

// The system's transports as the user wants them used: each https request and each wss connection also trusts the
// authorities in the file that the settings name when it is made. Any thread, as the transports themselves.
class ConfiguredTransports final : public platform::HttpSessions, public platform::WebSockets {
 public:
  // The transports and what `sources` names outlive this, and what it makes.
  ConfiguredTransports(platform::HttpSessions& httpSessions, platform::WebSockets& webSockets,
                       const AgentConfiguration::Sources& sources);

  [[nodiscard]] std::unique_ptr<platform::HttpSession> makeEphemeralSession(
      platform::SerialExecutor& executor) override;
  [[nodiscard]] std::unique_ptr<platform::WebSocketTask> makeTask(platform::SerialExecutor& executor,
                                                                  platform::WebSocketRequest request,
                                                                  std::function<void()> didOpen) override;

 private:
  platform::HttpSessions& httpSessions;
  platform::WebSockets& webSockets;
  const AgentConfiguration::Sources sources;
};

}  // namespace quillard
