#include "demo/Service.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "private-desktop/Waiting.h"

namespace quillard::demo {
namespace {

constexpr int kHandedOn = 3;

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> list;
  list.reserve(texts.size() + 1);
  for (const auto& text : texts) list.push_back(const_cast<char*>(text.c_str()));
  list.push_back(nullptr);
  return list;
}

int openLog(const std::string& path) {
  const int log = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (log < 0) throw std::runtime_error("Cannot write " + path + ": " + ::strerror(errno));
  return log;
}

// The signals as any program expects to find them.
void restoreSignals() {
  ::signal(SIGPIPE, SIG_DFL);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// In the child.
void arrangeStreams(const Service::Start& start, int log) {
  if (!start.isInForeground) {
    ::setpgid(0, 0);
    ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  }
  const int output = start.output >= 0 ? start.output : log;
  const int errors = start.errors >= 0 ? start.errors : log;
  if (output >= 0) ::dup2(output, STDOUT_FILENO);
  if (errors >= 0) ::dup2(errors, STDERR_FILENO);
  if (start.handedOn == kHandedOn) {
    ::fcntl(kHandedOn, F_SETFD, 0);
  } else if (start.handedOn >= 0) {
    ::dup2(start.handedOn, kHandedOn);
  }
}

// A file without a name that goes with this object.
class MemoryFile {
 public:
  MemoryFile() : descriptor(::memfd_create("output", MFD_CLOEXEC)) {
    if (descriptor < 0) throw std::runtime_error("memfd_create");
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { ::close(descriptor); }

  [[nodiscard]] std::string contents() const {
    std::string text;
    std::array<char, 4096> part{};
    ssize_t size = 0;
    while ((size = ::pread(descriptor, part.data(), part.size(), static_cast<off_t>(text.size()))) > 0) {
      text.append(part.data(), static_cast<std::size_t>(size));
    }
    return text;
  }
  const int descriptor;
};

}  // namespace

Service::Service(const Start& start) {
  const int log = start.logFile.empty() ? -1 : openLog(start.logFile);
  const auto arguments = pointers(start.command);
  const auto environment = pointers(start.environment);
  const pid_t parent = ::getpid();
  pid = ::fork();
  if (pid == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != parent) ::_exit(126);
    arrangeStreams(start, log);
    restoreSignals();
    ::execvpe(arguments[0], arguments.data(), environment.data());
    ::dprintf(STDERR_FILENO, "%s: %s\n", arguments[0], ::strerror(errno));
    ::_exit(127);
  }
  if (log >= 0) ::close(log);
  if (pid < 0) throw std::runtime_error("fork");
}

Service::~Service() { end(std::chrono::milliseconds(0)); }

std::optional<int> Service::exitCode() {
  int status = 0;
  if (!code && ::waitpid(pid, &status, WNOHANG) == pid) {
    code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return code;
}

std::optional<int> Service::waitForEnd(std::chrono::milliseconds timeout, const std::function<bool()>& isCancelled) {
  static_cast<void>(
      privatedesktop::waitFor([&] { return exitCode().has_value() || (isCancelled && isCancelled()); }, timeout));
  return code;
}

void Service::end(std::chrono::milliseconds timeout) {
  if (exitCode()) return;
  ::kill(pid, SIGTERM);
  ::kill(pid, SIGCONT);
  if (waitForEnd(timeout)) return;
  ::kill(pid, SIGKILL);
  static_cast<void>(waitForEnd(privatedesktop::kTimeout));
}

Printed run(const std::vector<std::string>& command, const Variables& environment, std::chrono::milliseconds timeout,
            const std::function<bool()>& isCancelled) {
  const MemoryFile output;
  const MemoryFile errors;
  Service program(
      {.command = command, .environment = environment, .output = output.descriptor, .errors = errors.descriptor});
  const auto code = program.waitForEnd(timeout, isCancelled);
  program.end(std::chrono::milliseconds(500));
  return {.code = code, .output = output.contents(), .errors = errors.contents()};
}

}  // namespace quillard::demo
