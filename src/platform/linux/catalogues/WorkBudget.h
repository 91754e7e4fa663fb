#pragma once

#include <cstddef>

namespace quillard::catalogues {

// How much one request may still cost, in bytes of catalogues that are read or compared. A catalogue is a file of
// another program, which may be made to cost as much as it can. One thread.
class WorkBudget {
 public:
  explicit WorkBudget(std::size_t bytes) : whole(bytes), left(bytes) {}

  // False: less than that was left, and now nothing is.
  [[nodiscard]] bool spend(std::size_t bytes) {
    const bool isEnough = bytes <= left;
    left -= isEnough ? bytes : left;
    return isEnough;
  }
  [[nodiscard]] std::size_t spent() const { return whole - left; }

 private:
  std::size_t whole;
  std::size_t left;
};

}  // namespace quillard::catalogues
