// What libproc tells, from this system's folder of processes.

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include <libproc.h>
#include <sys/stat.h>

namespace {

std::string processFile(int process, const char* name) { return "/proc/" + std::to_string(process) + "/" + name; }

bool readLink(const std::string& path, char* buffer, std::size_t size) {
  const auto length = ::readlink(path.c_str(), buffer, size - 1);
  if (length <= 0) return false;
  buffer[length] = '\0';
  return true;
}

int fill(proc_bsdinfo& information, int process) {
  struct stat status {};
  std::ifstream file(processFile(process, "status"));
  if (!file || ::stat(processFile(process, "").c_str(), &status) != 0) return 0;
  information.pbi_pid = static_cast<std::uint32_t>(process);
  information.pbi_uid = status.st_uid;
  for (std::string line; std::getline(file, line);) {
    unsigned parent = 0;
    if (std::sscanf(line.c_str(), "PPid: %u", &parent) == 1) information.pbi_ppid = parent;
  }
  return sizeof(information);
}

}  // namespace

int getpeereid(int socket, uid_t* user, gid_t* group) {
  ucred credentials{};
  socklen_t length = sizeof(credentials);
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) return -1;
  *user = credentials.uid;
  *group = credentials.gid;
  return 0;
}

int proc_pidpath(int process, void* buffer, std::uint32_t size) {
  auto* const text = static_cast<char*>(buffer);
  return readLink(processFile(process, "exe"), text, size) ? static_cast<int>(std::strlen(text)) : 0;
}

int proc_pidinfo(int process, int flavor, std::uint64_t /*argument*/, void* buffer, int size) {
  std::memset(buffer, 0, static_cast<std::size_t>(size));
  if (flavor == PROC_PIDTBSDINFO && size == sizeof(proc_bsdinfo)) {
    return fill(*static_cast<proc_bsdinfo*>(buffer), process);
  }
  if (flavor == PROC_PIDVNODEPATHINFO && size == sizeof(proc_vnodepathinfo)) {
    auto& paths = *static_cast<proc_vnodepathinfo*>(buffer);
    return readLink(processFile(process, "cwd"), paths.pvi_cdir.vip_path, sizeof(paths.pvi_cdir.vip_path)) ? size : 0;
  }
  return 0;
}
