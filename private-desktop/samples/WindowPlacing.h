#pragma once

#include <cstdint>
#include <memory>
#include <utility>

struct xcb_connection_t;

namespace quillard::samples {

using XWindow = std::uint32_t;

// Where the frame of a window is on the screen, as the X server knows it: toolkits learn of a frame late, and take a
// place asked for before that for the place of its inside. A connection of its own; errors change nothing.
class WindowPlacing {
 public:
  WindowPlacing();
  ~WindowPlacing();
  WindowPlacing(const WindowPlacing&) = delete;
  WindowPlacing& operator=(const WindowPlacing&) = delete;

  // True once the window manager has taken the window over: what it is asked before that gets lost. Of window 0,
  // always.
  [[nodiscard]] bool isManaged(XWindow window) const;

  // The corner of the frame, or of the window where it has none. 0, 0 when there is no such window.
  [[nodiscard]] std::pair<int, int> placeOf(XWindow window) const;

  // From here on the checks of `staysAt` are counted for another window.
  void start();
  // One check, which asks for the place when the window is elsewhere. Asked once, the move may be undone: the window
  // manager goes on placing a new window, and its toolkit sizing it. True when the window was there for some checks in
  // a row, or has been asked without success for long enough.
  [[nodiscard]] bool staysAt(std::pair<int, int> place, XWindow window);
  // The same check for a window that is up: on a busy machine the move may be undone even later.
  void keepAt(std::pair<int, int> place, XWindow window);

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const;
  };
  void ask(std::pair<int, int> place, XWindow window);
  [[nodiscard]] XWindow root() const;

  const std::unique_ptr<xcb_connection_t, Disconnect> connection;
  int checksLeft = 0;
  int checksInPlace = 0;
};

}  // namespace quillard::samples
