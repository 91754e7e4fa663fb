#include "platform/linux/sway/SwayWindows.h"

#include <utility>

#include "platform/linux/sway/SwayTree.h"

namespace quillard::sway {

using desktop::WindowCoverage;
using desktop::WindowsSnapshot;
using std::chrono::steady_clock;

SwayWindows::SwayWindows(std::string path, std::chrono::milliseconds retryInterval)
    : path(std::move(path)), retryInterval(retryInterval) {}

WindowCoverage SwayWindows::coverage() const {
  const MutexLock lock(mutex);
  return connected() ? WindowCoverage::all : WindowCoverage::none;
}

WindowsSnapshot SwayWindows::snapshot() {
  const MutexLock lock(mutex);
  auto* const sway = connected();
  const auto tree = sway ? sway->ask(MessageType::getTree, "") : std::nullopt;
  auto snapshot = tree ? parseTree(*tree) : std::nullopt;
  return snapshot ? *std::move(snapshot) : WindowsSnapshot{};
}

bool SwayWindows::activate(desktop::WindowID window) { return run(window, "focus"); }

bool SwayWindows::close(desktop::WindowID window) { return run(window, "kill"); }

bool SwayWindows::run(desktop::WindowID window, std::string_view command) {
  const auto container = containerOf(window);
  if (!container) return false;
  const MutexLock lock(mutex);
  auto* const sway = connected();
  if (!sway) return false;
  const auto text = "[con_id=" + std::to_string(*container) + "] " + std::string(command);
  const auto reply = sway->ask(MessageType::runCommand, text);
  return reply && isSuccess(*reply);
}

SwaySocket* SwayWindows::connected() const {
  if (socket && !socket->isBroken()) return socket.get();
  const auto now = steady_clock::now();
  if (lastAttempt && now - *lastAttempt < retryInterval) return nullptr;
  lastAttempt = now;
  socket = SwaySocket::open(path);
  return socket.get();
}

}  // namespace quillard::sway
