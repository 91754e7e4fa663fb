#pragma once

// What the system tells of processes, and of the process behind a socket; written from the manual pages proc_info and
// unix(4), getpeereid(3) and the headers' own comments. The system declares getpeereid in unistd.h and the options of
// local sockets in sys/un.h; those have the values here of the system that the tests run on.

#include <cstdint>

#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#define SOL_LOCAL SOL_SOCKET
#define LOCAL_PEERPID SO_PEERCRED

#define PROC_PIDTBSDINFO 3
#define PROC_PIDVNODEPATHINFO 9
#define PROC_PIDPATHINFO_MAXSIZE (4 * 1024)

struct proc_bsdinfo {
  std::uint32_t pbi_pid;
  std::uint32_t pbi_ppid;
  uid_t pbi_uid;
};

struct vnode_info_path {
  char vip_path[1024];
};

struct proc_vnodepathinfo {
  vnode_info_path pvi_cdir;
  vnode_info_path pvi_rdir;
};

extern "C" {

int getpeereid(int socket, uid_t* user, gid_t* group);
// Bytes written, or zero or less.
int proc_pidpath(int process, void* buffer, std::uint32_t size);
int proc_pidinfo(int process, int flavor, std::uint64_t argument, void* buffer, int size);

}  // extern "C"
