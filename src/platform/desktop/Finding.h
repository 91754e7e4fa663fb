#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace quillard::platform {

// Why something cannot be had here, in a sentence or two for the user. Never empty.
struct Limitation {
  std::string reason;
  bool isPartial = false;  // It can be had of some applications.
  bool operator==(const Limitation&) const = default;
};

// What a binding found, or why it cannot know: an empty list says "there are none" and nothing else, unless others may
// be missing from it.
template <class T>
class Finding {
 public:
  Finding(T value) : content(std::in_place_index<0>, std::move(value)) {}
  // `missing`: why others may be there, too.
  Finding(T value, Limitation missing)
      : content(std::in_place_index<0>, std::move(value)), others(std::move(missing)) {}
  Finding(Limitation limitation) : content(std::in_place_index<1>, std::move(limitation)) {}

  [[nodiscard]] bool isKnown() const { return content.index() == 0; }
  // Only of what is known.
  [[nodiscard]] const T& value() const { return std::get<0>(content); }
  // Only of what is not.
  [[nodiscard]] const Limitation& limitation() const { return std::get<1>(content); }

  // Of what is known. Absent: it is all that there is.
  [[nodiscard]] const std::optional<Limitation>& missing() const { return others; }

  bool operator==(const Finding&) const = default;

 private:
  std::variant<T, Limitation> content;
  std::optional<Limitation> others;
};

}  // namespace quillard::platform
