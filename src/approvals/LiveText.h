#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "values/Time.h"

// Texts that run while they are shown: "The session ends in 12 seconds", "45 % done", "Restart (9)". The prompt is the
// same from second to second, and so is its identity; only its text differs.
//
// Live is a time ("1 minute and 5 seconds", "0:59", in the languages whose units are known). So is a percentage, but
// only beside a progress indicator in a prompt that asks nothing: "Pay 10 %?" is another question than "Pay 90 %?".
// Of a label, only a number in brackets at its end is live, alone or in seconds: "(9)", "(12 s)". All other numbers are
// what the prompt is about: an amount, a size or a count of files that changes makes another prompt. Pure functions;
// any thread.
namespace quillard::LiveText {

// Whether percentages may be progress: the window holds a progress indicator, and no text of it asks anything. A text
// that asks is never taken to hold progress, whatever the caller says.
enum class Progress { absent, shown };

// The text as it identifies a prompt: without what is live in it. Equal to `text` where nothing is.
[[nodiscard]] std::string steady(std::string_view text, Progress progress = Progress::absent);
[[nodiscard]] std::string steadyLabel(std::string_view label);

// Whether a text that was `shown` may have become `now` by running alone. All else is the same. Each time in it has
// moved, up or down, by no more than the time that has passed and a few seconds; one in whole minutes may fall by a
// minute more, as it does at a tick. So "for 10 minutes" never turns into "for 10 hours" between what a person reads
// and what is pressed. A live percentage is the same, or at most 100 and has risen by no more than ten points for each
// second that has passed and one more.
[[nodiscard]] bool isSameText(std::string_view shown, std::string_view now, Seconds passed,
                              Progress progress = Progress::absent);

// Whether a label that was `shown` may have become `now` by counting down: all else is the same to the letter, and the
// number has not risen, and has fallen by no more than the time that has passed and a few seconds. `passed` absent: by
// 120 at the most.
[[nodiscard]] bool isSameLabel(std::string_view shown, std::string_view now,
                               std::optional<Seconds> passed = std::nullopt);

}  // namespace quillard::LiveText
