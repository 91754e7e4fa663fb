#include "channel/ChannelServer.h"

#include <utility>

namespace quillard {

ChannelServer::ChannelServer(platform::LocalSockets& sockets, platform::SerialExecutor& mainThread)
    : sockets(sockets), mainThread(mainThread) {}

ChannelServer::~ChannelServer() { stop(); }

bool ChannelServer::isRead(ChannelSession& session, const JsonReader& reader) {
  if (!reader.error()) return true;
  session.refuse(channel_codes::kMalformed, reader.error()->description());
  return false;
}

void ChannelServer::add(std::string_view type, Command command) {
  commands.insert_or_assign(std::string(type), std::move(command));
}

bool ChannelServer::start() {
  if (listener) return false;
  listener = sockets.listen(
      kChannelName, [this](std::unique_ptr<platform::LocalConnection> connection) { accept(std::move(connection)); });
  return listener != nullptr;
}

void ChannelServer::stop() {
  listener.reset();
  sessions.clear();
}

void ChannelServer::accept(std::unique_ptr<platform::LocalConnection> connection) {
  const auto place = sessions.emplace(sessions.end());
  // A session may end inside one of its own operations, so that it goes in a turn of its own.
  *place = std::make_shared<ChannelSession>(
      std::move(connection), mainThread,
      ChannelSession::Events{.onRequest = [this, place](const ChannelMessage& request) { carryOut(*place, request); },
                             .onClosed =
                                 [this, place] {
                                   mainThread.post(scope.bind([this, ended = std::weak_ptr(*place)] {
                                     sessions.remove_if(
                                         [session = ended.lock()](const auto& one) { return one == session; });
                                   }));
                                 }});
}

void ChannelServer::carryOut(const std::shared_ptr<ChannelSession>& given, const ChannelMessage& request) {
  const auto session = given;
  const auto command = commands.find(request.type);
  if (command == commands.end()) {
    return session->refuse(channel_codes::kUnknownType, "This agent knows no such request.");
  }
  JsonReader reader{request.json};
  command->second(session, reader);
}

}  // namespace quillard
