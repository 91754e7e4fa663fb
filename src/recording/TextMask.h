#pragma once

#include <string>
#include <string_view>

namespace quillard::recording {

// `text` with its shape but without its content: as many characters, upper-case letters as 'X', digits as '0', white
// space, punctuation, mathematical and currency signs and what directs the writing as they are. All else becomes 'x':
// letters without case, marks, pictures, bytes that are no UTF-8.
[[nodiscard]] std::string maskedText(std::string_view text);

}  // namespace quillard::recording
