#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/desktop/SyntheticEvents.h"
#include "platform/linux/x11/ServerConnection.h"
#include "platform/linux/x11/XWindows.h"

namespace quillard::x11 {

// The key that gives this symbol without any modifier. Absent when no key does. `symbols`: for each key from `firstKey`
// on, `symbolsPerKey` of them, as the X server gives them.
[[nodiscard]] std::optional<std::uint8_t> keyForSymbol(const std::vector<std::uint32_t>& symbols, int symbolsPerKey,
                                                       std::uint8_t firstKey, std::uint32_t symbol);

// Input through the X server's test extension, which acts as mouse and keyboard do. A mouse event takes the pointer
// along. Nothing can be created without an X server, without the extension, outside the screen, or for a key that the
// keyboard does not have.
//
// X has no delivery to one process. The closest that does no harm:
//   - A mouse event is posted only while the topmost window at its point is the process's own.
//   - A key is posted only while a window of the process has the keyboard. When none has, nothing is posted; its
//   topmost
//     window is activated, and given up to 100 ms to get it, for a caller that checks again which one that is.
//   - Nothing is posted while the screen is locked: a locker takes the keyboard and leaves the focus where it is.
//   - Nothing is posted when it is another window than before the lock was asked for, which takes a while.
//   - Otherwise nothing is posted. The server serves no other client between the last check and the event.
//   - A release follows its press wherever that is: the server hands it to whoever got the press, and a button that
//     stayed down would be worse. Without a press of ours it is not posted.
// To the desktop is the same without activating anything, and only in a session of X itself: within a Wayland session
// an event for a Wayland program would go to whichever X program has the focus of the X server.
// Presses that were not released are released when this object goes.
//
// One thread at a time; waits for the X server.
class XTestEvents final : public platform::SyntheticEvents {
 public:
  // `displayName`: as for the windows, which outlive this. `isXSession`: the X server is no guest of a Wayland session.
  // `isLocked`: asked before each press, of which none is posted then; empty: it cannot be told.
  XTestEvents(std::optional<std::string> displayName, desktop::DesktopWindows& windows, bool isXSession,
              std::function<bool()> isLocked = {});
  ~XTestEvents() override;

  [[nodiscard]] std::unique_ptr<platform::SyntheticEvent> createMouseEvent(platform::MouseEventType type,
                                                                           Point position) override;
  [[nodiscard]] std::unique_ptr<platform::SyntheticEvent> createKeyboardEvent(platform::KeyCode key,
                                                                              bool isDown) override;
  bool postToProcess(std::int32_t processIdentifier, const platform::SyntheticEvent& event) override;
  bool postToDesktop(const platform::SyntheticEvent& event, std::optional<std::int32_t> expectedOwner) override;

 private:
  class Event;
  // A window that would get an event, and the process that it belongs to.
  struct Target {
    std::uint32_t window = 0;
    std::int32_t owner = 0;
    bool operator==(const Target&) const = default;
  };

  [[nodiscard]] ServerConnection* testableServer();
  [[nodiscard]] bool isOnScreen(const ServerConnection& server, Point position) const;
  void post(const ServerConnection& server, const Event& event);
  // Absent: none, or one that does not say whose it is.
  [[nodiscard]] static std::optional<Target> targetAt(const ServerConnection& server, std::int16_t x, std::int16_t y);
  [[nodiscard]] static std::optional<Target> targetOfKeys(const ServerConnection& server);
  [[nodiscard]] static std::optional<Target> targetOf(const ServerConnection& server, const Event& event);
  // Between the last check and the event, the server serves no other client. False: nothing was posted.
  bool postIfOwned(const ServerConnection& server, std::int32_t owner, const Event& event);
  // Without a press of ours, nothing is posted.
  bool postRelease(const ServerConnection& server, const Event& event);
  void bringKeyboard(const ServerConnection& server, std::int32_t processIdentifier);
  void releaseAll();

  desktop::DesktopWindows& windows;
  const bool isXSession;
  const std::function<bool()> isLocked;
  ServerLink link;
  std::set<std::uint8_t> keysDown;
  bool isButtonDown = false;
};

}  // namespace quillard::x11
