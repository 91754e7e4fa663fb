#pragma once

#include <memory>

namespace quillard::macos {

// Says to the system, while this lives, that the process works for its user although no window of it is to be seen. The
// system would let it nap otherwise: timers of such programs come late, by minutes in the end, and so would prompts.
// The computer itself may sleep all the same. Any thread.
class UninterruptedWork {
 public:
  UninterruptedWork();
  UninterruptedWork(const UninterruptedWork&) = delete;
  UninterruptedWork& operator=(const UninterruptedWork&) = delete;
  ~UninterruptedWork();

 private:
  struct Activity;

  const std::unique_ptr<const Activity> activity;
};

}  // namespace quillard::macos
