#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillard::catalogues {

// A message with something put in: "Delete “%s”?" matches any text that begins with "Delete “", ends with "”?" and has
// something between the two. Made from and compared with comparable texts.
//
// Placeholders are those of C (%s, %1$s, %-5ld), Qt (%1, %L1, %n), Python (%(name)s, {name}), Fluent ({$name}),
// Chromium ($1) and gettext's own custom ones (%PLACE%).
class MessagePattern {
 public:
  // Absent: there is no placeholder, there are more than 16, or too little is left outside of them to tell one message
  // from others (8 letters, of which an East Asian one counts for two).
  [[nodiscard]] static std::optional<MessagePattern> of(std::string_view translation);

  [[nodiscard]] bool matches(std::string_view text) const;

  // From now on it matches texts `withoutNumbers`. A number that touches a placeholder becomes part of what is put in.
  void leaveOutNumbers();

 private:
  std::vector<std::string> pieces;  // What stands before, between and behind the placeholders; maybe empty.
};

}  // namespace quillard::catalogues
