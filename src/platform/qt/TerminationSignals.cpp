#include "platform/qt/TerminationSignals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <utility>

#include <QtCore/QSocketNotifier>
#include <signal.h>
#include <unistd.h>

#include "platform/qt/WakePipe.h"

namespace quillard::qt {
namespace {

constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGHUP};

// What a signal handler may use: nothing else is safe there.
std::array<int, 2> wakePipe{-1, -1};
std::atomic<int> signalCount{0};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void quillardHandleTerminationSignal(int number) {
  const int error = errno;
  if (signalCount.fetch_add(1) > 0) ::_exit(128 + number);
  const char note = 1;
  if (::write(wakePipe[1], &note, 1) < 0) ::_exit(128 + number);
  errno = error;
}

}  // namespace

struct TerminationSignals::Former {
  std::array<struct sigaction, kSignals.size()> actions{};
};

TerminationSignals::TerminationSignals(std::function<void()> onSignal) : former(std::make_unique<Former>()) {
  wakePipe = makeWakePipe("Signals cannot be handled: no pipe");
  signalCount = 0;
  notifier = std::make_unique<QSocketNotifier>(wakePipe[0], QSocketNotifier::Read);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, [onSignal = std::move(onSignal)] {
    char note = 0;
    if (::read(wakePipe[0], &note, 1) == 1) onSignal();
  });
  struct sigaction action {};
  action.sa_handler = quillardHandleTerminationSignal;
  action.sa_flags = SA_RESTART;
  ::sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    ::sigaction(kSignals[i], nullptr, &former->actions[i]);
    if (former->actions[i].sa_handler != SIG_IGN) ::sigaction(kSignals[i], &action, nullptr);
  }
}

TerminationSignals::~TerminationSignals() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) ::sigaction(kSignals[i], &former->actions[i], nullptr);
  notifier.reset();
  for (int& end : wakePipe) ::close(std::exchange(end, -1));
}

}  // namespace quillard::qt
