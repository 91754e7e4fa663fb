import { createHash } from "node:crypto";
import { readFileSync, readdirSync, writeFileSync } from "node:fs";
import { fileURLToPath } from "node:url";
import { brotliCompressSync, constants, gzipSync } from "node:zlib";
import { defineConfig } from "vite";
import type { Plugin } from "vite";
import { languages } from "./vite.languages";

const folder = (path: string): string => fileURLToPath(new URL(path, import.meta.url));

/** Beside the English scripts of the page, in a folder of their own; what says nothing is the same for all. */
function germanName(name: string): string | undefined {
  return /^assets\/(?!start-|codeWorker).*\.js$/.test(name)
    ? name.replace("assets/", "assets/de/")
    : undefined;
}

const withoutScripts = { en: "Quillard needs JavaScript.", de: "Quillard braucht JavaScript." };

/** index.html for one language: its first script and the page, which that one imports, are fetched together. */
function beginningWith(index: string, script: string, language: "en" | "de"): string {
  const replace = (text: string, old: string | RegExp, by: string): string => {
    if (text.split(old).length !== 2) throw new Error(`index.html is written in another way: ${old}`);
    return text.replace(old, by);
  };
  const first = '<script type="module"';
  const hinted = replace(index, first, `<link rel="modulepreload" href="${script}" />\n    ${first}`);
  const said = replace(hinted, /(?<=<noscript>)[^<]*/, withoutScripts[language]);
  return replace(said, '<html lang="en">', `<html lang="${language}">`);
}

/**
 * Tells the service worker which files make up the page, and names the set by their content; and the first script where the
 * page is in each language. A browser that says its language to a relay gets an index.html that names the page in that
 * language, too, so that it is fetched together with the first script and not after it.
 */
function pageFiles(): Plugin {
  return {
    name: "page-files",
    apply: "build",
    enforce: "post",
    generateBundle(_options, bundle) {
      const worker = bundle["sw.js"];
      if (worker?.type !== "chunk") throw new Error("The service worker was not built.");
      const chunk = (name: string) =>
        Object.values(bundle).find((file) => file.type === "chunk" && file.name === name);
      const [start, page] = [chunk("start"), chunk("page")];
      if (start?.type !== "chunk" || !page) throw new Error("The page has no beginning.");
      const pages = { en: `/${page.fileName}`, de: `/${germanName(page.fileName)}` };
      start.code = start.code.replaceAll("kPages", JSON.stringify(pages));
      const built = Object.keys(bundle).filter((name) => name !== "sw.js" && name !== "index.html");
      const names = [...built, ...readdirSync(folder("public"))].sort();
      const index = bundle["index.html"];
      if (index?.type !== "asset") throw new Error("There is no index.html.");
      for (const language of ["en", "de"] as const) {
        const source = beginningWith(String(index.source), pages[language], language);
        this.emitFile({ type: "asset", fileName: `index.${language}.html`, source });
      }
      const digest = createHash("sha256");
      for (const name of ["index.html", ...built].sort()) {
        const file = bundle[name];
        digest.update(name);
        if (file) digest.update(file.type === "chunk" ? file.code : file.source);
      }
      for (const name of readdirSync(folder("public"))) digest.update(readFileSync(folder(`public/${name}`)));
      // What only some visitors need is kept when they first use it.
      const isForAll = (name: string): boolean =>
        !/codeWorker|MoreViews|lock-|push(Alerts|Door)|\.png$/.test(name);
      const files = ["/", ...names.filter(isForAll).map((name) => `/${name}`)];
      const later = names.filter((name) => !isForAll(name)).map((name) => `/${name}`);
      const version = digest.digest("hex").slice(0, 16);
      const lists = `kPageFiles=${JSON.stringify(files)},kLaterFiles=${JSON.stringify(later)}`;
      const head = `const ${lists},kPageVersion=${JSON.stringify(version)};\n`;
      worker.code = head + worker.code;
    },
  };
}

/**
 * The table of Japanese characters is two thirds of what reads codes. Pairing codes are bytes, and have none, nor any other
 * mode; nor are they as large as those of version 26 and above, which hold more than 997 bytes.
 */
function forPairingCodes(): Plugin {
  const table = /exports\.shiftJISTable = \{[^}]*\};/;
  const largeVersions = /,\s*\{\s*infoBits: 0x\w+,\s*versionNumber: 26,[\s\S]*?\n\];/;
  const modes =
    /function decodeNumeric\([\s\S]*?(?=function decodeByte\()|function decodeKanji\([\s\S]*?(?=function decode\()/g;
  const choice = /else if \(mode === ModeByte\.ECI\) \{[\s\S]*?(?=else if \(mode === ModeByte\.Byte\))/;
  const last = /else if \(mode === ModeByte\.Kanji\) \{[\s\S]*?\n {8}\}/;
  return {
    name: "for-pairing-codes",
    transform(code, id) {
      if (!id.endsWith("/jsqr/dist/jsQR.js")) return undefined;
      if (![table, largeVersions, choice, last].every((part) => part.test(code))) {
        throw new Error("The tables of the code reader are not where they were.");
      }
      const kept = code
        .replace(table, "exports.shiftJISTable = {};")
        .replace(largeVersions, "\n];")
        .replace(modes, "")
        .replace(choice, "")
        .replace(last, "");
      return { code: kept, map: null };
    },
  };
}

/**
 * Beside each text of the page, the same as Brotli and gzip have it at their best: the relay sends these. `which`: of those
 * alone.
 */
export function compressed(which = /\.(?:html|js|css|svg|json|webmanifest)$/): Plugin {
  const page = folder("dist/page");
  // The same text comes out some bytes shorter or longer with each of these; what is served for months may take the best.
  const brotli = (bytes: Buffer): Buffer => {
    const forms = [constants.BROTLI_MODE_TEXT, constants.BROTLI_MODE_GENERIC].flatMap((mode) =>
      [0, 1, 2, 3].map((postfix) =>
        brotliCompressSync(bytes, {
          params: {
            [constants.BROTLI_PARAM_MODE]: mode,
            [constants.BROTLI_PARAM_NPOSTFIX]: postfix,
            [constants.BROTLI_PARAM_QUALITY]: constants.BROTLI_MAX_QUALITY,
            [constants.BROTLI_PARAM_SIZE_HINT]: bytes.length,
          },
        }),
      ),
    );
    return forms.reduce((best, form) => (form.length < best.length ? form : best));
  };
  return {
    name: "compressed",
    apply: "build",
    closeBundle() {
      for (const entry of readdirSync(page, { recursive: true, encoding: "utf8" })) {
        if (!which.test(entry)) continue;
        const bytes = readFileSync(`${page}/${entry}`);
        const forms = { br: brotli(bytes), gz: gzipSync(bytes, { level: 9 }) };
        for (const [ending, form] of Object.entries(forms)) {
          if (form.length < bytes.length) writeFileSync(`${page}/${entry}.${ending}`, form);
        }
      }
    },
  };
}

export default defineConfig({
  plugins: [languages(germanName), pageFiles(), forPairingCodes(), compressed()],
  esbuild: { jsx: "automatic", jsxImportSource: "preact" },
  worker: { format: "es", plugins: () => [forPairingCodes()] },
  build: {
    outDir: "dist/page",
    emptyOutDir: true,
    target: ["es2022", "safari16"],
    // Everything is a file of the page's own: its policy allows nothing else.
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
    reportCompressedSize: false,
    minify: "terser",
    // Three passes would make it larger again once it is compressed.
    terserOptions: { ecma: 2020, module: true, compress: { passes: 2, inline: 1 } },
    rollupOptions: {
      input: {
        start: folder("index.html"),
        page: folder("src/main.tsx"),
        sw: folder("src/serviceWorker.ts"),
      },
      output: {
        entryFileNames: (chunk) => (chunk.name === "sw" ? "sw.js" : "assets/[name]-[hash].js"),
      },
    },
  },
});
