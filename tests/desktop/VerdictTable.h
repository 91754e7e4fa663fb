#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace quillard::test {

inline const std::string kFromAfar = "may be approved from afar";
inline const std::string kSecret = "asks for a secret";
inline const std::string kNotUnderstood = "has buttons that are not understood";
inline const std::string kSettings = "leads to the settings";

// Lines that depend on what is in a folder, and are not compared.
inline const std::vector<std::string> kWhatever{"(whatever there is)"};

// What a person would read off a prompt.
struct Prompt {
  std::string title;
  std::vector<std::string> lines;
  std::vector<std::string> buttons;  // In reading order.
  std::string recommended;           // Empty: none is.
  std::string access = kFromAfar;

  bool operator==(const Prompt&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Prompt& prompt);

struct Row {
  std::string name;
  std::vector<std::string> programs;  // Each of them, alone on a desktop, with these arguments.
  std::vector<std::string> arguments;
  std::optional<Prompt> prompt{};  // Absent: the window is none.
  std::string sign{};              // For those: a button that shows that the window has been read.
};

struct Case {
  Row row;
  std::string program;

  [[nodiscard]] std::string name() const;
};
std::ostream& operator<<(std::ostream& stream, const Case& each);

[[nodiscard]] std::vector<Row> verdictTable();
[[nodiscard]] std::vector<Case> casesOf(const std::vector<Row>& rows);
// What gnome-keyring asks before it makes a new keyring.
[[nodiscard]] Prompt keyringPrompt();

}  // namespace quillard::test
