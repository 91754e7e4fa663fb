#include "platform/linux/x11/ServerConnection.h"

#include <csignal>
#include <utility>

namespace quillard::x11 {
namespace {

// Writing to a server that has just gone raises SIGPIPE, whose default is the end of the process.
void surviveBrokenPipes() {
  struct sigaction present {};
  if (::sigaction(SIGPIPE, nullptr, &present) == 0 && present.sa_handler == SIG_DFL) ::signal(SIGPIPE, SIG_IGN);
}

xcb_screen_t* screenOf(xcb_connection_t* link, int number) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(link));
  for (; screens.rem > 0; xcb_screen_next(&screens), --number) {
    if (number <= 0) return screens.data;
  }
  return nullptr;
}

}  // namespace

std::unique_ptr<ServerConnection> ServerConnection::open(const std::string& displayName) {
  surviveBrokenPipes();
  int screenNumber = 0;
  xcb_connection_t* const link = xcb_connect(displayName.c_str(), &screenNumber);
  xcb_screen_t* const screen = xcb_connection_has_error(link) == 0 ? screenOf(link, screenNumber) : nullptr;
  if (screen == nullptr) {
    xcb_disconnect(link);
    return nullptr;
  }
  std::unique_ptr<ServerConnection> connection{new ServerConnection(link, screen)};
  return connection->learnAtoms() ? std::move(connection) : nullptr;
}

ServerConnection::~ServerConnection() { xcb_disconnect(link); }

bool ServerConnection::learnAtoms() {
  std::array<xcb_intern_atom_cookie_t, kAtomCount> cookies{};
  for (std::size_t i = 0; i < kAtomCount; ++i) {
    cookies.at(i) =
        xcb_intern_atom(link, 0, static_cast<std::uint16_t>(kAtomNames.at(i).size()), kAtomNames.at(i).data());
  }
  bool isComplete = true;
  for (std::size_t i = 0; i < kAtomCount; ++i) {
    const ReplyPointer<xcb_intern_atom_reply_t> reply{xcb_intern_atom_reply(link, cookies.at(i), nullptr)};
    isComplete = isComplete && reply != nullptr;
    if (reply) names[static_cast<Atom>(i)] = reply->atom;
  }
  return isComplete;
}

xcb_get_property_cookie_t ServerConnection::askProperty(WindowID window, Atom name, std::uint32_t length) const {
  return xcb_get_property(link, 0, window, names[name], XCB_GET_PROPERTY_TYPE_ANY, 0, length);
}

Property ServerConnection::property(xcb_get_property_cookie_t cookie) const {
  const ReplyPointer<xcb_get_property_reply_t> reply{xcb_get_property_reply(link, cookie, nullptr)};
  if (!reply) return {};
  const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
  const auto* const bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
  return {.type = reply->type,
          .format = reply->format,
          .bytes = length > 0 ? std::string{bytes, length} : std::string{},
          .isComplete = reply->bytes_after == 0};
}

bool ServerConnection::askWindowManager(WindowID window, Atom request, std::uint32_t first,
                                        std::uint32_t second) const {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = names[request];
  message.data.data32[0] = first;
  message.data.data32[1] = second;
  static_assert(sizeof(message) == 32);
  xcb_send_event(link, 0, root(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
  return xcb_flush(link) > 0;
}

ServerLink::ServerLink(std::optional<std::string> displayName, std::chrono::milliseconds retryInterval)
    : displayName(std::move(displayName)), retryInterval(retryInterval) {}

ServerConnection* ServerLink::connection() {
  if (current && current->isBroken()) current.reset();
  if (current || !displayName || displayName->empty()) return current.get();
  const auto now = std::chrono::steady_clock::now();
  if (lastAttempt && now - *lastAttempt < retryInterval) return nullptr;
  lastAttempt = now;
  current = ServerConnection::open(*displayName);
  return current.get();
}

}  // namespace quillard::x11
