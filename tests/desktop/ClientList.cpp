#include "desktop/ClientList.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <tuple>

#include <xcb/xcb.h>

namespace quillard::test {
namespace {

constexpr std::uint32_t kLongest = 4096;  // Of a property, in units of four bytes.

struct Freeing {
  void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
std::unique_ptr<Reply, Freeing> owned(Reply* reply) {
  return std::unique_ptr<Reply, Freeing>(reply);
}

}  // namespace

ClientList::ClientList(const PrivateDesktop& desktop)
    : connection(xcb_connect(desktop.display().c_str(), nullptr), &xcb_disconnect) {
  if (xcb_connection_has_error(connection.get()) != 0) throw std::runtime_error("No X server");
  root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
}

std::uint32_t ClientList::atom(const std::string& name) {
  auto* const x = connection.get();
  const auto reply = owned(
      xcb_intern_atom_reply(x, xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
  return reply ? reply->atom : 0;
}

void ClientList::close(std::uint32_t window) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = atom("_NET_CLOSE_WINDOW");
  message.data.data32[1] = 2;  // As from a pager: in the user's name.
  xcb_send_event(connection.get(), 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&message));
  // Waits until the server has had it, for it drops what a closed connection leaves unread.
  static_cast<void>(owned(xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr)));
}

std::string ClientList::property(std::uint32_t window, const std::string& name) {
  auto* const x = connection.get();
  const auto reply = owned(xcb_get_property_reply(
      x, xcb_get_property(x, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, kLongest), nullptr));
  if (!reply) return {};
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

std::vector<std::uint32_t> ClientList::numbers(std::uint32_t window, const std::string& name) {
  const std::string bytes = property(window, name);
  std::vector<std::uint32_t> result(bytes.size() / sizeof(std::uint32_t));
  if (!result.empty()) std::memcpy(result.data(), bytes.data(), result.size() * sizeof(std::uint32_t));
  return result;
}

std::set<std::string> ClientList::atoms(std::uint32_t window, const std::string& name) {
  std::set<std::string> result;
  for (const auto atom : numbers(window, name)) {
    const auto reply =
        owned(xcb_get_atom_name_reply(connection.get(), xcb_get_atom_name(connection.get(), atom), nullptr));
    if (!reply) continue;
    result.emplace(xcb_get_atom_name_name(reply.get()),
                   static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get())));
  }
  return result;
}

ClientWindow ClientList::read(std::uint32_t window) {
  const auto firstOf = [&](const char* name) {
    const auto found = numbers(window, name);
    return found.empty() ? 0 : found.front();
  };
  ClientWindow result{.id = window,
                      .pid = static_cast<pid_t>(firstOf("_NET_WM_PID")),
                      .title = property(window, "_NET_WM_NAME"),
                      .types = atoms(window, "_NET_WM_WINDOW_TYPE"),
                      .states = atoms(window, "_NET_WM_STATE"),
                      .transientFor = firstOf("WM_TRANSIENT_FOR")};
  const std::string names = property(window, "WM_CLASS");
  if (const auto end = names.find('\0'); end != std::string::npos) result.className = names.c_str() + end + 1;
  std::tie(result.x, result.y) = placeOf(window);
  return result;
}

// As the server has it: what the window manager says of its frame's borders may be late.
std::pair<int, int> ClientList::placeOf(std::uint32_t window) {
  auto* const x = connection.get();
  for (;;) {
    const auto tree = owned(xcb_query_tree_reply(x, xcb_query_tree(x, window), nullptr));
    if (!tree || tree->parent == tree->root || tree->parent == XCB_NONE) break;
    window = tree->parent;
  }
  const auto frame = owned(xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr));
  return frame ? std::pair<int, int>{frame->x, frame->y} : std::pair{0, 0};
}

std::vector<ClientWindow> ClientList::windows() {
  std::vector<ClientWindow> result;
  for (const auto window : numbers(root, "_NET_CLIENT_LIST")) result.push_back(read(window));
  return result;
}

std::vector<ClientWindow> ClientList::windowsOf(pid_t pid) {
  auto result = windows();
  std::erase_if(result, [&](const auto& window) { return window.pid != pid; });
  return result;
}

}  // namespace quillard::test
