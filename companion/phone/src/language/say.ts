// What the page says, in the language that the page is built for: each text is written in English where it is used, and `german.ts`
// has it in German. The build puts the right one in its place (`vite.languages.ts`), so that no table is sent to
// a phone. Without the build (tests, the terminal's phone) a text is English, or what `speak` has set.
import type { german } from "./german";

export type Text = keyof typeof german;

let table: Readonly<Partial<Record<string, string>>> | undefined;

/** For what is not built, the gallery and tests: before anything is imported that says something. Absent: English. */
export function speak(texts: Readonly<Record<Text, string>> | undefined): void {
  table = texts;
}

/** `values`: for %1, %2 and so on, in their order. */
export function say(text: Text, ...values: readonly (string | number)[]): string {
  return (table?.[text] ?? text).replace(/%(\d)/g, (mark, number: string) =>
    String(values[Number(number) - 1] ?? mark),
  );
}

/** The same, where what is put in is no text: the pieces, in the order in which they are shown. */
export function said<Parts extends readonly unknown[]>(
  text: string,
  ...values: Parts
): (string | Parts[number])[] {
  return text.split(/(%\d)/).map((piece) => (/^%\d$/.test(piece) ? values[Number(piece[1]) - 1] : piece));
}
