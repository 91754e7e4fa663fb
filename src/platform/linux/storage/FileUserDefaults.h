#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Mutex.h"
#include "platform/linux/storage/PrivateFile.h"
#include "platform/linux/storage/UserDefaultsText.h"
#include "platform/process/Console.h"
#include "platform/process/Executors.h"
#include "platform/storage/UserDefaults.h"
#include "values/Time.h"

namespace quillard::xdg {

// The settings in one private file, "settings.json" in the user's configuration folder. Read when this object is made,
// and again whenever something is written: by a queue of its own, several changes at once, by `synchronize`, and for a
// last time when this object goes. Other processes are kept out from that reading until it is written. A write that
// failed, on a full disk say, is tried again: what was removed must not come back with the next run. A file that was
// taken away or damaged meanwhile is written anew, from memory.
//
// A file that is there but cannot be used is put aside under another name; where that fails too, the settings of this
// run stay in memory. Either is said once on the console. The settings hold a copy of the installation's secrets, so
// what was put aside is for this user alone (0600), three times at most, and for a week: what is older goes at the next
// start, and whenever settings are written.
class FileUserDefaults final : public platform::UserDefaults {
 public:
  static constexpr Seconds kRetryDelay{60};

  // `folder` as from `configurationFolder`. `console` and `executors` outlive this object. `retryDelay`: after a write
  // that failed. `lockTimeout`: how long another process that writes is waited for.
  FileUserDefaults(std::string folder, platform::Executors& executors, platform::Console& console,
                   Seconds retryDelay = kRetryDelay, std::chrono::milliseconds lockTimeout = PrivateFile::kLockTimeout);
  FileUserDefaults(const FileUserDefaults&) = delete;
  FileUserDefaults& operator=(const FileUserDefaults&) = delete;
  ~FileUserDefaults() override;

  [[nodiscard]] std::optional<platform::UserDefaultsValue> object(std::string_view key) const override;
  void set(std::string_view key, platform::UserDefaultsValue value) override;
  void remove(std::string_view key) override;
  [[nodiscard]] std::optional<std::string> synchronize() override;

 private:
  // Not on the disk yet. Absent: removed.
  using Changes = std::map<std::string, std::optional<Json>, std::less<>>;

  // What is wrong with the file. Absent when it was read, or there is none.
  std::optional<std::string> load();
  void putAside(const std::string& reason);
  void changed();
  void writeOrTryLater();
  // Absent on success; else why it failed.
  std::optional<std::string> write();
  // `write`, of files that nobody else changes now.
  [[nodiscard]] std::optional<std::string> writeChanges() QUILLARD_REQUIRES(fileMutex);
  // What is in the file now, with the changes.
  void readAgain() QUILLARD_REQUIRES(fileMutex);

  const PrivateFile file;
  platform::Console& console;
  bool isWritable = true;  // Settled in the constructor.

  Mutex fileMutex;  // Before the other one.
  mutable Mutex mutex;
  StoredSettings settings QUILLARD_GUARDED_BY(mutex);
  Changes changes QUILLARD_GUARDED_BY(mutex);
  bool isWritePending QUILLARD_GUARDED_BY(mutex) = false;
  const Seconds retryDelay;
  platform::TaskHandle retry;  // The writer's alone, until that has gone. Present after a write that failed.
  std::unique_ptr<platform::SerialExecutor> writer;
  platform::SerialExecutor* queue = nullptr;  // The writer, which asks itself for retries while it goes.
};

}  // namespace quillard::xdg
