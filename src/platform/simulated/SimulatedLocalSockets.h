#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"

namespace quillard::platform::simulated {

class SimulatedLocalSockets;
struct SocketListener;
struct SocketProcess;

// The folder in which processes of one user listen. Any number of `SimulatedLocalSockets` share one.
class SimulatedSocketFolder {
 public:
  // From now on nothing can be made or found in it. Connections stay.
  void setUnusable(bool unusable) { isUnusable = unusable; }
  // A socket of that name is there; a process may listen at it or have left it.
  [[nodiscard]] bool holds(std::string_view name) const { return places.contains(name); }

 private:
  friend class SimulatedLocalSockets;
  friend class SimulatedListener;
  struct Place {
    std::weak_ptr<SocketListener> listener;  // Expired: its process has ended and left it there.
    std::uint32_t user = 0;
  };

  std::map<std::string, Place, std::less<>> places;
  bool isUnusable = false;
};

// The sockets of one process.
class SimulatedLocalSockets final : public LocalSockets {
 public:
  static constexpr std::uint32_t kUser = 1000;

  // `folder` and `mainThread` outlive this. `self`: what others see as their peer.
  SimulatedLocalSockets(SimulatedSocketFolder& folder, SerialExecutor& mainThread, LocalPeer self,
                        std::uint32_t user = kUser);
  // Ends the process.
  ~SimulatedLocalSockets() override;
  SimulatedLocalSockets(const SimulatedLocalSockets&) = delete;
  SimulatedLocalSockets& operator=(const SimulatedLocalSockets&) = delete;

  // The process is killed: its connections end, and the sockets at which it listened stay behind. Whoever listens
  // afterwards is its next run.
  void endProcess();

  [[nodiscard]] std::unique_ptr<LocalListener> listen(
      std::string_view name, std::function<void(std::unique_ptr<LocalConnection>)> onConnection) override;
  [[nodiscard]] LocalConnectResult connect(std::string_view name) override;

 private:
  SimulatedSocketFolder& folder;
  std::shared_ptr<SocketProcess> process;
};

}  // namespace quillard::platform::simulated
