#include "platform/linux/x11/XTestEvents.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <utility>

#include <unistd.h>
#include <xcb/xtest.h>

namespace quillard::x11 {
namespace {

using platform::KeyCode;
using platform::MouseEventType;
using platform::SyntheticEvent;

constexpr std::uint8_t kLeftButton = 1;
constexpr int kDeepestWindow = 32;
constexpr auto kKeyboardWait = std::chrono::milliseconds{100};
constexpr auto kKeyboardCheckInterval = std::chrono::milliseconds{5};
constexpr std::uint32_t kReturnSymbol = 0xFF0D;
constexpr std::uint32_t kSpaceSymbol = 0x20;
constexpr std::uint32_t kEscapeSymbol = 0xFF1B;

std::optional<std::uint32_t> symbolOf(KeyCode key) {
  switch (key) {
    case KeyCode::returnKey:
      return kReturnSymbol;
    case KeyCode::space:
      return kSpaceSymbol;
    case KeyCode::escape:
      return kEscapeSymbol;
  }
  return std::nullopt;
}

std::optional<std::uint8_t> keyOf(const ServerConnection& server, std::uint32_t symbol) {
  const auto* const setup = xcb_get_setup(server.get());
  const auto first = setup->min_keycode;
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - first + 1);
  const ReplyPointer<xcb_get_keyboard_mapping_reply_t> reply{
      xcb_get_keyboard_mapping_reply(server.get(), xcb_get_keyboard_mapping(server.get(), first, count), nullptr)};
  if (!reply) return std::nullopt;
  const auto* const symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
  const auto length = xcb_get_keyboard_mapping_keysyms_length(reply.get());
  return keyForSymbol({symbols, symbols + length}, reply->keysyms_per_keycode, first, symbol);
}

// Absent when the window does not say.
std::optional<std::int32_t> ownerOf(const ServerConnection& server, xcb_window_t window) {
  const auto process = server.property(server.askProperty(window, Atom::netWMPid, 1));
  const auto number = numberOf(process, server.atoms()[Atom::cardinal]);
  return number ? std::optional{static_cast<std::int32_t>(*number)} : std::nullopt;
}

std::int16_t pixel(double coordinate) { return static_cast<std::int16_t>(std::lround(coordinate)); }

}  // namespace

// The key is looked up when the event is made; the mouse's button is always the left one.
class XTestEvents::Event final : public SyntheticEvent {
 public:
  Event(MouseEventType type, Point position) : mouse(type), x(pixel(position.x)), y(pixel(position.y)) {}
  Event(std::uint8_t key, bool isDown) : key(key), isDown(isDown) {}

  [[nodiscard]] bool isRelease() const { return mouse ? mouse == MouseEventType::leftMouseUp : !isDown; }

  std::optional<MouseEventType> mouse;  // Absent: a key.
  std::int16_t x = 0;
  std::int16_t y = 0;
  std::uint8_t key = 0;
  bool isDown = false;
};

std::optional<std::uint8_t> keyForSymbol(const std::vector<std::uint32_t>& symbols, int symbolsPerKey,
                                         std::uint8_t firstKey, std::uint32_t symbol) {
  if (symbolsPerKey < 1) return std::nullopt;
  const auto step = static_cast<std::size_t>(symbolsPerKey);
  for (std::size_t i = 0; i * step < symbols.size() && firstKey + i <= 255; ++i) {
    if (symbols[i * step] == symbol) return static_cast<std::uint8_t>(firstKey + i);
  }
  return std::nullopt;
}

XTestEvents::XTestEvents(std::optional<std::string> displayName, desktop::DesktopWindows& windows, bool isXSession,
                         std::function<bool()> isLocked)
    : windows(windows), isXSession(isXSession), isLocked(std::move(isLocked)), link(std::move(displayName)) {}

XTestEvents::~XTestEvents() { releaseAll(); }

std::unique_ptr<SyntheticEvent> XTestEvents::createMouseEvent(MouseEventType type, Point position) {
  const auto* const server = testableServer();
  if (server == nullptr || !isOnScreen(*server, position)) return nullptr;
  return std::make_unique<Event>(type, position);
}

std::unique_ptr<SyntheticEvent> XTestEvents::createKeyboardEvent(KeyCode key, bool isDown) {
  const auto* const server = testableServer();
  const auto symbol = symbolOf(key);
  if (server == nullptr || !symbol) return nullptr;
  const auto code = keyOf(*server, *symbol);
  return code ? std::make_unique<Event>(*code, isDown) : nullptr;
}

bool XTestEvents::postToProcess(std::int32_t processIdentifier, const SyntheticEvent& event) {
  const auto* const known = dynamic_cast<const Event*>(&event);
  const auto* const server = known ? testableServer() : nullptr;
  if (server == nullptr) return false;
  if (known->isRelease()) return postRelease(*server, *known);
  if (postIfOwned(*server, processIdentifier, *known)) return true;
  if (!known->mouse) bringKeyboard(*server, processIdentifier);
  return false;
}

bool XTestEvents::postToDesktop(const SyntheticEvent& event, std::optional<std::int32_t> expectedOwner) {
  const auto* const known = dynamic_cast<const Event*>(&event);
  if (!known || !isXSession || !expectedOwner) return false;
  const auto* const server = testableServer();
  if (server == nullptr) return false;
  return known->isRelease() ? postRelease(*server, *known) : postIfOwned(*server, *expectedOwner, *known);
}

// As the server itself finds it: from the root downwards, through frames.
std::optional<XTestEvents::Target> XTestEvents::targetAt(const ServerConnection& server, std::int16_t x,
                                                         std::int16_t y) {
  xcb_window_t window = server.root();
  for (int depth = 0; depth < kDeepestWindow; ++depth) {
    const ReplyPointer<xcb_translate_coordinates_reply_t> reply{xcb_translate_coordinates_reply(
        server.get(), xcb_translate_coordinates(server.get(), server.root(), window, x, y), nullptr)};
    if (!reply || reply->child == XCB_WINDOW_NONE) return std::nullopt;
    window = reply->child;
    if (const auto owner = ownerOf(server, window)) return Target{.window = window, .owner = *owner};
  }
  return std::nullopt;
}

// The owner is what the focused window says, or the nearest one around it.
std::optional<XTestEvents::Target> XTestEvents::targetOfKeys(const ServerConnection& server) {
  const ReplyPointer<xcb_get_input_focus_reply_t> focus{
      xcb_get_input_focus_reply(server.get(), xcb_get_input_focus(server.get()), nullptr)};
  if (!focus || focus->focus <= XCB_INPUT_FOCUS_POINTER_ROOT) return std::nullopt;
  xcb_window_t window = focus->focus;
  for (int height = 0; height < kDeepestWindow && window != server.root() && window != XCB_WINDOW_NONE; ++height) {
    if (const auto owner = ownerOf(server, window)) return Target{.window = focus->focus, .owner = *owner};
    const ReplyPointer<xcb_query_tree_reply_t> reply{
        xcb_query_tree_reply(server.get(), xcb_query_tree(server.get(), window), nullptr)};
    if (!reply) return std::nullopt;
    window = reply->parent;
  }
  return std::nullopt;
}

std::optional<XTestEvents::Target> XTestEvents::targetOf(const ServerConnection& server, const Event& event) {
  return event.mouse ? targetAt(server, event.x, event.y) : targetOfKeys(server);
}

ServerConnection* XTestEvents::testableServer() {
  auto* const server = link.connection();
  if (server == nullptr) return nullptr;
  const auto* const extension = xcb_get_extension_data(server->get(), &xcb_test_id);
  return extension && extension->present ? server : nullptr;
}

bool XTestEvents::isOnScreen(const ServerConnection& server, Point position) const {
  const ReplyPointer<xcb_get_geometry_reply_t> screen{
      xcb_get_geometry_reply(server.get(), xcb_get_geometry(server.get(), server.root()), nullptr)};
  // Not so for coordinates that are no numbers.
  return screen && position.x >= 0 && position.y >= 0 && position.x < screen->width && position.y < screen->height;
}

void XTestEvents::post(const ServerConnection& server, const Event& event) {
  const auto send = [&](std::uint8_t type, std::uint8_t detail) {
    xcb_test_fake_input(server.get(), type, detail, XCB_CURRENT_TIME, server.root(), event.x, event.y, 0);
  };
  if (event.mouse) {
    send(XCB_MOTION_NOTIFY, 0);
    if (event.mouse == MouseEventType::leftMouseDown) send(XCB_BUTTON_PRESS, kLeftButton);
    if (event.mouse == MouseEventType::leftMouseUp) send(XCB_BUTTON_RELEASE, kLeftButton);
    if (event.mouse != MouseEventType::moved) isButtonDown = event.mouse == MouseEventType::leftMouseDown;
  } else {
    send(event.isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, event.key);
    if (event.isDown) keysDown.insert(event.key);
    if (!event.isDown) keysDown.erase(event.key);
  }
  xcb_flush(server.get());
}

bool XTestEvents::postIfOwned(const ServerConnection& server, std::int32_t owner, const Event& event) {
  const auto target = targetOf(server, event);
  if (!target || target->owner != owner || (isLocked && isLocked())) return false;
  xcb_grab_server(server.get());
  const bool isAllowed = targetOf(server, event) == target;
  if (isAllowed) post(server, event);
  xcb_ungrab_server(server.get());
  xcb_flush(server.get());
  return isAllowed;
}

bool XTestEvents::postRelease(const ServerConnection& server, const Event& event) {
  const bool isDown = event.mouse ? isButtonDown : keysDown.contains(event.key);
  if (isDown) post(server, event);
  return isDown;
}

void XTestEvents::bringKeyboard(const ServerConnection& server, std::int32_t processIdentifier) {
  const auto hasKeyboard = [&] {
    const auto target = targetOfKeys(server);
    return target && target->owner == processIdentifier;
  };
  if (hasKeyboard() || (isLocked && isLocked())) return;
  const auto snapshot = windows.snapshot();
  const auto topmost = std::find_if(snapshot.windows.rbegin(), snapshot.windows.rend(), [&](const Window& window) {
    return window.processIdentifier == processIdentifier && window.isMapped && window.type != WindowType::dock &&
           window.type != WindowType::desktop;
  });
  if (topmost == snapshot.windows.rend() || !windows.activate(topmost->id)) return;
  const auto deadline = std::chrono::steady_clock::now() + kKeyboardWait;
  while (!hasKeyboard() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kKeyboardCheckInterval);
  }
}

void XTestEvents::releaseAll() {
  if (keysDown.empty() && !isButtonDown) return;
  const auto* const server = link.connection();
  if (server == nullptr) return;
  // Where the pointer is: a release that moves it would be a gesture.
  const auto release = [&](std::uint8_t type, std::uint8_t detail) {
    xcb_test_fake_input(server->get(), type, detail, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
  };
  if (isButtonDown) release(XCB_BUTTON_RELEASE, kLeftButton);
  for (const auto key : keysDown) release(XCB_KEY_RELEASE, key);
  // Waits until the server has them, since the connection goes now.
  const ReplyPointer<xcb_get_input_focus_reply_t> sign{
      xcb_get_input_focus_reply(server->get(), xcb_get_input_focus(server->get()), nullptr)};
}

}  // namespace quillard::x11
