#include "platform/qt/QtLoopExecutor.h"

#include <algorithm>
#include <chrono>

#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <unistd.h>

#include "platform/qt/WakePipe.h"

namespace quillard::qt {
namespace {

using platform::TaskHandle;
using platform::Turn;
using std::chrono::milliseconds;

}  // namespace

QtLoopExecutor::QtLoopExecutor()
    : wakePipe(makeWakePipe("The event loop cannot be woken: no pipe")),
      turns(std::make_shared<TurnQueue>([this] { wake(); })),
      notifier(std::make_unique<QSocketNotifier>(wakePipe[0], QSocketNotifier::Read)),
      timer(std::make_unique<QTimer>()) {
  timer->setSingleShot(true);
  timer->setTimerType(Qt::PreciseTimer);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] {
    takeWake();
    runReady();
  });
  QObject::connect(timer.get(), &QTimer::timeout, [this] { runReady(); });
}

QtLoopExecutor::~QtLoopExecutor() {
  turns->close();
  notifier.reset();
  for (const int end : wakePipe) ::close(end);
}

void QtLoopExecutor::post(Turn turn) { turns->post(std::move(turn)); }

TaskHandle QtLoopExecutor::postAfter(Seconds delay, Turn turn) { return turns->postAfter(delay, std::move(turn)); }

TaskHandle QtLoopExecutor::repeatEvery(Seconds interval, Turn turn) {
  return turns->repeatEvery(interval, std::move(turn));
}

bool QtLoopExecutor::isCurrent() const { return std::this_thread::get_id() == owner; }

void QtLoopExecutor::wake() {
  if (isWakeSent.exchange(true)) return;
  const char note = 1;
  // A full pipe wakes as well as one more byte would.
  if (::write(wakePipe[1], &note, 1) < 0) return;
}

void QtLoopExecutor::takeWake() {
  std::array<char, 16> notes{};
  while (::read(wakePipe[0], notes.data(), notes.size()) > 0) {
  }
  isWakeSent = false;  // After the reading: a turn posted from now on writes a note of its own.
}

// Only the turns that are ready now: those that they post run after the loop has seen to its own events.
void QtLoopExecutor::runReady() {
  if (isRunning) return;
  isRunning = true;
  for (std::size_t left = turns->readyCount(); left > 0 && turns->runNext(); --left) {
  }
  isRunning = false;
  arm();
}

void QtLoopExecutor::arm() {
  constexpr milliseconds kLongestWait = std::chrono::hours{1};
  const auto due = turns->nextDue();
  if (!due) return timer->stop();
  const auto wait = std::max(*due, steadyNow()) - steadyNow();
  timer->start(std::clamp(std::chrono::ceil<milliseconds>(wait), milliseconds::zero(), kLongestWait));
}

}  // namespace quillard::qt
