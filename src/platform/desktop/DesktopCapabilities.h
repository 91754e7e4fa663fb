#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Finding.h"

namespace quillard::platform {

// What the agent can do better, or at all, where the desktop lets it. Bindings map them by a `switch` without a
// default.
enum class DesktopCapability : std::uint8_t {
  windowList,            // The window list holds the windows of every application.
  frontmostApplication,  // The workspace can tell which application is in front.
  screenCoordinates,     // Frames of elements are places on the screen, and it can be told what lies at a point.
  syntheticInput,        // Clicks and keys can be sent to every application.
};

// The name of a program that has none.
inline constexpr const char* kUnknownProgramName = "an unknown program";

// A program that has windows whose elements cannot be read, so that its prompts are missed.
struct UnreadableProgram {
  std::int32_t processIdentifier = 0;
  std::string name;    // For people. Never empty.
  std::string remedy;  // A text of the catalogue: what to do so that it can be read. Empty: nothing is known to help.
  // What `ReadableStarts` can change so that it can be read after its next start. Empty: nothing, or not safely.
  std::string startEntry{};
  bool operator==(const UnreadableProgram&) const = default;
};

// What this desktop lets the agent do and know, asked of the binding that knows it: whoever explains to the user why
// something is missing asks here, and shows the reason as it is. Any thread.
class DesktopCapabilities {
 public:
  DesktopCapabilities() = default;
  DesktopCapabilities(const DesktopCapabilities&) = delete;
  DesktopCapabilities& operator=(const DesktopCapabilities&) = delete;
  virtual ~DesktopCapabilities() = default;

  // As it is now: a display may come and go. Absent: nothing is missing. Waits for the display at the longest, never
  // for applications.
  [[nodiscard]] virtual std::optional<Limitation> limitation(DesktopCapability capability) = 0;

  // The programs with windows that the accessibility interface does not reach, or of which it tells nothing that is in
  // them; this process is never among them. Not known where accessibility is not to be had, and where windows cannot be
  // listed, programs not be told apart by that, or programs do not answer, and none was found all the same. Waits for
  // services of the session: not for a thread that must stay responsive.
  [[nodiscard]] virtual Finding<std::vector<UnreadableProgram>> unreadablePrograms() = 0;
};

}  // namespace quillard::platform
