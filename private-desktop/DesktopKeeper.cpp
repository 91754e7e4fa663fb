// Runs the programs of one private desktop, and outlives the process that owns it: when the owner ends, even by
// SIGKILL, it ends every program and whatever those have started, and then itself.
//
// Descriptor 0: a socket that closes when the owner ends. Each message asks for one program (see ProgramKeeper.cpp).
// Descriptor 3: held until all have gone, so that the janitor of the desktop's folder waits for that.

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "private-desktop/ProgramRequest.h"

namespace {

using quillard::privatedesktop::ProgramRequest;

constexpr int kOwner = 0;
constexpr int kLifeline = 3;
constexpr std::chrono::seconds kGrace{2};  // For servers to remove what they have left outside the folder.

struct Kept {
  int report = -1;
  bool isServer = false;
};
std::map<pid_t, Kept> programs;

void tell(int report, std::int32_t number) {
  // The owner may have closed its end, which is no error.
  while (::write(report, &number, sizeof number) < 0 && errno == EINTR) {
  }
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (auto& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

void start(ProgramRequest& request, const std::array<int, ProgramRequest::kDescriptors>& descriptors) {
  const auto arguments = pointers(request.command);
  const auto environment = pointers(request.environment);
  const pid_t keeper = ::getpid();
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::prctl(PR_SET_PDEATHSIG, request.isServer ? SIGTERM : SIGKILL);
    if (::getppid() != keeper) ::_exit(126);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::dup2(descriptors[1], STDIN_FILENO);
    ::dup2(descriptors[2], STDOUT_FILENO);
    ::dup2(descriptors[3], STDERR_FILENO);
    if (::chdir(request.folder.c_str()) != 0) ::_exit(125);
    ::execvpe(arguments[0], arguments.data(), environment.data());
    ::dprintf(STDERR_FILENO, "%s: %s\n", arguments[0], ::strerror(errno));
    ::_exit(127);
  }
  for (std::size_t i = 1; i < descriptors.size(); ++i) ::close(descriptors[i]);
  tell(descriptors[0], pid);
  if (pid < 0) {
    ::close(descriptors[0]);
    return;
  }
  programs[pid] = {.report = descriptors[0], .isServer = request.isServer};
}

// False at the end of the owner.
bool takeRequest() {
  std::vector<char> bytes(ProgramRequest::kMaximumSize);
  iovec part{bytes.data(), bytes.size()};
  std::array<int, ProgramRequest::kDescriptors> descriptors{};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptors)> control{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t size = ::recvmsg(kOwner, &message, MSG_CMSG_CLOEXEC);
  if (size <= 0) return size < 0 && errno == EINTR;
  const cmsghdr* const header = CMSG_FIRSTHDR(&message);
  if (!header || header->cmsg_len != CMSG_LEN(sizeof descriptors)) return false;
  std::memcpy(descriptors.data(), CMSG_DATA(header), sizeof descriptors);
  auto request = ProgramRequest::parse({bytes.data(), static_cast<std::size_t>(size)});
  if (!request) return false;
  start(*request, descriptors);
  return true;
}

// Takes the statuses of all that have ended, orphans of the programs among them. False when no child is left.
bool reap() {
  while (true) {
    int status = 0;
    const pid_t pid = ::waitpid(-1, &status, WNOHANG);
    if (pid <= 0) return pid == 0;
    const auto known = programs.find(pid);
    if (known == programs.end()) continue;
    tell(known->second.report, status);
    ::close(known->second.report);
    programs.erase(known);
  }
}

std::vector<pid_t> children() {
  std::vector<pid_t> result;
  DIR* const processes = ::opendir("/proc");
  if (!processes) return result;
  while (const dirent* const entry = ::readdir(processes)) {
    const auto pid = static_cast<pid_t>(::strtol(entry->d_name, nullptr, 10));
    if (pid <= 0) continue;
    FILE* const file = ::fopen((std::string("/proc/") + entry->d_name + "/stat").c_str(), "re");
    if (!file) continue;
    std::array<char, 512> line{};
    const char* const text = ::fgets(line.data(), static_cast<int>(line.size()), file);
    ::fclose(file);
    const char* const afterName = text ? ::strrchr(text, ')') : nullptr;
    int parent = 0;
    if (afterName && ::sscanf(afterName, ") %*c %d", &parent) == 1 && parent == ::getpid()) result.push_back(pid);
  }
  ::closedir(processes);
  return result;
}

// Children of those that have gone become ours, and are met in the next round.
void endAll() {
  const auto deadline = std::chrono::steady_clock::now() + kGrace;
  std::set<pid_t> asked;
  while (reap()) {
    const bool isLate = std::chrono::steady_clock::now() > deadline;
    for (const pid_t pid : children()) {
      if (!asked.insert(pid).second && !isLate) continue;
      const auto known = programs.find(pid);
      ::kill(pid, isLate || (known != programs.end() && !known->second.isServer) ? SIGKILL : SIGTERM);
      ::kill(pid, SIGCONT);
    }
    ::poll(nullptr, 0, 2);
  }
}

}  // namespace

int main() {
  ::fcntl(kLifeline, F_SETFD, FD_CLOEXEC);
  ::fcntl(kOwner, F_SETFD, FD_CLOEXEC);
  ::close_range(kLifeline + 1, ~0U, 0);
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  ::signal(SIGPIPE, SIG_IGN);
  sigset_t childEnds;
  ::sigemptyset(&childEnds);
  ::sigaddset(&childEnds, SIGCHLD);
  ::sigprocmask(SIG_BLOCK, &childEnds, nullptr);
  const int ends = ::signalfd(-1, &childEnds, SFD_CLOEXEC | SFD_NONBLOCK);
  std::array<pollfd, 2> ready{pollfd{kOwner, POLLIN, 0}, pollfd{ends, POLLIN, 0}};
  while (true) {
    if (::poll(ready.data(), ready.size(), -1) < 0) continue;
    if (ready[1].revents != 0) {
      signalfd_siginfo information{};
      while (::read(ends, &information, sizeof information) > 0) {
      }
      reap();
    }
    if (ready[0].revents != 0 && !takeRequest()) break;
  }
  endAll();
  return 0;
}
