#pragma once

#include <cstdint>

namespace quillard::desktop {

// A process itself, not only its number: while this is open, the number means no other process. Empty when there was no
// such process, or the kernel cannot give one. One thread at a time.
class ProcessHandle {
 public:
  explicit ProcessHandle(std::int32_t processIdentifier);
  ProcessHandle(const ProcessHandle&) = delete;
  ProcessHandle& operator=(const ProcessHandle&) = delete;
  ~ProcessHandle();

  // Asks it to end, politely (SIGTERM). False: it could not be asked.
  bool terminate() const;

 private:
  int descriptor;  // Negative: none.
};

}  // namespace quillard::desktop
