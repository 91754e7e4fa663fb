import { fileURLToPath } from "node:url";
import { defineConfig } from "vite";
import { compressed } from "./vite.config";
import { languages } from "./vite.languages";

// The worker that is woken by pushes, as one file: browsers load no parts of a worker later. Built after the page, beside it.
export default defineConfig({
  publicDir: false,
  plugins: [languages(() => "push-worker-de.js"), compressed(/^push-worker(?:-de)?\.js$/)],
  build: {
    outDir: "dist/page",
    emptyOutDir: false,
    target: ["es2022", "safari16"],
    reportCompressedSize: false,
    minify: "terser",
    terserOptions: { ecma: 2020, compress: { passes: 2, inline: 1 } },
    rollupOptions: {
      input: fileURLToPath(new URL("src/worker/main.ts", import.meta.url)),
      output: { format: "iife", entryFileNames: "push-worker.js", inlineDynamicImports: true },
    },
  },
});
