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

namespace quillard::xdg {

// The settings in one private file, "settings.json" in the user's configuration folder. Read once, when this object is
// made; written by a queue of its own, several changes at once, and for a last time when this object goes.
//
// A file that is there but cannot be used is put aside under another name; where that fails too, the settings of this
// run stay in memory. Either is said once on the console. The settings hold a copy of the installation's secrets, so
// what was put aside is for this user alone (0600), three times at most, and for a week: what is older goes at the next
// start, and whenever settings are written.
class FileUserDefaults final : public platform::UserDefaults {
 public:
  // `folder` as from `configurationFolder`. `console` and `executors` outlive this object.
  FileUserDefaults(std::string folder, platform::Executors& executors, platform::Console& console);
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
  void write();

  const PrivateFile file;
  platform::Console& console;
  bool isWritable = true;  // Settled in the constructor.

  mutable Mutex mutex;
  StoredSettings settings QUILLARD_GUARDED_BY(mutex);
  bool isWritePending QUILLARD_GUARDED_BY(mutex) = false;
  std::unique_ptr<platform::SerialExecutor> writer;
};

}  // namespace quillard::xdg
