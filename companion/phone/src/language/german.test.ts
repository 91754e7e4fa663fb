import { afterEach, describe, expect, it } from "vitest";
import { german } from "./german";
import { said, say, speak } from "./say";

const rows = Object.entries(german);
const places = (text: string) => [...new Set(text.match(/%\d/g))].sort();
/** Ends as a sentence, a question, a text that goes on, or none of these. */
const ending = (text: string) => /[.?…:]$/.exec(text)?.[0] ?? "";

describe("The page in German", () => {
  afterEach(() => speak(undefined));

  it.each(rows)("takes the values of the English text, and ends as that does: %s", (english, text) => {
    expect(places(text)).toEqual(places(english));
    expect(ending(text)).toBe(ending(english));
  });

  it("has its own quotation marks and spaces, and nothing that would end a string of the program", () => {
    const wrong = rows.filter(([, text]) =>
      /["'`$\\“]…?$|["'`$\\]|[^ ]…$| {2}|^ .* $/.test(text.replace(/“(?=$|\W)/g, "")),
    );
    expect(wrong.map(([, text]) => text)).toEqual([]);
  });

  it("is not much longer than the English text", () => {
    const long = rows.filter(([english, text]) => text.length > 14 + 1.5 * english.length);
    expect(long.map(([, text]) => text)).toEqual([]);
  });

  it("is said once it is spoken, with its values, and English is otherwise", () => {
    expect(say("Sending %1 to %2…", "A %2", "B")).toBe("Sending A %2 to B…");
    speak(german);
    expect(say("Sending %1 to %2…", "A", "B")).toBe("A wird an B gesendet …");
    expect(
      said(say("%1 has joined %2 with the code of %3"), 1, 2, 3).filter((piece) => piece !== ""),
    ).toEqual([1, " ist ", 2, " mit dem Code von ", 3, " beigetreten"]);
  });
});
