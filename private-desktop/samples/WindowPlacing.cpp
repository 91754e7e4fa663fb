#include "private-desktop/samples/WindowPlacing.h"

#include <cstdlib>
#include <string_view>

#include <xcb/xcb.h>

namespace quillard::samples {
namespace {

constexpr int kMostChecks = 400;   // Two seconds, with a check every 5 ms.
constexpr int kEnoughInPlace = 6;  // So often in a row counts as settled.

// Of _NET_MOVERESIZE_WINDOW: the place is the corner of the frame, whatever gravity the toolkit has set, and both of
// its numbers are given.
constexpr std::uint32_t kNorthWest = XCB_GRAVITY_NORTH_WEST;
constexpr std::uint32_t kHasX = 1U << 8U;
constexpr std::uint32_t kHasY = 1U << 9U;
constexpr std::uint32_t kFromApplication = 1U << 12U;

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
  return {reply, &std::free};
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const auto reply = owned(xcb_intern_atom_reply(connection, cookie, nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

}  // namespace

void WindowPlacing::Disconnect::operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }

WindowPlacing::WindowPlacing() : connection(xcb_connect(nullptr, nullptr)) {}

WindowPlacing::~WindowPlacing() = default;

XWindow WindowPlacing::root() const {
  const auto* const setup = xcb_get_setup(connection.get());
  return setup ? xcb_setup_roots_iterator(setup).data->root : XWindow{XCB_NONE};
}

bool WindowPlacing::isManaged(XWindow window) const {
  if (window == 0) return true;
  const auto state = atom(connection.get(), "WM_STATE");
  const auto cookie = xcb_get_property(connection.get(), 0, window, state, XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
  const auto reply = owned(xcb_get_property_reply(connection.get(), cookie, nullptr));
  return reply && reply->type != XCB_ATOM_NONE;
}

std::pair<int, int> WindowPlacing::placeOf(XWindow window) const {
  XWindow outermost = window;
  while (true) {
    const auto cookie = xcb_query_tree(connection.get(), outermost);
    const auto tree = owned(xcb_query_tree_reply(connection.get(), cookie, nullptr));
    if (!tree) return {0, 0};
    if (tree->parent == tree->root || tree->parent == XCB_NONE) break;
    outermost = tree->parent;
  }
  const auto cookie = xcb_get_geometry(connection.get(), outermost);
  const auto geometry = owned(xcb_get_geometry_reply(connection.get(), cookie, nullptr));
  return geometry ? std::pair<int, int>{geometry->x, geometry->y} : std::pair{0, 0};
}

void WindowPlacing::start() {
  checksLeft = kMostChecks;
  checksInPlace = 0;
}

bool WindowPlacing::staysAt(std::pair<int, int> place, XWindow window) {
  if (checksLeft-- <= 0) return true;
  if (placeOf(window) == place) return ++checksInPlace >= kEnoughInPlace;
  checksInPlace = 0;
  ask(place, window);
  return false;
}

void WindowPlacing::keepAt(std::pair<int, int> place, XWindow window) {
  if (isManaged(window) && placeOf(window) != place) ask(place, window);
}

void WindowPlacing::ask(std::pair<int, int> place, XWindow window) {
  const auto x = static_cast<std::uint32_t>(place.first);
  const auto y = static_cast<std::uint32_t>(place.second);
  if (isManaged(window)) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(connection.get(), "_NET_MOVERESIZE_WINDOW");
    message.data.data32[0] = kNorthWest | kHasX | kHasY | kFromApplication;
    message.data.data32[1] = x;
    message.data.data32[2] = y;
    xcb_send_event(connection.get(), 0, root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
  } else {
    const std::uint32_t values[]{x, y};
    xcb_configure_window(connection.get(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
  }
  xcb_flush(connection.get());
}

}  // namespace quillard::samples
