#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillard::platform {

// What the root dictionary of a property list holds under its keys; values of other kinds than text are left out.
using PropertyListTexts = std::map<std::string, std::string, std::less<>>;

struct ResourceError {
  std::string description;  // For a diagnostic line.
};

// The installed program: on macOS its application bundle, elsewhere the folder that it was installed as. Any thread.
class Bundle {
 public:
  virtual ~Bundle() = default;

  // Where the program lies, absolute, symbolic links as they were used to start it.
  [[nodiscard]] virtual std::string path() const = 0;
  // `path` with symbolic links followed and "." and ".." taken out. Equal to `path` when that cannot be done.
  [[nodiscard]] virtual std::string resolvedPath() const = 0;
  // Absent when the program does not run as an installed application.
  [[nodiscard]] virtual std::optional<std::string> identifier() const = 0;
  // The text under `key` of the information dictionary. Absent when there is none, or it is no text.
  [[nodiscard]] virtual std::optional<std::string> informationText(std::string_view key) const = 0;
  // The texts of `name`.plist, a resource that came with the program. Absent when there is no such resource; an error
  // when it cannot be read or is no property list with a dictionary at its root. Each binding reads it with its
  // system's library, and refuses files that are too large, too deep or unfold to too much before that.
  [[nodiscard]] virtual std::optional<std::variant<PropertyListTexts, ResourceError>> propertyList(
      std::string_view name) const = 0;

  // The folders in which this system's users install applications, absolute and standardised. The first is the one to
  // show to a person who has to move the application there.
  [[nodiscard]] virtual std::vector<std::string> applicationDirectories() const = 0;
};

}  // namespace quillard::platform
