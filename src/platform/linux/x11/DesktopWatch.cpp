#include "platform/linux/x11/DesktopWatch.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillard::x11 {
namespace {

using std::chrono::steady_clock;

constexpr Seconds kFirstRetry{5};
constexpr Seconds kLongestRetry{60};
constexpr Seconds kShortestGap{0.016};
// For what no event reports: window managers that keep moves to themselves.
constexpr Seconds kLongestTrust{30};
// A window may become a prompt by its name. Longer than a tick of 2 s, so that a name that changes all the time starts
// nothing between two of them.
constexpr Seconds kLongestNote{3};

}  // namespace

DesktopWatch::DesktopWatch(std::optional<std::string> displayName, desktop::DesktopWindows& windows,
                           platform::SerialExecutor& mainThread)
    : displayName(std::move(displayName)), windows(windows), mainThread(mainThread), retryDelay(kFirstRetry) {
  connect();
}

DesktopWatch::~DesktopWatch() = default;

void DesktopWatch::connect() {
  if (!displayName || displayName->empty()) return;
  server = ServerConnection::open(*displayName);
  if (!server) {
    retryTask = mainThread.postAfter(retryDelay, [this] { connect(); });
    retryDelay = std::min(retryDelay * 2, kLongestRetry);
    return;
  }
  retryDelay = kFirstRetry;
  notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(server->get()), QSocketNotifier::Read);
  QObject::connect(notifier.get(), &QSocketNotifier::activated, [this] { takeEvents(); });
  watchRoot();
  read();
}

void DesktopWatch::disconnect() {
  // Inside its own signal, perhaps: it is silent from here on, and goes when that has returned.
  notifier->setEnabled(false);
  notifier.release()->deleteLater();
  server.reset();
  watched.clear();
  readTask.reset();
  notedTask.reset();
  hasChanged = true;
  snapshot = {};
  retryTask = mainThread.postAfter(retryDelay, [this] { connect(); });
  listeners.tell(snapshot);
}

void DesktopWatch::watchRoot() {
  // Without a window manager there is no list whose change tells of windows.
  const auto list = server->property(server->askProperty(server->root(), Atom::netClientList, 1));
  std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  if (list.type == 0) events |= XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  xcb_change_window_attributes(server->get(), server->root(), XCB_CW_EVENT_MASK, &events);
  xcb_flush(server->get());
}

void DesktopWatch::takeEvents() {
  auto urgency = Urgency::none;
  while (const ReplyPointer<xcb_generic_event_t> event{xcb_poll_for_event(server->get())}) {
    urgency = std::max(urgency, urgencyOf(*event));
  }
  if (server->isBroken()) return disconnect();
  hasChanged = hasChanged || urgency != Urgency::none;
  if (urgency == Urgency::now) readSoon();
  if (urgency == Urgency::noted) readUnlessAsked();
}

DesktopWatch::Urgency DesktopWatch::urgencyOf(const xcb_generic_event_t& event) const {
  switch (kindOf(event)) {
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_DESTROY_NOTIFY:
      return Urgency::now;
    case XCB_CONFIGURE_NOTIFY:  // Of windows, which window managers tell of their moves, and of the screen.
      return Urgency::noted;
    case XCB_PROPERTY_NOTIFY:
      break;
    default:
      return Urgency::none;  // Errors, too: of windows that went before they could be watched.
  }
  const auto property = reinterpret_cast<const xcb_property_notify_event_t&>(event).atom;
  const Atoms& atoms = server->atoms();
  const auto isOneOf = [&](std::initializer_list<Atom> names) {
    return std::any_of(names.begin(), names.end(), [&](Atom name) { return atoms[name] == property; });
  };
  if (isOneOf({Atom::netClientListStacking, Atom::netClientList, Atom::netActiveWindow, Atom::netCurrentDesktop,
               Atom::netSupportingWMCheck, Atom::netWMState, Atom::wmState, Atom::netWMDesktop})) {
    return Urgency::now;
  }
  const bool isRead = isOneOf({Atom::netWMName, Atom::wmName, Atom::netWMPid, Atom::netWMWindowType,
                               Atom::netFrameExtents, Atom::netWMWindowOpacity, Atom::gtkFrameExtents, Atom::wmClass,
                               Atom::wmClientMachine, Atom::wmTransientFor});
  return isRead ? Urgency::noted : Urgency::none;
}

bool DesktopWatch::mayHaveChanged() {
  const auto now = steady_clock::now();
  if (server && !hasChanged && now - askedAt < kLongestTrust) return false;
  hasChanged = false;
  notedTask.reset();
  askedAt = now;
  return true;
}

void DesktopWatch::readSoon() {
  if (readTask) return;
  const Seconds since = readAt ? Seconds{steady_clock::now() - *readAt} : kShortestGap;
  if (since >= kShortestGap) return read();
  readTask = mainThread.postAfter(kShortestGap - since, [this] { read(); });
}

void DesktopWatch::readUnlessAsked() {
  if (!notedTask) notedTask = mainThread.postAfter(kLongestNote, [this] { read(); });
}

void DesktopWatch::read() {
  readTask.reset();
  notedTask.reset();
  const bool wasManaged = snapshot.active || snapshot.currentDesktop;
  snapshot = windows.snapshot();
  // What happened to a new window before its events were asked for is found by reading again.
  if (watchNewWindows()) snapshot = windows.snapshot();
  readAt = steady_clock::now();
  const bool isManaged = snapshot.active || snapshot.currentDesktop;
  if (isManaged != wasManaged) watchRoot();
  // While this waited for replies, events may have come that its socket will not tell of again.
  mainThread.post([this, alive = std::weak_ptr<char>(life)] {
    if (!alive.expired() && server) takeEvents();
  });
  listeners.tell(snapshot);
}

bool DesktopWatch::watchNewWindows() {
  std::set<WindowID> present;
  bool isNew = false;
  for (const auto& window : snapshot.windows) {
    const auto id = static_cast<WindowID>(window.id);
    present.insert(id);
    if (watched.contains(id)) continue;
    constexpr std::uint32_t kEvents = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(server->get(), id, XCB_CW_EVENT_MASK, &kEvents);
    isNew = true;
  }
  watched = std::move(present);
  if (!isNew) return false;
  // Its answer comes when the server has processed the requests above.
  const ReplyPointer<xcb_get_input_focus_reply_t> sign{
      xcb_get_input_focus_reply(server->get(), xcb_get_input_focus(server->get()), nullptr)};
  return true;
}

}  // namespace quillard::x11
