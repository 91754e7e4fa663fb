import { createHash } from "node:crypto";
import { readFileSync, readdirSync } from "node:fs";
import { fileURLToPath } from "node:url";
import { defineConfig } from "vite";
import type { Plugin } from "vite";

const folder = (path: string): string => fileURLToPath(new URL(path, import.meta.url));

/** Tells the service worker which files make up the page, and names the set by their content. */
function pageFiles(): Plugin {
  return {
    name: "page-files",
    apply: "build",
    enforce: "post",
    generateBundle(_options, bundle) {
      const worker = bundle["sw.js"];
      if (worker?.type !== "chunk") throw new Error("The service worker was not built.");
      const built = Object.keys(bundle).filter((name) => name !== "sw.js" && name !== "index.html");
      const names = [...built, ...readdirSync(folder("public"))].sort();
      const digest = createHash("sha256");
      for (const name of ["index.html", ...built].sort()) {
        const file = bundle[name];
        digest.update(name);
        if (file) digest.update(file.type === "chunk" ? file.code : file.source);
      }
      for (const name of readdirSync(folder("public"))) digest.update(readFileSync(folder(`public/${name}`)));
      const files = ["/", ...names.map((name) => `/${name}`)];
      const version = digest.digest("hex").slice(0, 16);
      const head = `const kPageFiles=${JSON.stringify(files)},kPageVersion=${JSON.stringify(version)};\n`;
      worker.code = head + worker.code;
    },
  };
}

export default defineConfig({
  plugins: [pageFiles()],
  esbuild: { jsx: "automatic", jsxImportSource: "preact" },
  worker: { format: "es" },
  build: {
    outDir: "dist/page",
    emptyOutDir: true,
    target: ["es2022", "safari16"],
    // Everything is a file of the page's own: its policy allows nothing else.
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
    reportCompressedSize: false,
    rollupOptions: {
      input: { page: folder("index.html"), sw: folder("src/serviceWorker.ts") },
      output: {
        entryFileNames: (chunk) => (chunk.name === "sw" ? "sw.js" : "assets/[name]-[hash].js"),
      },
    },
  },
});
