#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillard {

// A URL taken apart. Strict, since what one reader takes for the host another may take for a user name: ASCII only, no
// white space, no backslash, no broken percent sequence; hosts are names, IPv4 or IPv6 addresses without percent
// sequences; a port is a number up to 65535. Letter case is kept everywhere.
struct UrlComponents {
  std::optional<std::string> scheme;    // Absent in "host/path" and "//host".
  std::optional<std::string> userInfo;  // May be a secret: never printed.
  std::optional<std::string> host;      // Never empty. An IPv6 address stands here without its brackets.
  std::optional<std::uint16_t> port;
  std::string path;
  std::optional<std::string> query;  // May be a secret: never printed.
  std::optional<std::string> fragment;

  // Absent when `text` is no URL in the strict sense above.
  [[nodiscard]] static std::optional<UrlComponents> parse(std::string_view text);

  // The scheme in lower case; empty when there is none.
  [[nodiscard]] std::string lowercasedScheme() const;

  // Adds to the end of the query. `name` and `value` are any text; they are percent-encoded.
  void appendQueryItem(std::string_view name, std::string_view value);

  // Takes the first item of this name out of the query, and returns its value as it stands there. Absent: there is
  // none.
  std::optional<std::string> removeQueryItem(std::string_view name);

  [[nodiscard]] std::string text() const;
  // Without user, query and fragment: for people to read.
  [[nodiscard]] std::string printableText() const;

  bool operator==(const UrlComponents&) const = default;
};

// Everything but ASCII letters, digits, "-", ".", "_" and "~" as "%XX": stands for itself wherever it enters a URL.
[[nodiscard]] std::string percentEncoded(std::string_view text);

// Whether `host` names this very computer, so that nothing said to it travels over a network. Compared exactly:
// "localhost", "127.0.0.1" or "::1", in no other letter case and no other spelling.
[[nodiscard]] bool isThisComputer(std::string_view host);

}  // namespace quillard
