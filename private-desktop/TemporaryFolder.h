#pragma once

#include <string>

#include <sys/types.h>

namespace quillard::privatedesktop {

// A folder of this user alone, removed with this object, and also when this process is killed.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  [[nodiscard]] const std::string& path() const { return folder; }
  // The folder stays for as long as any process holds a copy of this descriptor: for one that outlives a killed owner,
  // to put things in order. It is not inherited by itself.
  [[nodiscard]] int lifelineDescriptor() const { return lifeline; }

 private:
  std::string folder;
  int lifeline = -1;  // Its end tells the janitor, a process of its own, that the folder is no longer needed.
  pid_t janitor = -1;
};

}  // namespace quillard::privatedesktop
