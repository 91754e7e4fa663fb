#include "companion/relay/server/PhonePageFiles.h"

#include <filesystem>
#include <fstream>

namespace quillard::relayserver {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostFiles = 2'000;
constexpr std::size_t kMostBytes = std::size_t{64} * 1024 * 1024;

std::optional<std::string> contentOf(const fs::path& file) {
  std::error_code error;
  const auto size = fs::file_size(file, error);
  if (error) return std::nullopt;
  std::ifstream stream(file, std::ios::binary);
  std::string content(size, '\0');
  stream.read(content.data(), static_cast<std::streamsize>(size));
  if (!stream) return std::nullopt;
  return content;
}

// A compressed form that is older than its file, which was changed since.
bool isStale(const fs::path& path) {
  const auto ending = path.extension().string();
  if (ending != ".br" && ending != ".gz") return false;
  std::error_code error;
  const auto ofFile = fs::last_write_time(path.parent_path() / path.stem(), error);
  return !error && fs::last_write_time(path, error) < ofFile;
}

bool isHidden(const fs::path& path) { return path.filename().string().starts_with('.'); }

}  // namespace

std::optional<PhonePage> readPhonePage(const std::string& folder, std::string& why) {
  PhonePage page;
  std::size_t bytes = 0;
  std::error_code error;
  auto entry = fs::recursive_directory_iterator(folder, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    const bool isLeftOut = isHidden(entry->path()) || entry->is_symlink(error) || isStale(entry->path());
    if (isLeftOut) entry.disable_recursion_pending();
    if (isLeftOut || !entry->is_regular_file(error)) continue;
    bytes += entry->file_size(error);
    if (bytes > kMostBytes || page.fileCount() == kMostFiles) {
      why = "there are more files than a page has";
      return std::nullopt;
    }
    auto content = contentOf(entry->path());
    if (!content) {
      why = entry->path().string() + " cannot be read";
      return std::nullopt;
    }
    page.add(entry->path().lexically_relative(folder).generic_string(), std::move(*content));
  }
  if (error) {
    why = error.message();
    return std::nullopt;
  }
  if (page.answer({}, "").status != 200) {
    why = "there is no index.html";
    return std::nullopt;
  }
  return page;
}

}  // namespace quillard::relayserver
