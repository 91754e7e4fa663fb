#include "platform/linux/x11/XcbWindows.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>
#include <vector>

#include <unistd.h>

namespace quillard::x11 {
namespace {

constexpr std::uint32_t kSourcePager = 2;
constexpr std::uint32_t kCurrentTime = 0;
constexpr std::uint32_t kAllDesktops = 0xFFFFFFFF;

std::string hostName() {
  std::array<char, 256> name{};
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

// What the first round trip tells.
struct RootAnswers {
  std::vector<WindowID> windows;
  bool isCut = false;     // There are more of them.
  bool isManaged = true;  // Whether a window manager lists the windows.
  std::optional<WindowID> active;
  std::optional<std::uint32_t> currentDesktop;
  std::optional<Size> screen;
};

std::vector<WindowID> childrenOf(const ServerConnection& server, xcb_query_tree_cookie_t cookie) {
  const ReplyPointer<xcb_query_tree_reply_t> reply{xcb_query_tree_reply(server.get(), cookie, nullptr)};
  if (!reply) return {};
  const auto* const first = xcb_query_tree_children(reply.get());
  const auto count = static_cast<std::size_t>(xcb_query_tree_children_length(reply.get()));
  // The topmost are the last ones; one more than is read, so that it shows when there are.
  const std::size_t skipped = count > kMostWindows ? count - kMostWindows - 1 : 0;
  return {first + skipped, first + count};
}

RootAnswers askRoot(const ServerConnection& server) {
  const auto root = server.root();
  // One more than is read, so that it shows when there are.
  const auto stacking = server.askProperty(root, Atom::netClientListStacking, kMostWindows + 1);
  const auto list = server.askProperty(root, Atom::netClientList, kMostWindows + 1);
  const auto active = server.askProperty(root, Atom::netActiveWindow, 1);
  const auto desktop = server.askProperty(root, Atom::netCurrentDesktop, 1);
  const auto tree = xcb_query_tree(server.get(), root);
  const auto geometry = xcb_get_geometry(server.get(), root);

  const Atoms& atoms = server.atoms();
  const auto byStacking = server.property(stacking);
  const auto byAge = server.property(list);
  RootAnswers answers;
  answers.isManaged = byStacking.type != 0 || byAge.type != 0;
  answers.windows = numbersOf(byStacking, atoms[Atom::window], kMostWindows + 1);
  if (answers.windows.empty()) answers.windows = numbersOf(byAge, atoms[Atom::window], kMostWindows + 1);
  const auto front = numberOf(server.property(active), atoms[Atom::window]);
  if (front != 0U) answers.active = front;
  answers.currentDesktop = numberOf(server.property(desktop), atoms[Atom::cardinal]);
  auto children = childrenOf(server, tree);
  if (!answers.isManaged) answers.windows = std::move(children);
  answers.isCut = answers.windows.size() > kMostWindows;
  if (answers.isCut)
    answers.windows.erase(answers.windows.begin(), answers.windows.end() - static_cast<std::ptrdiff_t>(kMostWindows));
  const ReplyPointer<xcb_get_geometry_reply_t> bounds{xcb_get_geometry_reply(server.get(), geometry, nullptr)};
  if (bounds) {
    answers.screen = {.width = static_cast<double>(bounds->width), .height = static_cast<double>(bounds->height)};
  }
  return answers;
}

// The questions about one window that are under way.
struct Inquiry {
  std::vector<xcb_get_property_cookie_t> properties;
  xcb_get_window_attributes_cookie_t attributes{};
  xcb_get_geometry_cookie_t geometry{};
  xcb_translate_coordinates_cookie_t position{};
};

Inquiry askWindow(const ServerConnection& server, WindowID window) {
  Inquiry inquiry;
  for (const auto& source : windowPropertySources()) {
    inquiry.properties.push_back(server.askProperty(window, source.name, source.length));
  }
  inquiry.attributes = xcb_get_window_attributes(server.get(), window);
  inquiry.geometry = xcb_get_geometry(server.get(), window);
  inquiry.position = xcb_translate_coordinates(server.get(), window, server.root(), 0, 0);
  return inquiry;
}

// Absent when the window went while it was asked, or is none of those that people see. Takes all replies in any case.
std::optional<RawWindow> takeAnswers(const ServerConnection& server, WindowID window, const Inquiry& inquiry,
                                     bool isManaged) {
  RawWindow raw{.id = window};
  const auto& sources = windowPropertySources();
  for (std::size_t i = 0; i < sources.size(); ++i) {
    raw.*sources[i].member = server.property(inquiry.properties[i]);
  }
  const ReplyPointer<xcb_get_window_attributes_reply_t> attributes{
      xcb_get_window_attributes_reply(server.get(), inquiry.attributes, nullptr)};
  const ReplyPointer<xcb_get_geometry_reply_t> geometry{
      xcb_get_geometry_reply(server.get(), inquiry.geometry, nullptr)};
  const ReplyPointer<xcb_translate_coordinates_reply_t> position{
      xcb_translate_coordinates_reply(server.get(), inquiry.position, nullptr)};
  if (!attributes || !geometry || !position) return std::nullopt;
  raw.isViewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
  raw.clientBounds = {.x = static_cast<double>(position->dst_x),
                      .y = static_cast<double>(position->dst_y),
                      .width = static_cast<double>(geometry->width),
                      .height = static_cast<double>(geometry->height)};
  const bool isOwnBusiness =
      attributes->override_redirect != 0 || attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY || !raw.isViewable;
  if (!isManaged && isOwnBusiness) return std::nullopt;
  return raw;
}

// No window of any other source has such a number.
std::optional<WindowID> numberOf(desktop::WindowID window) {
  if (window > std::numeric_limits<WindowID>::max()) return std::nullopt;
  return static_cast<WindowID>(window);
}

}  // namespace

XcbWindows::XcbWindows(std::optional<std::string> displayName, WindowCoverage whenThere,
                       std::chrono::milliseconds retryInterval)
    : whenThere(whenThere), link(std::move(displayName), retryInterval) {}

WindowCoverage XcbWindows::coverage() const {
  const MutexLock lock(mutex);
  return link.connection() != nullptr ? whenThere : WindowCoverage::none;
}

WindowsSnapshot XcbWindows::snapshot() {
  const MutexLock lock(mutex);
  const auto* const server = link.connection();
  if (server == nullptr) return {};
  const auto root = askRoot(*server);
  std::vector<Inquiry> inquiries;
  inquiries.reserve(root.windows.size());
  for (const auto window : root.windows) inquiries.push_back(askWindow(*server, window));

  const WindowDependencies dependencies{
      .atoms = server->atoms(), .hostName = hostName(), .root = server->root(), .currentDesktop = root.currentDesktop};
  WindowsSnapshot snapshot{.windows = {},
                           .active = root.active,
                           .currentDesktop = root.currentDesktop,
                           .screen = root.screen,
                           .coverage = root.isCut ? WindowCoverage::some : whenThere};
  for (std::size_t i = 0; i < root.windows.size(); ++i) {
    const auto raw = takeAnswers(*server, root.windows[i], inquiries[i], root.isManaged);
    if (raw) snapshot.windows.push_back(readWindow(*raw, dependencies));
  }
  if (!root.screen || server->isBroken()) return {};  // Half of an answer would look like windows that were closed.
  return snapshot;
}

std::optional<desktop::WindowID> XcbWindows::windowAt(Point point) {
  // Window manager's frames are a few windows deep.
  constexpr int kDeepest = 8;
  constexpr double kScreenEnd = 32767;
  if (!(point.x >= 0 && point.y >= 0 && point.x <= kScreenEnd && point.y <= kScreenEnd)) return std::nullopt;
  const MutexLock lock(mutex);
  const auto* const server = link.connection();
  if (server == nullptr) return std::nullopt;
  const auto listed = askRoot(*server).windows;
  auto within = server->root();
  for (int depth = 0; depth < kDeepest; ++depth) {
    // The server itself says which child is there: it knows the order of all windows, and their shapes.
    const auto cookie = xcb_translate_coordinates(
        server->get(), server->root(), within, static_cast<std::int16_t>(point.x), static_cast<std::int16_t>(point.y));
    const ReplyPointer<xcb_translate_coordinates_reply_t> reply{
        xcb_translate_coordinates_reply(server->get(), cookie, nullptr)};
    if (!reply || reply->child == 0) return std::nullopt;
    within = reply->child;
    if (std::find(listed.begin(), listed.end(), within) != listed.end()) return within;
  }
  return std::nullopt;
}

bool XcbWindows::activate(desktop::WindowID asked) {
  const MutexLock lock(mutex);
  const auto* const server = managedServer();
  const auto number = numberOf(asked);
  if (server == nullptr || !number) return false;
  const WindowID window = *number;
  const Atoms& atoms = server->atoms();
  const auto own = server->askProperty(window, Atom::netWMDesktop, 1);
  const auto current = server->askProperty(server->root(), Atom::netCurrentDesktop, 1);
  const auto desktop = numberOf(server->property(own), atoms[Atom::cardinal]);
  const auto present = numberOf(server->property(current), atoms[Atom::cardinal]);
  // Some window managers only mark a window of another desktop, as one that wants attention.
  if (desktop && present && *desktop != *present && *desktop != kAllDesktops &&
      !server->askWindowManager(server->root(), Atom::netCurrentDesktop, *desktop, kCurrentTime)) {
    return false;
  }
  return server->askWindowManager(window, Atom::netActiveWindow, kSourcePager, kCurrentTime);
}

bool XcbWindows::close(desktop::WindowID window) {
  const MutexLock lock(mutex);
  const auto* const server = managedServer();
  const auto number = numberOf(window);
  return server != nullptr && number &&
         server->askWindowManager(*number, Atom::netCloseWindow, kCurrentTime, kSourcePager);
}

ServerConnection* XcbWindows::managedServer() {
  auto* const server = link.connection();
  if (server == nullptr) return nullptr;
  const auto manager = server->property(server->askProperty(server->root(), Atom::netSupportingWMCheck, 1));
  return manager.type == 0 ? nullptr : server;
}

}  // namespace quillard::x11
