#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillard::platform {

// A program that its entry in the desktop's menu starts so that it can be read, since that was asked for here.
struct ReadableStart {
  std::string entry;  // What the desktop calls the entry.
  std::string name;   // For people. Never empty.
  bool operator==(const ReadableStart&) const = default;
};

// Some programs can be read only when they are told so at their start. Puts that into how this user's menu starts them,
// and takes it out again; whatever the user has made there stays as it is. Running programs stay as they are until they
// are started again. Reads and writes files: not for a thread that must stay responsive. Any thread.
class ReadableStarts {
 public:
  ReadableStarts() = default;
  ReadableStarts(const ReadableStarts&) = delete;
  ReadableStarts& operator=(const ReadableStarts&) = delete;
  virtual ~ReadableStarts() = default;

  // What was changed here and not undone, by name.
  [[nodiscard]] virtual std::vector<ReadableStart> changed() = 0;
  // `entry`: of an unreadable program. Absent: it is changed, or was already. Otherwise why not, as a sentence of the
  // catalogue.
  [[nodiscard]] virtual std::optional<std::string> change(const std::string& entry) = 0;
  // Absent: it is as it was before, or was never changed here. Otherwise why not, as a sentence
  // of the catalogue.
  [[nodiscard]] virtual std::optional<std::string> undo(const std::string& entry) = 0;
};

}  // namespace quillard::platform
