#include "agent/configuration/ConfiguredTransports.h"

#include <utility>

namespace quillard {
namespace {

class ConfiguredHttpSession final : public platform::HttpSession {
 public:
  ConfiguredHttpSession(std::unique_ptr<platform::HttpSession> session, const AgentConfiguration::Sources& sources)
      : session(std::move(session)), sources(sources) {}

  void send(platform::HttpRequest request, std::function<void(platform::HttpOutcome)> completion) override {
    request.authorityFile = AgentConfiguration::relayAuthorityFile(sources);
    session->send(std::move(request), std::move(completion));
  }

 private:
  const std::unique_ptr<platform::HttpSession> session;
  const AgentConfiguration::Sources sources;
};

}  // namespace

ConfiguredTransports::ConfiguredTransports(platform::HttpSessions& httpSessions, platform::WebSockets& webSockets,
                                           const AgentConfiguration::Sources& sources)
    : httpSessions(httpSessions), webSockets(webSockets), sources(sources) {}

std::unique_ptr<platform::HttpSession> ConfiguredTransports::makeEphemeralSession(platform::SerialExecutor& executor) {
  return std::make_unique<ConfiguredHttpSession>(httpSessions.makeEphemeralSession(executor), sources);
}

std::unique_ptr<platform::WebSocketTask> ConfiguredTransports::makeTask(platform::SerialExecutor& executor,
                                                                        platform::WebSocketRequest request,
                                                                        std::function<void()> didOpen) {
  request.authorityFile = AgentConfiguration::relayAuthorityFile(sources);
  return webSockets.makeTask(executor, std::move(request), std::move(didOpen));
}

}  // namespace quillard
