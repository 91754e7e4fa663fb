#include "companion/relay/rules/PhonePage.h"

#include <algorithm>
#include <array>

#include "companion/relay/rules/TokenHash.h"
#include "foundation/Text.h"

namespace quillard::relayserver {
namespace {

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

// The last name of a path, in two: "index" and ".html". Without a dot, or with one at its start only, the second part
// is empty.
struct FileName {
  std::string_view stem;
  std::string_view extension;
};
FileName fileName(std::string_view path) {
  const auto slash = path.rfind('/');
  const auto name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  const auto dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return {name, {}};
  return {name.substr(0, dot), name.substr(dot)};
}

std::string typeOf(std::string_view path) {
  const auto extension = fileName(path).extension;
  for (const auto& [known, type] : kTypes) {
    if (extension == known) return std::string(type);
  }
  return "application/octet-stream";
}

// The bundler puts a digest of eight characters or more before the extension: assets/index-B7f3x_Qa.js. What has such a
// name never changes.
bool hasDigestInName(std::string_view path) {
  constexpr std::size_t kShortestDigest = 8;
  const auto stem = fileName(path).stem;
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
  if (!isPlain || found == files.end()) return errorResponse(404, "There is nothing at this address.");
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

}  // namespace quillard::relayserver
