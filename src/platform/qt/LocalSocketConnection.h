#pragma once

#include <memory>
#include <string>

#include <QtCore/QSocketNotifier>

#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"

namespace quillard::qt {

// A connected socket of the file system. See LocalConnection.
class LocalSocketConnection final : public platform::LocalConnection {
 public:
  // Takes over the descriptor, which does not block. `place`: held for as long as the connection lives; may be empty.
  LocalSocketConnection(int descriptor, platform::LocalPeer peer, platform::SerialExecutor& mainThread,
                        std::shared_ptr<void> place = nullptr);
  ~LocalSocketConnection() override;

  [[nodiscard]] const platform::LocalPeer& peer() const override { return itsPeer; }
  void start(platform::LocalConnectionEvents events) override;
  void send(std::string_view bytes) override;
  [[nodiscard]] bool isAllSent() const override { return unsent.empty(); }

 private:
  using NotifierHandle = std::unique_ptr<QSocketNotifier, void (*)(QSocketNotifier*)>;

  void read();
  void sendRest();
  void fail();
  void reportEnd();

  const int descriptor;
  const platform::LocalPeer itsPeer;
  platform::SerialExecutor& mainThread;
  const std::shared_ptr<void> place;
  std::shared_ptr<const platform::LocalConnectionEvents> events;  // Null: not started, or ended.
  std::string unsent;
  bool isBroken = false;
  NotifierHandle readable;
  NotifierHandle writable;
  const std::shared_ptr<const char> life = std::make_shared<const char>('\0');
};

}  // namespace quillard::qt
