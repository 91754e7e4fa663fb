#include "platform/linux/storage/FileUserDefaults.h"

#include <utility>

#include "foundation/UserTexts.h"

namespace quillard::xdg {
namespace {

using platform::UserDefaultsValue;

constexpr std::size_t kLargestFile = 4 * 1024 * 1024;

}  // namespace

FileUserDefaults::FileUserDefaults(std::string folder, platform::Executors& executors, platform::Console& console,
                                   Seconds retryDelay, std::chrono::milliseconds lockTimeout)
    : file(std::move(folder), "settings.json", kLargestFile, lockTimeout), console(console), retryDelay(retryDelay) {
  if (const auto problem = load()) putAside(*problem);
  file.removeOldAsides();
  writer = executors.makeSerialQueue("quillard.user-defaults", platform::QualityOfService::utility);
  queue = writer.get();
}

FileUserDefaults::~FileUserDefaults() {
  writer.reset();
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
    auto encoded = encodedSetting(value);
    changes.insert_or_assign(std::string(key), encoded);
    settings.insert_or_assign(std::string(key), std::move(encoded));
  }
  changed();
}

void FileUserDefaults::remove(std::string_view key) {
  {
    const MutexLock lock(mutex);
    const auto found = settings.find(key);
    if (found == settings.end()) return;
    settings.erase(found);
    changes.insert_or_assign(std::string(key), std::nullopt);
  }
  changed();
}

std::optional<std::string> FileUserDefaults::synchronize() {
  std::optional<std::string> problem = catalogued("It could not be read at the start, nor put aside.");
  if (isWritable) {
    problem = write();
    const MutexLock lock(fileMutex);
    readAgain();
  }
  if (!problem) return std::nullopt;
  return UserTexts{}("%1 cannot be written: %2", {file.path(), *problem});
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
  retry.reset();
  {
    const MutexLock lock(mutex);
    isWritePending = false;
  }
  if (write()) retry = queue->postAfter(retryDelay, [this] { writeOrTryLater(); });
}

std::optional<std::string> FileUserDefaults::write() {
  if (!isWritable) return std::nullopt;
  const MutexLock lock(fileMutex);
  {
    const MutexLock innerLock(mutex);
    if (changes.empty()) return std::nullopt;
  }
  const auto others = file.lock();
  if (!others) return "Another process is writing it, or its folder cannot be used.";
  return writeChanges();
}

std::optional<std::string> FileUserDefaults::writeChanges() {
  readAgain();
  std::string text;
  Changes written;
  {
    const MutexLock lock(mutex);
    text = userDefaultsText(settings);
    written = std::exchange(changes, {});
  }
  const auto problem = file.write(text);
  file.removeOldAsides();
  if (!problem) return std::nullopt;
  const MutexLock lock(mutex);
  changes.merge(written);  // What was set meanwhile is newer.
  return problem->text;
}

void FileUserDefaults::readAgain() {
  const auto content = file.read();
  if (std::holds_alternative<FileProblem>(content)) return;
  auto read = readUserDefaults(std::get<Secret>(content).text());
  if (std::holds_alternative<JsonError>(read)) return;
  const MutexLock lock(mutex);
  settings = std::get<StoredSettings>(std::move(read));
  for (const auto& [key, value] : changes) {
    if (value) {
      settings.insert_or_assign(key, *value);
    } else {
      settings.erase(key);
    }
  }
}

}  // namespace quillard::xdg
