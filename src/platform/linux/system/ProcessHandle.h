#pragma once

#include <chrono>
#include <cstdint>

namespace quillard::desktop {

// A process itself, not only its number: while this is open, the number means no other process. Empty when there was no
// such process, or the kernel cannot give one. One thread at a time.
class ProcessHandle {
 public:
  explicit ProcessHandle(std::int32_t processIdentifier);
  ProcessHandle(ProcessHandle&& other) noexcept;
  ProcessHandle(const ProcessHandle&) = delete;
  ProcessHandle& operator=(const ProcessHandle&) = delete;
  ~ProcessHandle();

  // Asks it to end, politely (SIGTERM). False: it could not be asked.
  bool terminate() const;
  // Waits until it has ended, until `end` at the longest. True for one that is not held: it has ended, as far as can be
  // known.
  [[nodiscard]] bool awaitEnd(std::chrono::steady_clock::time_point end) const;

 private:
  int descriptor;  // Negative: none.
};

}  // namespace quillard::desktop
