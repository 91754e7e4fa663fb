#include "platform/macos/process/MacLockFiles.h"

#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/LockedFile.h"

namespace quillard::macos {
namespace {

platform::LockResult lockIn(const std::string& folder, std::string_view fileName) {
  const int opened = folder.empty() ? -1 : ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0) return {platform::LockOutcome::unavailable, nullptr};
  auto result = desktop::lockFileIn(opened, fileName);
  ::close(opened);
  return result;
}

// A file that is locked and still there.
class KeptLock final : public platform::FileLock {
 public:
  KeptLock(std::unique_ptr<platform::FileLock> lock, std::string folder, std::string fileName,
           platform::SerialExecutor& mainThread)
      : lock(std::move(lock)),
        folder(std::move(folder)),
        fileName(std::move(fileName)),
        keeping(mainThread.repeatEvery(MacLockFiles::kTouchInterval, [this] { keep(); })) {}

 private:
  void keep() {
    const int file = static_cast<const desktop::LockedFile&>(*lock).descriptor();
    struct stat status {};
    if (::fstat(file, &status) == 0 && status.st_nlink > 0) {
      static_cast<void>(::futimens(file, nullptr));
    } else if (auto anew = lockIn(folder, fileName); anew.lock) {
      lock = std::move(anew.lock);
    }
  }

  std::unique_ptr<platform::FileLock> lock;
  const std::string folder;
  const std::string fileName;
  const platform::TaskHandle keeping;
};

}  // namespace

platform::LockResult MacLockFiles::acquire(std::string_view fileName) {
  auto result = lockIn(folder, fileName);
  if (result.lock) {
    result.lock = std::make_unique<KeptLock>(std::move(result.lock), folder, std::string(fileName), mainThread);
  }
  return result;
}

}  // namespace quillard::macos
