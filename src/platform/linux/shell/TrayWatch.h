#pragma once

#include <functional>
#include <memory>

namespace quillard::desktop {

// Finds out when the desktop has a place for tray icons: immediately where it has one already, and otherwise when one
// comes, be it hours later. No polling. The place, once found, is announced a single time: from then on Qt itself
// follows a tray that goes and comes back.
//
// Qt decides for the life of the process, when it first looks, whether trays are reached over the bus. An agent that is
// started before the desktop's panel must therefore not let it look too early.
class TrayWatch {
 public:
  // `onFound` comes on the main thread, in a later turn of its loop.
  static std::unique_ptr<TrayWatch> start(std::function<void()> onFound);
  virtual ~TrayWatch() = default;
};

}  // namespace quillard::desktop
