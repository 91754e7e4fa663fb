#pragma once

#include <string_view>
#include <utility>

#include <unistd.h>

namespace quillard::posix {

// A descriptor that is closed with its scope. Negative: none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (number >= 0) ::close(number);
  }
  [[nodiscard]] int get() const { return number; }
  [[nodiscard]] bool isOpen() const { return number >= 0; }

 private:
  int number;
};

// Writes all of it, whatever interrupts that, and leaves it to the caller to have it reach the disk. False: a part of
// it may be written, and `errno` says why not all of it.
[[nodiscard]] bool writeAll(int descriptor, std::string_view bytes);

}  // namespace quillard::posix
