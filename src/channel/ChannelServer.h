#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "channel/ChannelSession.h"
#include "foundation/CallbackScope.h"
#include "foundation/StrictJson.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"

namespace quillard {

// The agent's side of the channel: takes connections, reads one request from each, and hands it to the command of its
// type. States: stopped, listening. Main thread.
class ChannelServer {
 public:
  // Reads the request by `reader`, whose first failure it has to look for (see `answers`), and answers over `session`,
  // now or later. What it keeps of the session it keeps weakly.
  using Command = std::function<void(const std::shared_ptr<ChannelSession>& session, JsonReader& reader)>;

  // Both outlive this.
  ChannelServer(platform::LocalSockets& sockets, platform::SerialExecutor& mainThread);
  ~ChannelServer();
  ChannelServer(const ChannelServer&) = delete;
  ChannelServer& operator=(const ChannelServer&) = delete;

  // Whether `reader` has read well. Otherwise the session was refused with what was wrong.
  [[nodiscard]] static bool isRead(ChannelSession& session, const JsonReader& reader);

  // Requests of that type are carried out by `command`, which may be called for as long as this listens.
  void add(std::string_view type, Command command);

  // To be called while this agent is certain to be the only one. False: it is not possible here, or listening already.
  bool start();
  // Connections that are open are closed, without another word.
  void stop();

  [[nodiscard]] std::size_t sessionCount() const { return sessions.size(); }

 private:
  using Sessions = std::list<std::shared_ptr<ChannelSession>>;

  void accept(std::unique_ptr<platform::LocalConnection> connection);
  void carryOut(const std::shared_ptr<ChannelSession>& session, const ChannelMessage& request);

  platform::LocalSockets& sockets;
  platform::SerialExecutor& mainThread;
  std::map<std::string, Command, std::less<>> commands;
  std::unique_ptr<platform::LocalListener> listener;  // Present while it listens.
  Sessions sessions;
  CallbackScope scope;  // Last.
};

}  // namespace quillard
