#include "platform/linux/storage/FileUserDefaults.h"

#include <utility>

namespace quillard::xdg {
namespace {

using platform::UserDefaultsValue;

constexpr std::size_t kLargestFile = 4 * 1024 * 1024;

}  // namespace

FileUserDefaults::FileUserDefaults(std::string folder, platform::Executors& executors, platform::Console& console,
                                   Seconds retryDelay)
    : file(std::move(folder), "settings.json", kLargestFile), console(console), retryDelay(retryDelay) {
  if (const auto problem = load()) putAside(*problem);
  file.removeOldAsides();
  writer = executors.makeSerialQueue("quillard.user-defaults", platform::QualityOfService::utility);
  queue = writer.get();
}

FileUserDefaults::~FileUserDefaults() {
  writer.reset();
  oweWhatFailed();
  (void)write();
}

std::optional<std::string> FileUserDefaults::load() {
  const auto content = file.read();
  if (const auto* problem = std::get_if<FileProblem>(&content)) {
    if (problem->kind == FileProblem::Kind::absent) return std::nullopt;
    return problem->text;
  }
  auto read = readUserDefaults(std::get<Secret>(content).text());
  if (const auto* error = std::get_if<JsonError>(&read)) return error->message;
  const MutexLock lock(mutex);
  settings = std::get<StoredSettings>(std::move(read));
  return std::nullopt;
}

void FileUserDefaults::putAside(const std::string& reason) {
  const auto aside = file.putAside();
  isWritable = aside.has_value();
  console.writeLine("Unable to read the settings: " + reason +
                    (aside ? " They are kept as " + *aside + "." : " Settings of this run are not kept."));
}

std::optional<UserDefaultsValue> FileUserDefaults::object(std::string_view key) const {
  const MutexLock lock(mutex);
  const auto found = settings.find(key);
  if (found == settings.end()) return std::nullopt;
  return decodedSetting(found->second);
}

void FileUserDefaults::set(std::string_view key, UserDefaultsValue value) {
  {
    const MutexLock lock(mutex);
    settings.insert_or_assign(std::string(key), encodedSetting(value));
  }
  changed();
}

void FileUserDefaults::remove(std::string_view key) {
  {
    const MutexLock lock(mutex);
    const auto found = settings.find(key);
    if (found == settings.end()) return;
    settings.erase(found);
  }
  changed();
}

void FileUserDefaults::changed() {
  {
    const MutexLock lock(mutex);
    if (std::exchange(isWritePending, true)) return;
  }
  writer->post([this] { writeOrTryLater(); });
}

// Failing to reach the disk is not reported.
void FileUserDefaults::writeOrTryLater() {
  oweWhatFailed();
  if (!write()) retry = queue->postAfter(retryDelay, [this] { writeOrTryLater(); });
}

void FileUserDefaults::oweWhatFailed() {
  if (!retry) return;
  retry.reset();
  const MutexLock lock(mutex);
  isWritePending = true;
}

bool FileUserDefaults::write() {
  std::string text;
  {
    const MutexLock lock(mutex);
    if (!std::exchange(isWritePending, false)) return true;
    text = userDefaultsText(settings);
  }
  if (!isWritable) return true;
  const bool isWritten = !file.write(text);
  file.removeOldAsides();
  return isWritten;
}

}  // namespace quillard::xdg
