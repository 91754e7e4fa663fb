#include "support/ChildProcess.h"

#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillard::test {
namespace {

constexpr std::chrono::seconds kLongestWait{30};

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  return ends;
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (const auto& text : texts) result.push_back(const_cast<char*>(text.c_str()));
  result.push_back(nullptr);
  return result;
}

}  // namespace

ChildProcess::ChildProcess(const Start& start) {
  const auto in = makePipe();
  const auto out = makePipe();
  const auto arguments = pointers(start.command);
  const auto environment = pointers(start.environment);
  const pid_t parent = ::getpid();
  pid = ::fork();
  if (pid == 0) {  // Only what is safe between fork and exec.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(126);
    ::dup2(in[0], STDIN_FILENO);
    ::dup2(out[1], STDOUT_FILENO);
    if (start.isQuiet) ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    ::execvpe(arguments[0], arguments.data(), environment.data());
    ::_exit(127);
  }
  ::close(in[0]);
  ::close(out[1]);
  output = out[0];
  if (pid < 0) throw std::runtime_error("fork");
  const bool wasGiven =
      ::write(in[1], start.input.data(), start.input.size()) == static_cast<ssize_t>(start.input.size());
  ::close(in[1]);
  if (!wasGiven) throw std::runtime_error("The child took no input: " + start.command.front());
}

ChildProcess::~ChildProcess() {
  kill();
  ::close(output);
}

std::optional<std::string> ChildProcess::readLine() {
  std::string line;
  pollfd ready{output, POLLIN, 0};
  char byte = 0;
  while (::poll(&ready, 1, std::chrono::milliseconds(kLongestWait).count()) > 0 && ::read(output, &byte, 1) == 1) {
    if (byte == '\n') return line;
    line += byte;
  }
  return std::nullopt;
}

void ChildProcess::kill() {
  if (pid < 0) return;
  ::kill(pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);
  pid = -1;
}

std::optional<int> ChildProcess::wait() {
  const auto end = std::chrono::steady_clock::now() + kLongestWait;
  while (std::chrono::steady_clock::now() < end) {
    int status = 0;
    if (::waitpid(pid, &status, WNOHANG) == pid) {
      pid = -1;
      return WIFEXITED(status) ? std::optional(WEXITSTATUS(status)) : std::nullopt;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return std::nullopt;
}

std::vector<std::string> presentEnvironment() {
  std::vector<std::string> result;
  for (char** entry = environ; *entry; ++entry) result.emplace_back(*entry);
  return result;
}

}  // namespace quillard::test
