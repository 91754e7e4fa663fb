#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <xcb/xcb.h>

#include "values/Geometry.h"

namespace quillard::test {

// A window as the sample client opens it.
struct SampleWindow {
  std::string name = "Sample";
  Rect bounds{100, 100, 300, 200};
  std::int32_t process = 0;  // Whose it claims to be; 0: it does not say.
  std::string type;          // Such as "_NET_WM_WINDOW_TYPE_DIALOG"; empty: it does not say.
  bool isUnmanaged = false;  // Override-redirect, as menus are.
  bool hasFrame = true;
};

// An X client that opens any window, says anything about it, and tells what input it got. Its requests are done when
// they return. One thread.
class SampleClient {
 public:
  explicit SampleClient(const std::string& display);
  ~SampleClient();
  SampleClient(const SampleClient&) = delete;
  SampleClient& operator=(const SampleClient&) = delete;

  std::uint32_t open(const SampleWindow& window = {});
  void close(std::uint32_t window);
  // Not through the window manager, which manages none that is unmanaged.
  void resize(std::uint32_t window, std::uint32_t width, std::uint32_t height);

  void setText(std::uint32_t window, const std::string& property, const std::string& type, const std::string& bytes);
  void setNumbers(std::uint32_t window, const std::string& property, const std::string& type,
                  const std::vector<std::uint32_t>& numbers);
  // Puts `piece` behind what is there, for texts that are longer than one request.
  void append(std::uint32_t window, const std::string& property, const std::string& type, const std::string& piece);
  [[nodiscard]] std::uint32_t root() const { return screen->root; }
  [[nodiscard]] std::uint32_t atom(const std::string& name);

  // What is asked of the window manager.
  void minimise(std::uint32_t window);
  void move(std::uint32_t window, Point corner);
  void moveToDesktop(std::uint32_t window, std::uint32_t desktop);
  void switchToDesktop(std::uint32_t desktop);
  void activate(std::uint32_t window);

  // Input, as one line each: "press 1 at 20,30", "release 1 at 20,30", "key 36 down", "key 36 up", and "asked to
  // close". Of all windows of this client, since it was made.
  [[nodiscard]] const std::vector<std::string>& input();
  [[nodiscard]] bool hasInput(const std::string& line);

 private:
  void sendToRoot(std::uint32_t window, const std::string& type, std::uint32_t first, std::uint32_t second);
  void settle();

  xcb_connection_t* const link;
  xcb_screen_t* const screen;
  std::vector<std::string> lines;
};

}  // namespace quillard::test
