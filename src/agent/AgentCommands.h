#pragma once

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "agent/SettingsChange.h"
#include "approvals/NotificationPauseStore.h"
#include "channel/ChannelServer.h"
#include "platform/process/Executors.h"
#include "status/MacStatusSnapshot.h"

namespace quillard {

// What the commands act on. None is empty.
struct AgentCommandActions {
  std::function<MacStatusSnapshot()> status;
  std::function<void(NotificationPauseOption)> pause;
  std::function<void()> resume;
  std::function<void()> openWindow;
  std::function<void()> quit;
  // Why it cannot be kept, or what came of it.
  std::function<std::variant<std::string, SettingsChangeResult>(const SettingsChange&)> change;
};

// What the window's buttons do, for other programs of this user, over the channel: "status" (once, or again whenever it
// changes), "pause", "open", "quit" and "set". Main thread.
class AgentCommands {
 public:
  // How soon a change of the status is told to those that follow it. Nobody follows it: it is not looked at.
  static constexpr Seconds kFollowInterval{1};
  // Those that follow it at a time, so that connections are left for others.
  static constexpr std::size_t kMostFollowers = 16;

  // `mainThread` outlives this.
  AgentCommands(AgentCommandActions actions, platform::SerialExecutor& mainThread)
      : actions(std::move(actions)), mainThread(mainThread) {}

  // Adds them to `server`, which is stopped before this is destroyed.
  void addTo(ChannelServer& server);

 private:
  struct Follower {
    std::weak_ptr<ChannelSession> session;
    std::string lastLine;
  };

  void tellStatus(const std::shared_ptr<ChannelSession>& session, JsonReader& reader);
  void tellFollowers();
  void set(const std::shared_ptr<ChannelSession>& session, JsonReader& reader);
  void pause(const std::shared_ptr<ChannelSession>& session, JsonReader& reader);

  const AgentCommandActions actions;
  platform::SerialExecutor& mainThread;
  std::vector<Follower> followers;
  platform::TaskHandle following;  // Present while there are some.
};

// The members of the answer "status".
[[nodiscard]] Json statusJson(const MacStatusSnapshot& snapshot);

}  // namespace quillard
