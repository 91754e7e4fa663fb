#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/network/Http.h"

namespace quillard::platform::simulated {

// Fake servers, which the test controls. Any thread.
class SimulatedHttpSessions final : public HttpSessions {
 public:
  // What a server answers; absent: nothing, so that the request runs into its time-out. At first everything is answered
  // with 204.
  using Server = std::function<std::optional<HttpOutcome>(const HttpRequest&)>;
  void setServer(Server server);

  // From now on there is a file of authorities at this path. A https request that names another one fails.
  void addAuthorityFile(std::string path);

  // All requests that were sent, oldest first. None to an address that cannot be used, or with a file that
  // cannot.
  [[nodiscard]] std::vector<HttpRequest> requests() const;

  [[nodiscard]] std::unique_ptr<HttpSession> makeEphemeralSession(SerialExecutor& executor) override;

 private:
  struct State {
    mutable Mutex mutex;
    Server server QUILLARD_GUARDED_BY(mutex);
    std::vector<HttpRequest> requests QUILLARD_GUARDED_BY(mutex);
    std::set<std::string> authorityFiles QUILLARD_GUARDED_BY(mutex);
  };
  class Session;

  std::shared_ptr<State> state = std::make_shared<State>();  // Shared with sessions.
};

}  // namespace quillard::platform::simulated
