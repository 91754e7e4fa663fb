#pragma once

#include <string>
#include <vector>

#include "approvals/PendingApproval.h"
#include "detection/DialogPromptClassifier.h"
#include "detection/PromptText.h"
#include "detection/WindowSource.h"
#include "platform/desktop/Accessibility.h"

namespace quillard {

// What one window shows, read once: everything that classification, the approval record and the diagnostics go by.
//
// A password field is enough: a prompt with a secure text field must not be approved from afar, whatever words, or
// language, it uses. The field's value is never asked for.
struct PromptReading {
  platform::AXUIElement content;      // The element that holds the prompt: the window, or the dialog inside it.
  DialogPromptEvidence evidence;      // Its texts as they stand.
  PromptTexts texts;                  // The same texts, and how each is judged: for now as it stands, too.
  DialogFrame frame;                  // Of the content, else of the window, else all zero.
  std::vector<DialogButton> buttons;  // In the walk's order.
  bool hasSecureTextField = false;    // The prompt asks for a secret, whatever words it uses.
  // Some text of it may be there and could not be read (`AXHelpers::TextReading`), or elements of it could not: what
  // they say may be what tells a prompt for a password.
  bool hasUnreadableText = false;
  // More than the limit of elements: what lies beyond is in none of the above.
  bool isCutOff = false;
  // The check boxes, radio buttons and menus among the elements, in the walk's order. What they say is read only where
  // `readOptions` is asked to.
  std::vector<platform::AXUIElement> options{};
};

// Reads windows. Stateless; any thread. Each read may be a request to another process and wait for it.
//
// What cannot be read must not be half understood. A text that is no UTF-8 or longer than 64 KiB is left out as a
// whole, and the reading says that there was one. A frame that is not finite or does not fit an integer reads as
// absent. No read fails; `AXReadScope::missedTimeout` says whether the whole reading was cut short.
namespace PromptReader {

// How many descendants of a window are searched for the dialog inside it.
inline constexpr int kContentSearchLimit = 40;

// How many descendants of a prompt are read for what tells that it asks for a secret. A binding may hand over that many
// children of one element and no more, so that a higher limit would take some for all.
inline constexpr int kTellingLimit = 120;

// Whether the element is one that holds a dialog: a sheet, a dialog by its subrole, or modal.
[[nodiscard]] bool isDialogContainer(platform::AXAttributeReader& reader, const platform::AXUIElement& element);

// The window itself when it is a dialog container; else the first of its descendants that is; else the window.
[[nodiscard]] platform::AXUIElement promptContentElement(platform::AXAttributeReader& reader,
                                                         const platform::AXUIElement& window);

// The title of a button, or its description when it has none. Empty when it has neither.
[[nodiscard]] std::string buttonLabel(platform::AXAttributeReader& reader, const platform::AXUIElement& element);

// The button as it is now: it has a label, and a frame with some width and height. Absent for anything else. One that
// does not say whether it takes presses is taken to.
[[nodiscard]] std::optional<DialogButton> pressableButton(platform::AXAttributeReader& reader,
                                                          const platform::AXUIElement& element);

// Reads the window, walking at most `descendantLimit` elements of its content. What cannot be read is missing from the
// result; the caller decides whether that matters.
//
// Text lines come from static texts and text fields: the value, else the title, else the description, whichever first
// holds more than white space; of a secure text field never the value, and "Password" when it says nothing else. They
// stand as shown, trimmed, in reading order: by the places of their elements, top to bottom, then left to right; an
// element without a frame follows the one before it in the walk (and opens the list when there is none before). Lines
// that say the same as a button, or as an earlier line, once normalised, are left out.
[[nodiscard]] PromptReading readPrompt(platform::AXAttributeReader& reader, const WindowSource& source,
                                       int descendantLimit);

// Reads on in a prompt that was cut off, up to `kTellingLimit`, for nothing but whether it may be approved from afar:
// the texts that lie beyond what was read, in the order of the walk, which become `texts.beyond`; and the boxes and
// menus there, which are added to the others and counted. Sets
// `hasSecureTextField` and `hasUnreadableText` where they belong, the latter also when there is even more. Nothing of a
// reading that was not cut off.
void readBeyond(platform::AXAttributeReader& reader, PromptReading& reading, int descendantLimit);

// The boxes and menus become `texts.options`: their titles (else their descriptions) and states, in reading order, as
// lines. A title or state that cannot be read sets `hasUnreadableText`.
void readOptions(platform::AXAttributeReader& reader, PromptReading& reading);

}  // namespace PromptReader

}  // namespace quillard
