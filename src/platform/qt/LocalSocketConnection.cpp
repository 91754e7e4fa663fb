#include "platform/qt/LocalSocketConnection.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

namespace quillard::qt {
namespace {

// Perhaps inside its own signal: it is silent from here on, and goes when that has returned.
void release(QSocketNotifier* notifier) {
  notifier->setEnabled(false);
  notifier->deleteLater();
}

}  // namespace

LocalSocketConnection::LocalSocketConnection(int descriptor, platform::LocalPeer peer,
                                             platform::SerialExecutor& mainThread, std::shared_ptr<void> place)
    : descriptor(descriptor),
      itsPeer(std::move(peer)),
      mainThread(mainThread),
      place(std::move(place)),
      readable(new QSocketNotifier(descriptor, QSocketNotifier::Read), release),
      writable(new QSocketNotifier(descriptor, QSocketNotifier::Write), release) {
  // Sending to a peer that has gone raises it, and its default is the end of the process.
  std::signal(SIGPIPE, SIG_IGN);
  readable->setEnabled(false);
  writable->setEnabled(false);
  QObject::connect(readable.get(), &QSocketNotifier::activated, [this] { read(); });
  QObject::connect(writable.get(), &QSocketNotifier::activated, [this] { sendRest(); });
}

LocalSocketConnection::~LocalSocketConnection() {
  readable.reset();
  writable.reset();
  ::close(descriptor);
}

void LocalSocketConnection::start(platform::LocalConnectionEvents wanted) {
  events = std::make_shared<const platform::LocalConnectionEvents>(std::move(wanted));
  if (isBroken) return reportEnd();
  readable->setEnabled(true);
}

// One piece for each signal: the loop comes back for the rest.
void LocalSocketConnection::read() {
  std::array<char, kLongestPiece> piece;
  const auto length = ::recv(descriptor, piece.data(), piece.size(), 0);
  if (length < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (length <= 0) return fail();
  const auto called = events;
  if (called) called->onBytes({piece.data(), static_cast<std::size_t>(length)});
}

void LocalSocketConnection::send(std::string_view bytes) {
  if (isBroken) return;
  unsent += bytes;
  sendRest();
  if (unsent.size() > kMostUnsent) fail();
}

void LocalSocketConnection::sendRest() {
  std::size_t done = 0;
  while (done < unsent.size()) {
    const auto sent = ::send(descriptor, unsent.data() + done, unsent.size() - done, 0);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && errno != EAGAIN) {
      // What the other side has sent before it closed is still there to be read, and its end behind it.
      done = unsent.size();
    }
    if (sent < 0) break;
    done += static_cast<std::size_t>(sent);
  }
  unsent.erase(0, done);
  writable->setEnabled(!unsent.empty());
}

void LocalSocketConnection::fail() {
  isBroken = true;
  unsent.clear();
  readable->setEnabled(false);
  writable->setEnabled(false);
  ::shutdown(descriptor, SHUT_RDWR);
  if (events) reportEnd();
}

// Not inside the call that met it.
void LocalSocketConnection::reportEnd() {
  mainThread.post([called = std::exchange(events, nullptr), alive = std::weak_ptr<const char>(life)] {
    if (!alive.expired()) called->onEnd();
  });
}

}  // namespace quillard::qt
