#include "platform/linux/sway/SwayWatch.h"

#include <algorithm>
#include <utility>

#include "platform/linux/sway/SwayTree.h"

namespace quillard::sway {
namespace {

constexpr Seconds kFirstRetry{5};
constexpr Seconds kLongestRetry{60};
constexpr Seconds kBurst{0.016};
constexpr Seconds kTitleDelay{0.1};

}  // namespace

SwayWatch::SwayWatch(std::string path, desktop::DesktopWindows& windows, platform::SerialExecutor& mainThread)
    : path(std::move(path)), windows(windows), mainThread(mainThread), retryDelay(kFirstRetry) {
  connect();
}

SwayWatch::~SwayWatch() = default;

void SwayWatch::connect() {
  socket = SwaySocket::open(path);
  const auto reply = socket ? socket->ask(MessageType::subscribe, R"(["window","workspace"])") : std::nullopt;
  if (!reply || !isSuccess(*reply)) {
    socket.reset();
    retryTask = mainThread.postAfter(retryDelay, [this] { connect(); });
    retryDelay = std::min(retryDelay * 2, kLongestRetry);
    return;
  }
  retryDelay = kFirstRetry;
  notifier = std::make_unique<QSocketNotifier>(socket->descriptor(), QSocketNotifier::Read);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] { takeEvents(); });
  read();
}

void SwayWatch::disconnect() {
  // Inside its own signal: it is silent from here on, and goes when that has returned.
  notifier->setEnabled(false);
  notifier.release()->deleteLater();
  socket.reset();
  readTask.reset();
  titleTask.reset();
  snapshot = {};
  retryTask = mainThread.postAfter(retryDelay, [this] { connect(); });
  listeners.tell(snapshot);
}

void SwayWatch::takeEvents() {
  const bool isThere = socket->receive();
  bool isUrgent = false;
  bool isNews = false;
  while (const auto event = socket->next()) {
    isNews = true;
    const bool isTitle =
        event->type == static_cast<std::uint32_t>(MessageType::windowEvent) && changeOf(event->payload) == "title";
    isUrgent = isUrgent || !isTitle;
  }
  if (!isThere || socket->isBroken()) return disconnect();
  if (isUrgent) return readIn(kBurst, readTask);
  if (isNews) readIn(kTitleDelay, titleTask);
}

void SwayWatch::readIn(Seconds delay, platform::TaskHandle& task) {
  if (!task) task = mainThread.postAfter(delay, [this] { read(); });
}

void SwayWatch::read() {
  readTask.reset();
  titleTask.reset();
  snapshot = windows.snapshot();
  listeners.tell(snapshot);
}

}  // namespace quillard::sway
