#include "private-desktop/ProgramKeeper.h"

#include <array>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillard::privatedesktop {
namespace {

// Closed when it goes out of scope.
class Descriptor {
 public:
  explicit Descriptor(int number) : number(number) {
    if (number < 0) throw std::runtime_error(std::string("A descriptor for a program: ") + ::strerror(errno));
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { ::close(number); }
  const int number;
};

int openForWriting(const std::string& path) {
  return ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
}

void sendWithDescriptors(int socket, const std::string& bytes,
                         const std::array<int, ProgramRequest::kDescriptors>& descriptors) {
  iovec part{const_cast<char*>(bytes.data()), bytes.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptors)> control{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  cmsghdr* const header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof descriptors);
  std::memcpy(CMSG_DATA(header), descriptors.data(), sizeof descriptors);
  if (bytes.size() > ProgramRequest::kMaximumSize || ::sendmsg(socket, &message, MSG_NOSIGNAL) < 0) {
    throw std::runtime_error(std::string("The keeper of the desktop takes no request: ") + ::strerror(errno));
  }
}

}  // namespace

ProgramKeeper::ProgramKeeper(int lifeline, std::string name) {
  std::array<int, 2> ends{-1, -1};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) throw std::runtime_error("socketpair");
  socket = ends[0];
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, ends[1], 0);
  ::posix_spawn_file_actions_adddup2(&actions, lifeline, 3);
  ::posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);  // A signal to the owner's group is not for it.
  std::string path = QUILLARD_DESKTOP_KEEPER;
  std::array<char*, 3> arguments{path.data(), name.data(), nullptr};
  const int error = ::posix_spawn(&keeper, path.c_str(), &actions, &attributes, arguments.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  if (error != 0) throw std::runtime_error("The keeper of the desktop does not start");
}

ProgramKeeper::~ProgramKeeper() {
  ::close(socket);
  while (::waitpid(keeper, nullptr, 0) < 0 && errno == EINTR) {
  }
}

DesktopProgram ProgramKeeper::start(const ProgramRequest& request, const std::string& files, const std::string& input) {
  std::ofstream(files + ".in", std::ios::binary) << input;
  const Descriptor in(::open((files + ".in").c_str(), O_RDONLY | O_CLOEXEC));
  const Descriptor out(openForWriting(files + ".out"));
  const Descriptor err(openForWriting(files + ".err"));
  std::array<int, 2> report{-1, -1};
  if (::pipe2(report.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  {
    const Descriptor writing(report[1]);
    sendWithDescriptors(socket, request.bytes(), {writing.number, in.number, out.number, err.number});
  }
  return {report[0], files + ".out", files + ".err"};
}

}  // namespace quillard::privatedesktop
