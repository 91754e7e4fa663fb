#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "values/Time.h"

// Texts that run while they are shown: "The session ends in 12 seconds", "45 % done", "Restart (9)". The prompt is the
// same from second to second, and so is its identity; only its text differs.
//
// Live are a percentage and a time ("1 minute and 5 seconds", "0:59", in the languages whose units are known), and of a
// label only a number in brackets at its end, alone or in seconds: "(9)", "(12 s)". All other numbers are what the
// prompt is about: an amount, a size or a count of files that changes makes another prompt. Pure functions; any thread.
namespace quillard::LiveText {

// The text as it identifies a prompt: without what is live in it. Equal to `text` where nothing is.
[[nodiscard]] std::string steady(std::string_view text);
[[nodiscard]] std::string steadyLabel(std::string_view label);

// Whether a text that was `shown` may have become `now` by running alone: all else is the same, and each time in it
// has moved, up or down, by no more than the time that has passed and a few seconds; one in whole minutes may fall by a
// minute more, as it does at a tick. So "for 10 minutes" never turns
// into "for 10 hours" between what a person reads and what is pressed.
[[nodiscard]] bool isSameText(std::string_view shown, std::string_view now, Seconds passed);

// Whether a label that was `shown` may have become `now` by counting down: all else is the same to the letter, and the
// number has not risen, and has fallen by no more than the time that has passed and a few seconds. `passed` absent: by
// 120 at the most.
[[nodiscard]] bool isSameLabel(std::string_view shown, std::string_view now,
                               std::optional<Seconds> passed = std::nullopt);

}  // namespace quillard::LiveText
