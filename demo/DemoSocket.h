#pragma once

#include <optional>
#include <string>

#include "demo/Variables.h"

namespace quillard::demo {

// What a later ./run needs to join the one that is up.
struct RunningDemo {
  std::string page;        // Its address. Empty when the relay is not ours.
  std::string agent;       // The program.
  bool isPrivate = false;  // Whether the desktop is one of its own.
  Variables environment;   // Of programs on its desktop, the agent's relay included.
  bool operator==(const RunningDemo&) const = default;
};

// Where a later ./run finds the one that is up: an address in the kernel, which goes with this process however that
// ends. Told to programs of this user only; it holds no secret of the pairing.
class DemoSocket {
 public:
  // Without effect when another process has the address.
  explicit DemoSocket(const RunningDemo& running);
  DemoSocket(const DemoSocket&) = delete;
  DemoSocket& operator=(const DemoSocket&) = delete;
  ~DemoSocket();

  // Readable when a client connects. -1 when another process has the address.
  [[nodiscard]] int descriptor() const { return listener; }
  // Answers whoever asks now.
  void answer() const;

  // Absent: none is up.
  [[nodiscard]] static std::optional<RunningDemo> find();

 private:
  const std::string text;
  int listener = -1;
};

}  // namespace quillard::demo
