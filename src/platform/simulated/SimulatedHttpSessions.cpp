#include "platform/simulated/SimulatedHttpSessions.h"

#include <utility>

#include "platform/simulated/UsableUrl.h"

namespace quillard::platform::simulated {

class SimulatedHttpSessions::Session final : public HttpSession {
 public:
  Session(std::shared_ptr<State> state, SerialExecutor& executor) : state(std::move(state)), executor(executor) {}

  void send(HttpRequest request, std::function<void(HttpOutcome)> completion) override {
    const Seconds timeout = request.timeout;
    auto outcome = answer(request);
    const Seconds delay = outcome ? Seconds::zero() : timeout;
    // Destroying the session destroys the handles, and with them what is still ahead.
    ahead.push_back(executor.postAfter(
        delay, [completion = std::move(completion), answer = std::move(outcome).value_or(TransportError{
                                                        "The request timed out."})] { completion(answer); }));
  }

 private:
  std::optional<HttpOutcome> answer(const HttpRequest& request) {
    if (!isUsableUrl(request.url, {"http", "https"})) return TransportError{std::string(kUnusableAddress)};
    Server server;
    {
      const MutexLock lock{state->mutex};
      if (!isAuthorityFileUsable(request.url, request.authorityFile, state->authorityFiles)) {
        return TransportError{unusableAuthorityFile(request.authorityFile)};
      }
      state->requests.push_back(request);
      server = state->server;
    }
    return server ? server(request) : HttpOutcome{HttpResponse{204}};
  }

  std::shared_ptr<State> state;
  SerialExecutor& executor;
  std::vector<TaskHandle> ahead;
};

void SimulatedHttpSessions::addAuthorityFile(std::string path) {
  const MutexLock lock{state->mutex};
  state->authorityFiles.insert(std::move(path));
}

void SimulatedHttpSessions::setServer(Server server) {
  const MutexLock lock{state->mutex};
  state->server = std::move(server);
}

std::vector<HttpRequest> SimulatedHttpSessions::requests() const {
  const MutexLock lock{state->mutex};
  return state->requests;
}

std::unique_ptr<HttpSession> SimulatedHttpSessions::makeEphemeralSession(SerialExecutor& executor) {
  return std::make_unique<Session>(state, executor);
}

}  // namespace quillard::platform::simulated
