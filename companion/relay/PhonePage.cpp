#include "companion/relay/PhonePage.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

#include "companion/relay/TokenHash.h"
#include "foundation/Text.h"

namespace quillard::relayserver {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostFiles = 2'000;
constexpr std::size_t kMostBytes = std::size_t{64} * 1024 * 1024;

constexpr std::array<std::pair<std::string_view, std::string_view>, 17> kTypes{{
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".mjs", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".json", "application/json"},
    {".webmanifest", "application/manifest+json"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".jpg", "image/jpeg"},
    {".webp", "image/webp"},
    {".ico", "image/x-icon"},
    {".woff2", "font/woff2"},
    {".mp3", "audio/mpeg"},
    {".wav", "audio/wav"},
    {".txt", "text/plain; charset=utf-8"},
    {".map", "application/json"},
    {".wasm", "application/wasm"},
}};

std::string typeOf(const std::string& path) {
  const std::string extension = fs::path(path).extension().string();
  for (const auto& [known, type] : kTypes) {
    if (extension == known) return std::string(type);
  }
  return "application/octet-stream";
}

// The bundler puts a digest of eight characters or more before the extension: assets/index-B7f3x_Qa.js. What has such a
// name never changes.
bool hasDigestInName(const std::string& path) {
  constexpr std::size_t kShortestDigest = 8;
  const std::string stem = fs::path(path).stem().string();
  const bool isAsset = path.starts_with("assets/");
  return isAsset && stem.size() > kShortestDigest && stem[stem.size() - kShortestDigest - 1] == '-';
}

std::string tagOf(const std::string& content) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto hash = hashOf(content);
  std::string tag = "\"";
  for (std::size_t i = 0; i < 16; ++i) {
    tag += kDigits[hash[i] >> 4U];
    tag += kDigits[hash[i] & 0xFU];
  }
  return tag + '"';
}

bool isKnownTag(std::string_view ifNoneMatch, const std::string& tag) {
  return ifNoneMatch == "*" || ifNoneMatch.find(tag) != std::string_view::npos;
}

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

bool isHidden(const fs::path& path) { return path.filename().string().starts_with('.'); }

}  // namespace

void PhonePage::add(const std::string& path, std::string content) {
  File file{.type = typeOf(path), .tag = tagOf(content)};
  file.content = std::make_shared<const std::string>(std::move(content));
  file.caching = hasDigestInName(path) ? "public, max-age=31536000, immutable" : "no-cache";
  files.insert_or_assign(path, std::move(file));
}

HttpResponse PhonePage::answer(const std::vector<std::string>& segments, std::string_view ifNoneMatch) const {
  const bool isRoot = segments.empty() || (segments.size() == 1 && segments.front().empty());
  // An escaped "/" within a segment is no separator.
  const bool isPlain = std::none_of(segments.begin(), segments.end(),
                                    [](const std::string& segment) { return segment.find('/') != std::string::npos; });
  const auto found = files.find(isRoot ? "index.html" : text::joined(segments, "/"));
  if (!isPlain || found == files.end()) return errorAnswer(404, "There is nothing at this address.");
  const File& file = found->second;
  HttpResponse answer{.headers = {{"cache-control", file.caching}, {"etag", file.tag}}};
  if (isKnownTag(ifNoneMatch, file.tag)) {
    answer.status = 304;
    return answer;
  }
  answer.headers.emplace_back("content-type", file.type);
  answer.body = file.content;
  return answer;
}

std::optional<PhonePage> readPhonePage(const std::string& folder, std::string& why) {
  PhonePage page;
  std::size_t bytes = 0;
  std::error_code error;
  auto entry = fs::recursive_directory_iterator(folder, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    const bool isLeftOut = isHidden(entry->path()) || entry->is_symlink(error);
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
