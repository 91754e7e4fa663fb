#pragma once

#include <string_view>

namespace quillard::platform {

// Standard output, for diagnostic lines. Any thread.
class Console {
 public:
  virtual ~Console() = default;

  // Writes `line` and a line break as one piece, so that lines of two threads do not mix. `line` is UTF-8 and holds no
  // secret. A closed or full output is not an error: the line is lost.
  virtual void writeLine(std::string_view line) = 0;
};

}  // namespace quillard::platform
