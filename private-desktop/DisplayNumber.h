#pragma once

#include <optional>
#include <string>

namespace quillard::privatedesktop {

// The number of an X display, reserved among all private desktops of this machine. An X server reserves its number only
// while it runs: a number that is free again after a killed server would lead the clients of one desktop to the server
// of another one. The reservation is a socket name in the kernel, which goes with this process however that ends.
//
// Numbers start at 1000, above those that other X servers take by themselves.
class DisplayNumber {
 public:
  // The lowest free number above `last`, or the lowest of all. Throws when there is none. `last` stays reserved as long
  // as its owner keeps it.
  [[nodiscard]] static DisplayNumber next(const std::optional<DisplayNumber>& last);
  DisplayNumber(DisplayNumber&& other) noexcept;
  DisplayNumber& operator=(DisplayNumber&& other) noexcept;
  DisplayNumber(const DisplayNumber&) = delete;
  DisplayNumber& operator=(const DisplayNumber&) = delete;
  ~DisplayNumber();

  // ":1000".
  [[nodiscard]] std::string name() const { return ":" + std::to_string(number); }

 private:
  DisplayNumber(int number, int reservation) : number(number), reservation(reservation) {}

  int number;
  int reservation;  // A bound socket; -1 after a move.
};

}  // namespace quillard::privatedesktop
