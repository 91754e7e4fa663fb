// lock_holder FILE_NAME: tries to lock it, says what came of it, and keeps the lock until it is killed.

#include <cstdio>

#include <unistd.h>

#include "platform/linux/system/FileLocks.h"
#include "platform/posix/ProcessEnvironment.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  using quillard::platform::LockOutcome;
  const quillard::desktop::ProcessEnvironment environment;
  quillard::desktop::FileLocks locks(environment);
  const auto lock = locks.acquire(argv[1]);
  switch (lock.outcome) {
    case LockOutcome::acquired:
      std::puts("acquired");
      break;
    case LockOutcome::heldElsewhere:
      std::puts("held elsewhere");
      break;
    case LockOutcome::unavailable:
      std::puts("unavailable");
      break;
  }
  std::fflush(stdout);
  while (true) ::pause();
}
