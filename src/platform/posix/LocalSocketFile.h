#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quillard::desktop {

// An open folder, which this owns and closes. Moves only.
class OpenFolder {
 public:
  // `path`: by which the folder is reached while it is open; short, since addresses of sockets are.
  OpenFolder(int descriptor, std::string path) : itsDescriptor(descriptor), itsPath(std::move(path)) {}
  ~OpenFolder();
  OpenFolder(OpenFolder&& other) noexcept;
  OpenFolder& operator=(OpenFolder&&) = delete;
  OpenFolder(const OpenFolder&) = delete;
  OpenFolder& operator=(const OpenFolder&) = delete;

  [[nodiscard]] int descriptor() const { return itsDescriptor; }
  [[nodiscard]] const std::string& path() const { return itsPath; }

 private:
  int itsDescriptor;  // Negative: moved from.
  std::string itsPath;
};

// A socket that listens under a name, and by which file it does so.
struct ListeningSocket {
  int descriptor = -1;
  std::uint64_t device = 0;
  std::uint64_t file = 0;
};

// Makes a socket under `name` that only this user may use, and listens at it. It is made under another name and then
// put in the place of whatever stands there, so that no moment passes without one. Absent: not possible. The descriptor
// does not block, and programs that this process starts do not inherit it; the caller closes it.
[[nodiscard]] std::optional<ListeningSocket> listenIn(const OpenFolder& folder, const std::string& name);

// Whether the file of that name is still the socket.
[[nodiscard]] bool isStillThere(const OpenFolder& folder, const std::string& name, const ListeningSocket& socket);
// Tells the system that the file is in use, for what tidies folders.
void touchIn(const OpenFolder& folder, const std::string& name);
// Removes the file, if it is still the socket.
void removeFrom(const OpenFolder& folder, const std::string& name, const ListeningSocket& socket);

struct SocketConnection {
  int descriptor = -1;     // Negative: there is none. The caller closes it; see `listenIn`.
  bool isRefused = false;  // There is a socket, which takes no connection now.
};
[[nodiscard]] SocketConnection connectIn(const OpenFolder& folder, const std::string& name);

// From now on it does not block, and programs that this process starts do not inherit it.
[[nodiscard]] bool prepareSocket(int descriptor);

}  // namespace quillard::desktop
