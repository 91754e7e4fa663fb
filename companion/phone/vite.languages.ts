// The page in each of its languages, from one build: texts are marked while the sources are read, and in what comes out each marked
// text is put in its language. So a phone fetches its own language and no table, and both are the same code.
import { createHash } from "node:crypto";
import { readFileSync, readdirSync } from "node:fs";
import { fileURLToPath } from "node:url";
import type { Plugin } from "vite";
import { german } from "./src/language/german";

const texts: Readonly<Record<string, string>> = german;
const sources = fileURLToPath(new URL("src", import.meta.url));
const call = /\bsay\(\s*"((?:[^"\\]|\\.)*)"(,?\s*\))?/g;
// Letters that no text has.
const marked = /\u27e6((?:[^\u27e7])*)\u27e7/g;

/** Texts that are said nowhere, so that nobody translates for nothing. */
function unused(): readonly string[] {
  const names = readdirSync(sources, { recursive: true, encoding: "utf8" }).filter((name) =>
    /\.tsx?$/.test(name),
  );
  const said = new Set<string>();
  for (const name of names) {
    if (/\.test\.tsx?$/.test(name)) continue;
    for (const [, text = ""] of readFileSync(`${sources}/${name}`, "utf8").matchAll(call)) said.add(text);
  }
  return Object.keys(texts).filter((text) => !said.has(text));
}

function inGerman(code: string): string {
  return code.replace(marked, (_, written: string) => {
    const text = texts[written.replaceAll("\\", "")];
    if (text === undefined) throw new Error(`There is no German for: ${written}`);
    // It stands in quotes of whichever kind.
    if (/["'`$\\]/.test(text)) throw new Error(`A German text has letters that end a string: ${text}`);
    return text;
  });
}

const inEnglish = (code: string): string => code.replace(marked, "$1");

/** `nameOf`: where the German form of a script goes. Absent: it has none. */
export function languages(nameOf: (name: string) => string | undefined): Plugin {
  return {
    name: "languages",
    apply: "build",
    enforce: "pre",
    buildStart() {
      const left = unused();
      if (left.length > 0) throw new Error(`Texts that are said nowhere: ${left.join(" | ")}`);
    },
    transform(code, id) {
      if (!id.startsWith(sources) || !code.includes("say(")) return undefined;
      // One without values is a text, and needs no call.
      const mark = (_: string, text: string, end: string | undefined): string =>
        end === undefined ? `say("\u27e6${text}\u27e7"` : `"\u27e6${text}\u27e7"`;
      return { code: code.replace(call, mark), map: null };
    },
    // A browser keeps files by their names: these change with the German texts, too.
    augmentChunkHash: () => createHash("sha256").update(JSON.stringify(texts)).digest("hex"),
    generateBundle: {
      order: "post",
      handler(_options, bundle) {
        for (const [name, file] of Object.entries(bundle)) {
          if (file.type !== "chunk") continue;
          const german = nameOf(name);
          if (german !== undefined)
            this.emitFile({ type: "asset", fileName: german, source: inGerman(file.code) });
          else if (file.code.includes("\u27e6"))
            throw new Error(`${name} says something, and has no German form.`);
          file.code = inEnglish(file.code);
        }
      },
    },
  };
}
