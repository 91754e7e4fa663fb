#pragma once

#include <string>
#include <string_view>

// What stands in a shown text for the eye and the keyboard alone, and is no part of what it says. For comparing only:
// what is sent, pressed or drawn is always the text as it stands. Texts are UTF-8; other bytes stay as they are.
namespace quillard::text {

// Without the invisible characters that steer the direction of writing or join characters (U+200B to U+200F, U+202A to
// U+202E, U+2060 to U+2069, U+FEFF).
[[nodiscard]] std::string withoutDirectionMarks(std::string_view text);

// Without the mnemonic that programs write behind East Asian texts: "保存(S)" is "保存", "パスワード(P):" is
// "パスワード:". Also with a mark before the letter ("(_S)", "(&S)") and in wide brackets. A bracket behind a letter of
// another script ("Option (A)") stays.
[[nodiscard]] std::string withoutMnemonicTail(std::string_view text);

// Without both.
[[nodiscard]] std::string withoutMarks(std::string_view text);

// Whether it holds a question mark, of whatever script.
[[nodiscard]] bool holdsQuestion(std::string_view text);

}  // namespace quillard::text
