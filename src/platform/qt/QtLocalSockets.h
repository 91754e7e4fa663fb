#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/LocalSocketFile.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"

namespace quillard::qt {

// What differs from system to system. None may be empty.
struct LocalSocketTraits {
  // Where this process listens. Absent: there is no folder of this user alone.
  std::function<std::optional<desktop::OpenFolder>()> folder;
  // Where others of this user may listen besides, in the order in which they are tried.
  std::function<std::vector<desktop::OpenFolder>()> otherFolders;
  // Who is at the other end of a connected socket. Absent: another user, or the system does not say.
  std::function<std::optional<platform::LocalPeer>(int descriptor)> peer;
  // A socket that the system has opened for this process and that listens under `name`. Absent: none.
  std::function<std::optional<int>(std::string_view name)> inherited;
};

// Sockets of the file system, watched by the loop of the main thread. A file that is tidied away is made anew within
// `kKeepInterval`. See LocalSockets.
class QtLocalSockets final : public platform::LocalSockets {
 public:
  static constexpr Seconds kKeepInterval{60 * 60};

  // `mainThread` outlives this.
  QtLocalSockets(LocalSocketTraits traits, platform::SerialExecutor& mainThread)
      : traits(std::move(traits)), mainThread(mainThread) {}

  [[nodiscard]] std::unique_ptr<platform::LocalListener> listen(
      std::string_view name, std::function<void(std::unique_ptr<platform::LocalConnection>)> onConnection) override;
  [[nodiscard]] platform::LocalConnectResult connect(std::string_view name) override;

 private:
  const LocalSocketTraits traits;
  platform::SerialExecutor& mainThread;
};

}  // namespace quillard::qt
