#pragma once

#include <mutex>

// Clang's thread-safety annotations: a field says which mutex guards it, and the compiler checks every use.
#if defined(__clang__)
#define QUILLARD_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define QUILLARD_THREAD_ANNOTATION(attribute)
#endif
#define QUILLARD_GUARDED_BY(mutex) QUILLARD_THREAD_ANNOTATION(guarded_by(mutex))
#define QUILLARD_REQUIRES(mutex) QUILLARD_THREAD_ANNOTATION(requires_capability(mutex))

namespace quillard {

// std::mutex with a name that the annotations can use.
class QUILLARD_THREAD_ANNOTATION(capability("mutex")) Mutex {
 public:
  void lock() QUILLARD_THREAD_ANNOTATION(acquire_capability()) { mutex.lock(); }
  void unlock() QUILLARD_THREAD_ANNOTATION(release_capability()) { mutex.unlock(); }

 private:
  std::mutex mutex;
};

class QUILLARD_THREAD_ANNOTATION(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) QUILLARD_THREAD_ANNOTATION(acquire_capability(mutex)) : mutex(mutex) {
    mutex.lock();
  }
  ~MutexLock() QUILLARD_THREAD_ANNOTATION(release_capability()) { mutex.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex;
};

}  // namespace quillard
