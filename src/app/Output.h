#pragma once

#include <functional>
#include <string_view>

namespace quillard::app {

// Where a tool says things: what was asked for, and what went wrong. Texts end in a line break.
struct Output {
  std::function<void(std::string_view)> print;
  std::function<void(std::string_view)> printError;
  // Whether all that was printed so far could be written.
  std::function<bool()> couldPrint = [] { return true; };
};

}  // namespace quillard::app
