#pragma once

#include <string>
#include <string_view>

#include "values/Time.h"

// Texts that run while they are shown: "The session ends in 12 seconds", "45 % done", "Restart (9)". The prompt is the
// same from second to second, and so is its identity; only its text differs.
//
// Live are a percentage, a time ("1 minute and 5 seconds", "0:59", in the languages whose units are known), and in a
// label also a number in brackets at its end. All other numbers are what the prompt is about: an amount, a size or a
// count of files that changes makes another prompt. Pure functions; any thread.
namespace quillard::LiveText {

// The text as it identifies a prompt: without what is live in it. Equal to `text` where nothing is.
[[nodiscard]] std::string steady(std::string_view text);
[[nodiscard]] std::string steadyLabel(std::string_view label);

// Whether a text that was `shown` may have become `now` by running alone: all else is the same, and each time in it
// has moved, up or down, by no more than the time that has passed and a few seconds. So "for 10 minutes" never turns
// into "for 10 hours" between what a person reads and what is pressed.
[[nodiscard]] bool isSameText(std::string_view shown, std::string_view now, Seconds passed);

// Whether two labels are those of one button: the same, but for what is live in them.
[[nodiscard]] bool isSameLabel(std::string_view shown, std::string_view now);

}  // namespace quillard::LiveText
