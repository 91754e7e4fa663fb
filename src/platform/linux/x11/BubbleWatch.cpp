#include "platform/linux/x11/BubbleWatch.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace quillard::x11 {
namespace {

constexpr std::string_view kBypassesManager = "_KDE_NET_WM_WINDOW_TYPE_OVERRIDE";
constexpr std::uint32_t kMostTypes = 8;
constexpr std::size_t kMostBubbles = 256;

}  // namespace

BubbleWatch::BubbleWatch(std::optional<std::string> displayName, desktop::WindowChanges& changes,
                         std::function<void()> onBubble)
    : displayName(std::move(displayName)), onBubble(std::move(onBubble)) {
  if (!this->displayName || this->displayName->empty()) return;
  connect();
  subscription = changes.observe([this](const desktop::WindowsSnapshot& snapshot) {
    if (!server && snapshot.coverage != desktop::WindowCoverage::none) connect();
  });
}

void BubbleWatch::connect() {
  server = ServerConnection::open(*displayName);
  if (!server) return;
  const auto asked = xcb_intern_atom(server->get(), 0, kBypassesManager.size(), kBypassesManager.data());
  const ReplyPointer<xcb_intern_atom_reply_t> atom{xcb_intern_atom_reply(server->get(), asked, nullptr)};
  bypassesManager = atom ? atom->atom : xcb_atom_t{XCB_ATOM_NONE};
  notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(server->get()), QSocketNotifier::Read);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] { takeEvents(); });
  constexpr std::uint32_t kEvents = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  xcb_change_window_attributes(server->get(), server->root(), XCB_CW_EVENT_MASK, &kEvents);
  xcb_flush(server->get());
}

void BubbleWatch::disconnect() {
  // Inside its own signal, perhaps: it is silent from here on, and goes when that has returned.
  notifier->setEnabled(false);
  notifier.release()->deleteLater();
  server.reset();
  sizes.clear();
}

// What comes while a reply is waited for is taken, too: the socket will not tell of it again.
void BubbleWatch::takeEvents() {
  bool hasBubble = false;
  while (const ReplyPointer<xcb_generic_event_t> event{xcb_poll_for_event(server->get())}) {
    hasBubble = tellsOfBubble(*event) || hasBubble;
  }
  if (server->isBroken()) disconnect();
  if (hasBubble) onBubble();
}

bool BubbleWatch::tellsOfBubble(const xcb_generic_event_t& event) {
  switch (kindOf(event)) {
    case XCB_MAP_NOTIFY: {
      const auto& map = reinterpret_cast<const xcb_map_notify_event_t&>(event);
      return map.override_redirect != 0 && isBubble(map.window);
    }
    case XCB_UNMAP_NOTIFY:
      sizes.erase(reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window);
      return false;
    case XCB_CONFIGURE_NOTIFY: {
      const auto& change = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
      if (change.override_redirect == 0 || !isBubble(change.window)) return false;
      if (sizes.size() >= kMostBubbles) sizes.clear();
      const std::pair<int, int> size{change.width, change.height};
      return std::exchange(sizes[change.window], size) != size;
    }
    default:
      return false;
  }
}

bool BubbleWatch::isBubble(WindowID window) const {
  const Atoms& atoms = server->atoms();
  const auto property = server->property(server->askProperty(window, Atom::netWMWindowType, kMostTypes));
  const auto types = numbersOf(property, atoms[Atom::atom], kMostTypes);
  const auto has = [&](xcb_atom_t type) { return std::find(types.begin(), types.end(), type) != types.end(); };
  if (has(atoms[Atom::typeNotification])) return true;
  // Menus, tooltips and their like name their own types beside it.
  const bool isPlain = std::all_of(types.begin(), types.end(), [&](std::uint32_t type) {
    return type == bypassesManager || type == atoms[Atom::typeNormal];
  });
  return bypassesManager != XCB_ATOM_NONE && has(bypassesManager) && isPlain;
}

}  // namespace quillard::x11
