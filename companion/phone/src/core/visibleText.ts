// Texts of other programs, made safe to show: what has no shape of its own, or changes the order or the look of what
// stands around it, is written out.

// Control and format characters (bidirectional ones and joiners among them), halves of pairs, line and paragraph
// separators, everything that is not drawn by default, and the blank that is a letter (U+2800). The two selectors of
// text and emoji style stay: they are common in honest texts, and hide nothing.
const hidden = /[\p{Cc}\p{Cf}\p{Cs}\p{Zl}\p{Zp}\p{Default_Ignorable_Code_Point}\u2800]/gu;
const styleSelectors = new Set([0xfe0e, 0xfe0f]);

function named(character: string): string {
  const code = character.codePointAt(0) ?? 0;
  if (styleSelectors.has(code)) return character;
  return `⟨U+${code.toString(16).toUpperCase().padStart(4, "0")}⟩`;
}

/** One line. A right-to-left override becomes ⟨U+202E⟩, and a line break ⟨U+000A⟩. */
export function visibleText(text: string): string {
  return text.replace(hidden, named);
}

// What moves text about or breaks its line: controls, separators of lines and paragraphs, the marks, embeddings and isolates
// of direction, halves of pairs. Joiners are none of these: an emoji made of two needs them, and many a Persian name.
const unruly = /[\p{Cc}\p{Cs}\p{Zl}\p{Zp}\u061c\u200e\u200f\u202a-\u202e\u2066-\u2069]+/gu;

/** A name that a person chose, on one line; what it may not do there becomes a blank. */
export function visibleName(name: string): string {
  return name.replace(unruly, " ");
}

/** The lines of a longer text: its line breaks are honoured, all else is as in `visibleText`. */
export function visibleLines(text: string): string[] {
  return text.split(/\r\n|\n|\r|\u2028|\u2029/u).map(visibleText);
}
