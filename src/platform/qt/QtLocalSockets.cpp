#include "platform/qt/QtLocalSockets.h"

#include <cerrno>
#include <utility>

#include <QtCore/QSocketNotifier>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/posix/LockedFile.h"
#include "platform/qt/LocalSocketConnection.h"

namespace quillard::qt {
namespace {

using platform::LocalConnection;
using platform::LocalPeer;

// When this process has no descriptor left, what waits is looked at again after this.
constexpr Seconds kRetryInterval{1};

// A socket that listens, and what is done with whoever connects.
class SocketListener final : public platform::LocalListener {
 public:
  using OnConnection = std::function<void(std::unique_ptr<LocalConnection>)>;
  using PeerOf = std::function<std::optional<LocalPeer>(int)>;

  // `folder` absent: the file is not this process's to keep or to remove.
  SocketListener(std::string name, desktop::ListeningSocket socket, std::optional<desktop::OpenFolder> folder,
                 PeerOf peerOf, platform::SerialExecutor& mainThread, OnConnection onConnection)
      : name(std::move(name)),
        folder(std::move(folder)),
        peerOf(std::move(peerOf)),
        mainThread(mainThread),
        onConnection(std::move(onConnection)) {
    watch(socket);
    if (this->folder) keeping = mainThread.repeatEvery(QtLocalSockets::kKeepInterval, [this] { keep(); });
  }
  ~SocketListener() override {
    if (folder) desktop::removeFrom(*folder, name, socket);
    unwatch();
  }

 private:
  void watch(desktop::ListeningSocket wanted) {
    socket = wanted;
    notifier = new QSocketNotifier(socket.descriptor, QSocketNotifier::Read);
    QObject::connect(notifier, &QSocketNotifier::activated, [this] { accept(); });
  }

  void unwatch() {
    notifier->setEnabled(false);
    notifier->deleteLater();
    ::close(socket.descriptor);
  }

  // One for each signal.
  void accept() {
    const int descriptor = ::accept(socket.descriptor, nullptr, nullptr);
    if (descriptor < 0) {
      if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) pause();
      return;
    }
    auto peer = place.use_count() <= static_cast<long>(platform::LocalSockets::kMostConnections) &&
                        desktop::prepareSocket(descriptor)
                    ? peerOf(descriptor)
                    : std::nullopt;
    if (!peer) {
      ::close(descriptor);
      return;
    }
    onConnection(std::make_unique<LocalSocketConnection>(descriptor, std::move(*peer), mainThread, place));
  }

  void pause() {
    notifier->setEnabled(false);
    retry = mainThread.postAfter(kRetryInterval, [this] { notifier->setEnabled(true); });
  }

  void keep() {
    if (desktop::isStillThere(*folder, name, socket)) return desktop::touchIn(*folder, name);
    const auto anew = desktop::listenIn(*folder, name);
    if (!anew) return;
    unwatch();
    watch(*anew);
  }

  const std::string name;
  const std::optional<desktop::OpenFolder> folder;
  const PeerOf peerOf;
  platform::SerialExecutor& mainThread;
  const OnConnection onConnection;
  desktop::ListeningSocket socket;
  QSocketNotifier* notifier = nullptr;
  platform::TaskHandle keeping;
  platform::TaskHandle retry;
  const std::shared_ptr<void> place = std::make_shared<char>('\0');  // One for each connection, and one here.
};

}  // namespace

std::unique_ptr<platform::LocalListener> QtLocalSockets::listen(
    std::string_view name, std::function<void(std::unique_ptr<platform::LocalConnection>)> onConnection) {
  if (!desktop::isFileName(name)) return nullptr;
  const std::string file(name);
  if (const auto inherited = traits.inherited(name); inherited && desktop::prepareSocket(*inherited)) {
    return std::make_unique<SocketListener>(file, desktop::ListeningSocket{.descriptor = *inherited}, std::nullopt,
                                            traits.peer, mainThread, std::move(onConnection));
  }
  auto folder = traits.folder();
  const auto socket = folder ? desktop::listenIn(*folder, file) : std::nullopt;
  if (!socket) return nullptr;
  return std::make_unique<SocketListener>(file, *socket, std::move(folder), traits.peer, mainThread,
                                          std::move(onConnection));
}

platform::LocalConnectResult QtLocalSockets::connect(std::string_view name) {
  using Outcome = platform::LocalConnectOutcome;
  if (!desktop::isFileName(name)) return {};
  std::vector<desktop::OpenFolder> folders;
  if (auto first = traits.folder()) folders.push_back(std::move(*first));
  for (auto& other : traits.otherFolders()) folders.push_back(std::move(other));
  Outcome outcome = Outcome::absent;
  for (const auto& folder : folders) {
    const auto [descriptor, isRefused] = desktop::connectIn(folder, std::string(name));
    if (isRefused) outcome = Outcome::refused;
    if (descriptor < 0) continue;
    if (auto peer = traits.peer(descriptor)) {
      return {Outcome::connected, std::make_unique<LocalSocketConnection>(descriptor, std::move(*peer), mainThread)};
    }
    outcome = Outcome::refused;
    ::close(descriptor);
  }
  return {outcome, nullptr};
}

}  // namespace quillard::qt
