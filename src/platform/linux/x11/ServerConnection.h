#pragma once

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include <xcb/xcb.h>

#include "platform/linux/x11/Atoms.h"
#include "platform/linux/x11/WindowProperties.h"
#include "platform/linux/x11/XWindows.h"

namespace quillard::x11 {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT: xcb hands out memory of malloc.
};
template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, FreeDeleter>;

// The kind of an event, `XCB_MAP_NOTIFY` and the like. The bit that marks those that another client made is left out:
// window managers send some in the server's place.
[[nodiscard]] inline int kindOf(const xcb_generic_event_t& event) {
  constexpr std::uint8_t kSentByClients = 0x80;
  return event.response_type & static_cast<std::uint8_t>(~kSentByClients);
}

// One connection to the X server, and what was learnt when it was made. When the server goes, it is broken for good:
// nothing else happens, and each reply is empty. Not for two threads at a time.
class ServerConnection {
 public:
  // Empty when the server cannot be reached or turns us away. Waits for the server.
  [[nodiscard]] static std::unique_ptr<ServerConnection> open(const std::string& displayName);
  ~ServerConnection();
  ServerConnection(const ServerConnection&) = delete;
  ServerConnection& operator=(const ServerConnection&) = delete;

  [[nodiscard]] bool isBroken() const { return xcb_connection_has_error(link) != 0; }
  [[nodiscard]] xcb_connection_t* get() const { return link; }
  [[nodiscard]] xcb_window_t root() const { return screen->root; }
  [[nodiscard]] const Atoms& atoms() const { return names; }

  // Asks for the first `length` units of four bytes; `property` waits for the answer.
  [[nodiscard]] xcb_get_property_cookie_t askProperty(WindowID window, Atom name, std::uint32_t length) const;
  [[nodiscard]] Property property(xcb_get_property_cookie_t cookie) const;

  // Asks the window manager for something about a window, as pagers do, and sends what waits to be sent. False when
  // the connection is broken.
  [[nodiscard]] bool askWindowManager(WindowID window, Atom request, std::uint32_t first, std::uint32_t second) const;

 private:
  ServerConnection(xcb_connection_t* link, xcb_screen_t* screen) : link(link), screen(screen) {}
  bool learnAtoms();

  xcb_connection_t* const link;
  xcb_screen_t* const screen;
  Atoms names;
};

// Holds a connection to one X server and makes a new one when that has broken, though not more often than every few
// seconds: a desktop that ended must not keep this program busy. Not for two threads at a time.
class ServerLink {
 public:
  // `displayName`: absent when there is no X server to speak to, which it then never tries.
  explicit ServerLink(std::optional<std::string> displayName,
                      std::chrono::milliseconds retryInterval = std::chrono::seconds{5});

  // Null while there is no connection. May wait for the server.
  [[nodiscard]] ServerConnection* connection();

 private:
  const std::optional<std::string> displayName;
  const std::chrono::milliseconds retryInterval;
  std::unique_ptr<ServerConnection> current;
  std::optional<std::chrono::steady_clock::time_point> lastAttempt;
};

}  // namespace quillard::x11
