// JSON as the agent and the relay read it. The browser's own reader keeps the standard's grammar, but lets a few things pass
// that it leaves open, and that another reader may take otherwise: members that stand twice, halves of surrogate pairs,
// numbers beyond all limits. Two readers must never disagree on what a message says, so these are refused.

const deepest = 32;
const mostMembers = 1024;
const numberPattern = /-?\d+(?:\.\d+)?(?:[eE][+-]?\d+)?/y;
const loneSurrogate = /\p{Surrogate}/u;

/** The value; undefined: the text is no JSON, or not in this strict sense. */
export function parseStrictJson(text: string): unknown {
  let value: unknown;
  try {
    value = JSON.parse(text);
  } catch {
    return undefined;
  }
  return isStrict(text) ? value : undefined;
}

/** The place behind the string that begins at `from` with its quote. */
function endOfString(text: string, from: number): number {
  for (let at = from + 1; ; at++) {
    at = text.indexOf('"', at);
    let escapes = at - 1;
    while (text[escapes] === "\\") escapes--;
    if ((at - 1 - escapes) % 2 === 0) return at + 1;
  }
}

/** `text` is JSON. */
function isStrict(text: string): boolean {
  // The names of each object that is open; of a list: undefined.
  const open: (Set<string> | undefined)[] = [];
  let isName = false;
  for (let at = 0; at < text.length;) {
    switch (text[at]) {
      case "{":
      case "[":
        isName = text[at] === "{";
        open.push(isName ? new Set() : undefined);
        if (open.length > deepest) return false;
        at++;
        break;
      case "}":
      case "]":
        open.pop();
        isName = false;
        at++;
        break;
      case ",":
        isName = open[open.length - 1] !== undefined;
        at++;
        break;
      case '"': {
        const end = endOfString(text, at);
        const written = text.slice(at, end);
        const meaning = isName || written.includes("\\u") ? String(JSON.parse(written)) : "";
        if (loneSurrogate.test(meaning)) return false;
        const names = open[open.length - 1];
        if (isName && names) {
          if (names.has(meaning) || names.size === mostMembers) return false;
          names.add(meaning);
        }
        isName = false;
        at = end;
        break;
      }
      default: {
        numberPattern.lastIndex = at;
        const number = numberPattern.exec(text)?.[0];
        if (number !== undefined && !Number.isFinite(Number(number))) return false;
        at += number?.length ?? 1;
      }
    }
  }
  return true;
}
