#include "private-desktop/DesktopProgram.h"

#include <cstdint>
#include <stdexcept>
#include <utility>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "private-desktop/FileContents.h"

namespace quillard::privatedesktop {
namespace {

std::optional<std::int32_t> readNumber(int descriptor, std::chrono::milliseconds timeout) {
  pollfd ready{descriptor, POLLIN, 0};
  std::int32_t number = 0;
  if (::poll(&ready, 1, static_cast<int>(timeout.count())) <= 0) return std::nullopt;
  if (::read(descriptor, &number, sizeof number) != sizeof number) return std::nullopt;
  return number;
}

// The letter that the kernel has for what the process does; a blank when it has gone.
char stateOf(pid_t pid) {
  const std::string line = fileContents("/proc/" + std::to_string(pid) + "/stat");
  const auto afterName = line.rfind(") ");
  return afterName == std::string::npos ? ' ' : line.at(afterName + 2);
}

}  // namespace

DesktopProgram::DesktopProgram(int report, std::string outputFile, std::string errorFile)
    : report(report), outputFile(std::move(outputFile)), errorFile(std::move(errorFile)) {
  const auto number = readNumber(report, kTimeout);
  if (!number || *number <= 0) {
    close();
    throw std::runtime_error("The keeper of the desktop did not start the program");
  }
  id = *number;
}

DesktopProgram::DesktopProgram(DesktopProgram&& other) noexcept
    : report(std::exchange(other.report, -1)),
      id(std::exchange(other.id, -1)),
      status(std::exchange(other.status, std::nullopt)),
      outputFile(std::move(other.outputFile)),
      errorFile(std::move(other.errorFile)) {}

DesktopProgram& DesktopProgram::operator=(DesktopProgram&& other) noexcept {
  if (this == &other) return *this;
  kill();
  close();
  report = std::exchange(other.report, -1);
  id = std::exchange(other.id, -1);
  status = std::exchange(other.status, std::nullopt);
  outputFile = std::move(other.outputFile);
  errorFile = std::move(other.errorFile);
  return *this;
}

DesktopProgram::~DesktopProgram() {
  kill();
  close();
}

void DesktopProgram::close() {
  if (report >= 0) ::close(report);
  report = -1;
}

bool DesktopProgram::isRunning() { return !wait(std::chrono::milliseconds(0)); }

std::optional<int> DesktopProgram::wait(std::chrono::milliseconds timeout) {
  if (!status && report >= 0) status = readNumber(report, timeout);
  if (!status) return std::nullopt;
  return WIFEXITED(*status) ? WEXITSTATUS(*status) : 128 + WTERMSIG(*status);
}

std::string DesktopProgram::output() const { return fileContents(outputFile); }

std::string DesktopProgram::errors() const { return fileContents(errorFile); }

bool DesktopProgram::waitForOutput(std::string_view text, std::chrono::milliseconds timeout) {
  bool isThere = false;
  const bool isSettled = waitFor(
      [&] {
        const bool isOver = !isRunning();  // Asked first: what was written before the end is then there.
        isThere = output().find(text) != std::string::npos;
        return isThere || isOver;
      },
      timeout);
  return isSettled && isThere;
}

void DesktopProgram::send(int signal) {
  if (id > 0 && isRunning()) ::kill(id, signal);
}

void DesktopProgram::kill() {
  if (id <= 0 || report < 0) return;
  send(SIGKILL);
  static_cast<void>(wait());
}

void DesktopProgram::end() { send(SIGTERM); }

void DesktopProgram::stop() {
  send(SIGSTOP);
  if (!waitFor([this] { return stateOf(id) == 'T' || !isRunning(); })) throw std::runtime_error("It goes on running");
}

void DesktopProgram::resume() { send(SIGCONT); }

}  // namespace quillard::privatedesktop
