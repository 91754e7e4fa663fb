#include "desktop/Screenshot.h"

#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <QtGui/QImage>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace quillard::test {
namespace {

// A socket to the X server. No wait on it takes longer than its time: it is then shut down, which ends every wait.
class BoundedSocket {
 public:
  BoundedSocket(const std::string& display, std::chrono::milliseconds time)
      : descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), clock([this, time] { shutAfter(time); }) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/tmp/.X11-unix/X" + display.substr(1);
    path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      ::shutdown(descriptor, SHUT_RDWR);
    }
  }
  BoundedSocket(const BoundedSocket&) = delete;
  BoundedSocket& operator=(const BoundedSocket&) = delete;
  ~BoundedSocket() {
    {
      const std::lock_guard lock(mutex);
      isOver = true;
    }
    over.notify_one();
    clock.join();
    ::close(descriptor);
  }

  // The caller closes it.
  [[nodiscard]] int copy() const { return ::dup(descriptor); }

 private:
  void shutAfter(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex);
    if (!over.wait_for(lock, time, [this] { return isOver; })) ::shutdown(descriptor, SHUT_RDWR);
  }

  const int descriptor;
  std::mutex mutex;
  std::condition_variable over;
  bool isOver = false;
  std::thread clock;
};

}  // namespace

void saveScreenshot(const std::string& display, const std::string& path, std::chrono::milliseconds timeout) {
  const BoundedSocket socket(display, timeout);
  const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
      xcb_connect_to_fd(socket.copy(), nullptr), &xcb_disconnect);
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
