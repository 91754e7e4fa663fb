#include "desktop/SampleClient.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace quillard::test {
namespace {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT: xcb hands out memory of malloc.
};
template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, FreeDeleter>;

constexpr std::uint32_t kIconicState = 3;
constexpr std::uint32_t kSourcePager = 2;

std::string at(int x, int y) { return " at " + std::to_string(x) + "," + std::to_string(y); }

}  // namespace

SampleClient::SampleClient(const std::string& display)
    : link(xcb_connect(display.c_str(), nullptr)),
      screen(xcb_connection_has_error(link) == 0 ? xcb_setup_roots_iterator(xcb_get_setup(link)).data : nullptr) {
  if (screen == nullptr) throw std::runtime_error("The sample client cannot reach the display " + display);
}

SampleClient::~SampleClient() { xcb_disconnect(link); }

std::uint32_t SampleClient::open(const SampleWindow& window) {
  const auto id = xcb_generate_id(link);
  const std::array<std::uint32_t, 3> values{screen->white_pixel, window.isUnmanaged ? 1U : 0U,
                                            XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                                XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE};
  const auto& bounds = window.bounds;
  xcb_create_window(link, XCB_COPY_FROM_PARENT, id, screen->root, static_cast<std::int16_t>(bounds.x),
                    static_cast<std::int16_t>(bounds.y), static_cast<std::uint16_t>(bounds.width),
                    static_cast<std::uint16_t>(bounds.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
  setText(id, "_NET_WM_NAME", "UTF8_STRING", window.name);
  setText(id, "WM_CLASS", "STRING", std::string{"sample\0Sample\0", 14});
  if (window.process != 0) {
    setNumbers(id, "_NET_WM_PID", "CARDINAL", {static_cast<std::uint32_t>(window.process)});
  }
  if (!window.type.empty()) setNumbers(id, "_NET_WM_WINDOW_TYPE", "ATOM", {atom(window.type)});
  if (!window.hasFrame) setNumbers(id, "_MOTIF_WM_HINTS", "_MOTIF_WM_HINTS", {2, 0, 0, 0, 0});
  setNumbers(id, "WM_PROTOCOLS", "ATOM", {atom("WM_DELETE_WINDOW")});
  setNumbers(id, "WM_NORMAL_HINTS", "WM_SIZE_HINTS",
             std::vector<std::uint32_t>{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});  // The place is meant.
  xcb_map_window(link, id);
  settle();
  return id;
}

void SampleClient::close(std::uint32_t window) {
  xcb_destroy_window(link, window);
  settle();
}

void SampleClient::resize(std::uint32_t window, std::uint32_t width, std::uint32_t height) {
  const std::array<std::uint32_t, 2> size{width, height};
  xcb_configure_window(link, window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size.data());
  settle();
}

void SampleClient::setText(std::uint32_t window, const std::string& property, const std::string& type,
                           const std::string& bytes) {
  xcb_change_property(link, XCB_PROP_MODE_REPLACE, window, atom(property), atom(type), 8,
                      static_cast<std::uint32_t>(bytes.size()), bytes.data());
  settle();
}

void SampleClient::setNumbers(std::uint32_t window, const std::string& property, const std::string& type,
                              const std::vector<std::uint32_t>& numbers) {
  xcb_change_property(link, XCB_PROP_MODE_REPLACE, window, atom(property), atom(type), 32,
                      static_cast<std::uint32_t>(numbers.size()), numbers.data());
  settle();
}

void SampleClient::append(std::uint32_t window, const std::string& property, const std::string& type,
                          const std::string& piece) {
  xcb_change_property(link, XCB_PROP_MODE_APPEND, window, atom(property), atom(type), 8,
                      static_cast<std::uint32_t>(piece.size()), piece.data());
  settle();
}

std::uint32_t SampleClient::atom(const std::string& name) {
  const ReplyPointer<xcb_intern_atom_reply_t> reply{xcb_intern_atom_reply(
      link, xcb_intern_atom(link, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr)};
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void SampleClient::minimise(std::uint32_t window) { sendToRoot(window, "WM_CHANGE_STATE", kIconicState, 0); }

void SampleClient::move(std::uint32_t window, Point corner) {
  const std::array values{static_cast<std::uint32_t>(corner.x), static_cast<std::uint32_t>(corner.y)};
  xcb_configure_window(link, window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values.data());
  settle();
}

void SampleClient::moveToDesktop(std::uint32_t window, std::uint32_t desktop) {
  sendToRoot(window, "_NET_WM_DESKTOP", desktop, kSourcePager);
}

void SampleClient::switchToDesktop(std::uint32_t desktop) {
  sendToRoot(screen->root, "_NET_CURRENT_DESKTOP", desktop, 0);
}

void SampleClient::activate(std::uint32_t window) { sendToRoot(window, "_NET_ACTIVE_WINDOW", kSourcePager, 0); }

const std::vector<std::string>& SampleClient::input() {
  settle();
  while (const ReplyPointer<xcb_generic_event_t> event{xcb_poll_for_event(link)}) {
    const auto type = event->response_type & 0x7F;
    if (type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE) {
      const auto& button = reinterpret_cast<const xcb_button_press_event_t&>(*event);
      lines.push_back((type == XCB_BUTTON_PRESS ? "press " : "release ") + std::to_string(button.detail) +
                      at(button.event_x, button.event_y));
    } else if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
      const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(*event);
      lines.push_back("key " + std::to_string(key.detail) + (type == XCB_KEY_PRESS ? " down" : " up"));
    } else if (type == XCB_CLIENT_MESSAGE) {
      const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
      if (message.data.data32[0] == atom("WM_DELETE_WINDOW")) lines.emplace_back("asked to close");
    }
  }
  return lines;
}

bool SampleClient::hasInput(const std::string& line) {
  for (const auto& each : input()) {
    if (each == line) return true;
  }
  return false;
}

void SampleClient::sendToRoot(std::uint32_t window, const std::string& type, std::uint32_t first,
                              std::uint32_t second) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = atom(type);
  message.data.data32[0] = first;
  message.data.data32[1] = second;
  xcb_send_event(link, 0, screen->root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
  settle();
}

// Its answer comes when the server has done all that was asked before.
void SampleClient::settle() {
  const ReplyPointer<xcb_get_input_focus_reply_t> sign{
      xcb_get_input_focus_reply(link, xcb_get_input_focus(link), nullptr)};
}

}  // namespace quillard::test
