#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillard::relayserver {

struct QueryItem {
  std::string name;
  std::string value;
  bool operator==(const QueryItem&) const = default;
};

// What a request asks for, with its percent escapes undone: "/a%20b/c?d=e+f" is the segments "a b" and "c", and the
// item d with the value "e f".
struct RequestTarget {
  std::vector<std::string> segments;  // Of "/" none. A "/" at the end gives an empty one.
  std::vector<QueryItem> query;
  bool operator==(const RequestTarget&) const = default;
};

// Absent for what no well-behaved client sends: another form than a path, other characters than a URL's, half an
// escape, an escaped NUL, more than 8 KiB or 64 items.
[[nodiscard]] std::optional<RequestTarget> parseRequestTarget(std::string_view target);

}  // namespace quillard::relayserver
