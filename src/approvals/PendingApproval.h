#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Uuid.h"
#include "platform/desktop/Accessibility.h"
#include "values/Geometry.h"
#include "values/Time.h"

namespace quillard {

// A rectangle in global screen coordinates: points, origin at the top left of the main display, y growing downwards.
struct DialogFrame {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  [[nodiscard]] static DialogFrame of(const Rect& rect) { return {rect.x, rect.y, rect.width, rect.height}; }

  // Whether `identity` can be asked for: every field is finite and fits a signed 64-bit integer.
  [[nodiscard]] bool hasIdentity() const;

  // "x,y,width,height" with the fractions cut off towards zero. Asking it of a frame without identity is a broken
  // promise of ours and stops the process.
  [[nodiscard]] std::string identity() const;

  bool operator==(const DialogFrame&) const = default;
};

// One pressable button of a prompt, as it was when the prompt was read.
struct DialogButton {
  std::string label;  // As shown, to the letter.
  std::string role;   // For example "AXButton".
  double x = 0;       // Screen points, as in `DialogFrame`.
  double y = 0;
  double width = 0;
  double height = 0;
  bool isEnabled = true;  // Takes presses. Others are shown, and neither offered, recommended nor pressed.
  // A safe dismissal by what is known of this desktop's labels, where the label alone does not tell it
  // (`DialogButtonSemantics::isSafeDismissal`).
  bool isKnownDismissal = false;

  bool operator==(const DialogButton&) const = default;
};

// One approval prompt on screen: the record that detection makes, the store keeps, the phone is shown and the click
// goes by. A plain value.
struct PendingApproval {
  Uuid id;             // From detection: the prompt's fingerprint. From the store: the identity that the phone knows.
  Uuid suppressionID;  // What mutes this kind of prompt.
  Date detectedAt;     // When the prompt was first seen.
  std::string appName;
  std::optional<std::string> bundleIdentifier;  // Absent: unknown.
  std::int32_t processIdentifier = 0;
  std::string windowTitle;  // May be empty.
  std::string windowRole;   // "AXWindow/AXDialog", or the role alone when there is no subrole.
  DialogFrame windowFrame;
  std::vector<std::string> messageLines;  // In reading order.
  std::string reason;
  std::vector<DialogButton> buttons;                  // In the order in which detection met them.
  std::optional<std::string> recommendedButtonLabel;  // Absent: none of the buttons is to be recommended.
  bool requiresDirectAccess = false;                  // May be dismissed from afar, never approved.
  std::optional<std::string> directAccessReason;
  bool isFallbackDetection = false;  // No text could be read of it; `messageLines` holds a line of ours instead.
  // The live window that shows it, which tells two prompts of one content apart. It never leaves this process. Absent:
  // the record was not read from a screen.
  std::optional<platform::AXUIElement> window;
  // When the scan read these texts, by `Clock::continuousTime`, so that it is known how far what runs in them may have
  // got. It never leaves this process. Absent: unknown, and no time counts as passed.
  std::optional<std::chrono::milliseconds> readAt{};
  // Its window holds a progress indicator and asks nothing, so that percentages in its texts may run (`LiveText`). It
  // never leaves this process.
  bool showsProgress = false;
  // What its boxes and menus are set to, those that are not shown as well: two prompts that differ in it are not the
  // same. Opaque; it never leaves this process.
  std::string optionStates{};
  // A program asks it and waits for the answer; no window shows it. It never leaves this process.
  bool isAsked = false;

  // The button of a label that was shown: the one labelled so, or else the one that has counted down from it, unless
  // another counts beside it under the same words. Absent: none.
  [[nodiscard]] const DialogButton* button(std::string_view label) const;

  // The record with `fields`, and with `suppressionID`, which is the `id` when absent.
  [[nodiscard]] static PendingApproval make(PendingApproval fields,
                                            const std::optional<Uuid>& suppressionID = std::nullopt);

  // "Finder: Copy", or "Finder needs attention" without a title. Blanks are a title.
  [[nodiscard]] std::string displayTitle() const;

  // A copy under another identity and time; all else, `suppressionID` included, stays.
  [[nodiscard]] PendingApproval replacingIdentity(const Uuid& newID, Date newDetectedAt) const;

  // How well a freshly read prompt matches this one: 1000 for the same `id`; 0 when process, bundle, title, message
  // lines, the states of boxes and menus, or the set of labels differ; else 500 less the distance of the window centres
  // in points, at least 1. What runs in title, lines and labels (`LiveText`) makes no difference as far as it can have
  // run since this one was read. Buttons whose labels could run into each other are compared exactly, and the line of
  // ours is not compared.
  [[nodiscard]] double matchScore(const PendingApproval& candidate) const;

  bool operator==(const PendingApproval&) const = default;
};

}  // namespace quillard

template <>
struct std::hash<quillard::DialogFrame> {
  std::size_t operator()(const quillard::DialogFrame& frame) const noexcept;
};
template <>
struct std::hash<quillard::DialogButton> {
  std::size_t operator()(const quillard::DialogButton& button) const noexcept;
};
template <>
struct std::hash<quillard::PendingApproval> {
  std::size_t operator()(const quillard::PendingApproval& approval) const noexcept;
};
