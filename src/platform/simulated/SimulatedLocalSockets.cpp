#include "platform/simulated/SimulatedLocalSockets.h"

#include <algorithm>
#include <deque>
#include <utility>
#include <vector>

namespace quillard::platform::simulated {

struct SocketEnd;

// One process, for as long as it runs.
struct SocketProcess {
  SerialExecutor& mainThread;
  LocalPeer self;
  std::uint32_t user;
  std::vector<std::weak_ptr<SocketEnd>> ends;  // Of its connections.
  bool hasEnded = false;
};

// One end of a connection. What is sent at one lies in the inbox of the other until that reads it.
struct SocketEnd : std::enable_shared_from_this<SocketEnd> {
  SocketEnd(const SocketProcess& process, LocalPeer peer) : mainThread(process.mainThread), peer(std::move(peer)) {}

  void send(std::string_view bytes) {
    const auto to = other.lock();
    if (isClosed || hasEnded || !to) return;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), LocalConnection::kLongestPiece))) {
      to->inbox.emplace_back(bytes.substr(0, LocalConnection::kLongestPiece));
      to->waiting += to->inbox.back().size();
    }
    if (to->waiting > LocalConnection::kMostUnsent) {
      to->other.reset();
      other.reset();
      postDelivery();
    }
    to->postDelivery();
  }

  // The other side gets what was sent, and then the end.
  void close() {
    isClosed = true;
    if (const auto to = other.lock()) to->postDelivery();
    other.reset();
  }

  void postDelivery() {
    if (!events || isPosted) return;
    isPosted = true;
    mainThread.post([self = shared_from_this()] { self->deliver(); });
  }

  // One piece in a turn.
  void deliver() {
    isPosted = false;
    if (isClosed || hasEnded) return;
    const auto called = events;
    if (!inbox.empty()) {
      const auto piece = std::move(inbox.front());
      inbox.pop_front();
      waiting -= piece.size();
      called->onBytes(piece);
      postDelivery();
    } else if (const auto from = other.lock(); !from || from->isClosed) {
      hasEnded = true;
      called->onEnd();
    }
  }

  SerialExecutor& mainThread;
  const LocalPeer peer;
  std::weak_ptr<SocketEnd> other;
  std::shared_ptr<LocalConnectionEvents> events;  // Null: not started.
  std::deque<std::string> inbox;
  std::size_t waiting = 0;  // Bytes in it.
  bool isPosted = false;
  bool isClosed = false;  // By this side.
  bool hasEnded = false;
};

class SimulatedConnection final : public LocalConnection {
 public:
  explicit SimulatedConnection(std::shared_ptr<SocketEnd> end) : end(std::move(end)) {}
  ~SimulatedConnection() override { end->close(); }
  [[nodiscard]] const LocalPeer& peer() const override { return end->peer; }
  void start(LocalConnectionEvents events) override {
    end->events = std::make_shared<LocalConnectionEvents>(std::move(events));
    end->postDelivery();
  }
  void send(std::string_view bytes) override { end->send(bytes); }
  [[nodiscard]] bool isAllSent() const override {
    const auto to = end->other.lock();
    return !to || to->inbox.empty();
  }

 private:
  const std::shared_ptr<SocketEnd> end;
};

struct SocketListener {
  std::shared_ptr<SocketProcess> process;
  std::function<void(std::unique_ptr<LocalConnection>)> onConnection;
  std::vector<std::weak_ptr<SocketEnd>> ends;
};

class SimulatedListener final : public LocalListener {
 public:
  SimulatedListener(SimulatedSocketFolder& folder, std::string name, std::shared_ptr<SocketListener> listener)
      : folder(folder), name(std::move(name)), listener(std::move(listener)) {}
  // Leaves alone what another one listens at by now.
  ~SimulatedListener() override {
    const auto found = folder.places.find(name);
    const bool isOurs = found != folder.places.end() && found->second.listener.lock() == listener;
    if (isOurs && !listener->process->hasEnded) folder.places.erase(found);
  }

 private:
  SimulatedSocketFolder& folder;
  const std::string name;
  const std::shared_ptr<SocketListener> listener;
};

SimulatedLocalSockets::SimulatedLocalSockets(SimulatedSocketFolder& folder, SerialExecutor& mainThread, LocalPeer self,
                                             std::uint32_t user)
    : folder(folder),
      process(std::make_shared<SocketProcess>(SocketProcess{mainThread, std::move(self), user, {}, false})) {}

SimulatedLocalSockets::~SimulatedLocalSockets() { endProcess(); }

void SimulatedLocalSockets::endProcess() {
  process->hasEnded = true;
  for (const auto& weak : process->ends) {
    if (const auto end = weak.lock(); end && !end->isClosed) end->close();
  }
}

std::unique_ptr<LocalListener> SimulatedLocalSockets::listen(
    std::string_view name, std::function<void(std::unique_ptr<LocalConnection>)> onConnection) {
  const bool isFileName = !name.empty() && name != "." && name != ".." && name.find('/') == name.npos;
  if (folder.isUnusable || !isFileName) return nullptr;
  if (process->hasEnded) {
    process =
        std::make_shared<SocketProcess>(SocketProcess{process->mainThread, process->self, process->user, {}, false});
  }
  auto listener = std::make_shared<SocketListener>(SocketListener{process, std::move(onConnection), {}});
  folder.places.insert_or_assign(std::string(name), SimulatedSocketFolder::Place{listener, process->user});
  return std::make_unique<SimulatedListener>(folder, std::string(name), std::move(listener));
}

LocalConnectResult SimulatedLocalSockets::connect(std::string_view name) {
  const auto found = folder.places.find(name);
  if (folder.isUnusable || found == folder.places.end()) return {};
  const auto listener = found->second.listener.lock();
  if (!listener || listener->process->hasEnded) return {};
  if (found->second.user != process->user) return {LocalConnectOutcome::refused, nullptr};

  const auto here = std::make_shared<SocketEnd>(*process, listener->process->self);
  const auto there = std::make_shared<SocketEnd>(*listener->process, process->self);
  here->other = there;
  there->other = here;
  process->ends.push_back(here);
  listener->process->ends.push_back(there);
  std::erase_if(listener->ends, [](const auto& end) { return end.expired() || end.lock()->isClosed; });
  listener->ends.push_back(there);
  const bool isTaken = listener->ends.size() <= kMostConnections;
  listener->process->mainThread.post([weak = std::weak_ptr(listener), there, isTaken] {
    auto connection = std::make_unique<SimulatedConnection>(there);
    if (const auto living = weak.lock(); living && isTaken) living->onConnection(std::move(connection));
  });
  return {LocalConnectOutcome::connected, std::make_unique<SimulatedConnection>(here)};
}

}  // namespace quillard::platform::simulated
