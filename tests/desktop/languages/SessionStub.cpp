#include <cstring>

#include <sys/types.h>

// Preloaded into a policy agent where no one keeps sessions: it belongs to session "c1" of the superuser.
extern "C" {

int sd_pid_get_session(pid_t, char** session) {
  *session = ::strdup("c1");
  return 0;
}

int sd_uid_get_display(uid_t, char** session) {
  *session = ::strdup("c1");
  return 0;
}

int sd_pid_get_owner_uid(pid_t, uid_t* user) {
  *user = 0;
  return 0;
}

int sd_session_get_uid(const char*, uid_t* user) {
  *user = 0;
  return 0;
}

int sd_session_is_active(const char*) { return 1; }
}
