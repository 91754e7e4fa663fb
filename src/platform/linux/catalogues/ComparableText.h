#pragma once

#include <string>
#include <string_view>

namespace quillard::catalogues {

// The form in which a shown text and a translation in a catalogue are compared: without marks of mnemonics ("_", "&",
// "(S)" behind East Asian texts), direction marks, tags and entities of markup, and an ellipsis at the end; every run
// of white space, no-break spaces included, is one blank, and there is none at the ends. Letter case stays. The same
// for both sides. Invalid UTF-8 stays as it is. For comparing only.
[[nodiscard]] std::string comparable(std::string_view text);
// The same into `out`, whose memory is used again.
void makeComparable(std::string_view text, std::string& out);

// A comparable text with one number in place of each other one, so that a line that counts is looked up once.
[[nodiscard]] std::string withoutNumbers(std::string_view comparable);

// A source text as it is judged: the same, but that an ellipsis and placeholders stay.
[[nodiscard]] std::string plainSource(std::string_view source);

}  // namespace quillard::catalogues
