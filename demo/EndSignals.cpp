#include "demo/EndSignals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace quillard::demo {

EndSignals::EndSignals() {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD}) ::sigaddset(&set, number);
  ::sigprocmask(SIG_BLOCK, &set, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
  signals = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

EndSignals::~EndSignals() { ::close(signals); }

std::optional<int> EndSignals::requested() {
  signalfd_siginfo information{};
  while (::read(signals, &information, sizeof information) == sizeof information) {
    const auto number = static_cast<int>(information.ssi_signo);
    if (number != SIGCHLD && !first) first = number;
  }
  return first;
}

}  // namespace quillard::demo
