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

constexpr std::string_view kBrotliEnding = ".br";
constexpr std::string_view kGzipEnding = ".gz";

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

std::string_view withoutBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// The part before `separator`, without blanks around it; `rest` becomes what is behind.
std::string_view cutAt(std::string_view& rest, char separator) {
  const auto at = std::min(rest.find(separator), rest.size());
  const auto part = rest.substr(0, at);
  rest.remove_prefix(std::min(at + 1, rest.size()));
  return withoutBlanks(part);
}

// Whether this is "q=0", however it is written.
bool isOfNoWeight(std::string_view parameters) {
  return !parameters.empty() && withoutBlanks(parameters).find_first_not_of("qQ=0. \t") == std::string_view::npos;
}

// Whether a header as "gzip, br;q=0.8, *;q=0" allows the coding. A weight of zero forbids it; other weights are not
// compared, since the smallest form is best for every client.
bool accepts(std::string_view header, std::string_view coding) {
  bool isAllowed = false;
  while (!header.empty()) {
    std::string_view item = cutAt(header, ',');
    const auto name = cutAt(item, ';');
    const bool isForbidden = isOfNoWeight(item);
    if (name == coding) return !isForbidden;
    if (name == "*") isAllowed = !isForbidden;
  }
  return isAllowed;
}

std::string languageIndex(std::string_view language) { return "index." + std::string(language) + ".html"; }

bool isLanguageIndex(std::string_view name) {
  constexpr std::string_view kLike = "index.en.html";
  return name.size() == kLike.size() && name.starts_with("index.") && name.ends_with(".html");
}

bool isKnownTag(std::string_view ifNoneMatch, const std::string& tag) {
  return ifNoneMatch == "*" || ifNoneMatch.find(tag) != std::string_view::npos;
}

}  // namespace

void PhonePage::add(const std::string& path, std::string content) {
  const bool isBrotli = path.ends_with(kBrotliEnding);
  const bool isGzip = path.ends_with(kGzipEnding);
  const std::string name = path.substr(0, path.size() - (isBrotli || isGzip ? kBrotliEnding.size() : 0));
  hasLanguages = hasLanguages || isLanguageIndex(name);
  File& file = files[name];
  file.type = typeOf(name);
  file.caching = hasDigestInName(name) ? "public, max-age=31536000, immutable" : "no-cache";
  Form& form = isBrotli ? file.brotli : isGzip ? file.gzip : file.plain;
  form.tag = tagOf(content);
  form.content = std::make_shared<const std::string>(std::move(content));
}

// Browsers put the language that they want most first, whatever its weight says.
std::string PhonePage::indexFor(std::string_view acceptLanguage) const {
  constexpr std::size_t kCode = 2;  // Of "de-AT", what names the language.
  while (!acceptLanguage.empty()) {
    std::string_view item = cutAt(acceptLanguage, ',');
    const auto name = cutAt(item, ';');
    const bool isLanguage = name.size() == kCode || (name.size() > kCode && name[kCode] == '-');
    if (!isLanguage || isOfNoWeight(item)) continue;
    const auto file = files.find(languageIndex(text::lowercased(name.substr(0, kCode))));
    if (file != files.end() && file->second.plain.content) return file->first;
  }
  return "index.html";
}

HttpResponse PhonePage::answer(const std::vector<std::string>& segments, std::string_view ifNoneMatch,
                               const Accepted& accepted) const {
  const bool isRoot = segments.empty() || (segments.size() == 1 && segments.front().empty());
  // An escaped "/" within a segment is no separator.
  const bool isPlain = std::none_of(segments.begin(), segments.end(),
                                    [](const std::string& segment) { return segment.find('/') != std::string::npos; });
  const auto found = files.find(isRoot ? indexFor(accepted.language) : text::joined(segments, "/"));
  if (!isPlain || found == files.end() || !found->second.plain.content) {
    return errorResponse(404, "There is nothing at this address.");
  }
  const File& file = found->second;
  const bool isBrotli = file.brotli.content && accepts(accepted.encoding, "br");
  const bool isGzip = !isBrotli && file.gzip.content && accepts(accepted.encoding, "gzip");
  const Form& form = isBrotli ? file.brotli : isGzip ? file.gzip : file.plain;
  HttpResponse answer{.headers = {{"cache-control", file.caching}, {"etag", form.tag}}};
  if (file.brotli.content || file.gzip.content) answer.headers.emplace_back("vary", "accept-encoding");
  if (isRoot && hasLanguages) answer.headers.emplace_back("vary", "accept-language");
  if (isKnownTag(ifNoneMatch, form.tag)) {
    answer.status = 304;
    return answer;
  }
  answer.headers.emplace_back("content-type", file.type);
  if (isBrotli || isGzip) answer.headers.emplace_back("content-encoding", isBrotli ? "br" : "gzip");
  answer.body = form.content;
  return answer;
}

}  // namespace quillard::relayserver
