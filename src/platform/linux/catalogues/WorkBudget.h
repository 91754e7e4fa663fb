#pragma once

#include <cstddef>

namespace quillard::catalogues {

// How much one request may still cost, in bytes of catalogues that are read or compared. A catalogue is a file of
// another program, which may be made to cost as much as it can. One thread.
class WorkBudget {
 public:
  // `most`: what a request could have at best.
  WorkBudget(std::size_t bytes, std::size_t most) : whole(bytes), left(bytes), most(most) {}

  // For work that is still to be done. False: less than that is left; the work is not to be done, and nothing is taken.
  [[nodiscard]] bool spend(std::size_t bytes) {
    if (bytes > left) return false;
    left -= bytes;
    return true;
  }
  // For work that was done. False: it was more than was left, and now nothing is.
  [[nodiscard]] bool charge(std::size_t bytes) {
    const bool isEnough = bytes <= left;
    left -= isEnough ? bytes : left;
    return isEnough;
  }
  [[nodiscard]] std::size_t spent() const { return whole - left; }
  [[nodiscard]] std::size_t remaining() const { return left; }
  // The request began with all that there can be.
  [[nodiscard]] bool wasFull() const { return whole >= most; }

 private:
  std::size_t whole;
  std::size_t left;
  std::size_t most;
};

}  // namespace quillard::catalogues
