#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quillard::platform {

// A process of this computer as the system knows it. Nothing in it is what the process says of itself: no title, no
// command line, no environment.
struct ProcessDescription {
  std::int32_t processIdentifier = 0;  // 0: unknown.
  std::string executable;              // Absolute path. Empty: unknown, or not to be read.
  std::string programName;             // The last part of that path, or the service that it runs as. Empty: unknown.
  std::string workingFolder;           // Absolute path, as it was when it was asked for. Empty: unknown.

  bool operator==(const ProcessDescription&) const = default;
};

// The process at the other end of a connection, read when the connection was made. It is the one that connected: it may
// have ended since, run another program by now, or have handed the connection to one of its children.
struct LocalPeer {
  ProcessDescription process;
  // The process that started it, as far as it still lives. Absent: unknown.
  std::optional<ProcessDescription> parent;
  // It runs the same executable as this process: a tool of ours, which speaks for the process that started it.
  bool isThisProgram = false;

  bool operator==(const LocalPeer&) const = default;
};

// Neither is empty.
struct LocalConnectionEvents {
  // What came, in order, in pieces of any length up to `LocalConnection::kLongestPiece`.
  std::function<void(std::string_view bytes)> onBytes;
  // Nothing comes any more: the other side closed or ended, or took nothing for too long. Once; what came before it was
  // handed over.
  std::function<void()> onEnd;
};

// A connection between two processes of one user on one computer: a stream of bytes each way. Main thread; callbacks
// come in turns of their own, never from inside a call, one piece in a turn, so that a peer that sends without end does
// not keep the thread. A callback may destroy its connection. Destroying closes it, and nothing is called afterwards.
class LocalConnection {
 public:
  static constexpr std::size_t kLongestPiece = 64 * 1024;
  // What may wait here until the other side reads on. Above it the connection ends.
  static constexpr std::size_t kMostUnsent = 1024 * 1024;

  LocalConnection() = default;
  LocalConnection(const LocalConnection&) = delete;
  LocalConnection& operator=(const LocalConnection&) = delete;
  virtual ~LocalConnection() = default;

  [[nodiscard]] virtual const LocalPeer& peer() const = 0;
  // Begins to read. Once; before it, what comes waits.
  virtual void start(LocalConnectionEvents events) = 0;
  // Never waits: what cannot be sent now is kept, and sent while this object lives. After the end it is dropped.
  virtual void send(std::string_view bytes) = 0;
  // Whether all that was given to `send` has left this process, or is lost.
  [[nodiscard]] virtual bool isAllSent() const = 0;
};

// Takes connections for as long as it lives.
class LocalListener {
 public:
  LocalListener() = default;
  LocalListener(const LocalListener&) = delete;
  LocalListener& operator=(const LocalListener&) = delete;
  virtual ~LocalListener() = default;
};

enum class LocalConnectOutcome {
  connected,
  absent,   // Nothing listens under the name.
  refused,  // Something is there, and it is another user's, or does not take connections now.
};

struct LocalConnectResult {
  LocalConnectOutcome outcome = LocalConnectOutcome::absent;
  std::unique_ptr<LocalConnection> connection;  // Empty unless connected.
};

// Sockets by which processes of one user speak to one another, under names in a folder that no other user may enter.
// Whoever is at the other end is a process of this user: others are turned away by what the system says of them, before
// a byte of theirs is read. Main thread. Outlives its listeners and connections.
class LocalSockets {
 public:
  // Connections of one listener at a time. More are closed as they come.
  static constexpr std::size_t kMostConnections = 64;

  virtual ~LocalSockets() = default;

  // Listens under `name`, the name of a file. What stands there is replaced in one step, be it left over or in use, so
  // that the newest listener has the name: call it only while it is certain (by a lock) that no other should have it.
  // Where the system hands this process a socket of that name that listens already, that one is taken.
  //
  // `onConnection` comes in turns of its own, never after the listener is destroyed. Empty: it is not possible here.
  [[nodiscard]] virtual std::unique_ptr<LocalListener> listen(
      std::string_view name, std::function<void(std::unique_ptr<LocalConnection>)> onConnection) = 0;

  // Does not wait: a socket of this computer takes a connection immediately or not at all.
  [[nodiscard]] virtual LocalConnectResult connect(std::string_view name) = 0;
};

}  // namespace quillard::platform
