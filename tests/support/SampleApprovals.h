#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "approvals/PendingApproval.h"

namespace quillard::samples {

// An identity that reads well in failures: 00000000-0000-0000-0000-00000000002A for 42.
inline Uuid uuid(std::uint64_t number) {
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < 8; ++i) bytes[15 - i] = static_cast<std::uint8_t>(number >> (8 * i));
  return Uuid{bytes};
}

inline Date date(double seconds) {
  constexpr Date kStart{std::chrono::sys_days{std::chrono::year{2026} / 3 / 1}};
  return advanced(kStart, Seconds{seconds});
}

inline DialogButton button(std::string label) {
  return {.label = std::move(label), .role = "AXButton", .x = 20, .y = 120, .width = 80, .height = 24};
}

// A prompt to erase a disk, as detection gives it: every field is filled in.
inline PendingApproval approval(std::uint64_t id = 1) {
  return {.id = uuid(id),
          .suppressionID = uuid(id),
          .detectedAt = date(0),
          .appName = "Disk Tool",
          .bundleIdentifier = "com.example.disktool",
          .processIdentifier = 412,
          .windowTitle = "Erase disk?",
          .windowRole = "AXWindow/AXDialog",
          .windowFrame = {100, 200, 400, 180},
          .messageLines = {"Erasing cannot be undone.", "Are you sure?"},
          .reason = "Erasing cannot be undone.\nAre you sure?",
          .buttons = {button("Cancel"), button("Erase")},
          .recommendedButtonLabel = "Erase",
          .requiresDirectAccess = true,
          .directAccessReason = "Because.",
          .isFallbackDetection = false};
}

}  // namespace quillard::samples
