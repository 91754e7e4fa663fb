#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/desktop/Accessibility.h"
#include "platform/macos/AXElement.h"

// Whom a question goes to. This is the one place that keeps questions from reaching this very process: the system would
// answer for it on the thread that asks, where neither AppKit's objects nor Qt's may be touched.
//
// The system-wide element hands questions to whichever application has the keyboard, or a window at a point, at that
// moment, and this may be the asking process by then. So it is only asked which application has the keyboard, which the
// system answers by itself; everything else is asked of the one application that it was found to be. Whose an element
// is never changes: between the check and the question nothing can happen.
//
// All of it where requests are made (AXCalls).
namespace quillard::macos {

// The process in front, as the workspace says. Any thread. Absent: none, or not known.
using FrontmostProcess = std::function<std::optional<std::int32_t>()>;

// The application that has the keyboard, this process included: the system's word, or the frontmost process where it
// has none. Applications alone know their focused window, and the system-wide element has been seen to know none.
[[nodiscard]] platform::AXResult<platform::AXUIElement> applicationWithKeyboard(const AXElement& systemWide,
                                                                                const FrontmostProcess& frontmost);

// `element` itself; `invalidUIElement` when it is of another binding or of this process; `attributeUnsupported` for the
// system-wide one.
[[nodiscard]] platform::AXResult<platform::AXUIElement> addresseeOf(const platform::AXUIElement& element);

// The same for a question of the focus to the system-wide element, once it is known who has the keyboard. `noValue`:
// this process.
[[nodiscard]] platform::AXResult<platform::AXUIElement> addresseeOfFocus(
    const platform::AXResult<platform::AXUIElement>& applicationWithKeyboard);

// Whether the system-wide element is asked for what an application knows of its focus.
[[nodiscard]] bool isQuestionOfFocus(const platform::AXUIElement& element, platform::AXAttribute name);

// The deepest element at the point: of an application, or of whichever shows the frontmost window there. Applications
// whose windows lie above all dialogs, as large as the screen and letting everything through, are passed over unless
// they have something at the point. `noValue` where this process has the window.
[[nodiscard]] platform::AXResult<platform::AXUIElement> elementAt(const platform::AXUIElement& within, Point point);

}  // namespace quillard::macos
