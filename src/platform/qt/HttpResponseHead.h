#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillard::qt {

// Reads the head of an HTTP/1 response as it arrives, and no further: all that is wanted of it is the status.
class HttpResponseHead {
 public:
  enum class State {
    incomplete,
    complete,
    notHttp,  // Whatever this is, it does not begin as an HTTP response does.
    tooLong,
  };

  // Bytes from outside, in pieces of any size. What is added once it is complete is ignored.
  State add(std::string_view bytes);

  [[nodiscard]] State state() const { return current; }
  [[nodiscard]] bool isEmpty() const { return head.empty(); }
  // Of a complete head: 101, or 200 to 999. Interim answers (other 1xx) are passed over.
  [[nodiscard]] int statusCode() const { return status; }
  // Of a complete head: all its lines, and what was added after them.
  [[nodiscard]] std::string_view text() const { return std::string_view(head).substr(0, end); }
  [[nodiscard]] std::string_view rest() const { return std::string_view(head).substr(end); }

 private:
  State judge();

  std::string head;  // Since the end of the last interim answer, and what came with it.
  std::size_t received = 0;
  std::size_t end = 0;  // Of a complete head.
  State current = State::incomplete;
  int status = 0;
};

}  // namespace quillard::qt
