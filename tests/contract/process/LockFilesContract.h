#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/process/LockFiles.h"

namespace quillard::test {

struct AcquiredLock {
  platform::LockOutcome outcome = platform::LockOutcome::unavailable;
  std::shared_ptr<void> lock;  // Destroying it releases the lock. Empty unless acquired.
};

// The temporary folder of one user, and two processes that lock files in it.
class LockFilesBinding {
 public:
  LockFilesBinding() = default;
  LockFilesBinding(const LockFilesBinding&) = delete;
  LockFilesBinding& operator=(const LockFilesBinding&) = delete;
  virtual ~LockFilesBinding() = default;

  virtual AcquiredLock acquire(const std::string& fileName) = 0;
  // The other process acquires a lock and holds it until it is ended.
  virtual platform::LockOutcome acquireInOtherProcess(const std::string& fileName) = 0;
  virtual void endOtherProcess() = 0;
  virtual void makeFolderUnusable() = 0;
};

using MakeLockFiles = std::unique_ptr<LockFilesBinding> (*)();

class LockFilesContract : public testing::TestWithParam<MakeLockFiles> {
 protected:
  const std::unique_ptr<LockFilesBinding> binding = GetParam()();
};

}  // namespace quillard::test
