#include "desktop/Screenshot.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include <QtGui/QImage>
#include <xcb/xcb.h>

namespace quillard::test {

void saveScreenshot(const std::string& display, const std::string& path) {
  const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(xcb_connect(display.c_str(), nullptr),
                                                                                &xcb_disconnect);
  if (xcb_connection_has_error(connection.get()) != 0) throw std::runtime_error("No X server at " + display);
  const xcb_screen_t* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
  const int width = screen->width_in_pixels;
  const int height = screen->height_in_pixels;
  const auto request = xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, 0,
                                     screen->width_in_pixels, screen->height_in_pixels, ~0U);
  const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
      xcb_get_image_reply(connection.get(), request, nullptr), &std::free);
  if (!reply || xcb_get_image_data_length(reply.get()) != width * height * 4) {
    throw std::runtime_error("No picture of " + display);
  }
  const QImage picture(xcb_get_image_data(reply.get()), width, height, QImage::Format_RGB32);
  if (!picture.save(QString::fromStdString(path), "PNG"))
    throw std::runtime_error("No picture can be written: " + path);
}

}  // namespace quillard::test
