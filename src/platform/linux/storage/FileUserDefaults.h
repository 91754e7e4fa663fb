#pragma once

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

// The settings in one private file, "settings.json" in the user's configuration folder. Read once, when this object is
// made; written by a queue of its own, several changes at once, and for a last time when this object goes. A write that
// failed, on a full disk say, is tried again: what was removed must not come back with the next run.
//
// A file that is there but cannot be used is put aside under another name; where that fails too, the settings of this
// run stay in memory. Either is said once on the console. The settings hold a copy of the installation's secrets, so
// what was put aside is for this user alone (0600), three times at most, and for a week: what is older goes at the next
// start, and whenever settings are written.
class FileUserDefaults final : public platform::UserDefaults {
 public:
  static constexpr Seconds kRetryDelay{60};

  // `folder` as from `configurationFolder`. `console` and `executors` outlive this object. `retryDelay`: after a write
  // that failed.
  FileUserDefaults(std::string folder, platform::Executors& executors, platform::Console& console,
                   Seconds retryDelay = kRetryDelay);
  FileUserDefaults(const FileUserDefaults&) = delete;
  FileUserDefaults& operator=(const FileUserDefaults&) = delete;
  ~FileUserDefaults() override;

  [[nodiscard]] std::optional<platform::UserDefaultsValue> object(std::string_view key) const override;
  void set(std::string_view key, platform::UserDefaultsValue value) override;
  void remove(std::string_view key) override;

 private:
  // What is wrong with the file. Absent when it was read, or there is none.
  std::optional<std::string> load();
  void putAside(const std::string& reason);
  void changed();
  void writeOrTryLater();
  // What a write that failed was to write is to be written by the next one.
  void oweWhatFailed();
  // False: it failed.
  bool write();

  const PrivateFile file;
  platform::Console& console;
  bool isWritable = true;  // Settled in the constructor.

  mutable Mutex mutex;
  StoredSettings settings QUILLARD_GUARDED_BY(mutex);
  bool isWritePending QUILLARD_GUARDED_BY(mutex) = false;
  const Seconds retryDelay;
  platform::TaskHandle retry;  // The writer's alone, until that has gone. Present after a write that failed.
  std::unique_ptr<platform::SerialExecutor> writer;
  platform::SerialExecutor* queue = nullptr;  // The writer, which asks itself for retries while it goes.
};

}  // namespace quillard::xdg
