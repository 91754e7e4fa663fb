#include "private-desktop/TemporaryFolder.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillard::privatedesktop {

namespace {

// Short, since sockets are made below it, whose paths the kernel limits.
std::string placeOfFolders() {
  const char* const requested = std::getenv("TMPDIR");
  return requested && *requested ? requested : "/tmp";
}

constexpr std::array kEndings{SIGINT, SIGTERM, SIGHUP};

// The signals that end a program wait meanwhile: the folder is never there without its janitor.
class WithoutEndings {
 public:
  WithoutEndings() {
    sigset_t endings;
    ::sigemptyset(&endings);
    for (const int signal : kEndings) ::sigaddset(&endings, signal);
    ::pthread_sigmask(SIG_BLOCK, &endings, &before);
  }
  WithoutEndings(const WithoutEndings&) = delete;
  WithoutEndings& operator=(const WithoutEndings&) = delete;
  ~WithoutEndings() { end(); }

  void end() const { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }

 private:
  sigset_t before{};
};

}  // namespace

TemporaryFolder::TemporaryFolder() : folder(placeOfFolders() + "/quillard.XXXXXX") {
  const WithoutEndings without;
  std::array<int, 2> pipe{-1, -1};
  if (!::mkdtemp(folder.data()) || ::pipe(pipe.data()) != 0) throw std::runtime_error("mkdtemp");
  for (const int end : pipe) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  janitor = ::fork();
  if (janitor == 0) {
    // Not to be killed by a signal to the group of its owner. Tries again, since servers may still be writing.
    ::setsid();
    for (const int signal : kEndings) ::signal(signal, SIG_IGN);  // One that came before that, too.
    without.end();
    ::dup2(pipe[0], STDIN_FILENO);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    constexpr const char* kScript = "read -r _; for i in 1 2 3; do rm -rf \"$1\" && exit; sleep 0.1; done";
    ::execl("/bin/sh", "sh", "-c", kScript, "sh", folder.c_str(), nullptr);
    ::_exit(127);
  }
  ::close(pipe[0]);
  lifeline = pipe[1];
}

TemporaryFolder::~TemporaryFolder() {
  ::close(lifeline);
  ::waitpid(janitor, nullptr, 0);
}

}  // namespace quillard::privatedesktop
