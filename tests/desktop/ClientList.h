#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "desktop/PrivateDesktop.h"

struct xcb_connection_t;

namespace quillard::test {

// A window as the window manager lists it.
struct ClientWindow {
  std::uint32_t id = 0;
  pid_t pid = 0;
  std::string title;            // _NET_WM_NAME; empty when there is none.
  std::string className;        // The second part of WM_CLASS.
  std::set<std::string> types;  // Names of atoms: "_NET_WM_WINDOW_TYPE_DIALOG".
  std::set<std::string> states;
  std::uint32_t transientFor = 0;  // 0: none.
  int x = 0;                       // Of the frame, on the screen, in pixels.
  int y = 0;
};

// A second pair of eyes on the X server: slow and plain, for tests alone. One thread.
class ClientList {
 public:
  explicit ClientList(const PrivateDesktop& desktop);

  // Oldest first.
  [[nodiscard]] std::vector<ClientWindow> windows();
  [[nodiscard]] std::vector<ClientWindow> windowsOf(pid_t pid);
  // Asks the window manager to close it, as a click on its cross does.
  void close(std::uint32_t window);

 private:
  [[nodiscard]] std::uint32_t atom(const std::string& name);
  [[nodiscard]] std::string property(std::uint32_t window, const std::string& name);
  [[nodiscard]] std::vector<std::uint32_t> numbers(std::uint32_t window, const std::string& name);
  [[nodiscard]] std::set<std::string> atoms(std::uint32_t window, const std::string& name);
  [[nodiscard]] ClientWindow read(std::uint32_t window);
  // 0, 0 when there is no such window.
  [[nodiscard]] std::pair<int, int> placeOf(std::uint32_t window);

  std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection;
  std::uint32_t root = 0;
};

}  // namespace quillard::test
